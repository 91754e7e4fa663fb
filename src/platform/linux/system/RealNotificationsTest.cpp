#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVariant>
#include <gtest/gtest.h>

#include "platform/linux/system/DesktopNotifications.h"
#include "platform/qt/QtExecutors.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/ChildProcess.h"
#include "support/PrivateBus.h"
#include "support/QtWait.h"

// Against a notification server as desktops have it, on a display of its own.
namespace quillard::desktop {
namespace {

using test::ChildProcess;
using test::waitUntil;

class RealNotifications : public testing::Test {
 protected:
  void SetUp() override {
    display = std::make_unique<ChildProcess>(ChildProcess::Start{
        .command = {"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp", "-noreset"},
        .environment = bus.environment(),
        .input = {}});
    const auto number = display->readLine();
    ASSERT_TRUE(number.has_value()) << "No display: is Xvfb installed?";
    const std::string settings = bus.folder("config") + "/dunstrc";
    std::ofstream(settings) << "[global]\nidle_threshold = 0\nhistory_length = 20\nmarkup = full\n";
    server = std::make_unique<ChildProcess>(ChildProcess::Start{
        .command = {"dunst", "-conf", settings}, .environment = bus.environment({"DISPLAY=:" + *number}), .input = {}});
    ASSERT_TRUE(waitUntil([this] {
      return connection.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.Notifications")).value();
    })) << "No notification server: is dunst installed?";
    environment.set("DBUS_SESSION_BUS_ADDRESS", bus.address());
    notifications = std::make_unique<DesktopNotifications>(environment, executors.mainThread());
  }
  void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("real-notifications-test")); }

  void post(const std::string& identifier, const std::string& body) {
    notifications->post({.identifier = identifier, .title = "Quillard", .body = body, .playsDefaultSound = true});
  }
  uint displayed() {
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << QStringLiteral("org.dunstproject.cmd0") << QStringLiteral("displayedLength");
    return connection.call(message).arguments().value(0).value<QDBusVariant>().variant().toUInt();
  }
  // Until the server's answers to what it shows by now have been heard: they come before that to a later question.
  void settle() {
    for (int round = 0; round < 2; ++round) {
      displayed();
      QCoreApplication::processEvents();
    }
  }
  // What was shown, as the server's own program prints it, newest first.
  std::string history() {
    connection.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.dunstproject.cmd0"), QStringLiteral("NotificationCloseAll")));
    ChildProcess program({.command = {"dunstctl", "history"}, .environment = bus.environment(), .input = {}});
    std::string text;
    while (const auto line = program.readLine()) text += *line + "\n";
    return text;
  }

  test::PrivateBus bus;
  qt::QtExecutors executors;
  QDBusConnection connection =
      QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("real-notifications-test"));
  platform::simulated::SimulatedEnvironment environment;
  std::unique_ptr<ChildProcess> display;
  std::unique_ptr<ChildProcess> server;
  std::unique_ptr<DesktopNotifications> notifications;
};

TEST_F(RealNotifications, AreAllowed) {
  std::optional<std::string> answer;
  notifications->requestAuthorization([&](const std::optional<std::string>& error) { answer = error.value_or(""); });
  ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
  EXPECT_EQ(*answer, "");
}

TEST_F(RealNotifications, AreShownAndReplaced) {
  post("first", "one");
  post("second", "two");
  ASSERT_TRUE(waitUntil([this] { return displayed() == 2; }));
  settle();
  post("first", "one again");
  post("third", "three");
  ASSERT_TRUE(waitUntil([this] { return displayed() == 3; }));  // Four were posted.
  const auto shown = history();
  EXPECT_NE(shown.find("one again"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\"Quillard\""), std::string::npos) << shown;
}

TEST_F(RealNotifications, ShowTheirTextAsItIs) {
  post("first", "<b>5 < 6</b> & \"more\"");
  ASSERT_TRUE(waitUntil([this] { return displayed() == 1; }));
  const auto shown = history();
  EXPECT_NE(shown.find("&lt;b&gt;5 &lt; 6&lt;/b&gt; &amp; "), std::string::npos) << shown;
}

}  // namespace
}  // namespace quillard::desktop
