// Loopback ports for the servers the tests start (a private scheduler, the
// printer application): a free one to give a server, and whether a server
// accepts connections on one yet.
#ifndef KV_TESTS_LOOPBACKPORTS_H
#define KV_TESTS_LOOPBACKPORTS_H

namespace kvtest {

// A loopback port that nobody listens on right now; 0 when none can be had.
int FreeLoopbackPort();

// True when something accepts connections on loopback port `port`.
bool LoopbackPortListening(int port);

}  // namespace kvtest

#endif
