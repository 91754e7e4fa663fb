#include "agent/SuppressionCommands.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "foundation/IsoDate.h"
#include "relay/RelayCommands.h"

namespace quillard {
namespace {

// More would not fit into one line of the channel.
constexpr std::size_t kMostListed = 200;

void refuseUnknown(const std::shared_ptr<ChannelSession>& session) {
  session->refuse(channel_codes::kNotFound, "No such kind of prompt is muted.");
}

}  // namespace

Json mutedJson(const std::vector<Suppression>& suppressions) {
  Json list = Json::array();
  for (const auto& one : suppressions) {
    if (list.size() == kMostListed) break;
    Json json{{"id", one.id.text()},
              {"program", one.kind.appName},
              {"title", one.kind.windowTitle},
              {"since", isoDateText(one.since)}};
    if (one.until) json["until"] = isoDateText(*one.until);
    if (one.endsWithRun) json["endsWithRun"] = true;
    list.push_back(std::move(json));
  }
  Json members{{"muted", std::move(list)}};
  if (suppressions.size() > kMostListed) members["leftOut"] = suppressions.size() - kMostListed;
  return members;
}

void SuppressionCommands::addTo(ChannelServer& server) {
  server.add("muted", [this](const auto& session, JsonReader&) {
    session->finish(channelLine("muted", mutedJson(actions.all())));
  });
  server.add("unmute", [this](const auto& session, JsonReader& reader) { undo(session, reader); });
  server.add("mute", [this](const auto& session, JsonReader& reader) { setEnd(session, reader); });
}

void SuppressionCommands::undo(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const auto id = reader.optionalUuid("id");
  const bool all = reader.optionalBoolean("all").value_or(false);
  if (id.has_value() == all) reader.failAt("id", "Expected either this or all.");
  if (!ChannelServer::isRead(*session, reader)) return;
  std::int64_t count = 0;
  if (id) {
    count += actions.undo(*id) ? 1 : 0;
  } else {
    for (const auto& one : actions.all()) count += actions.undo(one.id) ? 1 : 0;
  }
  if (count == 0) return refuseUnknown(session);
  session->finish(channelLine("done", {{"count", count}}));
}

void SuppressionCommands::setEnd(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const auto id = reader.uuid("id");
  const auto lasts = reader.integer("lasts", 0, kLongestSuppression);
  if (!ChannelServer::isRead(*session, reader)) return;
  const auto end =
      lasts == 0 ? SuppressionEnd::never() : SuppressionEnd::afterTime(Seconds{static_cast<double>(lasts)});
  if (!actions.setEnd(id, end)) return refuseUnknown(session);
  session->finish(channelLine("done"));
}

}  // namespace quillard
