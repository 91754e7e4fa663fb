#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace quillard::test {

// Where distributions keep a program of a desktop, which may be none for users: below /usr, by its name or the end of
// its path. Absent: this machine does not have it.
inline std::optional<std::string> installedProgram(const std::string& program) {
  for (const std::string folder :
       {"/usr/bin/", "/usr/lib/x86_64-linux-gnu/libexec/", "/usr/lib/aarch64-linux-gnu/libexec/", "/usr/libexec/",
        "/usr/libexec/kf5/", "/usr/lib/x86_64-linux-gnu/", "/usr/lib/aarch64-linux-gnu/", "/usr/lib/"}) {
    if (std::filesystem::exists(folder + program)) return folder + program;
  }
  return std::nullopt;
}

}  // namespace quillard::test
