// What the installed agent costs while nothing happens, beside another program of that kind if it is installed. Waits
// are the times at which a thread of the process had nothing left to do, so that each is a wake-up, too. A line a
// figure.

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "benchmarks/Figures.h"
#include "benchmarks/SizedBenchmarks.h"
#include "desktop/BusMonitor.h"
#include "desktop/SampleClient.h"
#include "e2e/AgentOnDesktop.h"
#include "platform/linux/x11/XcbWindows.h"

namespace quillard::benchmarks {
namespace {

namespace fs = std::filesystem;

struct Use {
  double waits = 0;         // Of all threads.
  double milliseconds = 0;  // Of a core.
};

// The number behind `key` in a file of the kernel's; 0 when there is none.
double numberIn(const fs::path& file, const std::string& key) {
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(key)) return std::stod(line.substr(key.size()));
  }
  return 0;
}

// What the threads of a process have used, added up from one look to the next: a thread that ends takes its numbers
// with it.
class UseOfProcess {
 public:
  explicit UseOfProcess(pid_t process) : process(process) {
    look();
    sum = {};
  }

  void look() {
    std::map<std::string, Use> now;
    for (const auto& thread : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
      const auto use = of(thread.path());
      const auto before = threads[thread.path()];  // Of a new one, nothing.
      sum.waits += use.waits - before.waits;
      sum.milliseconds += use.milliseconds - before.milliseconds;
      now[thread.path()] = use;
    }
    threads = std::move(now);
  }
  [[nodiscard]] const Use& used() const { return sum; }

 private:
  static Use of(const fs::path& thread) {
    double nanoseconds = 0;
    std::ifstream(thread / "schedstat") >> nanoseconds;
    return {numberIn(thread / "status", "voluntary_ctxt_switches:"), nanoseconds / 1e6};
  }

  const pid_t process;
  std::map<std::string, Use> threads;
  Use sum;
};

void sleepFor(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

// In a second. `wait`: lets so many of them pass.
Use rateOf(pid_t process, int seconds, const std::function<void(double)>& wait = sleepFor) {
  UseOfProcess use(process);
  for (int i = 0; i < seconds; ++i) {
    wait(1);
    use.look();
  }
  const auto& used = use.used();
  return {used.waits / seconds, used.milliseconds / seconds};
}

// Another program that waits for a phone in the background.
std::optional<std::string> otherProgram() {
  for (const char* path : {"/usr/lib/x86_64-linux-gnu/libexec/kdeconnectd", "/usr/libexec/kdeconnectd"}) {
    if (fs::exists(path)) return path;
  }
  std::fprintf(stderr, "kdeconnectd is not installed: idle figures stand alone.\n");
  return std::nullopt;
}

class Idle {
 public:
  explicit Idle(int phones) {
    relay.setPhones(phones);
    for (int i = 0; i < 5; ++i) {
      // With something in it: a window that shows nothing is taken for one that cannot be read, and looked at again.
      others.push_back(desktop.launch("gtk3_prompt", {"--kind", "main-window", "--title", "W" + std::to_string(i),
                                                      "--toolbar", "--tabs", "--widgets", "20"}));
    }
    agent.push_back(installed.start({{"QUILLARD_RELAY_URL", relay.url()}, {"QUILLARD_PAIRING_ID", "office"}}));
    if (!relay.waitForConnection()) throw std::runtime_error("The agent does not connect.");
    if (const auto other = otherProgram()) others.push_back(desktop.launch(*other));
    hasOther = others.size() > 5;
  }

  void closeWindow() {
    x11::XcbWindows windows{desktop.display()};
    bool wasOpen = false;
    const bool isClosed = test::waitFor([&] {
      bool isOpen = false;
      for (const auto& window : windows.snapshot().windows) {
        if (window.processIdentifier != agent.front().pid()) continue;
        isOpen = wasOpen = true;
        windows.close(window.id);
      }
      return wasOpen && !isOpen;
    });
    if (!isClosed) throw std::runtime_error("The window does not close.");
  }

  void measure(const std::string& state) {
    std::this_thread::sleep_for(std::chrono::seconds(sized(20)));  // What a start leaves behind.
    const int seconds = sized(60);
    const auto own = rateOf(agent.front().pid(), seconds);
    const auto other = hasOther ? rateOf(others.back().pid(), seconds) : Use{};
    print({"idle, " + state + ": waits a second", "kdeconnectd", own.waits, other.waits, "", "1"});
    print({"idle, " + state + ": % of a core", "kdeconnectd", own.milliseconds / 10, other.milliseconds / 10, "%",
           "0.008 %"});
    memory("Private_Dirty:", "private memory, " + state, "6");
    memory("Pss:", "proportional memory, " + state, "11");
  }

  // Beside the same desktop while it is quiet. A change at a tick is followed by a scan soon after it and by another
  // one, since a prompt is published by the second that meets it.
  void measureRestlessTitle() {
    test::SampleClient client{desktop.display()};
    const auto window = client.open({.name = "Title 0"});
    sleepFor(sized(20));
    const int seconds = sized(60);
    const auto quiet = rateOf(agent.front().pid(), seconds);
    test::BusMonitor scans{desktop.accessibilityBusAddress(),
                           "destination='org.a11y.atspi.Registry',member='GetChildren'"};
    int title = 0;
    const auto restless = rateOf(agent.front().pid(), seconds, [&](double length) {
      for (double passed = 0; passed < length; passed += 0.1) {
        client.setText(window, "_NET_WM_NAME", "UTF8_STRING", "Title " + std::to_string(++title));
        sleepFor(0.1);
      }
    });
    const std::string what = "a title that changes ten times a second: ";
    print({what + "scans a second", "none while it is quiet", static_cast<double>(scans.calls()) / seconds, 0, "",
           "1, all of ticks"});
    print({what + "waits a second", "quiet", restless.waits, quiet.waits, "", ""});
    print({what + "% of a core", "quiet", restless.milliseconds / 10, quiet.milliseconds / 10, "%", ""});
  }

 private:
  void memory(const std::string& key, const std::string& what, const std::string& goal) {
    const auto of = [&](const test::DesktopProgram& program) {
      return numberIn("/proc/" + std::to_string(program.pid()) + "/smaps_rollup", key) / 1024;
    };
    print({what, "kdeconnectd", of(agent.front()), hasOther ? of(others.back()) : 0, "MB", goal + " MB"});
  }

  test::PrivateDesktop desktop;
  test::TestRelay relay;
  test::InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  std::vector<test::DesktopProgram> agent;
  std::vector<test::DesktopProgram> others;
  bool hasOther = false;
};

}  // namespace
}  // namespace quillard::benchmarks

int main() {
  {
    quillard::benchmarks::Idle idle{0};
    idle.closeWindow();
    idle.measure("window closed, no phone");
  }
  quillard::benchmarks::Idle idle{1};
  idle.measure("window open, with a phone");
  idle.measureRestlessTitle();
}
