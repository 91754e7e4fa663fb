#include "simulation/OpenedLists.h"

#include <utility>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayCrypto.h"

namespace quillard::simulation {

namespace {

constexpr std::size_t kKeptLists = 24;

OpenedList opened(const std::string& ciphertext, const Secret& secret) {
  const auto text = RelayCrypto::open({.version = 1, .nonce = {}, .ciphertext = ciphertext}, secret);
  const auto* plaintext = std::get_if<std::string>(&text);
  if (!plaintext) return {};
  auto approvals = readPendingApprovals(*plaintext);
  const auto marks = readSnapshotMarks(*plaintext);
  auto* const list = std::get_if<std::vector<PendingApproval>>(&approvals);
  if (!list || !std::holds_alternative<SnapshotMarks>(marks)) return {.isOpen = true};
  return {.isOpen = true, .isReadable = true, .approvals = std::move(*list), .marks = std::get<SnapshotMarks>(marks)};
}

}  // namespace

std::shared_ptr<const OpenedList> OpenedLists::open(const std::string& ciphertext, const Secret& secret) {
  const auto found = kept.find(ciphertext);
  if (found != kept.end()) return found->second;
  auto list = std::make_shared<const OpenedList>(opened(ciphertext, secret));
  if (!list->isOpen) return list;  // Another secret may open it.
  if (kept.size() >= kKeptLists) kept.clear();
  kept.emplace(ciphertext, list);
  return list;
}

}  // namespace quillard::simulation
