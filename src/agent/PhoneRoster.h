#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/process/Clock.h"
#include "platform/storage/UserDefaults.h"
#include "relay/RelayStatus.h"
#include "values/Time.h"

namespace quillard {

// One phone that has joined a pairing of this computer. Its name and identity are what it told the relay about itself.
struct KnownPhone {
  std::string pairingID;
  std::string deviceID;        // Empty: a relay that counts phones and does not name them.
  std::string name;            // For people; harmless to print, and never empty.
  Date since;                  // When the agent was first told of it.
  Date heardAt;                // When it was last known to be connected, to within ten minutes.
  std::int64_t decisions = 0;  // Of its pairing, while it was the only phone there that was connected.
  bool hasGranted = false;     // Within its first hour.
  bool isConnected = false;    // Never kept.
  bool operator==(const KnownPhone&) const = default;
};

// A phone whose first grant it may be.
struct FirstGrant {
  KnownPhone phone;
  bool isCertain = false;  // Else it was this one, or another one of its pairing.
};

// Every phone that has ever joined a pairing which is not given up, from run to run, in the user's settings. Bounded:
// who has the code of one pairing can name as many phones as they like. Settings that cannot be read are an empty list.
// Main thread.
class PhoneRoster {
 public:
  static constexpr std::size_t kMostOfPairing = 16;  // The one that was not heard of for the longest time goes first.

  // Both outlive this.
  PhoneRoster(platform::UserDefaults& defaults, const platform::Clock& clock);

  // Reads the settings again, which an earlier run may have written since. Before anything is noted.
  void reload();

  // What the relay says of a pairing now; `status` empty: there is no connection. Returns the phones that were not
  // known, in the relay's order.
  std::vector<KnownPhone> note(std::string_view pairingID, const RelayConnectionStatus& status);
  // By `deviceID`.
  [[nodiscard]] std::vector<std::string> connectedPhones(std::string_view pairingID) const;
  // A phone of the pairing has decided something. `present`: those that were connected when the decision came, as it
  // may have left by now; empty: it may be any. `isGrant`: a prompt was answered otherwise than by a dismissal. Returns
  // the phone whose first grant it may be, if that joined within the last hour.
  std::optional<FirstGrant> noteDecision(std::string_view pairingID, bool isGrant,
                                         const std::vector<std::string>& present);
  // The name of the phone that decided; see `noteDecision`. Absent: it was one of several.
  [[nodiscard]] std::optional<std::string> deciderName(std::string_view pairingID,
                                                       const std::vector<std::string>& present) const;
  // To be called every few seconds: the phones that are connected were heard of.
  void noteTime();
  // The pairing was given up.
  void forget(std::string_view pairingID);

  // Of all pairings, in the order in which they joined.
  [[nodiscard]] const std::vector<KnownPhone>& phones() const { return known; }
  [[nodiscard]] std::vector<KnownPhone> phonesOf(std::string_view pairingID) const;

 private:
  KnownPhone* find(std::string_view pairingID, std::string_view deviceID);
  void makeRoom(std::string_view pairingID);
  void load();
  void save() const;

  platform::UserDefaults& defaults;
  const platform::Clock& clock;
  std::vector<KnownPhone> known;
};

}  // namespace quillard
