#include "agent/PhoneCommands.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

// Which phones a request means.
struct UnpairRequest {
  std::optional<std::int64_t> pairing;
  std::optional<Date> since;  // Of a phone of that pairing, so that none that took its number is meant.
  bool all = false;
};

UnpairRequest readUnpairRequest(JsonReader& reader) {
  const UnpairRequest request{
      .pairing = reader.optionalInteger("pairing", PairingConfiguration::kFirst, PhonePairings::kMost),
      .since = reader.optionalDate("since"),
      .all = reader.optionalBoolean("all").value_or(false)};
  if (request.pairing.has_value() == request.all) reader.failAt("pairing", "Expected either this or all.");
  return request;
}

bool isMeant(const UnpairRequest& request, const PairedPhone& phone) {
  const bool isSince = !request.since || isoDateText(*request.since) == isoDateText(phone.phone.since);
  return phone.pairing == request.pairing && isSince;
}

}  // namespace

Json phonesJson(const std::vector<PairedPhone>& phones) {
  Json list = Json::array();
  for (const auto& [pairing, phone, isUnexpected, isRefused, isUnreadable] : phones) {
    list.push_back({{"name", phone.name},
                    {"pairing", pairing},
                    {"since", isoDateText(phone.since)},
                    {"lastHeard", isoDateText(phone.heardAt)},
                    {"connected", phone.isConnected},
                    {"decisions", phone.decisions},
                    {"isUnexpected", isUnexpected}});
    if (isUnreadable) list.back()["isUnreadable"] = true;
  }
  return {{"phones", std::move(list)}};
}

void PhoneCommands::addTo(ChannelServer& server) {
  server.add("phones", [this](const auto& session, JsonReader&) {
    session->finish(channelLine("phones", phonesJson(actions.phones())));
  });
  server.add("unpair", [this](const auto& session, JsonReader& reader) { unpair(session, reader); });
  server.add("pairAnother", [this](const auto& session, JsonReader&) { pairAnother(session); });
}

// Asked for again, the code that is offered is told again.
void PhoneCommands::pairAnother(const std::shared_ptr<ChannelSession>& session) {
  const auto code = actions.offer();
  if (!code) return session->refuse(channel_codes::kNotTaken, "No code can be offered now.");
  session->finish(channelLine("code", {{"text", std::string(code->text())}}));
}

void PhoneCommands::unpair(const std::shared_ptr<ChannelSession>& session, JsonReader& reader) {
  const auto request = readUnpairRequest(reader);
  if (!ChannelServer::isRead(*session, reader)) return;
  const auto phones = actions.phones();
  std::set<int> pairings;
  if (request.all) {
    for (const int pairing : actions.pairings()) pairings.insert(pairing);
  }
  for (const auto& phone : phones) {
    if (isMeant(request, phone)) pairings.insert(phone.pairing);
  }
  if (pairings.empty()) return session->refuse(channel_codes::kNotFound, "No such phone is paired.");
  // All that share the pairing, whichever of them was meant.
  Json names = Json::array();
  for (const auto& phone : phones) {
    if (pairings.contains(phone.pairing)) names.push_back(phone.phone.name);
  }
  std::erase_if(waiters, [](const Waiter& waiter) { return waiter.session.expired(); });
  // The waiter is there first: a pairing that no relay knows is forgotten at once.
  waiters.push_back({session, pairings, channelLine("unpaired", {{"phones", std::move(names)}})});
  request.all ? actions.unpairAll() : actions.unpair(*pairings.begin());
}

void PhoneCommands::pairingForgotten(int pairing) {
  for (auto& waiter : waiters) waiter.pairings.erase(pairing);
  if (!waiters.empty()) answering = mainThread.postAfter(Seconds::zero(), [this] { answerWaiters(); });
}

void PhoneCommands::answerWaiters() {
  std::erase_if(waiters, [](const Waiter& waiter) {
    const auto session = waiter.session.lock();
    if (session && waiter.pairings.empty()) session->finish(waiter.answer);
    return !session || waiter.pairings.empty();
  });
}

}  // namespace quillard
