#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVariant>
#include <gtest/gtest.h>

#include "platform/linux/system/AccessibilitySwitch.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/QtWait.h"

namespace quillard::desktop {
namespace {

using test::waitUntil;

constexpr const char* kLauncher = "/usr/libexec/at-spi-bus-launcher";

class AccessibilitySwitchTest : public testing::Test {
 protected:
  AccessibilitySwitchTest() { environment.set("DBUS_SESSION_BUS_ADDRESS", bus.address()); }
  // What came of switching it on: the error, empty for none.
  std::optional<std::string> turnOn() {
    AccessibilitySwitch accessibility(environment);
    std::optional<std::string> answer;
    if (!accessibility.turnOn([&](const std::optional<std::string>& error) { answer = error.value_or(""); })) {
      return std::nullopt;
    }
    EXPECT_FALSE(answer.has_value()) << "The answer comes in a later turn.";
    waitUntil([&] { return answer.has_value(); });
    return answer;
  }

  test::PrivateBus bus;
  platform::simulated::SimulatedEnvironment environment;
};

TEST_F(AccessibilitySwitchTest, IsNotThereWithoutABus) {
  environment.unset("DBUS_SESSION_BUS_ADDRESS");
  EXPECT_EQ(turnOn(), std::nullopt);
}

TEST_F(AccessibilitySwitchTest, SaysThatNothingAnswersToIt) {
  const auto answer = turnOn();
  ASSERT_TRUE(answer.has_value());
  EXPECT_NE(answer->find("ServiceUnknown"), std::string::npos) << *answer;
}

// The desktop's own service.
class RealSwitch : public AccessibilitySwitchTest {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kLauncher)) GTEST_SKIP() << "at-spi2-core is not installed.";
    launcher = std::make_unique<test::ChildProcess>(
        test::ChildProcess::Start{.command = {kLauncher},
                                  .environment = bus.environment({"GSETTINGS_BACKEND=keyfile"}),
                                  .input = {}});
    connection = std::make_unique<QDBusConnection>(
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("test")));
    ASSERT_TRUE(waitUntil([this] { return connection->interface()->isServiceRegistered("org.a11y.Bus").value(); }));
  }
  void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("test")); }
  bool isOn() {
    auto message =
        QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Get");
    message << "org.a11y.Status"
            << "IsEnabled";
    const auto reply = connection->call(message);
    return reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
  }
  std::string settings() {
    std::ostringstream text;
    text << std::ifstream(bus.folder("config") + "/glib-2.0/settings/keyfile").rdbuf();
    return text.str();
  }

  std::unique_ptr<test::ChildProcess> launcher;
  std::unique_ptr<QDBusConnection> connection;
};

TEST_F(RealSwitch, IsOnAfterwardsAndStaysOnInTheUsersSettings) {
  ASSERT_FALSE(isOn());
  EXPECT_EQ(turnOn(), "");
  EXPECT_TRUE(isOn());
  EXPECT_TRUE(waitUntil([this] { return settings().find("toolkit-accessibility=true") != std::string::npos; }))
      << settings();
}

}  // namespace
}  // namespace quillard::desktop
