#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "companion/relay/rules/PairingStore.h"

namespace quillard::relayserver {

// A fake for tests, which can be made to fail. Keeps all revocations.
class MemoryPairingStore final : public PairingStore {
 public:
  std::optional<Entry> find(const std::string& pairingID) override {
    check();
    const auto found = entries.find(pairingID);
    return found == entries.end() ? std::nullopt : std::optional(found->second);
  }
  void add(const std::string& pairingID, const TokenHash& token, std::int64_t now) override {
    checkWriting();
    entries[pairingID] = {token, now, false};
  }
  void setComputerKey(const std::string& pairingID, const TokenHash& key, std::int64_t now) override {
    checkWriting();
    auto& entry = entries.at(pairingID);
    entry.lastUsed = now;
    if (!entry.computerKey) entry.computerKey = key;
  }
  void markUsed(const std::string& pairingID, std::int64_t now) override {
    checkWriting();
    entries.at(pairingID).lastUsed = now;
  }
  void markJoined(const std::string& pairingID, std::int64_t now) override {
    markUsed(pairingID, now);
    entries.at(pairingID).isJoined = true;
  }
  void revoke(const std::string& pairingID, std::int64_t now, std::size_t) override {
    checkWriting();
    entries[pairingID] = {std::nullopt, now};
  }
  std::vector<std::string> purge(std::int64_t usedBefore, std::int64_t unjoinedBefore) override {
    check();
    std::vector<std::string> purged;
    for (const auto& [pairingID, entry] : entries) {
      const std::int64_t latest = entry.isJoined ? usedBefore : std::max(usedBefore, unjoinedBefore);
      if (entry.token && entry.lastUsed < latest) purged.push_back(pairingID);
    }
    for (const auto& pairingID : purged) entries.erase(pairingID);
    return purged;
  }
  bool forgetOldestUnjoined() override {
    check();
    auto oldest = entries.end();
    for (auto at = entries.begin(); at != entries.end(); ++at) {
      if (!isUnjoined(at->second)) continue;
      if (oldest == entries.end() || at->second.lastUsed < oldest->second.lastUsed) oldest = at;
    }
    if (oldest == entries.end()) return false;
    entries.erase(oldest);
    return true;
  }
  std::optional<std::string> forgetLeastUsed(std::int64_t usedBefore) override {
    check();
    auto oldest = entries.end();
    for (auto at = entries.begin(); at != entries.end(); ++at) {
      if (!at->second.token || at->second.lastUsed >= usedBefore) continue;
      if (oldest == entries.end() || at->second.lastUsed < oldest->second.lastUsed) oldest = at;
    }
    if (oldest == entries.end()) return std::nullopt;
    auto name = oldest->first;
    entries.erase(oldest);
    return name;
  }
  void probe() override { checkWriting(); }
  std::size_t countUnjoined() override {
    check();
    return static_cast<std::size_t>(
        std::count_if(entries.begin(), entries.end(), [](const auto& entry) { return isUnjoined(entry.second); }));
  }
  std::size_t count() override {
    check();
    return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(),
                                                  [](const auto& entry) { return entry.second.token.has_value(); }));
  }

  double takeWaited() override { return std::exchange(waited, 0); }

  double waited = 0;  // Seconds.
  bool fails = false;
  bool failsToWrite = false;  // Reading works.
  std::map<std::string, Entry> entries;

 private:
  static bool isUnjoined(const Entry& entry) { return entry.token && !entry.isJoined; }
  void check() const {
    if (fails) throw Failure{"disk gone"};
  }
  void checkWriting() const {
    check();
    if (failsToWrite) throw Failure{"disk full"};
  }
};

}  // namespace quillard::relayserver
