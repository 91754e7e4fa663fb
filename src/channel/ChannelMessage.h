#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"

// What goes over the channel: one JSON object a line, with "version" and "type"; docs/channel.md describes it.
namespace quillard {

inline constexpr std::int64_t kChannelVersion = 1;
// The name under which the agent listens, in the folder that belongs to the user alone.
inline constexpr std::string_view kChannelName = "com.quillard.agent.socket";

// Why a request was refused. The code is for programs, the text for people.
struct ChannelProblem {
  std::string code;
  std::string message;

  bool operator==(const ChannelProblem&) const = default;
};

namespace channel_codes {
inline constexpr std::string_view kMalformed = "malformed";
inline constexpr std::string_view kVersion = "version";
inline constexpr std::string_view kUnknownType = "unknownType";
inline constexpr std::string_view kTooMuch = "tooMuch";
inline constexpr std::string_view kNotFound = "notFound";
inline constexpr std::string_view kNotTaken = "notTaken";
}  // namespace channel_codes

// A line that is an object of this version. What else it holds is for whoever knows the type.
struct ChannelMessage {
  std::string type;
  Json json;
};

// Strict: whole JSON in UTF-8, no member twice, bounded in length, depth, members and values.
[[nodiscard]] std::variant<ChannelMessage, ChannelProblem> readChannelMessage(std::string_view line);

// The line of that type with `members`, ended: version and type stand first. What is no UTF-8 in it is replaced.
[[nodiscard]] std::string channelLine(std::string_view type, const Json& members = Json::object());

// As "error".
[[nodiscard]] std::string channelLine(const ChannelProblem& problem);

}  // namespace quillard
