#pragma once

#include <memory>

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include "companion/relay/server/ConnectionDependencies.h"
#include "companion/relay/server/RelayStream.h"

namespace quillard::relayserver {

using HttpRequestMessage = boost::beast::http::request<boost::beast::http::string_body>;

// Takes the connection over: joins the rooms and answers `request`, which was granted. It lives until it has ended.
void startWebSocket(RelayStream stream, const HttpRequestMessage& request, const Admission& admission,
                    const ConnectionDependencies& dependencies);

}  // namespace quillard::relayserver
