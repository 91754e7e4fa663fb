#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/storage/UserDefaults.h"

namespace quillard {

// A further pairing, as the list names it.
struct StoredPairing {
  static constexpr std::string_view kOffered = "?";
  static constexpr std::string_view kEnding = "!";

  int number = 0;
  // Empty: it is paired. One of the two above, or what a later agent may write: it is not paired any more, either.
  std::string mark;
  // Its identity, which is no secret. Empty: not known.
  std::string pairingID{};
  bool operator==(const StoredPairing&) const = default;
};

// The list of this computer's further pairings, from run to run, in the user's settings: what says which of the
// identities that are stored are in use. Settings that cannot be read are an empty list; a number that is none of a
// further pairing, or that comes twice, is left out. Any thread, as the settings.
class StoredPairings {
 public:
  // `defaults` outlives this. `most`: the highest number.
  StoredPairings(platform::UserDefaults& defaults, int most) : defaults(defaults), most(most) {}

  // In the order in which they were written down.
  [[nodiscard]] std::vector<StoredPairing> all() const;
  void store(const std::vector<StoredPairing>& pairings);
  // Takes one out of the list.
  void remove(int number);

 private:
  [[nodiscard]] std::string pairingIDOf(int number) const;
  void storeNumbers(const std::vector<StoredPairing>& pairings);

  platform::UserDefaults& defaults;
  const int most;
};

}  // namespace quillard
