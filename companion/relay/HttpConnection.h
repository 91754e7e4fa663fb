#pragma once

#include <functional>
#include <memory>
#include <string>

#include "companion/relay/ConnectionDependencies.h"
#include "companion/relay/RelayStream.h"

namespace quillard::relayserver {

// Answers a request; for the second listener, which knows neither pairings nor WebSockets.
using PlainAnswer = std::function<HttpResponse(const HttpRequest& question)>;

// Serves one accepted connection until it ends or becomes a WebSocket. It lives as long as it takes.
//
// `onEnd` is called once, when it is no plain connection any more. `plainAnswer`: empty for the relay itself.
void serveHttp(RelayStream stream, const IpAddress& peer, const ConnectionDependencies& dependencies,
               const PlainAnswer& plainAnswer, std::function<void()> onEnd);

}  // namespace quillard::relayserver
