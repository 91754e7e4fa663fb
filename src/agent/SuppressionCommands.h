#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "approvals/SuppressionList.h"
#include "channel/ChannelServer.h"

namespace quillard {

// What the commands act on. None is empty.
struct SuppressionCommandActions {
  std::function<std::vector<Suppression>()> all;
  std::function<bool(const Uuid&)> undo;
  std::function<bool(const Uuid&, const SuppressionEnd&)> setEnd;
};

// What is muted, and how it ends, for other programs of this user, over the channel: "muted", "unmute" and "mute",
// which changes when one ends. Main thread.
class SuppressionCommands {
 public:
  explicit SuppressionCommands(SuppressionCommandActions actions) : actions(std::move(actions)) {}

  // Adds them to `server`, which is stopped before this is destroyed.
  void addTo(ChannelServer& server);

 private:
  void undo(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);
  void setEnd(const std::shared_ptr<ChannelSession>& session, JsonReader& reader);

  const SuppressionCommandActions actions;
};

// The members of the answer "muted".
[[nodiscard]] Json mutedJson(const std::vector<Suppression>& suppressions);

}  // namespace quillard
