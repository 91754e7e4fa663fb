#include "app/MuteTools.h"

#include "app/ListedRecords.h"
#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::app {
namespace {

constexpr std::int64_t kMostLeftOut = 1'000'000;
constexpr std::int64_t kDay = 86400;

std::string endOf(const ListedMute& one) {
  if (one.until) return "until " + isoDateText(*one.until);
  return one.endsWithRun ? "until the agent ends" : "until it is undone";
}

std::string lineOf(const ListedMute& one) {
  const auto text = [](const std::string& given) { return given.empty() ? "?" : printableText(given, kLongestListed); };
  return listedIdentity(one.id) + "  " + text(one.program) + ": " + text(one.title) + ", " + endOf(one) + "\n";
}

MuteRequest unknown(const std::string& prefix) {
  return {.line = {},
          .problem = "Nothing that is muted, or more than one, has this identity: " + printableText(prefix)};
}

}  // namespace

std::optional<ListedMutes> readMutes(const ChannelMessage& message) {
  JsonReader reader{message.json};
  ListedMutes mutes{.kinds = reader.objects("muted",
                                            [](JsonReader& one) {
                                              return ListedMute{
                                                  .id = one.string("id"),
                                                  .program = one.string("program"),
                                                  .title = one.string("title"),
                                                  .since = one.date("since"),
                                                  .until = one.optionalDate("until"),
                                                  .endsWithRun = one.optionalBoolean("endsWithRun").value_or(false)};
                                            }),
                    .leftOut = reader.optionalInteger("leftOut", 0, kMostLeftOut).value_or(0)};
  if (reader.error()) return std::nullopt;
  return mutes;
}

std::string mutesText(const ListedMutes& mutes) {
  if (mutes.kinds.empty()) return "Nothing is muted.\n";
  std::string text;
  for (const auto& one : mutes.kinds) text += lineOf(one);
  if (mutes.leftOut > 0) text += "(" + std::to_string(mutes.leftOut) + " more)\n";
  return text;
}

MuteRequest planUnmuting(const EndMute& command, const ListedMutes& mutes) {
  if (mutes.kinds.empty()) return {.line = {}, .problem = "Nothing is muted."};
  if (command.all) return {.line = channelLine("unmute", {{"all", true}})};
  const auto* const found = onlyRecordWith(mutes.kinds, command.id);
  return found ? MuteRequest{.line = channelLine("unmute", {{"id", found->id}})} : unknown(command.id);
}

MuteRequest planMuting(const ChangeMute& command, const ListedMutes& mutes) {
  const auto* const found = onlyRecordWith(mutes.kinds, command.id);
  if (!found) return unknown(command.id);
  const std::int64_t lasts = command.duration == "day" ? kDay : command.duration == "week" ? 7 * kDay : 0;
  return {.line = channelLine("mute", {{"id", found->id}, {"lasts", lasts}})};
}

}  // namespace quillard::app
