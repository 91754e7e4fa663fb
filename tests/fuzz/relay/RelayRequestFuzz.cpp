#include <string>
#include <vector>

#include "companion/relay/rules/ClientAddress.h"
#include "companion/relay/rules/ListenAddress.h"
#include "companion/relay/rules/PeerIntroduction.h"
#include "companion/relay/rules/PhonePage.h"
#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/RequestTarget.h"
#include "fuzz/FuzzTarget.h"

using namespace quillard::relayserver;
using quillard::fuzz::require;

namespace {

// Line by line: the target, the authorization, the subprotocols, the forwarding proxies, an address to listen at.
std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (lines.size() < 4 && text.find('\n') != std::string_view::npos) {
    lines.emplace_back(text.substr(0, text.find('\n')));
    text.remove_prefix(text.find('\n') + 1);
  }
  lines.emplace_back(text);
  lines.resize(5);
  return lines;
}

void checkTarget(const std::string& text, const PhonePage::Accepted& accepted) {
  const auto target = parseRequestTarget(text);
  if (!target) return;
  for (const auto& segment : target->segments) {
    require(segment.find('\0') == std::string::npos, "No path holds a NUL.");
  }
  PhonePage page;
  page.add("index.html", "x");
  page.add("index.de.html", "y");
  page.add("index.de.html.br", "z");
  const auto answer = page.answer(target->segments, "", accepted);
  require(answer.status == 200 || answer.status == 404, "A page has a file, or it has not.");
  const auto who = readIntroduction(target->query);
  if (!who) return;
  require(isPairingID(who->pairingID), "Whoever is let in names a pairing.");
  require(who->role == Role::agent || isDeviceOrDecisionID(who->deviceID), "A phone has a name of its own.");
  require(isShownText(who->deviceName, 64), "A name can be shown.");
}

}  // namespace

// What a client says before it is let in.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto lines = linesOf(quillard::fuzz::textOf(data, size));
  checkTarget(lines[0], {.encoding = lines[3], .language = lines[4]});
  const auto offered = readToken({lines[1]}, {lines[2]});
  const bool isGiven = offered.kind == OfferedToken::Kind::given;
  require(isGiven == !offered.token.empty(), "A token is there when it is said to be.");
  require(!isGiven || isBearerToken(offered.token), "A token is well-formed.");
  const auto proxies = std::vector{IpNetwork::parse("127.0.0.0/8").value()};
  const auto client = clientAddress(IpAddress::parse("127.0.0.1").value(), {lines[3]}, proxies);
  require(IpAddress::parse(client.text()) == client, "An address reads as it is written.");
  (void)IpNetwork::parse(lines[3]);
  (void)ListenAddress::parse(lines[4]);
  return 0;
}
