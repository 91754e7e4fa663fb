#include "tryout/PhoneProgram.h"

#include <cstdio>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace quillard::tryout {
namespace {

// A locked keyring asks its user first.
constexpr std::chrono::seconds kPatienceWithKeyrings{60};
constexpr const char* kSecondsForAnAnswer = "90";

Variables presentVariables() {
  Variables result;
  for (char** entry = environ; *entry; ++entry) result.emplace_back(*entry);
  return result;
}

}  // namespace

std::optional<std::string> pairingTextOf(const Road& road, const std::function<bool()>& isEnough) {
  const auto printed =
      run({road.agent, "pair", "--text", "--force"}, road.environment, kPatienceWithKeyrings, isEnough);
  if (printed.code == 0) return printed.output.substr(0, printed.output.find('\n'));
  if (!isEnough || !isEnough()) std::fprintf(stderr, "There is no pairing. %s\n", printed.errors.c_str());
  return std::nullopt;
}

std::unique_ptr<Service> startPhone(const std::string& program, const std::string& pairingText,
                                    const std::optional<std::string>& answer) {
  const int memory = ::memfd_create("pairing", MFD_CLOEXEC);  // It is written nowhere else.
  if (memory < 0) throw std::runtime_error("memfd_create");
  const bool isWritten =
      ::write(memory, pairingText.data(), pairingText.size()) == static_cast<ssize_t>(pairingText.size());
  if (!isWritten) throw std::runtime_error("The pairing cannot be handed to the phone.");
  std::vector<std::string> command{"node", program, "--pairing", "/proc/self/fd/3"};
  if (answer) {
    command.insert(command.end(), {"--answer=" + *answer, "--once", "--timeout", kSecondsForAnAnswer});
  }
  auto phone = std::make_unique<Service>(Service::Start{
      .command = command, .environment = presentVariables(), .isInForeground = true, .handedOn = memory});
  ::close(memory);
  return phone;
}

}  // namespace quillard::tryout
