#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include "desktop/BusMonitor.h"
#include "desktop/LinuxAccessibilityWorld.h"
#include "private-desktop/DesktopBus.h"

// What the cache of a real toolkit says, beside a walk of the same windows.
namespace quillard::test {
namespace {

// A desktop on which somebody has asked for an event, as screen readers do, and as the agent does on most desktops:
// since then programs of GTK 3 have a cache.
class World : public LinuxAccessibilityWorld {
 public:
  World() : listener(desktop.accessibilityBusAddress()) {
    const int result = sd_bus_call_method(listener.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                                          "org.a11y.atspi.Registry", "RegisterEvent", nullptr, nullptr, "sass",
                                          "window:create", 0, "");
    EXPECT_GE(result, 0);
  }

  // All that a scan may learn of the windows of a process. Empty: not all of it could be read.
  [[nodiscard]] std::string windowsOf(std::int32_t process, atspi::LinuxAccessibility& by) {
    const auto application = by.createApplication(process);
    const auto scope = by.beginScanScope();
    scope->prepareApplications({&application, 1}, 80);
    std::string text;
    for (const auto& window : AXHelpers::windows(*scope, application)) text += outline(*scope, window, true);
    return scope->missedTimeout(application) ? "" : text;
  }
  // By an agent that meets the program for the first time.
  [[nodiscard]] std::string walked(std::int32_t process) {
    atspi::LinuxAccessibility newcomer{
        {.sessionBusAddress = desktop.sessionBusAddress(), .messagingTimeout = kMessagingTimeout}, windows, executors};
    return windowsOf(process, newcomer);
  }
  // By the agent that has met it.
  [[nodiscard]] std::string known(std::int32_t process) { return windowsOf(process, accessibility); }
  // What it takes to prepare a scan of one program.
  [[nodiscard]] std::uint64_t callsFor(std::int32_t process) {
    const auto before = accessibility.counters().calls.load();
    const auto application = accessibility.createApplication(process);
    accessibility.beginScanScope()->prepareApplications({&application, 1}, 80);
    return accessibility.counters().calls.load() - before;
  }

