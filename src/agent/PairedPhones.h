#pragma once

#include <optional>
#include <vector>

#include "agent/PhoneRoster.h"
#include "foundation/Uuid.h"
#include "relay/PairingConfiguration.h"
#include "relay/RelayCommands.h"
#include "values/Time.h"

// The list of phones, and those in it whom nobody expected: functions of their arguments.
namespace quillard {

// One line of the list of phones.
struct PairedPhone {
  int pairing = PairingConfiguration::kFirst;
  KnownPhone phone;
  bool isUnexpected = false;  // It joined a pairing that had another phone already.
  bool isRefused = false;     // The relay calls its pairing revoked, or another computer's.
  bool isUnreadable = false;  // The secrets of its pairing cannot be read now, so that it is not served.
  bool operator==(const PairedPhone&) const = default;
};

// Those of `all` that have joined, less than `within` before `now`, a pairing which had its phone: `kMostNewPhones` at
// most, the first in the list. Each has a name that no phone can choose, and the same from call to call.
[[nodiscard]] std::vector<NewPhone> newPhonesOf(const std::vector<PairedPhone>& all, Date now, Seconds within);
// The pairing of the phone that such a name means. Absent: there is none such in the list.
[[nodiscard]] std::optional<int> pairingOfNewPhone(const std::vector<PairedPhone>& all, const Uuid& id);

}  // namespace quillard
