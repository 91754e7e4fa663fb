#include "approvals/ApprovalSuppressionStore.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quillard {
namespace {

std::unordered_set<Uuid> storedIDs(const platform::UserDefaults& defaults) {
  std::unordered_set<Uuid> ids;
  const auto stored = defaults.object(ApprovalSuppressionStore::key);
  const auto* texts = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
  if (!texts) return ids;
  for (const auto& text : *texts) {
    if (const auto id = Uuid::parse(text)) ids.insert(*id);
  }
  return ids;
}

}  // namespace

ApprovalSuppressionStore::ApprovalSuppressionStore(platform::UserDefaults& defaults)
    : defaults(defaults), suppressedIDs(storedIDs(defaults)) {}

void ApprovalSuppressionStore::suppress(const Uuid& id) {
  const MutexLock lock{mutex};
  suppressedIDs.insert(id);
  writeBack();
}

void ApprovalSuppressionStore::unsuppress(const Uuid& id) {
  const MutexLock lock{mutex};
  suppressedIDs.erase(id);
  writeBack();
}

bool ApprovalSuppressionStore::contains(const Uuid& id) const {
  const MutexLock lock{mutex};
  return suppressedIDs.contains(id);
}

void ApprovalSuppressionStore::writeBack() {
  std::vector<std::string> texts;
  texts.reserve(suppressedIDs.size());
  for (const auto& id : suppressedIDs) texts.push_back(id.text());
  std::sort(texts.begin(), texts.end());
  defaults.set(key, std::move(texts));
}

}  // namespace quillard
