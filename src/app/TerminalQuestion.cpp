#include "app/TerminalQuestion.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string>

#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include "app/AskTool.h"

namespace quillard::app {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kLongestWait{1'000'000};
constexpr std::chrono::microseconds::rep kMicroseconds = 1'000'000;

bool writeText(int descriptor, const std::string& text) {
  return ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

// A line at a time from a descriptor, until a deadline.
class LineReader {
 public:
  LineReader(int descriptor, SteadyClock::time_point deadline, const std::function<bool()>& hasEnded)
      : descriptor(descriptor), deadline(deadline), hasEnded(hasEnded) {}

  // Without its end; bounded.
  std::variant<std::string, TerminalEnd> next() {
    std::string line;
    while (line.size() < QuestionRequest::kLongestLabel) {
      if (const auto end = waitForInput()) return *end;
      char character = 0;
      const auto length = ::read(descriptor, &character, 1);
      if (length < 0 && errno == EINTR) continue;
      if (length <= 0) return TerminalEnd::noTerminal;
      if (character == '\n') return line;
      line += character;
    }
    return line;
  }

 private:
  // Absent: there is something to be read. By select, since poll knows no terminals on a Mac.
  [[nodiscard]] std::optional<TerminalEnd> waitForInput() const {
    while (true) {
      if (hasEnded()) return TerminalEnd::interrupted;
      const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - SteadyClock::now());
      if (left.count() <= 0) return TerminalEnd::timedOut;
      const auto wait = std::min(left, kLongestWait);
      timeval interval{.tv_sec = wait.count() / kMicroseconds,
                       .tv_usec = static_cast<suseconds_t>(wait.count() % kMicroseconds)};
      fd_set waited;
      FD_ZERO(&waited);
      FD_SET(descriptor, &waited);
      const int count = ::select(descriptor + 1, &waited, nullptr, nullptr, &interval);
      if (count > 0) return std::nullopt;
      if (count < 0 && errno != EINTR) return TerminalEnd::noTerminal;
    }
  }

  const int descriptor;
  const SteadyClock::time_point deadline;
  const std::function<bool()>& hasEnded;
};

}  // namespace

std::variant<std::size_t, TerminalEnd> askAtTerminal(int terminal, const QuestionRequest& request, Seconds timeout,
                                                     const std::function<bool()>& hasEnded) {
  if (terminal < 0 || terminal >= FD_SETSIZE) return TerminalEnd::noTerminal;
  const auto deadline = SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(timeout);
  LineReader lines(terminal, deadline, hasEnded);
  while (writeText(terminal, terminalText(request))) {
    const auto line = lines.next();
    if (const auto* const end = std::get_if<TerminalEnd>(&line)) return *end;
    if (const auto chosen = chosenButton(request, std::get<std::string>(line))) return *chosen;
  }
  return TerminalEnd::noTerminal;
}

}  // namespace quillard::app
