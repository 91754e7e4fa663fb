#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/windows/ApplicationInfo.h"

namespace quillard::desktop {
namespace {

using platform::ActivationPolicy;
using platform::RunningApplication;
using platform::WorkspaceEventKind;

constexpr std::int32_t kProcess = 42;

Window windowOf(std::int32_t process, WindowID id, WindowType type = WindowType::normal) {
  return {.id = id, .processIdentifier = process, .type = type, .isMapped = true};
}

std::vector<ApplicationInfo> info(std::vector<Window> windows, const std::vector<std::int32_t>& accessible = {},
                                  std::optional<WindowID> active = std::nullopt) {
  return applicationInfos({.windows = std::move(windows), .active = active}, accessible);
}

TEST(ApplicationInfo, TheMostOfAnApplicationDecidesItsPolicy) {
  auto unlisted = windowOf(kProcess, 1);
  unlisted.skipsTaskbar = true;
  const auto normal = windowOf(kProcess, 2);
  const auto dialog = windowOf(kProcess, 3, WindowType::dialog);
  const auto panel = windowOf(kProcess, 4, WindowType::dock);
  const auto background = windowOf(kProcess, 5, WindowType::desktop);
  const auto notice = windowOf(kProcess, 6, WindowType::notification);
  struct Case {
    const char* what;
    std::vector<Window> windows;
    ActivationPolicy policy;
  };
  const std::vector<Case> cases{
      {"an ordinary window", {normal}, ActivationPolicy::regular},
      {"a prompt alone", {dialog}, ActivationPolicy::accessory},
      {"kept out of the task bar", {unlisted}, ActivationPolicy::accessory},
      {"an ordinary window and a prompt", {dialog, normal}, ActivationPolicy::regular},
      {"a panel", {panel}, ActivationPolicy::prohibited},
      {"the background", {background}, ActivationPolicy::prohibited},
      {"notifications", {notice}, ActivationPolicy::prohibited},
      {"a panel that asks something", {panel, dialog}, ActivationPolicy::accessory},
  };
  for (const auto& entry : cases) {
    const auto infos = info(entry.windows, {kProcess});
    ASSERT_EQ(infos.size(), 1U) << entry.what;
    EXPECT_EQ(infos[0].activationPolicy, entry.policy) << entry.what;
  }
}

TEST(ApplicationInfo, AProcessOnTheAccessibilityBusAloneIsAnAccessory) {
  EXPECT_EQ(info({}, {kProcess, 0, -3}), (std::vector<ApplicationInfo>{{.processIdentifier = kProcess}}));
}

TEST(ApplicationInfo, WindowsWithoutAnOwnerMakeNoApplication) { EXPECT_TRUE(info({{.id = 1}}).empty()); }

TEST(ApplicationInfo, EachProcessComesOnceByItsNumber) {
  const auto infos = info({windowOf(9, 1), windowOf(7, 2), windowOf(9, 3)}, {8, 7});
  ASSERT_EQ(infos.size(), 3U);
  EXPECT_EQ(infos[0].processIdentifier, 7);
  EXPECT_EQ(infos[1].processIdentifier, 8);
  EXPECT_EQ(infos[2].processIdentifier, 9);
}

TEST(ApplicationInfo, TheOwnerOfTheActiveWindowIsActive) {
  const auto infos = info({windowOf(7, 1), windowOf(9, 2)}, {}, 2);
  EXPECT_FALSE(infos[0].isActive);
  EXPECT_TRUE(infos[1].isActive);
}

TEST(ApplicationInfo, HiddenMeansThatAllWindowsAreMinimised) {
  auto minimised = windowOf(kProcess, 1);
  minimised.isHidden = true;
  EXPECT_TRUE(info({minimised})[0].isHidden);
  EXPECT_FALSE(info({minimised, windowOf(kProcess, 2)})[0].isHidden);
  EXPECT_FALSE(info({}, {kProcess})[0].isHidden);
}

TEST(ApplicationInfo, TheOldestWindowGivesTheClass) {
  auto younger = windowOf(kProcess, 5);
  younger.className = "Younger";
  auto oldest = windowOf(kProcess, 3);
  oldest.className = "Oldest";
  EXPECT_EQ(info({younger, windowOf(kProcess, 1), oldest})[0].windowClass, "Oldest");
}

RunningApplication app(std::int32_t process) { return {.processIdentifier = process}; }
RunningApplication active(std::int32_t process) { return {.processIdentifier = process, .isActive = true}; }
RunningApplication hidden(std::int32_t process) { return {.processIdentifier = process, .isHidden = true}; }
RunningApplication ended(std::int32_t process) { return {.processIdentifier = process, .isTerminated = true}; }

struct EventCase {
  const char* what;
  WorkspaceState before;
  WorkspaceState after;
  std::vector<std::pair<WorkspaceEventKind, std::optional<RunningApplication>>> expected;
};

TEST(WorkspaceEvents, FollowFromTwoLooks) {
  using enum WorkspaceEventKind;
  const std::vector<EventCase> cases{
      {"nothing", {{app(1), active(2)}, 0}, {{app(1), active(2)}, 0}, {}},
      {"launched", {{}, 0}, {{app(1)}, 0}, {{didLaunchApplication, app(1)}}},
      {"launched in front",
       {{}, 0},
       {{active(1)}, 0},
       {{didLaunchApplication, active(1)}, {didActivateApplication, active(1)}}},
      {"ended", {{active(1)}, 0}, {{}, 0}, {{didTerminateApplication, ended(1)}}},
      {"another one in front",
       {{active(1), app(2)}, 0},
       {{app(1), active(2)}, 0},
       {{didActivateApplication, active(2)}}},
      {"none in front", {{active(1)}, 0}, {{app(1)}, 0}, {}},
      {"hidden", {{app(1)}, 0}, {{hidden(1)}, 0}, {{didHideApplication, hidden(1)}}},
      {"unhidden", {{hidden(1)}, 0}, {{app(1)}, 0}, {{didUnhideApplication, app(1)}}},
      {"unhidden in front",
       {{hidden(1)}, 0},
       {{active(1)}, 0},
       {{didUnhideApplication, active(1)}, {didActivateApplication, active(1)}}},
      {"launched minimised", {{}, 0}, {{hidden(1)}, 0}, {{didLaunchApplication, hidden(1)}}},
      {"another desktop", {{app(1)}, 0}, {{app(1)}, 1}, {{activeSpaceDidChange, std::nullopt}}},
      {"a desktop that became known", {{app(1)}, std::nullopt}, {{app(1)}, 1}, {}},
      {"all gone with the server",
       {{app(1), app(2)}, 0},
       {{}, std::nullopt},
       {{didTerminateApplication, ended(1)}, {didTerminateApplication, ended(2)}}},
      {"all at once",
       {{app(1), hidden(2), app(3), app(4)}, 0},
       {{active(2), hidden(3), app(4), app(5)}, 1},
       {{activeSpaceDidChange, std::nullopt},
        {didLaunchApplication, app(5)},
        {didUnhideApplication, active(2)},
        {didActivateApplication, active(2)},
        {didHideApplication, hidden(3)},
        {didTerminateApplication, ended(1)}}},
  };
  for (const auto& entry : cases) {
    const auto events = eventsBetween(entry.before, entry.after);
    ASSERT_EQ(events.size(), entry.expected.size()) << entry.what;
    for (std::size_t i = 0; i < events.size(); ++i) {
      EXPECT_EQ(events[i].kind, entry.expected[i].first) << entry.what << ", event " << i;
      EXPECT_EQ(events[i].application, entry.expected[i].second) << entry.what << ", event " << i;
    }
  }
}

}  // namespace
}  // namespace quillard::desktop
