#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "approvals/PendingApproval.h"
#include "foundation/UserTexts.h"
#include "foundation/Uuid.h"
#include "relay/ClockStamp.h"
#include "relay/PushMessages.h"
#include "values/Secret.h"

namespace quillard {

// What one push tells.
struct PushContents {
  enum class Kind {
    prompt,   // One of them.
    several,  // More than one, none of which is named.
    test,     // A phone asked for it.
  };
  Kind kind = Kind::test;
  std::optional<PendingApproval> prompt{};  // Of a prompt.
  std::size_t waiting = 0;                  // How many wait on the computer, this one included.
  ClockStamp clock;
};

// To whom, and how it may be said.
struct PushAddressee {
  std::string pairingID;
  std::string page;      // Where a tap leads, without fragment.
  std::string computer;  // Empty: it has no name.
  PushContent content = PushContent::prompt;
  Language language = Language::english;
};

// All that some push services take, with room for the encryption.
inline constexpr std::size_t kLongestPushPlaintext = 1900;

// JSON that browsers show by themselves and that the page's worker reads, see docs/relay-protocol.md; never longer than
// `kLongestPushPlaintext`, and never without a title. `tag`: see `pushTag`. Absent: the page's address leaves no room.
[[nodiscard]] std::optional<std::string> pushText(const PushContents& contents, const PushAddressee& addressee,
                                                  const std::string& tag);

// 32 hexadecimal digits that are the same for the same prompt, or for all pushes about several, or for all tests, and
// say nothing to whoever lacks the pairing's secret: as the push's topic, push services see them.
[[nodiscard]] std::string pushTag(const Secret& e2eSecret, const PushContents& contents);

}  // namespace quillard
