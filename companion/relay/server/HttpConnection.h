#pragma once

#include <functional>
#include <memory>
#include <string>

#include "companion/relay/server/ConnectionDependencies.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

// Answers every request of the metrics listener, which has neither pairings nor WebSockets.
using PlainResponder = std::function<HttpResponse(const HttpRequest& request)>;

// Serves one accepted connection until it ends or becomes a WebSocket. The connection owns itself: the operations under
// way keep it alive.
//
// `isFromRelay`: from another relay of this one's cluster, which has shown its certificate.
// `onEnd` is called once, when the connection has ended or has become a WebSocket. `plainResponder`: empty for the
// relay itself.
void serveHttp(RelayStream stream, const IpAddress& peer, const ConnectionDependencies& dependencies,
               const PlainResponder& plainResponder, bool isFromRelay, std::function<void()> onEnd);

}  // namespace quillard::relayserver
