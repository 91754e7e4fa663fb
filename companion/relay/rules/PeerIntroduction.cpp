#include "companion/relay/rules/PeerIntroduction.h"

#include <algorithm>
#include <array>
#include <map>

#include "companion/relay/rules/RelayNames.h"

namespace quillard::relayserver {
namespace {

constexpr std::array<std::string_view, 5> kKnownItems{"role", "pairing", "deviceID", "deviceName", "platform"};
constexpr std::string_view kTokenProtocol = "quillard.bearer.";
constexpr std::size_t kLongestDeviceName = 64;
constexpr std::size_t kLongestPlatform = 32;

using Items = std::map<std::string_view, std::string_view>;

// Absent when one of the known items stands twice.
std::optional<Items> knownItems(const std::vector<QueryItem>& query) {
  Items items;
  for (const auto& item : query) {
    if (std::find(kKnownItems.begin(), kKnownItems.end(), item.name) == kKnownItems.end()) continue;
    if (!items.emplace(item.name, item.value).second) return std::nullopt;
  }
  return items;
}

std::optional<std::string> valueOf(const Items& items, std::string_view name) {
  const auto found = items.find(name);
  return found == items.end() ? std::nullopt : std::optional<std::string>(found->second);
}

bool readDevice(const Items& items, PeerIntroduction& who) {
  const auto deviceID = valueOf(items, "deviceID");
  const auto deviceName = valueOf(items, "deviceName");
  if (!deviceID || !isDeviceOrDecisionID(*deviceID)) return false;
  if (!deviceName || !isShownText(*deviceName, kLongestDeviceName)) return false;
  who.deviceID = *deviceID;
  who.deviceName = *deviceName;
  who.platform = valueOf(items, "platform");
  return !who.platform || isShownText(*who.platform, kLongestPlatform);
}

std::string_view withoutBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool startsWithBearer(std::string_view header) {
  constexpr std::string_view kScheme = "bearer ";
  return header.size() >= kScheme.size() &&
         std::equal(kScheme.begin(), kScheme.end(), header.begin(), [](char a, char b) { return a == lowerCase(b); });
}

void offer(OfferedToken& offered, std::string_view token) {
  const bool isOther = offered.kind == OfferedToken::Kind::given && offered.token != token;
  if (offered.kind == OfferedToken::Kind::malformed || isOther || !isBearerToken(token)) {
    offered.kind = OfferedToken::Kind::malformed;
    offered.token.clear();
    return;
  }
  offered.kind = OfferedToken::Kind::given;
  offered.token = token;
}

void readProtocols(OfferedToken& offered, std::string_view header) {
  while (true) {
    const auto comma = std::min(header.find(','), header.size());
    const auto name = withoutBlanks(header.substr(0, comma));
    if (name == kSubprotocol) offered.offersProtocol = true;
    if (name.starts_with(kTokenProtocol)) offer(offered, name.substr(kTokenProtocol.size()));
    if (comma == header.size()) return;
    header.remove_prefix(comma + 1);
  }
}

}  // namespace

std::optional<PeerIntroduction> readIntroduction(const std::vector<QueryItem>& query) {
  const auto items = knownItems(query);
  if (!items) return std::nullopt;
  const auto role = valueOf(*items, "role");
  const auto pairingID = valueOf(*items, "pairing");
  if (!pairingID || !isPairingID(*pairingID)) return std::nullopt;
  PeerIntroduction who{.pairingID = *pairingID};
  if (role == "mac") return who;
  who.role = Role::phone;
  if (role != "phone" || !readDevice(*items, who)) return std::nullopt;
  return who;
}

std::optional<std::string> readAskingPhone(const std::vector<QueryItem>& query) {
  const auto items = knownItems(query);
  if (!items) return std::nullopt;
  auto deviceID = valueOf(*items, "deviceID");
  if (!deviceID) return "";
  return isDeviceOrDecisionID(*deviceID) ? deviceID : std::nullopt;
}

OfferedToken readToken(const std::vector<std::string>& authorization, const std::vector<std::string>& subprotocols) {
  OfferedToken offered;
  for (const auto& header : authorization) {
    if (startsWithBearer(header)) offer(offered, withoutBlanks(std::string_view(header).substr(7)));
  }
  for (const auto& header : subprotocols) readProtocols(offered, header);
  return offered;
}

}  // namespace quillard::relayserver
