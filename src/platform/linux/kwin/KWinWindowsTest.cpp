#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "platform/linux/kwin/KWinScripting.h"
#include "platform/linux/kwin/KWinWindows.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeKWin.h"
#include "support/PrivateBus.h"
#include "support/QtWait.h"

namespace quillard::kwin {
namespace {

using desktop::WindowCoverage;
using desktop::WindowsSnapshot;
using test::FakeKWin;
using test::waitUntil;
using Titles = std::vector<std::string>;

constexpr std::chrono::milliseconds kShort{50};  // A time-out that these tests wait for.
constexpr const char* kIdentifier = "{535313cc-489d-408a-a13b-7d916c4a3e5b}";

std::string stateWith(const std::string& title) {
  return std::string(R"({"windows":[{"id":")") + kIdentifier + R"(","pid":7,"title":")" + title + "\"}]}";
}

Titles titlesOf(const WindowsSnapshot& snapshot) {
  Titles titles;
  for (const auto& window : snapshot.windows) titles.push_back(window.name);
  return titles;
}

class KWinWindowsTest : public testing::Test {
 protected:
  void startKWin(const std::string& title = "Permission", const std::string& scriptPath = "/7") {
    fake = std::make_unique<FakeKWin>(bus.address(), scriptPath, stateWith(title));
  }
  void startAgent(std::chrono::milliseconds timeout = std::chrono::milliseconds{500}) {
    windows = std::make_unique<KWinWindows>(
        KWinOptions{.sessionBusAddress = bus.address(), .scriptFolder = bus.folder("run"), .timeout = timeout},
        executors.mainThread());
    subscription = windows->observe([this](const WindowsSnapshot& now) { reported.push_back(titlesOf(now)); });
  }
  std::vector<std::string> scriptFiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(bus.folder("run"))) {
      if (entry.path().extension() == ".js") files.push_back(entry.path().filename());
    }
    return files;
  }

  test::PrivateBus bus;
  qt::QtExecutors executors;
  std::unique_ptr<FakeKWin> fake;
  std::unique_ptr<KWinWindows> windows;
  platform::SubscriptionHandle subscription;
  std::vector<Titles> reported;
  const std::string ownScript = scriptNameOf(::getpid());
};

TEST_F(KWinWindowsTest, TheFirstQuestionWaitsForWhatTheScriptTells) {
  startKWin();
  startAgent();
  EXPECT_EQ(titlesOf(windows->snapshot()), Titles{"Permission"});
  EXPECT_EQ(windows->coverage(), WindowCoverage::all);
  EXPECT_TRUE(waitUntil([&] { return reported == std::vector<Titles>{{"Permission"}}; }));
  EXPECT_EQ(titlesOf(windows->lastSnapshot()), Titles{"Permission"});
}

TEST_F(KWinWindowsTest, ANewerVersionHasItsScriptsElsewhere) {
  startKWin("Permission", "/Scripting/Script7");
  startAgent();
  EXPECT_EQ(titlesOf(windows->snapshot()), Titles{"Permission"});
}

TEST_F(KWinWindowsTest, EachChangeIsTold) {
  startKWin();
  startAgent();
  ASSERT_TRUE(waitUntil([&] { return !reported.empty(); }));
  fake->tell(stateWith("Camera"));
  EXPECT_TRUE(waitUntil([&] { return reported.back() == Titles{"Camera"}; }));
  EXPECT_EQ(titlesOf(windows->snapshot()), Titles{"Camera"});
}

TEST_F(KWinWindowsTest, TheScriptAndItsFileGoWithTheAgent) {
  startKWin();
  startAgent();
  ASSERT_EQ(windows->snapshot().windows.size(), 1U);
  EXPECT_EQ(fake->loaded(), std::vector{ownScript});
  EXPECT_EQ(scriptFiles(), std::vector{ownScript});
  windows.reset();
  EXPECT_EQ(fake->loaded(), std::vector<std::string>{});
  EXPECT_EQ(scriptFiles(), std::vector<std::string>{});
}

TEST_F(KWinWindowsTest, KWinStartedAnewGetsTheScriptAgain) {
  startKWin();
  startAgent();
  ASSERT_EQ(windows->snapshot().windows.size(), 1U);
  fake.reset();
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::none; })) << "Nothing is known meanwhile.";
  startKWin("After");
  EXPECT_TRUE(waitUntil([&] { return titlesOf(windows->snapshot()) == Titles{"After"}; }));
  EXPECT_EQ(fake->loaded(), std::vector{ownScript});
}

TEST_F(KWinWindowsTest, KWinMayComeLater) {
  startAgent();
  EXPECT_EQ(windows->coverage(), WindowCoverage::none);
  startKWin();
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::all; }));
}

TEST_F(KWinWindowsTest, AKWinThatTakesNoScriptYetIsAskedAgain) {
  startKWin();
  fake->isReady = false;
  startAgent();
  EXPECT_EQ(windows->coverage(), WindowCoverage::none);
  fake->isReady = true;
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::all; }));
}

