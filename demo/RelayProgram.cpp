#include "demo/RelayProgram.h"

#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "foundation/PrintableText.h"
#include "private-desktop/FileContents.h"
#include "private-desktop/Waiting.h"

namespace quillard::demo {
namespace {

constexpr std::uint16_t kUsualPort = 8080;
constexpr std::uint16_t kAnyPort = 0;
constexpr const char* kHost = "127.0.0.1:";
constexpr std::size_t kLinesToShow = 12;

bool isFree(std::uint16_t port) {
  const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int yes = 1;
  ::setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(port);
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool isBound = ::bind(probe, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
  ::close(probe);
  return isBound;
}

// What stands behind "Listening on", once its line is whole.
std::optional<std::string> announcedAddress(const std::string& output) {
  constexpr std::string_view kSign = "Listening on ";
  const auto begin = output.find(kSign);
  const auto end = begin == std::string::npos ? begin : output.find('\n', begin);
  if (end == std::string::npos) return std::nullopt;
  return output.substr(begin + kSign.size(), end - begin - kSign.size());
}

void makePrivateFolder(const std::string& folder) {
  std::filesystem::create_directories(folder);
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
}

Variables environmentOfRelay() {
  Variables environment;
  for (const char* const name : {"PATH", "HOME", "LANG", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

}  // namespace

RelayProgram::RelayProgram(const Places& places, const std::function<bool()>& isCancelled)
    : log(places.folder + "/relay.log") {
  makePrivateFolder(places.folder);
  // Another process may take the usual port between this check and the relay's own attempt.
  bool isUp = isFree(kUsualPort) && start(places, kUsualPort, isCancelled);
  if (!isUp && !isCancelled() && !isFree(kUsualPort)) isUp = start(places, kAnyPort, isCancelled);
  if (!isUp) throw std::runtime_error("The relay is not up.\n" + lastLines(log));
}

bool RelayProgram::start(const Places& places, std::uint16_t port, const std::function<bool()>& isCancelled) {
  std::filesystem::remove(log);
  program = std::make_unique<Service>(
      Service::Start{.command = {places.program, "--listen", kHost + std::to_string(port), "--database",
                                 places.folder + "/relay.db", "--page", places.page},
                     .environment = environmentOfRelay(),
                     .logFile = log});
  std::optional<std::string> announced;
  static_cast<void>(privatedesktop::waitFor([&] {
    const bool isOver = program->exitCode() || isCancelled();
    announced = announcedAddress(privatedesktop::fileContents(log));
    return announced || isOver;
  }));
  base = announced.value_or("");
  return announced.has_value();
}

std::string RelayProgram::socketAddress() const { return "ws" + base.substr(std::string_view("http").size()) + "/ws"; }

bool RelayProgram::isOnUsualPort() const { return base.ends_with(":" + std::to_string(kUsualPort)); }

std::string lastLines(const std::string& logFile) {
  std::ifstream file(logFile);
  std::deque<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back("  " + printableText(line) + "\n");
    if (lines.size() > kLinesToShow) lines.pop_front();
  }
  std::string text;
  for (const auto& line : lines) text += line;
  return text;
}

}  // namespace quillard::demo
