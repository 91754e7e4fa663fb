#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/ReadableStarts.h"
#include "platform/linux/processes/DesktopEntries.h"
#include "platform/process/Environment.h"

namespace quillard::desktop {

// What can be done about how a program is started.
struct StartOffer {
  std::string entry;  // The id of its desktop entry.
  std::string name;
  bool isChanged = false;  // The entry is a copy with the switch already.
  bool operator==(const StartOffer&) const = default;
};

// Changes the start of programs that are built on Chromium (see ReadableEntry) by a copy of their desktop entry in the
// user's own folder of entries, which desktops prefer to the system's. An entry of the user's own is never touched, nor
// is a copy that was changed since. A copy stays as it is when the system's entry gets a newer one.
class EntryCopies final : public platform::ReadableStarts {
 public:
  // Both outlive this. `environment` says where the user's own folder is.
  EntryCopies(const platform::Environment& environment, proc::DesktopEntries& entries);

  // For a process that runs the program of this absolute path with these arguments. Absent: nothing starts it that
  // could be changed safely.
  [[nodiscard]] std::optional<StartOffer> offerFor(const std::string& program,
                                                   const std::vector<std::string>& arguments);

  [[nodiscard]] std::vector<platform::ReadableStart> changed() override;
  [[nodiscard]] std::optional<std::string> change(const std::string& entry) override;
  [[nodiscard]] std::optional<std::string> undo(const std::string& entry) override;

 private:
  struct Copy {
    platform::ReadableStart start;
    std::string path;
  };

  [[nodiscard]] std::vector<Copy> copies() const;
  // Absent: there is no file of that name.
  [[nodiscard]] std::optional<std::string> contentsOfOwn(const std::string& path) const;

  // Empty: this user has no home.
  [[nodiscard]] std::string ownFolder() const;

  const platform::Environment& environment;
  proc::DesktopEntries& entries;
};

}  // namespace quillard::desktop
