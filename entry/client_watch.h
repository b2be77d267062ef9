// Ending this process when its client goes away before it has been answered.
//
// Players that seek drop requests for fragments that are still being made. Nobody would take what the process
// waits for, and it may end at any moment without harm. The web server says so only when the connection was
// reset: where the client has closed it in good order, the kernel is asked about it a few times a second.
#pragma once

#include "entry/tcp_connection.h"

namespace kinora::entry {

// From here on this process ends as soon as nobody holds the other end of standard output (a socket or a
// pipe), or the client has closed its connection to the web server; `client` may be unknown. It must not wait
// in a way that a signal without consequence would spoil.
void EndWithClient(const TcpEnds& client);

// No longer: a client that leaves while it is being answered is noticed by writing to it.
void OutliveClient();

}  // namespace kinora::entry
