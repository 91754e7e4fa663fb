#include <functional>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/accessibility/SessionLock.h"
#include "support/FakeAccessibilityBus.h"
#include "support/TemporaryFolder.h"

namespace quillard::atspi {
namespace {

using test::FakeAccessibilityBus;
using test::FakeProgram;

constexpr const char* kOfCaller = "/org/freedesktop/login1/session/auto";
constexpr const char* kOfUser = "/org/freedesktop/login1/user/self";
constexpr const char* kDisplay = "/org/freedesktop/login1/session/c7";

// What the login manager answers when it is asked for the hint of the caller's session; of the one that the user sees
// it knows nothing.
bool isLockedWhen(const std::function<bool(sd_bus_message*)>& answer) {
  const FakeAccessibilityBus bus;
  const FakeProgram manager(bus.address(), "org.freedesktop.login1", [&](sd_bus_message* message) {
    const std::string path = sd_bus_message_get_path(message);
    EXPECT_STREQ(sd_bus_message_get_member(message), "Get");
    if (path == kOfUser) return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "none") >= 0;
    EXPECT_EQ(path, kOfCaller);
    return answer(message);
  });
  AccessibilityCounters counters;
  return isSessionLocked(bus.address(), counters);
}

TEST(SessionLock, IsWhatTheLoginManagerSays) {
  const auto hint = [](int isLocked) {
    return [isLocked](sd_bus_message* message) { return sd_bus_reply_method_return(message, "v", "b", isLocked) >= 0; };
  };
  EXPECT_TRUE(isLockedWhen(hint(1)));
  EXPECT_FALSE(isLockedWhen(hint(0)));
}

TEST(SessionLock, CountsAsLockedWhileTheLoginManagerDoesNotTell) {
  EXPECT_TRUE(isLockedWhen([](sd_bus_message*) { return true; })) << "It is silent.";
  EXPECT_TRUE(isLockedWhen(
      [](sd_bus_message* message) { return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "no") >= 0; }));
  EXPECT_TRUE(isLockedWhen(
      [](sd_bus_message* message) { return sd_bus_reply_method_return(message, "v", "s", "locked") >= 0; }));
}

TEST(SessionLock, IsNotKnownWithoutALoginManagerOrASession) {
  EXPECT_FALSE(isLockedWhen([](sd_bus_message* message) {
    return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "no session") >= 0;
  }));
  const FakeAccessibilityBus bus;
  AccessibilityCounters counters;
  EXPECT_FALSE(isSessionLocked(bus.address(), counters)) << "no login manager";
  EXPECT_FALSE(isSessionLocked("unix:path=/nowhere", counters)) << "no bus";
  EXPECT_FALSE(isSessionLocked(std::nullopt, counters));
}

// An agent that a service manager starts is in a session of its own, which is never locked.
TEST(SessionLock, IsThatOfTheSessionThatTheUserSees) {
  for (const bool isLocked : {true, false}) {
    const FakeAccessibilityBus bus;
    const FakeProgram manager(bus.address(), "org.freedesktop.login1", [&](sd_bus_message* message) {
      const std::string path = sd_bus_message_get_path(message);
      if (path == kOfUser) return sd_bus_reply_method_return(message, "v", "(so)", "c7", kDisplay) >= 0;
      return sd_bus_reply_method_return(message, "v", "b", path == kDisplay && isLocked ? 1 : 0) >= 0;
    });
    AccessibilityCounters counters;
    EXPECT_EQ(isSessionLocked(bus.address(), counters), isLocked);
  }
}

TEST(SessionLock, CountsAsLockedWhileNothingTellsWhichSessionTheUserSees) {
  const FakeAccessibilityBus bus;
  const FakeProgram manager(bus.address(), "org.freedesktop.login1", [&](sd_bus_message* message) {
    if (std::string(sd_bus_message_get_path(message)) == kOfUser) return true;
    return sd_bus_reply_method_return(message, "v", "b", 0) >= 0;
  });
  AccessibilityCounters counters;
  EXPECT_TRUE(isSessionLocked(bus.address(), counters));
}

TEST(SessionLock, CountsAsLockedWhileTheBusIsThereAndDoesNotGreet) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path() + "/bus";
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  path.copy(place.sun_path, sizeof(place.sun_path) - 1);
  const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(listening, 0);
  ASSERT_EQ(::bind(listening, reinterpret_cast<const sockaddr*>(&place), sizeof(place)), 0);
  ASSERT_EQ(::listen(listening, 4), 0);
  AccessibilityCounters counters;
  EXPECT_TRUE(isSessionLocked("unix:path=" + path, counters));
  ::close(listening);
  EXPECT_FALSE(isSessionLocked("unix:path=" + path, counters)) << "Nothing listens there any more.";
}

// It has gone from the bus while it was asked.
TEST(SessionLock, CountsAsLockedWhenTheLoginManagerGoesWithoutAnAnswer) {
  EXPECT_TRUE(isLockedWhen([](sd_bus_message* message) {
    return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_NO_REPLY, "it has gone") >= 0;
  }));
}

}  // namespace
}  // namespace quillard::atspi
