#include <functional>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/accessibility/SessionLock.h"
#include "support/FakeAccessibilityBus.h"

namespace quillard::atspi {
namespace {

using test::FakeAccessibilityBus;
using test::FakeProgram;

// What the login manager answers when it is asked for the hint of the caller's session.
bool isLockedWhen(const std::function<bool(sd_bus_message*)>& answer) {
  const FakeAccessibilityBus bus;
  const FakeProgram manager(bus.address(), "org.freedesktop.login1", [&](sd_bus_message* message) {
    EXPECT_STREQ(sd_bus_message_get_path(message), "/org/freedesktop/login1/session/auto");
    EXPECT_STREQ(sd_bus_message_get_member(message), "Get");
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

}  // namespace
}  // namespace quillard::atspi
