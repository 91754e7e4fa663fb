#include "demo/PhoneProgram.h"

#include <cstdio>
#include <stdexcept>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

namespace quillard::demo {
namespace {

// A locked keyring asks its user first.
constexpr std::chrono::seconds kKeyringTimeout{60};
constexpr const char* kNoAgent = "No agent runs";
constexpr int kTriesToReachTheAgent = 120;
constexpr std::chrono::milliseconds kPauseBetweenTries{250};
constexpr const char* kSecondsForTheAgent = "30";
constexpr const char* kSecondsForAnAnswer = "90";

Variables presentVariables() {
  Variables result;
  for (char** entry = environ; *entry; ++entry) result.emplace_back(*entry);
  return result;
}

// A secret that is handed to a program and written nowhere.
class HandedText {
 public:
  explicit HandedText(const std::string& text) : descriptor(::memfd_create("pairing", MFD_CLOEXEC)) {
    if (descriptor < 0 || ::write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      throw std::runtime_error("The pairing cannot be handed to the phone.");
    }
  }
  HandedText(const HandedText&) = delete;
  HandedText& operator=(const HandedText&) = delete;
  ~HandedText() { ::close(descriptor); }
  const int descriptor;
};

auto printPairing(const RunningDemo& running, const std::function<bool()>& isCancelled) {
  return run({running.agent, "pair", "--text", "--force"}, running.environment, kKeyringTimeout, isCancelled);
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

std::optional<std::string> pairingTextWithoutAgent(const RunningDemo& running,
                                                   const std::function<bool()>& isCancelled) {
  const auto printed = printPairing(running, isCancelled);
  return printed.code == 0 ? std::optional(firstLine(printed.output)) : std::nullopt;
}

std::optional<std::string> pairingTextOf(const RunningDemo& running, const std::function<bool()>& isCancelled) {
  auto printed = printPairing(running, isCancelled);
  for (int tries = 0; tries < kTriesToReachTheAgent && printed.errors.find(kNoAgent) != std::string::npos; ++tries) {
    if (isCancelled && isCancelled()) break;
    std::this_thread::sleep_for(kPauseBetweenTries);
    printed = printPairing(running, isCancelled);
  }
  if (printed.code == 0) return firstLine(printed.output);
  if (!isCancelled || !isCancelled()) std::fprintf(stderr, "There is no pairing. %s\n", printed.errors.c_str());
  return std::nullopt;
}

bool waitForAgent(const std::string& pairingText, const std::function<bool()>& isCancelled) {
  const HandedText text(pairingText);
  Service waiting({.command = {"node", DEMO_AWAIT_COMPUTER, kSecondsForTheAgent},
                   .environment = presentVariables(),
                   .handedOn = text.descriptor});
  return waiting.waitForEnd(std::chrono::minutes(1), isCancelled) == 0;
}

std::unique_ptr<Service> startPhone(const std::string& program, const std::string& pairingText,
                                    const std::optional<std::string>& answer) {
  const HandedText text(pairingText);
  std::vector<std::string> command{"node", program, "--pairing", "/proc/self/fd/3"};
  if (answer) command.insert(command.end(), {"--answer=" + *answer, "--once", "--timeout", kSecondsForAnAnswer});
  return std::make_unique<Service>(Service::Start{
      .command = command, .environment = presentVariables(), .isInForeground = true, .handedOn = text.descriptor});
}

}  // namespace quillard::demo
