#include "platform/linux/accessibility/BusWatch.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/qt/ThreadTraits.h"

namespace quillard::atspi {
namespace {

constexpr std::chrono::seconds kGreetingTimeout{1};
constexpr int kRetryMilliseconds = 5'000;
constexpr int kNoFile = -1;

int pollTimeout(sd_bus* bus) {
  std::uint64_t deadline = 0;
  if (sd_bus_get_timeout(bus, &deadline) <= 0 || deadline == UINT64_MAX) return -1;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto present =
      static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
  return deadline <= present ? 0 : static_cast<int>(std::min<std::uint64_t>((deadline - present) / 1000 + 1, 60'000));
}

}  // namespace

BusWatch::BusWatch(FindAddress findAddress, std::vector<std::string> matchRules, std::function<void()> onNews,
                   BusWatchHooks hooks)
    : findAddress(std::move(findAddress)),
      matchRules(std::move(matchRules)),
      onNews(std::move(onNews)),
      hooks(std::move(hooks)),
      wakeFile(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread([this] { run(); }) {}

BusWatch::~BusWatch() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(wakeFile, &one, sizeof one);
  thread.join();
  close(wakeFile);
}

void BusWatch::run() {
  qt::setThreadTraits("accessibility-news", platform::QualityOfService::utility);
  if (matchRules.empty()) return;
  while (true) {
    if (auto connection = connect()) {
      if (hooks.onConnect) hooks.onConnect(*connection);
      onNews();  // Whatever happened while nothing listened.
      listen(*connection);
      if (hooks.onEnd) hooks.onEnd(*connection);
      onNews();
    }
    if (!pause(kRetryMilliseconds, kNoFile, 0)) return;
  }
}

std::unique_ptr<BusConnection> BusWatch::connect() {
  const auto address = findAddress();
  auto connection = address ? BusConnection::open(*address, kGreetingTimeout) : nullptr;
  if (!connection) return nullptr;
  for (const auto& rule : matchRules) {
    if (sd_bus_add_match_async(connection->handle(), nullptr, rule.c_str(), onSignal, nullptr, this) < 0)
      return nullptr;
  }
  return connection;
}

void BusWatch::listen(BusConnection& connection) {
  while (connection.drain()) {
    const int file = sd_bus_get_fd(connection.handle());
    const int events = sd_bus_get_events(connection.handle());
    if (file < 0 || events < 0) return;
    if (!pause(waitingTime(connection), file, static_cast<short>(events))) return;
    if (hooks.onWake) hooks.onWake();
  }
}

int BusWatch::waitingTime(const BusConnection& connection) const {
  const int timeout = pollTimeout(connection.handle());
  const auto wake = hooks.wakeAfter ? hooks.wakeAfter() : std::nullopt;
  if (!wake) return timeout;
  const auto due = static_cast<int>(std::clamp<std::int64_t>(wake->count(), 0, 60'000));
  return timeout < 0 ? due : std::min(timeout, due);
}

bool BusWatch::pause(int milliseconds, int otherFile, short otherEvents) const {
  std::array<pollfd, 2> files{{{wakeFile, POLLIN, 0}, {otherFile, otherEvents, 0}}};
  poll(files.data(), otherFile == kNoFile ? 1 : 2, milliseconds);
  return (files[0].revents & POLLIN) == 0;
}

int BusWatch::onSignal(sd_bus_message* signal, void* watch, sd_bus_error*) {
  const auto& self = *static_cast<BusWatch*>(watch);
  if (!self.hooks.isNews || self.hooks.isNews(signal)) self.onNews();
  return 0;
}

}  // namespace quillard::atspi
