#include "agent/AgentCommands.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "foundation/IsoDate.h"
#include "status/StatusTexts.h"

namespace quillard {
namespace {

struct PauseName {
  std::string_view name;
  NotificationPauseOption option;
};

constexpr std::array kPauses{
    PauseName{"2h", NotificationPauseOption::twoHours},
    PauseName{"4h", NotificationPauseOption::fourHours},
    PauseName{"tomorrow", NotificationPauseOption::untilTomorrow},
    PauseName{"on", NotificationPauseOption::indefinitely},
};

Json phonesJson(const MacStatusSnapshot& snapshot) {
  Json phones = Json::array();
  for (const auto& phone : snapshot.connectedPhones) {
    Json one = {{"name", phone.deviceName}};
    if (phone.platform) one["platform"] = *phone.platform;
    phones.push_back(std::move(one));
  }
  return phones;
}

}  // namespace

Json statusJson(const MacStatusSnapshot& snapshot) {
  Json json = {{"summary", StatusTexts::headline(snapshot)},
               {"installed", snapshot.installedInApplications},
               {"accessibility", snapshot.accessibilityTrusted},
               {"relay",
                {{"configured", snapshot.relayConfigured},
                 {"connected", snapshot.relayConnected},
                 {"revoked", snapshot.pairingRevoked}}},
               {"phoneCount", snapshot.phoneCount},
               {"phones", phonesJson(snapshot)},
               {"paused", snapshot.notificationPause.isPaused()}};
  if (snapshot.notificationPause.pausedUntil) {
    json["pausedUntil"] = isoDateText(*snapshot.notificationPause.pausedUntil);
  }
  json["pending"] = snapshot.pendingApprovalCount;
  if (snapshot.wakeablePhones > 0) json["wakeable"] = snapshot.wakeablePhones;
  if (snapshot.isNobodyReached) json["nobodyReached"] = true;
  return json;
}

void AgentCommands::addTo(ChannelServer& server) {
  server.add("status", [this](const auto& session, JsonReader& reader) { tellStatus(session, reader); });
  server.add("pause", [this](const auto& session, JsonReader& reader) { pause(session, reader); });
  server.add("set", [this](const auto& session, JsonReader& reader) { set(session, reader); });
  server.add("open", [this](const auto& session, JsonReader&) {
    actions.openWindow();
    session->finish(channelLine("done"));
  });
  // The line is sent first: it leaves this process before the loop ends.
  server.add("quit", [this](const auto& session, JsonReader&) {
    session->finish(channelLine("done"));
    actions.quit();
  });
}

void AgentCommands::tellStatus(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const bool follows = reader.optionalBoolean("follow").value_or(false);
  if (!ChannelServer::isRead(*session, reader)) return;
  std::erase_if(followers, [](const Follower& one) { return one.session.expired(); });
  if (follows && followers.size() >= kMostFollowers) {
    return session->refuse(channel_codes::kTooMuch, "Too many programs follow the status.");
  }
  auto line = channelLine("status", statusJson(actions.status()));
  if (!follows) return session->finish(line);
  session->send(line);
  followers.push_back({session, std::move(line)});
  if (!following) following = mainThread.repeatEvery(kFollowInterval, [this] { tellFollowers(); });
}

void AgentCommands::tellFollowers() {
  std::erase_if(followers, [](const Follower& one) { return one.session.expired(); });
  if (followers.empty()) return following.reset();
  const auto line = channelLine("status", statusJson(actions.status()));
  for (auto& one : followers) {
    if (one.lastLine == line) continue;
    one.lastLine = line;
    if (const auto session = one.session.lock()) session->send(line);
  }
}

void AgentCommands::set(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const SettingsChange change{.name = reader.string("name"), .value = reader.optionalString("value")};
  if (!ChannelServer::isRead(*session, reader)) return;
  const auto outcome = actions.change(change);
  if (const auto* const problem = std::get_if<std::string>(&outcome)) {
    return session->refuse(channel_codes::kMalformed, *problem);
  }
  const auto& result = std::get<SettingsChangeResult>(outcome);
  Json members{{"takenOver", result.isTakenOver}};
  if (result.unwritten) members["unwritten"] = *result.unwritten;
  session->finish(channelLine("done", members));
}

void AgentCommands::pause(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const auto wanted = reader.string("for");
  if (!ChannelServer::isRead(*session, reader)) return;
  if (wanted == "off") {
    actions.resume();
    return session->finish(channelLine("done"));
  }
  for (const auto& [name, option] : kPauses) {
    if (name != wanted) continue;
    actions.pause(option);
    return session->finish(channelLine("done"));
  }
  session->refuse(channel_codes::kMalformed, "for: Expected 2h, 4h, tomorrow, on or off.");
}

}  // namespace quillard
