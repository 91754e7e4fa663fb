// Brings up a desktop of its own, runs a command there, and ends with what that ends with:
//
//   e2e_desktop COMMAND [ARGUMENT...]
//
// The command and all that it has started go with the desktop, also when this program is killed. Of this program's own
// environment it gets what every program on a private desktop gets, and the variables named QUILLARD_E2E_….

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "private-desktop/PrivateDesktop.h"

namespace {

using quillard::privatedesktop::DesktopProgram;
using quillard::privatedesktop::PrivateDesktop;

constexpr std::string_view kOurs = "QUILLARD_E2E_";

PrivateDesktop::Variables ourVariables() {
  PrivateDesktop::Variables result;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    const auto equals = text.find('=');
    if (text.rfind(kOurs, 0) != 0 || equals == std::string_view::npos) continue;
    result.emplace_back(text.substr(0, equals), text.substr(equals + 1));
  }
  return result;
}

// The keeper of the desktop collects in files what a program writes: says what came since the last time.
class Echo {
 public:
  explicit Echo(std::FILE* stream) : stream(stream) {}
  void say(const std::string& everything) {
    std::fwrite(everything.data() + said, 1, everything.size() - said, stream);
    std::fflush(stream);
    said = everything.size();
  }

 private:
  std::FILE* const stream;
  std::size_t said = 0;
};

int runThere(PrivateDesktop& desktop, const std::vector<std::string>& command) {
  using namespace std::chrono_literals;
  std::vector<std::string> arguments{"-C", std::filesystem::current_path().string()};
  arguments.insert(arguments.end(), command.begin(), command.end());
  DesktopProgram program = desktop.launch("env", arguments, ourVariables());
  Echo output(stdout);
  Echo errors(stderr);
  std::optional<int> status;
  while (!status) {
    status = program.wait(100ms);
    output.say(program.output());
    errors.say(program.errors());
  }
  return *status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "Usage: e2e_desktop COMMAND [ARGUMENT...]\n");
    return 2;
  }
  try {
    PrivateDesktop desktop;
    return runThere(desktop, {argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "No desktop: %s\n", error.what());
    return 1;
  }
}
