#pragma once

#include <optional>
#include <string>

#include "foundation/UserTexts.h"
#include "status/MacStatusSnapshot.h"
#include "status/view/StatusWindowView.h"
#include "values/Images.h"

// What a snapshot means, in words and colours. Functions of their arguments; any thread.
namespace quillard::StatusTexts {

struct OverallStatus {
  std::string text;
  Color color;  // Of the pill behind the text.
  bool operator==(const OverallStatus&) const = default;
};
[[nodiscard]] OverallStatus overallStatus(const MacStatusSnapshot& snapshot);

// The header: what to do next, and why.
[[nodiscard]] std::string headline(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string detail(const MacStatusSnapshot& snapshot);

// The pairing card. Its status asks for the permission before it looks at the relay; its detail looks at the relay
// first. Both are meant.
[[nodiscard]] std::string pairingStatus(const MacStatusSnapshot& snapshot);
[[nodiscard]] Tint pairingStatusTint(const MacStatusSnapshot& snapshot);
[[nodiscard]] std::string phoneStatusDetail(const MacStatusSnapshot& snapshot);
// The text under the code. `hasPayload`: pairing is configured, so that there is a code to show.
[[nodiscard]] std::string pairingCaption(bool accessibilityTrusted, bool hasPayload, const UserTexts& say = {});
// The same when the relay calls the pairing revoked, or another computer's.
[[nodiscard]] std::string revokedPairingCaption(bool isOtherComputersPairing = false, const UserTexts& say = {});

// What the newest scan could not read, in a line for the accessibility row. Absent: nothing.
[[nodiscard]] std::optional<std::string> scanProblemDetail(const MacStatusSnapshot& snapshot);

[[nodiscard]] std::string notificationPauseDetail(const MacStatusSnapshot& snapshot);

}  // namespace quillard::StatusTexts
