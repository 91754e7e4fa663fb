// Brings up a desktop of its own with a prompt on it, runs a command there, and ends with what that ends with:
//
//   run_on_desktop COMMAND [ARGUMENT...]

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>

#include "desktop/PrivateDesktop.h"

namespace {

using quillard::test::PrivateDesktop;

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  for (auto& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

// With our own standard streams.
int runThere(const PrivateDesktop& desktop, char** command) {
  auto variables = desktop.environment();
  pid_t process = -1;
  if (posix_spawnp(&process, command[0], nullptr, nullptr, command, pointers(variables).data()) != 0) {
    std::fprintf(stderr, "Cannot run %s.\n", command[0]);
    return 127;
  }
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "Usage: run_on_desktop COMMAND [ARGUMENT...]\n");
    return 2;
  }
  try {
    PrivateDesktop desktop;
    auto prompt = desktop.launch(
        "gtk3_prompt", {"--kind", "dialog", "--title", "Camera access", "--text", "A web page wants to use the camera.",
                        "--button", "Don't Allow", "--button", "Allow"});
    if (!prompt.waitForOutput("ready")) std::fprintf(stderr, "The sample prompt did not come up.\n");
    return runThere(desktop, argv + 1);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "No desktop: %s\n", error.what());
    return 1;
  }
}
