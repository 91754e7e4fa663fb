#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/storage/UserDefaults.h"

namespace quillard {

// How far each phone has counted the subscriptions that it sealed, from run to run, in the user's settings: a relay
// that gives an earlier one again, with other keys or with leave to show more, is found out by that.
//
// Bounded: who has the code of a pairing can seal for as many phones as they like. Settings that cannot be read are as
// good as none. Main thread.
class SubscriptionSequences {
 public:
  static constexpr std::size_t kMostOfPairing = 16;  // The one that has counted least far goes first.

  // `defaults` outlives this. They are read when a subscription comes: before, an earlier run may still write.
  explicit SubscriptionSequences(platform::UserDefaults& defaults) : defaults(defaults) {}

  // Whether this is no earlier subscription of that phone than one that was taken, which is what it is from then on.
  // `sequence` 0: a page sealed it that does not count yet.
  [[nodiscard]] bool take(int pairing, const std::string& deviceID, std::int64_t sequence);
  // The pairing is given up.
  void forget(int pairing);

 private:
  struct Counted {
    std::int64_t pairing = 1;
    std::string deviceID;
    std::int64_t sequence = 0;
  };

  Counted* find(int pairing, const std::string& deviceID);
  void add(Counted counted);
  void load();
  void save() const;

  platform::UserDefaults& defaults;
  bool isLoaded = false;
  std::vector<Counted> phones;
};

}  // namespace quillard
