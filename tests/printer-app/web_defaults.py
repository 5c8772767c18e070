#!/usr/bin/env python3
"""Sets a printing default through the printer application's web interface
in headless Chromium, as a person would: loads the printer's "Printing
Defaults" page, picks a choice in one of its menus, presses the form's
button, and reads the page back. Drives Chromium over its DevTools protocol
(a WebSocket), with nothing but the standard library.

usage: web_defaults.py CHROMIUM PAGE-URL SELECT-NAME VALUE SCREENSHOT.png
Prints "before=...", "after=..." (the menu's value when the page is loaded
again) and exits 0, or says what failed and exits 1.
"""
import base64
import json
import os
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
import urllib.request

TIMEOUT = 60


class WebSocket:
    def __init__(self, url):
        m = re.match(r"ws://([^:/]+):(\d+)(/.*)", url)
        host, port, path = m.group(1), int(m.group(2)), m.group(3)
        self.sock = socket.create_connection((host, port), timeout=TIMEOUT)
        key = base64.b64encode(os.urandom(16)).decode()
        self.sock.sendall((f"GET {path} HTTP/1.1\r\nHost: {host}:{port}\r\nUpgrade: websocket\r\n"
                           f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\n"
                           "Sec-WebSocket-Version: 13\r\n\r\n").encode())
        reply = b""
        while b"\r\n\r\n" not in reply:
            chunk = self.sock.recv(4096)
            if not chunk:
                raise RuntimeError("WebSocket handshake failed")
            reply += chunk
        if b" 101 " not in reply.split(b"\r\n")[0]:
            raise RuntimeError("WebSocket handshake refused: " + reply.decode(errors="replace"))
        self.buffer = reply.split(b"\r\n\r\n", 1)[1]

    def send(self, text):
        data = text.encode()
        mask = os.urandom(4)
        head = bytes([0x81])
        if len(data) < 126:
            head += bytes([0x80 | len(data)])
        elif len(data) < 65536:
            head += bytes([0x80 | 126]) + struct.pack(">H", len(data))
        else:
            head += bytes([0x80 | 127]) + struct.pack(">Q", len(data))
        self.sock.sendall(head + mask + bytes(b ^ mask[i % 4] for i, b in enumerate(data)))

    def _read(self, n):
        while len(self.buffer) < n:
            chunk = self.sock.recv(65536)
            if not chunk:
                raise RuntimeError("WebSocket closed")
            self.buffer += chunk
        out, self.buffer = self.buffer[:n], self.buffer[n:]
        return out

    def receive(self):
        message = b""
        while True:
            b0, b1 = self._read(2)
            length = b1 & 0x7F
            if length == 126:
                length = struct.unpack(">H", self._read(2))[0]
            elif length == 127:
                length = struct.unpack(">Q", self._read(8))[0]
            payload = self._read(length)
            message += payload
            if b0 & 0x80:
                return message.decode()


class Page:
    def __init__(self, ws):
        self.ws = ws
        self.next_id = 0
        self.events = []

    def call(self, method, **params):
        self.next_id += 1
        self.ws.send(json.dumps({"id": self.next_id, "method": method, "params": params}))
        while True:
            msg = json.loads(self.ws.receive())
            if msg.get("id") == self.next_id:
                if "error" in msg:
                    raise RuntimeError(f"{method}: {msg['error']}")
                return msg.get("result", {})
            self.events.append(msg)

    def wait_event(self, name):
        deadline = time.time() + TIMEOUT
        while time.time() < deadline:
            for i, e in enumerate(self.events):
                if e.get("method") == name:
                    del self.events[i]
                    return e
            self.events.append(json.loads(self.ws.receive()))
        raise RuntimeError("no " + name)

    def load(self, url):
        self.events.clear()
        self.call("Page.navigate", url=url)
        self.wait_event("Page.loadEventFired")

    def evaluate(self, expression):
        return self.call("Runtime.evaluate", expression=expression, returnByValue=True)["result"].get("value")


def main():
    chromium, url, name, value, screenshot = sys.argv[1:6]
    profile = tempfile.mkdtemp(prefix="kvchromium.")
    browser = subprocess.Popen([chromium, "--headless=new", "--no-sandbox", "--disable-gpu",
                                "--no-first-run", "--remote-debugging-port=0", "--remote-debugging-address=127.0.0.1",
                                f"--user-data-dir={profile}", "about:blank"],
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    try:
        port = None
        deadline = time.time() + TIMEOUT
        while port is None and time.time() < deadline:
            line = browser.stderr.readline()
            if not line:
                break
            m = re.search(r"DevTools listening on ws://127.0.0.1:(\d+)/", line)
            if m:
                port = int(m.group(1))
        if port is None:
            print("Chromium did not start its DevTools endpoint")
            return 1
        targets = json.load(urllib.request.urlopen(f"http://127.0.0.1:{port}/json/list", timeout=TIMEOUT))
        target = next(t for t in targets if t.get("type") == "page")
        page = Page(WebSocket(target["webSocketDebuggerUrl"]))
        page.call("Page.enable")
        page.call("Emulation.setDeviceMetricsOverride", width=1100, height=1500, deviceScaleFactor=1, mobile=False)
        page.load(url)
        select = f"document.querySelector('select[name=\"{name}\"]')"
        before = page.evaluate(f"{select} ? {select}.value : null")
        if before is None:
            print(f"the page has no menu {name}: " + str(page.evaluate("location.href + ' ' + document.title + ' ' + document.body.innerText.slice(0, 300)")))
            return 1
        print(f"before={before}")
        # Pick the choice and press the form's own button, as a person does.
        page.evaluate(f"{select}.value = {json.dumps(value)}; {select}.dispatchEvent(new Event('change'))")
        pressed = page.evaluate(f"(function() {{ var b = {select}.form.querySelector('[type=submit]');"
                                " if (!b) return false; b.click(); return true; })()")
        if not pressed:
            print("the form has no button")
            return 1
        page.wait_event("Page.loadEventFired")
        page.load(url)
        after = page.evaluate(f"{select}.value")
        print(f"after={after}")
        page.evaluate(f"{select}.scrollIntoView({{block: 'center'}})")
        shot = page.call("Page.captureScreenshot", format="png")
        with open(screenshot, "wb") as f:
            f.write(base64.b64decode(shot["data"]))
        return 0
    finally:
        browser.kill()
        browser.wait()
        shutil.rmtree(profile, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
