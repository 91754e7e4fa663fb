#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Workspace.h"
#include "recording/DesktopRecorder.h"

namespace quillard::recording {

// Hides what people wrote, as far as the privacy demands, and leaves what programs are made of.
class RecordingRedaction {
 public:
  // `privacy` outlives the redaction. The names of the applications stay: they are part of the recording in any case.
  RecordingRedaction(const RecordingPrivacy& privacy, const std::vector<platform::RunningApplication>& applications);

  [[nodiscard]] std::string text(const std::string& text) const;

  // An attribute of an element with this role.
  [[nodiscard]] RecordedValue value(std::string_view role, std::string_view name, RecordedValue value) const;

  // An action that an application made up is named in words; the others are no secret.
  [[nodiscard]] std::string actionName(const std::string& name) const;

 private:
  const RecordingPrivacy& privacy;
  std::set<std::string, std::less<>> applicationNames;
};

}  // namespace quillard::recording
