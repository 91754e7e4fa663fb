#pragma once

#include <string>

#include "platform/process/Bundle.h"
#include "platform/process/Environment.h"

namespace quillard::desktop {

// The program as it is installed here: a folder that is named as on macOS and holds the same things.
//
//   ~/.local/lib/Quillard.app/quillard                      the program; ~/.local/bin/quillard is a link to it
//   ~/.local/lib/Quillard.app/Info.plist                    identifier, version
//   ~/.local/lib/Quillard.app/Resources/RelayConfig.plist   the relay to use, where one comes with the program
//
// A program that lies in a folder of another name (a build folder) is not installed: it has no identifier.
//
// Its application folders are the user's own ~/.local/lib, then /opt, /usr/local/lib and /usr/lib; then those of them
// that are reached through links, as they are without links.
class InstalledProgram final : public platform::Bundle {
 public:
  // Reads the information once. `executable` is the path of the program itself, absolute.
  InstalledProgram(const std::string& executable, const platform::Environment& environment);

  // The path of this process's program, links followed. Empty when the system does not tell.
  [[nodiscard]] static std::string ownExecutable();

  // The system follows the links on the way to a program before that program starts, so this is `resolvedPath`.
  [[nodiscard]] std::string path() const override { return folder; }
  [[nodiscard]] std::string resolvedPath() const override;
  [[nodiscard]] std::optional<std::string> identifier() const override;
  [[nodiscard]] std::optional<std::string> informationText(std::string_view key) const override;
  [[nodiscard]] std::optional<std::variant<platform::PropertyListTexts, platform::ResourceError>> propertyList(
      std::string_view name) const override;
  [[nodiscard]] std::vector<std::string> applicationDirectories() const override { return directories; }

 private:
  const std::string folder;
  const std::vector<std::string> directories;
  platform::PropertyListTexts information;
};

}  // namespace quillard::desktop
