#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include "demo/DemoSocket.h"
#include "demo/DemoTexts.h"
#include "demo/LoginStart.h"
#include "demo/Service.h"
#include "demo/Variables.h"
#include "private-desktop/TemporaryFolder.h"
#include "private-desktop/Waiting.h"

namespace quillard::demo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const Variables kPath{"PATH=/usr/bin:/bin"};

Service::Start shell(const std::string& script) { return {.command = {"sh", "-c", script}, .environment = kPath}; }

bool contains(const std::string& text, const std::string& piece) { return text.find(piece) != std::string::npos; }

// ---- Variables

TEST(Variables, AreReplacedAndRead) {
  const auto variables = with({"A=1", "AB=2", "EMPTY="}, "A", "3");
  EXPECT_EQ(variables, (Variables{"AB=2", "EMPTY=", "A=3"}));
  EXPECT_EQ(valueOf(variables, "A"), "3");
  EXPECT_EQ(valueOf(variables, "AB"), "2");
  EXPECT_EQ(valueOf(variables, "EMPTY"), std::nullopt);
  EXPECT_EQ(valueOf(variables, "B"), std::nullopt);
}

// ---- The start at login

TEST(LoginStart, GoesOnlyWhereItStartsThatProgram) {
  const privatedesktop::TemporaryFolder folder;
  const Variables environment{"HOME=" + folder.path()};
  const std::string entry = folder.path() + "/.config/autostart/com.quillard.agent.desktop";
  const auto write = [&](const std::string& text) {
    fs::create_directories(fs::path(entry).parent_path());
    std::ofstream(entry) << text;
  };
  EXPECT_FALSE(withdrawStartOf("/x/quillard", environment));
  write("[Desktop Entry]\nTryExec=/usr/lib/quillard\n");
  EXPECT_FALSE(withdrawStartOf("/x/quillard", environment));
  write("[Desktop Entry]\nTryExec=/x/quillard\nHidden=true\n");
  EXPECT_FALSE(withdrawStartOf("/x/quillard", environment));
  EXPECT_TRUE(fs::exists(entry));
  write("[Desktop Entry]\nTryExec=/x/quillard\n");
  EXPECT_TRUE(withdrawStartOf("/x/quillard", environment));
  EXPECT_FALSE(fs::exists(entry));
}

// ---- Programs that go with us

TEST(Service, TellsItsEndAsAShellDoes) {
  EXPECT_EQ(Service(shell("exit 7")).waitForEnd(20s), 7);
  EXPECT_EQ(Service(shell("kill -KILL $$")).waitForEnd(20s), 128 + SIGKILL);
  EXPECT_EQ(run({"there-is-no-such-program"}, kPath, 20s).code, 127);
}

TEST(Service, IsAskedToEndBeforeItIsKilled) {
  const privatedesktop::TemporaryFolder folder;
  const auto endOf = [&folder](const std::string& trap, std::chrono::milliseconds timeout) {
    auto start = shell("trap '" + trap + "' TERM; echo ready; while :; do sleep 0.01; done");
    start.logFile = folder.path() + "/" + std::to_string(trap.size());
    Service program(start);
    EXPECT_TRUE(privatedesktop::waitFor([&] { return fs::file_size(start.logFile) > 0; }));
    program.end(timeout);
    return program.exitCode();
  };
  EXPECT_EQ(endOf("exit 5", 20s), 5);
  EXPECT_EQ(endOf("", 100ms), 128 + SIGKILL);
}

TEST(Service, TypesAndCtrlCAreForTheForegroundAlone) {
  const auto background = run({"sh", "-c", "ps -o pgid= -p $$ | tr -d ' '; cat"}, kPath, 20s);
  EXPECT_EQ(background.code, 0);  // Its input was at its end.
  EXPECT_NE(background.output, std::to_string(::getpgrp()) + "\n");
}

TEST(Service, WhatItPrintsIsKeptApart) {
  const auto printed = run({"sh", "-c", "echo out; echo wrong >&2; exit 3"}, kPath, 20s);
  EXPECT_EQ(printed.code, 3);
  EXPECT_EQ(printed.output, "out\n");
  EXPECT_EQ(printed.errors, "wrong\n");
}

TEST(Service, IsNotWaitedForWhenEnoughIsEnough) {
  const auto printed = run({"sleep", "600"}, kPath, 600s, [] { return true; });
  EXPECT_EQ(printed.code, std::nullopt);
}

// ---- Where one ./run finds another

class DemoSocketTest : public testing::Test {
 protected:
  DemoSocketTest() { ::setenv("QUILLARD_RUN_NAME", ("test-" + std::to_string(::getpid())).c_str(), 1); }
  ~DemoSocketTest() override { ::unsetenv("QUILLARD_RUN_NAME"); }

