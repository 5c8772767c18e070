#!/bin/sh
# Runs a test program (the arguments) with an empty /tmp of its own: a tmpfs
# mounted in the private mount namespace that unshare made for it, so the
# fixed paths under /tmp never meet those of another test run on the machine.
set -eu
mount -t tmpfs kv-private-tmp /tmp
exec "$@"