TEST_F(KWinWindowsTest, AKWinThatDoesWhatItWasAskedAfterTheTimeoutIsKnownAfterwards) {
  startKWin();
  fake->hold();
  startAgent(kShort);
  EXPECT_EQ(windows->coverage(), WindowCoverage::none);
  fake->release();
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::all; }));
  EXPECT_TRUE(waitUntil([&] { return reported == std::vector<Titles>{{"Permission"}}; })) << "and stays known";
  EXPECT_EQ(fake->loaded(), std::vector{ownScript});
}

TEST_F(KWinWindowsTest, AScriptThatWasLoadedButNotRunIsLoadedAgain) {
  startKWin();
  fake->runsScripts = false;
  startAgent(kShort);
  EXPECT_EQ(windows->coverage(), WindowCoverage::none);
  fake->runsScripts = true;
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::all; }));
  EXPECT_EQ(fake->loaded(), std::vector{ownScript});
}

TEST_F(KWinWindowsTest, AScriptThatReportsNothingIsLoadedAgain) {
  startKWin();
  fake->reports = false;
  startAgent(kShort);
  EXPECT_TRUE(waitUntil([&] { return fake->run().size() >= 2; }));
  EXPECT_EQ(windows->coverage(), WindowCoverage::none);
  fake->reports = true;
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::all; }));
}

TEST_F(KWinWindowsTest, OnlyKWinIsBelieved) {
  startKWin();
  startAgent();
  ASSERT_EQ(windows->snapshot().windows.size(), 1U);
  const auto script = fake->run().at(0);
  const auto begin = script.find("callDBus(\"") + 10;
  const auto agent = script.substr(begin, script.find('"', begin) - begin);
  sd_bus* other = nullptr;
  sd_bus_new(&other);
  sd_bus_set_address(other, bus.address().c_str());
  sd_bus_set_bus_client(other, 1);
  ASSERT_GE(sd_bus_start(other), 0);
  sd_bus_error error{};
  EXPECT_LT(sd_bus_call_method(other, agent.c_str(), kObjectPath, kInterface, kTellMember, &error, nullptr, "s",
                               stateWith("Forged").c_str()),
            0);
  sd_bus_error_free(&error);
  sd_bus_flush_close_unref(other);
  EXPECT_EQ(titlesOf(windows->snapshot()), Titles{"Permission"});
}

TEST_F(KWinWindowsTest, WhatCannotBeUnderstoodIsNoEmptyDesktop) {
  startKWin();
  startAgent();
  ASSERT_EQ(windows->coverage(), WindowCoverage::all);
  fake->tell("{");
  EXPECT_TRUE(waitUntil([&] { return windows->coverage() == WindowCoverage::none; }));
  fake->tell(stateWith("Again"));
  EXPECT_TRUE(waitUntil([&] { return titlesOf(windows->snapshot()) == Titles{"Again"}; }));
}

TEST_F(KWinWindowsTest, RaisingAndClosingRunAScriptEachThatIsGoneAfterwards) {
  startKWin();
  startAgent();
  const auto snapshot = windows->snapshot();
  ASSERT_EQ(snapshot.windows.size(), 1U);
  EXPECT_TRUE(windows->activate(snapshot.windows[0].id));
  EXPECT_TRUE(windows->close(snapshot.windows[0].id));
  EXPECT_FALSE(windows->activate(4)) << "no window of KWin";
  const auto run = fake->run();
  ASSERT_EQ(run.size(), 3U);
  EXPECT_EQ(run[1], requestScript(WindowRequest::activate, kIdentifier));
  EXPECT_EQ(run[2], requestScript(WindowRequest::close, kIdentifier));
  EXPECT_EQ(fake->loaded(), std::vector{ownScript});
  EXPECT_EQ(scriptFiles(), std::vector{ownScript});
}

TEST_F(KWinWindowsTest, WhatAnAgentThatWasKilledLeftBehindIsTakenAway) {
  constexpr std::int32_t kNobody = 0x3FFFFFFF;  // Beyond what the kernel gives out.
  startKWin();
  for (const auto& name : {scriptNameOf(kNobody), requestScriptNameOf(kNobody, 3)}) {
    std::ofstream(bus.folder("run") + "/" + name) << "left behind";
  }
  startAgent();
  ASSERT_EQ(windows->snapshot().windows.size(), 1U);
  EXPECT_EQ(scriptFiles(), std::vector{ownScript});
}

TEST_F(KWinWindowsTest, WithoutASessionBusNothingIsKnown) {
  KWinWindows none({.sessionBusAddress = std::nullopt, .scriptFolder = "/nowhere"}, executors.mainThread());
  EXPECT_EQ(none.coverage(), WindowCoverage::none);
  EXPECT_FALSE(none.activate(1));
}

}  // namespace
}  // namespace quillard::kwin
