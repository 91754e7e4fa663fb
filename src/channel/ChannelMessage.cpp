#include "channel/ChannelMessage.h"

#include <limits>
#include <utility>

#include "channel/ChannelLines.h"

namespace quillard {
namespace {

constexpr JsonLimits kLimits{.bytes = ChannelLines::kLongest, .depth = 8, .members = 64, .values = 4096};

ChannelProblem malformed(const JsonError& error) {
  return {std::string(channel_codes::kMalformed), error.description()};
}

}  // namespace

std::variant<ChannelMessage, ChannelProblem> readChannelMessage(std::string_view line) {
  auto json = parseStrictJson(line, kLimits);
  if (const auto* const error = std::get_if<JsonError>(&json)) return malformed(*error);
  JsonReader reader{std::get<Json>(json)};
  const auto version = reader.integer("version", 0, std::numeric_limits<std::int32_t>::max());
  auto type = reader.string("type");
  if (reader.error()) return malformed(*reader.error());
  if (version != kChannelVersion) {
    return ChannelProblem{std::string(channel_codes::kVersion), "Only version 1 of the channel is spoken here."};
  }
  return ChannelMessage{std::move(type), std::move(std::get<Json>(json))};
}

std::string channelLine(std::string_view type, const Json& members) {
  Json json = {{"version", kChannelVersion}, {"type", type}};
  for (const auto& [name, value] : members.items()) json[name] = value;
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string channelLine(const ChannelProblem& problem) {
  return channelLine("error", {{"code", problem.code}, {"message", problem.message}});
}

}  // namespace quillard
