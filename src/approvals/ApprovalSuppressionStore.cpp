#include "approvals/ApprovalSuppressionStore.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quillard {
namespace {

// No identifier twice.
std::vector<Uuid> storedIDs(const platform::UserDefaults& defaults) {
  std::vector<Uuid> ids;
  const auto stored = defaults.object(ApprovalSuppressionStore::key);
  const auto* texts = stored ? std::get_if<std::vector<std::string>>(&*stored) : nullptr;
  if (!texts) return ids;
  std::unordered_set<Uuid> known;
  for (const auto& text : *texts) {
    const auto id = Uuid::parse(text);
    if (id && known.insert(*id).second) ids.push_back(*id);
    if (ids.size() == ApprovalSuppressionStore::kMost) break;
  }
  return ids;
}

}  // namespace

ApprovalSuppressionStore::ApprovalSuppressionStore(platform::UserDefaults& defaults)
    : defaults(defaults), idsByAge(storedIDs(defaults)) {
  const MutexLock lock{mutex};
  suppressedIDs.insert(idsByAge.begin(), idsByAge.end());
}

void ApprovalSuppressionStore::forgetEarlierRuns() {
  const MutexLock lock{mutex};
  suppressedIDs.clear();
  idsByAge.clear();
  if (defaults.object(key)) writeBack();
}

void ApprovalSuppressionStore::suppress(const Uuid& id) {
  const MutexLock lock{mutex};
  if (!suppressedIDs.insert(id).second) std::erase(idsByAge, id);
  idsByAge.push_back(id);
  if (idsByAge.size() > kMost) {
    suppressedIDs.erase(idsByAge.front());
    idsByAge.erase(idsByAge.begin());
  }
  writeBack();
}

void ApprovalSuppressionStore::unsuppress(const Uuid& id) {
  const MutexLock lock{mutex};
  if (suppressedIDs.erase(id) > 0) std::erase(idsByAge, id);
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
