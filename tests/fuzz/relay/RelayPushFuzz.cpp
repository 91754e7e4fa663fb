#include <string>

#include "companion/relay/push/PushEndpoint.h"
#include "companion/relay/push/PushTransport.h"
#include "companion/relay/push/VapidKey.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard::relayserver;
using quillard::fuzz::require;

namespace {

void checkEndpoint(const std::string& text) {
  const auto endpoint = PushEndpoint::parse(text);
  if (!endpoint) return;
  const auto written = endpoint->origin() + endpoint->target;
  require(PushEndpoint::parse(written) == endpoint, "An endpoint reads as it is written.");
  require(endpoint->host.find_first_of("@/\\?#% \r\n") == std::string::npos, "A host is a host.");
  require(endpoint->target.find_first_of("# \r\n") == std::string::npos, "A target ends no line.");
  PushHosts hosts;
  require(!hosts.allows(*endpoint), "No host is allowed by itself.");
  require(hosts.add(endpoint->origin().substr(8)) && hosts.allows(*endpoint), "A host is its own pattern.");
  for (const auto& large : PushHosts::large()) {
    PushHosts one;
    require(one.add(large), "A large push service is a host.");
    const auto name = large.starts_with("*.") ? large.substr(1) : large;
    require(!one.allows(*endpoint) || endpoint->host.ends_with(name), "A host is compared as a whole.");
  }
}

}  // namespace

// What phones say of their subscriptions, and push services of when to come back.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(quillard::fuzz::textOf(data, size));
  checkEndpoint(text);
  PushHosts hosts;
  (void)hosts.add(text);
  if (isPushContact(text)) require(text.find_first_of(" <>\"\r\n") == std::string::npos, "A contact is plain.");
  if (const auto wait = readRetryAfter(text)) require(wait->count() >= 0, "Nobody is to come back in the past.");
  return 0;
}