 private:
  privatedesktop::DesktopBus listener;
};

struct Sample {
  const char* program;
  std::vector<std::string> arguments;
};

// Dialogs, fields, tables, tabs, what is hidden, and windows too large for a cache.
const std::vector<Sample>& samples() {
  static const std::vector<Sample> table{
      {"zenity", {"--question", "--title=S0", "--text=Allow the example?"}},
      {"zenity", {"--entry", "--title=S1", "--text=Name", "--entry-text=here"}},
      {"zenity", {"--password", "--title=S2"}},
      {"zenity", {"--forms", "--title=S3", "--add-entry=One", "--add-password=Two", "--add-combo=Three"}},
      {"zenity", {"--list", "--title=S4", "--column=A", "--column=B", "1", "2", "3", "4"}},
      {"zenity", {"--calendar", "--title=S5"}},
      {"zenity", {"--scale", "--title=S6"}},
      {"gtk3_prompt",
       {"--title", "S7", "--text", "Shown", "--hidden-text", "Hidden", "--zero-size-text", "None", "--button", "No",
        "--button", "Yes", "--hidden-button", "Never"}},
      {"gtk3_prompt", {"--kind", "main-window", "--title", "S8", "--toolbar", "--tabs", "--widgets", "60"}},
      {"gtk3_prompt", {"--kind", "main-window", "--title", "S9", "--widgets", "400", "--button", "OK"}},
      {"gtk3_prompt", {"--kind", "window-prompt", "--title", "S10", "--prompt-title", "Inside", "--button", "OK"}},
      {"gtk3_prompt", {"--kind", "preferences", "--title", "S11", "--button", "OK"}},
      {"gtk3_prompt", {"--kind", "file-chooser", "--title", "S12"}},
  };
  return table;
}

TEST(CachedTreesOnADesktop, AreWhatAWalkFindsInEverySample) {
  World world;
  std::vector<DesktopProgram> programs;
  for (const auto& sample : samples()) programs.push_back(world.desktop.launch(sample.program, sample.arguments));
  BusMonitor caches{world.desktop.accessibilityBusAddress(), "interface='org.a11y.atspi.Cache',member='GetItems'"};
  for (std::size_t i = 0; i < programs.size(); ++i) {
    const auto process = programs[i].pid();
    std::string walk;
    std::string cached;
    // Windows that have just come may still move, or be busy.
    EXPECT_TRUE(waitFor([&] {
      (void)world.known(process);
      walk = world.walked(process);
      cached = world.known(process);
      return !walk.empty() && walk == cached && walk == world.walked(process);
    })) << "sample "
        << i << "\n"
        << walk << "and by the cache\n"
        << cached;
  }
  EXPECT_GE(caches.calls(), 8) << "Most of these are small.";
}

TEST(CachedTreesOnADesktop, TakeAQuarterOfTheCallsForADialog) {
  World world;
  auto program = world.desktop.launch("zenity", {"--question", "--title=Permission", "--text=Allow the example?"});
  ASSERT_TRUE(world.window(program.pid(), "Permission"));
  // The list of programs, their windows, the cache, and the places of the window, the text and two buttons.
  EXPECT_TRUE(waitFor([&] { return world.callsFor(program.pid()) == 1U + 2U + 4U; })) << world.callsFor(program.pid());
}

// The number behind `word` in what the dialog says now, which counts up. -1: it says none.
int numberAfter(const std::string& word, const std::string& outline) {
  const auto at = outline.find(word + " ");
  return at == std::string::npos ? -1 : std::atoi(outline.c_str() + at + word.size() + 1);
}
int stepIn(const std::string& outline) { return numberAfter("step", outline); }

TEST(CachedTreesOnADesktop, AreNeverOlderThanTheWalkBeforeThem) {
  World world;
  auto program = world.desktop.launch("sh", {"-c",
                                             "i=0; while sleep 0.01; do i=$((i+1)); echo \"# step $i\"; done | "
                                             "exec zenity --progress --title=Counting"});
  const auto process = [&] {
    for (const auto pid : world.accessibility.processIdentifiers().value_or(std::vector<std::int32_t>{})) {
      if (world.walked(pid).find("Counting") != std::string::npos) return pid;
    }
    return -1;
  };
  std::int32_t zenity = -1;
  ASSERT_TRUE(waitFor([&] { return (zenity = process()) >= 0 && stepIn(world.walked(zenity)) >= 0; }));
  (void)world.known(zenity);
  int cachedReadings = 0;
  for (int i = 0; i < 30; ++i) {
    const int before = stepIn(world.walked(zenity));
    const auto calls = world.accessibility.counters().calls.load();
    const int cached = stepIn(world.known(zenity));
    if (world.accessibility.counters().calls.load() - calls < 25) ++cachedReadings;
    const int after = stepIn(world.walked(zenity));
    EXPECT_LE(before, cached);
    EXPECT_LE(cached, after);
  }
  EXPECT_GT(cachedReadings, 0);
}

TEST(CachedTreesOnADesktop, KnowEachButtonOfADialogWhoseButtonsChangeWhileItIsRead) {
  World world;
  auto program = world.desktop.launch("gtk3_prompt", {"--title", "Restless", "--restless", "--button", "No"});
  const auto process = program.pid();
  ASSERT_TRUE(waitFor([&] { return numberAfter("Choice", world.known(process)) > 0; }));
  BusMonitor caches{world.desktop.accessibilityBusAddress(), "interface='org.a11y.atspi.Cache',member='GetItems'"};
  for (int i = 0; i < 20; ++i) {
    const auto before = world.walked(process);
    const auto cached = world.known(process);
    const auto after = world.walked(process);
    EXPECT_LE(numberAfter("Round", before), numberAfter("Round", cached));
    EXPECT_LE(numberAfter("Round", cached), numberAfter("Round", after));
    // A button may go while it is read, and then there is none.
    if (numberAfter("Choice", cached) >= 0) {
      EXPECT_LE(numberAfter("Choice", before), numberAfter("Choice", cached));
      if (numberAfter("Choice", after) >= 0) {
        EXPECT_LE(numberAfter("Choice", cached), numberAfter("Choice", after));
      }
    }
  }
  ASSERT_TRUE(waitFor([&] { return numberAfter("Choice", world.walked(process)) == 100; }));
  for (int i = 0; i < 10; ++i) EXPECT_EQ(world.known(process), world.walked(process));
  EXPECT_GT(caches.calls(), 0);
}

TEST(CachedTreesOnADesktop, AreNotAskedForWhatIsActedOn) {
  World world;
  auto program = world.desktop.launch("zenity", {"--question", "--title=Permission", "--text=Allow the example?"});
  ASSERT_TRUE(world.window(program.pid(), "Permission"));
  ASSERT_TRUE(waitFor([&] { return world.callsFor(program.pid()) == 1U + 2U + 4U; })) << "It has a cache.";
  const auto before = world.accessibility.counters().calls.load();
  const auto application = world.accessibility.createApplication(program.pid());
  world.accessibility.beginReadScope()->prepareApplications({&application, 1}, 80);
  EXPECT_GE(world.accessibility.counters().calls.load() - before, 40U);
}

}  // namespace
}  // namespace quillard::test
