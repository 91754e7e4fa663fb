#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "channel/ChannelMessage.h"
#include "values/Time.h"

// `quillard muted`, `unmute` and `mute`: what they print, and which kind of prompt a person means. Pure functions.
namespace quillard::app {

// A kind of prompt that is muted, as the agent lists it.
struct ListedMute {
  std::string id;
  std::string program;  // Empty: not known.
  std::string title;    // The same.
  Date since;
  std::optional<Date> until{};
  bool endsWithRun = false;
};
struct ListedMutes {
  std::vector<ListedMute> kinds;  // Newest first.
  std::int64_t leftOut = 0;
};

// Absent: not understood.
[[nodiscard]] std::optional<ListedMutes> readMutes(const ChannelMessage& message);
[[nodiscard]] std::string mutesText(const ListedMutes& mutes);

// What is to be sent, or why there is nothing.
struct MuteRequest {
  std::string line;
  std::string problem;  // Empty: there is a line.
};
[[nodiscard]] MuteRequest planUnmuting(const EndMute& command, const ListedMutes& mutes);
[[nodiscard]] MuteRequest planMuting(const ChangeMute& command, const ListedMutes& mutes);

}  // namespace quillard::app
