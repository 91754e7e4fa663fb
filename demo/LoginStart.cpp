#include "demo/LoginStart.h"

#include <filesystem>
#include <sstream>
#include <system_error>

#include "private-desktop/FileContents.h"

namespace quillard::demo {

bool withdrawStartOf(const std::string& program, const Variables& environment) {
  const auto home = valueOf(environment, "HOME").value_or("");
  const auto configuration = valueOf(environment, "XDG_CONFIG_HOME").value_or(home + "/.config");
  const std::string entry = configuration + "/autostart/com.quillard.agent.desktop";
  bool startsIt = false;
  bool isOff = false;
  std::istringstream lines(privatedesktop::fileContents(entry));
  for (std::string line; std::getline(lines, line);) {
    startsIt = startsIt || line == "TryExec=" + program;
    isOff = isOff || line == "Hidden=true" || line.ends_with("Autostart-enabled=false");
  }
  std::error_code error;
  return startsIt && !isOff && std::filesystem::remove(entry, error);
}

}  // namespace quillard::demo
