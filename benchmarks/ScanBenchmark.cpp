// What a scan of other programs' windows costs, beside the same walk by the usual library, in turns. A line a figure.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "benchmarks/Figures.h"
#include "benchmarks/SizedBenchmarks.h"
#include "desktop/LinuxAccessibilityWorld.h"
#include "detection/PromptReader.h"
#include "support/ChildProcess.h"

namespace quillard::benchmarks {
namespace {

using std::chrono::steady_clock;

constexpr int kDescendants = 80;  // As many of a window as a scan reads.

class Desk {
 public:
  void addDialogs(std::size_t count) {
    while (programs.size() < count) {
      const auto number = std::to_string(programs.size());
      add("zenity", {"--question", "--title=Permission " + number, "--text=Allow the example number " + number + "?"});
    }
    settle();
  }
  void addWindow(int widgets) {
    add("gtk3_prompt", {"--kind", "main-window", "--title", "Large", "--widgets", std::to_string(widgets)});
    settle();
  }
  void stopOne() { programs.front().stop(); }
  void resumeOne() { programs.front().resume(); }

  // Milliseconds for all windows, as a scan reads them.
  double scan() {
    const auto begin = steady_clock::now();
    const auto scope = world.accessibility.beginScanScope();
    scope->prepareApplications(applications, kDescendants);
    read = 0;
    for (const auto& application : applications) {
      for (const auto& window : AXHelpers::windows(*scope, application)) {
        (void)PromptReader::readPrompt(*scope, {.window = window, .appName = "zenity"}, kDescendants);
        ++read;
      }
    }
    return std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count();
  }
  // The same by the library.
  double walk() {
    if (!walker || walked != programs.size()) startWalker();
    std::fputs("go\n", questions.get());
    std::fflush(questions.get());
    return std::stod(walker->readLine().value_or("0")) / 1000;
  }
  [[nodiscard]] std::uint64_t waits() const { return world.accessibility.counters().waits; }
  [[nodiscard]] std::uint64_t calls() const { return world.accessibility.counters().calls; }
  [[nodiscard]] std::size_t windowsRead() const { return read; }

 private:
  void add(const std::string& program, const std::vector<std::string>& arguments) {
    programs.push_back(world.desktop.launch(program, arguments));
    applications.push_back(world.accessibility.createApplication(programs.back().pid()));
  }
  void settle() {
    const bool isReady =
        test::waitFor([&] { return scan() >= 0 && read == programs.size(); }, std::chrono::seconds{90});
    if (!isReady) throw std::runtime_error("Not every window could be read.");
  }
  void startWalker() {
    const std::string pipe = world.desktop.folder("tmp") + "/walk" + std::to_string(programs.size());
    if (::mkfifo(pipe.c_str(), 0600) != 0) throw std::runtime_error("No pipe.");
    std::vector<std::string> command{"sh", "-c", "exec \"$@\" <" + pipe, "sh", QUILLARD_ATSPI_WALK};
    for (const auto& program : programs) command.push_back(std::to_string(program.pid()));
    walker = std::make_unique<test::ChildProcess>(
        test::ChildProcess::Start{.command = command, .environment = world.desktop.environment()});
    questions.reset(std::fopen(pipe.c_str(), "we"));
    if (!questions || walker->readLine() != "ready")
      throw std::runtime_error("The walk by the library does not start.");
    walked = programs.size();
  }

  test::LinuxAccessibilityWorld world;
  std::vector<test::DesktopProgram> programs;
  std::vector<platform::AXUIElement> applications;
  std::unique_ptr<test::ChildProcess> walker;
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> questions;  // A line here is a walk.
  std::size_t walked = 0;
  std::size_t read = 0;
};

void compare(Desk& desk, const std::string& what, const std::string& goal) {
  std::vector<double> own;
  std::vector<double> other;
  (void)desk.walk();
  for (int i = 0; i < sized(41); ++i) {
    own.push_back(desk.scan());
    other.push_back(desk.walk());
  }
  const auto waits = desk.waits();
  const auto calls = desk.calls();
  (void)desk.scan();
  const auto cost = std::to_string(desk.calls() - calls) + " calls, " + std::to_string(desk.waits() - waits) + " waits";
  print({what + " (" + cost + ")", "the same walk by libatspi", medianOf(own), medianOf(other), "ms", goal});
}

// The library asks for events, so that programs of GTK 3 have their caches from its first walk on.
void dialogs() {
  Desk desk;
  const std::vector<std::size_t> counts = std::getenv("QUILLARD_SMALL_BENCHMARKS") == nullptr
                                              ? std::vector<std::size_t>{1, 10, 30}
                                              : std::vector<std::size_t>{1, 2};
  for (const auto count : counts) {
    desk.addDialogs(count);
    compare(desk, std::to_string(count) + " dialogs", count == 1 ? "2" : "6");
  }
  const auto most = counts.back();
  if (most > 2) {
    std::vector<double> well;
    std::vector<double> stopped;
    for (int i = 0; i < 5; ++i) {
      well.push_back(desk.scan());
      desk.stopOne();
      stopped.push_back(desk.scan());
      desk.resumeOne();
      (void)test::waitFor([&] { return desk.scan() >= 0 && desk.windowsRead() == most; });
    }
    const auto timeout = std::to_string(static_cast<int>(test::LinuxAccessibilityWorld::kMessagingTimeout.count()));
    print({"one of 30 programs stopped", "the same scan without it", medianOf(stopped), medianOf(well), "ms",
           "one time-out more, of " + timeout + " s here"});
  }
}

void largeWindow() {
  Desk desk;
  desk.addWindow(sized(1200));
  compare(desk, "a window of 1,200 elements, of which a scan reads 80", "3 ms");
}

}  // namespace
}  // namespace quillard::benchmarks

int main() {
  quillard::benchmarks::dialogs();
  quillard::benchmarks::largeWindow();
}
