#include "agent/StatusLines.h"

#include <algorithm>

#include "foundation/PrintableText.h"
#include "foundation/UrlComponents.h"

namespace quillard::StatusLines {

std::vector<PhoneLine> phones(const std::vector<PairedPhone>& phones, Date now) {
  std::vector<PhoneLine> lines;
  for (const auto& [pairing, phone, isUnexpected, isRefused, isUnreadable] : phones) {
    lines.push_back({.pairing = pairing,
                     .name = phone.name,
                     .sinceSeconds = (now - phone.since),
                     .heardSeconds = phone.isConnected ? Seconds::zero() : (now - phone.heardAt),
                     .decisions = phone.decisions,
                     .isConnected = phone.isConnected,
                     .isUnexpected = isUnexpected,
                     .isRefused = isRefused,
                     .isUnreadable = isUnreadable});
  }
  return lines;
}

std::vector<MutedKind> muted(const std::vector<Suppression>& suppressions, Date now) {
  std::vector<MutedKind> kinds;
  for (const auto& one : suppressions) {
    kinds.push_back({.id = one.id, .program = one.kind.appName, .title = one.kind.windowTitle});
    if (one.until) kinds.back().remaining = std::max<Seconds>(*one.until - now, Seconds::zero());
  }
  return kinds;
}

std::vector<WaitingQuestion> questions(const std::vector<PendingApproval>& waiting) {
  std::vector<WaitingQuestion> asked;
  for (const auto& approval : waiting) {
    if (!approval.isAsked) continue;
    auto& one = asked.emplace_back(WaitingQuestion{.id = approval.id,
                                                   .program = approval.appName,
                                                   .question = approval.windowTitle,
                                                   .lines = approval.messageLines});
    for (const auto& button : approval.buttons) one.labels.push_back(button.label);
  }
  return asked;
}

RelayChoice relay(PairingConfiguration& configuration) {
  const auto configured = configuration.configuredRelay();
  if (!configured) return {};
  const auto components = UrlComponents::parse(configured->relayURL);
  return {.address = components ? components->printableText() : printableText(configured->relayURL),
          .origin = configuration.relayOrigin()};
}

}  // namespace quillard::StatusLines
