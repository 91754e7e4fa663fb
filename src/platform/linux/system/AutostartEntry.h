#pragma once

#include <optional>
#include <string>

#include "platform/process/Environment.h"
#include "platform/shell/LoginService.h"

namespace quillard::desktop {

// The start at login by an entry in the user's autostart folder, which desktops read when a session begins.
//
// `notRegistered`: there is no entry, or it starts another program: an older install, for one. `requiresApproval`: the
// entry is there and the user has switched it off, in the desktop's settings or by hand; registering again leaves that
// as it is. `notFound` never. A user who has switched on the package's unit of systemd has chosen that in its place: it
// is `enabled`, and no entry is written.
class AutostartEntry final : public platform::LoginService {
 public:
  // `program`: what is to be started, absolute.
  AutostartEntry(const platform::Environment& environment, std::string program);

  [[nodiscard]] platform::LoginServiceStatus status() override;
  [[nodiscard]] std::optional<std::string> registerMainApplication() override;

  // The folder that the entry is in. Absent for a user without a home.
  [[nodiscard]] const std::optional<std::string>& autostartFolder() const { return folder; }

 private:
  [[nodiscard]] std::string entryPath() const;

  const std::optional<std::string> folder;
  const std::optional<std::string> enabledUnit;
  const std::string program;
};

}  // namespace quillard::desktop
