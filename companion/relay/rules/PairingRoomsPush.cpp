#include <algorithm>
#include <utility>

#include "companion/relay/rules/PairingRooms.h"
#include "companion/relay/rules/PairingRoomsState.h"

// How phones that sleep are woken, as far as the rooms have to do with it.
namespace quillard::relayserver {

void PairingRooms::takePush(Member& member, PushSendMessage message, Moment now) {
  ++metrics.messages[push ? "push.send" : "unknown"];
  if (!push) return;
  if (!member.from->empty()) message.from = member.from->front();
  auto result = push->send(member.room.pairingID, std::move(message), now);
  if (result) sendTo({&member}, hold(std::move(*result)), now.instant);
}

void PairingRooms::takeAsleep(Member& phone, bool isAsleep, Instant now) {
  ++metrics.messages["phone.asleep"];
  if (std::exchange(phone.isAsleep, isAsleep) != isAsleep) sendPhoneStatusToAgent(phone.room, now);
}

// `message` null: it takes its subscription back.
void PairingRooms::takePushSubscription(Member& member, const PushSubscribeMessage* message, Moment now) {
  ++metrics.messages[!push ? "unknown" : message ? "push.subscribe" : "push.unsubscribe"];
  if (!push) return;
  Room& room = member.room;
  (void)pairings.takeWaited();  // For others.
  auto answer = message ? push->subscribe(room.pairingID, member.who.deviceID, *message, now)
                        : push->unsubscribe(room.pairingID, member.who.deviceID, now);
  waited += pairings.takeWaited();
  // The phone may be gone afterwards; its room is not.
  if (!answer.toPhone.empty()) sendTo({&member}, hold(std::move(answer.toPhone)), now.instant);
  for (auto& text : answer.toAgent) tellAgent(room.pairingID, std::move(text), now.instant);
  if (!answer.hasChanged) return;
  ++commits;
  sendPushList(room, true, now.instant);
}

void PairingRooms::sendPushList(Room& room, bool evenIfEmpty, Instant now) {
  if (!push || !room.agent) return;
  auto list = push->list(room.pairingID);
  if (list && (evenIfEmpty || !list->isEmpty)) sendTo({room.agent}, hold(std::move(list->text)), now);
}

void PairingRooms::sendPushList(const std::string& pairingID, Instant now) {
  const auto found = rooms.find(pairingID);
  if (found != rooms.end()) sendPushList(*found->second, true, now);
}

void PairingRooms::tellAgent(const std::string& pairingID, std::string text, Instant now) {
  const auto found = rooms.find(pairingID);
  if (found != rooms.end() && found->second->agent) sendTo({found->second->agent}, hold(std::move(text)), now);
}

void PairingRooms::tellPhone(const std::string& pairingID, const std::string& deviceID, std::string text, Instant now) {
  const auto found = rooms.find(pairingID);
  if (found == rooms.end()) return;
  const auto& phones = found->second->phones;
  const auto phone = std::find_if(phones.begin(), phones.end(),
                                  [&](const Member* member) { return member->who.deviceID == deviceID; });
  if (phone != phones.end()) sendTo({*phone}, hold(std::move(text)), now);
}

}  // namespace quillard::relayserver
