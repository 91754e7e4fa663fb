#include "detection/WindowDebugSnapshot.h"

#include "approvals/PendingApprovalJson.h"

namespace quillard {

std::optional<std::string> sortedJsonText(const WindowDebugSnapshot& snapshot) {
  nlohmann::json json;  // This kind of object keeps its members sorted.
  json["appName"] = snapshot.appName;
  if (snapshot.bundleIdentifier) json["bundleIdentifier"] = *snapshot.bundleIdentifier;
  json["processIdentifier"] = snapshot.processIdentifier;
  json["role"] = snapshot.role;
  json["subrole"] = snapshot.subrole;
  json["title"] = snapshot.title;
  json["windowFrame"] = nlohmann::json(toJson(snapshot.windowFrame));
  json["isModal"] = snapshot.isModal;
  json["promptScore"] = snapshot.promptScore;
  json["accepted"] = snapshot.accepted;
  if (snapshot.rejectionReason) json["rejectionReason"] = *snapshot.rejectionReason;
  json["messageLines"] = snapshot.messageLines;
  json["buttonLabels"] = snapshot.buttonLabels;
  try {
    return json.dump();
  } catch (const nlohmann::json::type_error&) {
    return std::nullopt;
  }
}

}  // namespace quillard
