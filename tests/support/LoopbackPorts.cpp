// Loopback ports for the servers the tests start.
#include "LoopbackPorts.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

namespace kvtest {

namespace {

// The loopback address with `port` (0: any).
sockaddr_in Loopback(int port)
{
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(static_cast<uint16_t>(port));
    return a;
}

}  // namespace

int FreeLoopbackPort()
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a = Loopback(0);
    socklen_t len = sizeof a;
    int port = 0;
    if (s >= 0 && bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
        getsockname(s, reinterpret_cast<sockaddr*>(&a), &len) == 0)
        port = ntohs(a.sin_port);
    if (s >= 0)
        close(s);
    return port;
}

bool LoopbackPortListening(int port)
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    if (s < 0)
        return false;
    const sockaddr_in a = Loopback(port);
    const bool ok = connect(s, reinterpret_cast<const sockaddr*>(&a), sizeof a) == 0;
    close(s);
    return ok;
}

}  // namespace kvtest
