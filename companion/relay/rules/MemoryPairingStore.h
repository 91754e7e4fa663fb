#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/rules/PairingStore.h"

namespace quillard::relayserver {

// A fake for tests, which can be made to fail. Keeps all revocations and removals.
class MemoryPairingStore final : public PairingStore {
 public:
  std::optional<Entry> find(const std::string& pairingID) override {
    check();
    const auto found = entries.find(pairingID);
    return found == entries.end() ? std::nullopt : std::optional(found->second);
  }
  void add(const std::string& pairingID, const TokenHash& token, std::int64_t now) override {
    check();
    entries[pairingID] = {token, now};
  }
  void markUsed(const std::string& pairingID, std::int64_t now) override {
    check();
    entries.at(pairingID).lastUsed = now;
  }
  void revoke(const std::string& pairingID, std::int64_t now, std::size_t) override {
    check();
    entries[pairingID] = {std::nullopt, now};
  }
  void removePhone(const std::string& pairingID, const std::string& deviceID, std::int64_t, std::size_t) override {
    check();
    removed.insert({pairingID, deviceID});
  }
  bool isRemoved(const std::string& pairingID, const std::string& deviceID) override {
    check();
    return removed.contains({pairingID, deviceID});
  }
  std::vector<std::string> purge(std::int64_t usedBefore) override {
    check();
    std::vector<std::string> purged;
    for (const auto& [pairingID, entry] : entries) {
      if (entry.token && entry.lastUsed < usedBefore) purged.push_back(pairingID);
    }
    for (const auto& pairingID : purged) entries.erase(pairingID);
    return purged;
  }
  std::size_t count() override {
    check();
    return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(),
                                                  [](const auto& entry) { return entry.second.token.has_value(); }));
  }

  bool fails = false;
  std::map<std::string, Entry> entries;
  std::set<std::pair<std::string, std::string>> removed;

 private:
  void check() const {
    if (fails) throw Failure{"disk full"};
  }
};

}  // namespace quillard::relayserver
