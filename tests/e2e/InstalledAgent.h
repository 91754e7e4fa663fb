#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "desktop/PrivateDesktop.h"
#include "foundation/Numbers.h"
#include "platform/linux/storage/FileSecrets.h"
#include "relay/InstallationSecrets.h"
#include "values/Secret.h"

namespace quillard::test {

// The program, installed for the user of a private desktop as it is for any user.
class InstalledAgent {
 public:
  // `program`: what was built.
  InstalledAgent(PrivateDesktop& desktop, const std::filesystem::path& program,
                 const std::filesystem::path& information)
      : desktop(desktop), folder(std::filesystem::path(desktop.folder("home")) / ".local/lib/Quillard.app") {
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(program, folder / "quillard");
    std::filesystem::copy_file(information, folder / "Info.plist");
  }

  [[nodiscard]] DesktopProgram start(const PrivateDesktop::Variables& variables) {
    return desktop.launch((folder / "quillard").string(), {}, variables);
  }
  [[nodiscard]] DesktopProgram runTool(const std::vector<std::string>& arguments,
                                       const PrivateDesktop::Variables& variables = {}) {
    return desktop.launch((folder / "quillard").string(), arguments, variables);
  }

  // What a phone learns from the pairing code. Empty as long as the agent has not stored its secrets.
  [[nodiscard]] Secret endToEndSecret() const { return secrets().e2eSecret; }
  // All of them.
  [[nodiscard]] InstallationSecrets secrets() const {
    InstallationSecrets secrets;
    const bool isStored = waitFor([&] {
      const auto reading = xdg::FileSecrets(desktop.folder("data") + "/quillard")
                               .copyMatching("com.quillard.agent", "installation-secrets-v1");
      const auto stored = readInstallationSecrets(reading.data.view());
      if (stored) secrets = *stored;
      return stored.has_value();
    });
    EXPECT_TRUE(isStored);
    return secrets;
  }

 private:
  PrivateDesktop& desktop;
  const std::filesystem::path folder;
};

}  // namespace quillard::test
