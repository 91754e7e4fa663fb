#include "simulation/HostileNetwork.h"

#include <algorithm>

#include "foundation/StrictJson.h"

namespace quillard::simulation {

void HostileNetwork::send(const std::string& frame, Seconds& last,
                          const std::function<void(const std::string&)>& deliver) {
  const Seconds now = stage.now();
  last = std::max(last, now + chance.seconds(0.005, 0.04));
  if (hostility == 0 || static_cast<int>(chance.below(100)) >= hostility) {
    return stage.later(last - now, [deliver, frame] { deliver(frame); });
  }
  const auto at = [&](Seconds delay, const std::string& what) {
    stage.later(delay, [this, deliver, what] {
      if (hostility > 0) deliver(what);
    });
  };
  switch (chance.below(7)) {
    case 0:
      return stage.happened(Fault::frameIsDropped);
    case 1:
      stage.happened(Fault::frameIsRepeated);
      for (int i = chance.between(1, 5); i >= 0; --i) at(chance.seconds(0.01, 20), frame);
      return at(last - now, frame);
    case 2:
      stage.happened(Fault::frameIsDelayed);
      last += chance.seconds(0.5, 15);
      return at(last - now, frame);
    case 3:
      stage.happened(Fault::frameIsHeldForMinutes);
      return at(chance.seconds(30, 240), frame);
    case 4:
      stage.happened(Fault::framesAreReordered);
      return at(chance.seconds(0.05, 4), frame);
    case 5: {
      const std::string other = renamed(frame);
      if (other != frame) at(chance.seconds(0.01, 10), other);
      return at(last - now, frame);
    }
    default:
      return at(last - now + chance.seconds(0, 0.3), frame);
  }
}

// A decision under another name; anything else as it is.
std::string HostileNetwork::renamed(const std::string& frame) {
  auto json = Json::parse(frame, nullptr, false);
  if (!json.is_object() || !json.contains("encryptedRequest") || !json.contains("decisionID")) return frame;
  const auto name = json["decisionID"].get<std::string>();
  const std::string other = name + "-r" + std::to_string(chance.below(1000));
  ledger.rename(name, other);
  stage.happened(Fault::decisionIsRenamed);
  json["decisionID"] = other;
  return json.dump();
}

}  // namespace quillard::simulation