  // The server's side is asked while it waits, as it does in a process of its own.
  static std::optional<RunningDemo> found(const DemoSocket& demoSocket) {
    std::optional<RunningDemo> running;
    std::thread asking([&running] { running = DemoSocket::find(); });
    pollfd ready{demoSocket.descriptor(), POLLIN, 0};
    if (::poll(&ready, 1, 20'000) > 0) demoSocket.answer();
    asking.join();
    return running;
  }
};

TEST_F(DemoSocketTest, FindsNothingWhereNoDemoIsUp) { EXPECT_EQ(DemoSocket::find(), std::nullopt); }

TEST_F(DemoSocketTest, HandsAllOfTheRunningDemoOver) {
  const RunningDemo running{.page = "http://127.0.0.1:8080",
                            .agent = "/a b/quillard",
                            .isPrivate = true,
                            .environment = {"DISPLAY=:7", "LONG=" + std::string(100'000, 'x')}};
  const DemoSocket demoSocket(running);
  EXPECT_EQ(found(demoSocket), running);
  EXPECT_EQ(found(demoSocket), running);  // As often as asked.
}

TEST_F(DemoSocketTest, GoesWithItsOwner) {
  { const DemoSocket demoSocket({}); }
  EXPECT_EQ(DemoSocket::find(), std::nullopt);
}

TEST_F(DemoSocketTest, TheFirstKeepsThePlace) {
  const DemoSocket first({.page = "first"});
  const DemoSocket second({.page = "second"});
  EXPECT_EQ(second.descriptor(), -1);
  const auto running = found(first);
  ASSERT_TRUE(running);
  EXPECT_EQ(running->page, "first");
}

// ---- What is printed

TEST(Welcome, OfAPrivateDesktopShowsTheTextToPaste) {
  const auto text = welcome({.isPrivate = true, .page = "http://127.0.0.1:8080", .pairing = "{\"a\":1}"});
  EXPECT_TRUE(contains(text, "http://127.0.0.1:8080\n")) << text;
  EXPECT_TRUE(contains(text, "\n{\"a\":1}\n")) << text;
  EXPECT_TRUE(contains(text, "./run --phone")) << text;
  EXPECT_TRUE(contains(text, "docs/relay.md")) << text;
  EXPECT_FALSE(contains(text, "ssh -L")) << text;
}

TEST(Welcome, WithoutATerminalSaysWhereTheTextIsInstead) {
  const auto text = welcome({.isPrivate = true, .page = "http://127.0.0.1:8080"});
  EXPECT_TRUE(contains(text, "./run --pair")) << text;
  EXPECT_FALSE(contains(text, "picture")) << text;  // The window is on no screen.
}

TEST(Welcome, OnTheUsersOwnDesktopNamesTheWindow) {
  const auto text = welcome({.page = "http://127.0.0.1:8080"});
  EXPECT_TRUE(contains(text, "picture of the code in Quillard's window")) << text;
  EXPECT_TRUE(contains(text, "./run --sample")) << text;
}

TEST(Welcome, SaysWhenThePortIsAnotherOne) {
  EXPECT_TRUE(contains(welcome({.page = "http://127.0.0.1:4711", .isOnUsualPort = false}), "usual port is taken"));
  EXPECT_FALSE(contains(welcome({.page = "http://127.0.0.1:8080"}), "usual port is taken"));
}

TEST(Welcome, TellsWhoSitsElsewhereHowToGetThere) {
  const auto text = welcome({.isPrivate = true, .page = "http://127.0.0.1:4711", .isRemote = true});
  EXPECT_TRUE(contains(text, "ssh -L 4711:127.0.0.1:4711")) << text;
}

TEST(Welcome, NamesNoPageOfARelayThatIsNotOurs) {
  const auto text = welcome({.isPrivate = true});
  EXPECT_TRUE(contains(text, "QUILLARD_RELAY_URL")) << text;
  EXPECT_FALSE(contains(text, "127.0.0.1")) << text;
}

TEST(Fits, CountsColumnsAndLinesButNotColours) {
  const std::string code = "\x1B[30;47m█▀▄\x1B[0m\n\x1B[30;47m ▀ \x1B[0m\n";
  EXPECT_TRUE(fits(code, 3, 12, 10));
  EXPECT_FALSE(fits(code, 2, 12, 10));
  EXPECT_FALSE(fits(code, 3, 11, 10));
  EXPECT_TRUE(fits("", 0, 0, 0));
}

}  // namespace
}  // namespace quillard::demo
