#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QtCore/QCoreApplication>
#include <gtest/gtest.h>

#include "platform/linux/system/DesktopNotifications.h"
#include "platform/qt/QtExecutors.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "support/NotificationServer.h"
#include "support/PrivateBus.h"
#include "support/QtWait.h"

namespace quillard::desktop {
namespace {

using namespace std::chrono_literals;
using platform::UserNotification;
using test::NotificationServer;
using test::SentNote;
using test::waitUntil;

class DesktopNotificationsTest : public testing::Test {
 protected:
  DesktopNotificationsTest() {
    environment.set("DBUS_SESSION_BUS_ADDRESS", bus.address());
    notifications = std::make_unique<DesktopNotifications>(environment, executors.mainThread(), 300ms);
  }
  // What came of asking: absent when nothing came; else the error, empty for none.
  std::optional<std::string> ask() {
    std::optional<std::string> answer;
    notifications->requestAuthorization([&](const std::optional<std::string>& error) { answer = error.value_or(""); });
    EXPECT_FALSE(answer.has_value()) << "The answer comes in a later turn.";
    waitUntil([&] { return answer.has_value(); });
    return answer;
  }
  static UserNotification note(const std::string& identifier, const std::string& body) {
    return {.identifier = identifier, .title = "Quillard", .body = body, .playsDefaultSound = true};
  }
  static bool waitForNotes(const NotificationServer& server, std::size_t count) {
    return waitUntil([&] { return server.notes.size() >= count; });
  }

  test::PrivateBus bus;
  qt::QtExecutors executors;
  platform::simulated::SimulatedEnvironment environment;
  std::unique_ptr<DesktopNotifications> notifications;
};

TEST_F(DesktopNotificationsTest, AreAllowedWhereThereIsAServer) {
  const NotificationServer server(bus);
  EXPECT_EQ(ask(), "");
}

TEST_F(DesktopNotificationsTest, SayThatThereIsNoServer) {
  EXPECT_EQ(ask(), "No program of this desktop shows notifications.");
}

TEST_F(DesktopNotificationsTest, SayThatThereIsNoBus) {
  platform::simulated::SimulatedEnvironment nothing;
  notifications = std::make_unique<DesktopNotifications>(nothing, executors.mainThread());
  EXPECT_EQ(ask(), "There is no session bus.");
  notifications->post(note("a", "x"));  // And is lost.
}

TEST_F(DesktopNotificationsTest, SayWhatTheServerFailedWith) {
  NotificationServer server(bus);
  server.manner = NotificationServer::Manner::fails;
  EXPECT_EQ(ask(), "org.example.Broken: out of order");
}

TEST_F(DesktopNotificationsTest, DoNotWaitForASilentServerForever) {
  NotificationServer server(bus);
  server.manner = NotificationServer::Manner::isSilent;
  const auto answer = ask();
  ASSERT_TRUE(answer.has_value());
  EXPECT_NE(answer->find("NoReply"), std::string::npos) << *answer;
}

TEST_F(DesktopNotificationsTest, ShowTitleAndBodyUnderTheProgramsName) {
  const NotificationServer server(bus);
  notifications->post(note("a", "Your computer needs approval."));
  ASSERT_TRUE(waitForNotes(server, 1));
  const SentNote& shown = server.notes.front();
  EXPECT_EQ(shown.program, "Quillard");
  EXPECT_EQ(shown.replaces, 0U);
  EXPECT_EQ(shown.title, "Quillard");
  EXPECT_EQ(shown.body, "Your computer needs approval.");
  EXPECT_EQ(shown.hints.value("desktop-entry").toString(), "com.quillard.agent");
  EXPECT_EQ(shown.hints.value("urgency").typeId(), QMetaType::UChar);
}

TEST_F(DesktopNotificationsTest, PlayTheSoundOnlyWhenAsked) {
  const NotificationServer server(bus);
  auto silent = note("b", "x");
  silent.playsDefaultSound = false;
  notifications->post(note("a", "x"));
  notifications->post(silent);
  ASSERT_TRUE(waitForNotes(server, 2));
  EXPECT_EQ(server.notes[0].hints.value("sound-name").toString(), "message-new-instant");
  EXPECT_FALSE(server.notes[0].hints.contains("suppress-sound"));
  EXPECT_FALSE(server.notes[1].hints.contains("sound-name"));
  EXPECT_TRUE(server.notes[1].hints.value("suppress-sound").toBool());
}

TEST_F(DesktopNotificationsTest, AreTextWhateverMarkupTheServerKnows) {
  NotificationServer server(bus);
  server.capabilities << QStringLiteral("body-markup");
  notifications->post(note("a", "<b>5 > 3</b> & more"));
  ASSERT_TRUE(waitForNotes(server, 1));
  EXPECT_EQ(server.notes.front().body, "&lt;b&gt;5 &gt; 3&lt;/b&gt; &amp; more");
}

TEST_F(DesktopNotificationsTest, StayAsTheyAreForAServerWithoutMarkup) {
  const NotificationServer server(bus);
  notifications->post(note("a", "5 > 3 & more"));
  ASSERT_TRUE(waitForNotes(server, 1));
  EXPECT_EQ(server.notes.front().body, "5 > 3 & more");
}

TEST_F(DesktopNotificationsTest, ReplaceTheOneOfTheSameIdentifier) {
  const NotificationServer server(bus);
  notifications->post(note("a", "first"));
  notifications->post(note("b", "another"));
  ASSERT_TRUE(waitForNotes(server, 2));
  notifications->post(note("a", "second"));
  ASSERT_TRUE(waitForNotes(server, 3));
  EXPECT_EQ(server.notes[0].replaces, 0U);
  EXPECT_EQ(server.notes[1].replaces, 0U);
  EXPECT_EQ(server.notes[2].replaces, 101U);
}

TEST_F(DesktopNotificationsTest, OfOneIdentifierWaitForEachOtherAndTheNewestIsShown) {
  NotificationServer server(bus);
  server.holdsAnswers = true;
  for (const char* body : {"first", "second", "third"}) notifications->post(note("a", body));
  ASSERT_TRUE(waitForNotes(server, 1));
  server.answerHeld();
  ASSERT_TRUE(waitForNotes(server, 2));
  EXPECT_EQ(server.notes[1].body, "third");
  EXPECT_EQ(server.notes[1].replaces, 101U);
}

TEST_F(DesktopNotificationsTest, ReplaceNothingOfAServerThatCameLater) {
  auto server = std::make_unique<NotificationServer>(bus);
  notifications->post(note("a", "first"));
  ASSERT_TRUE(waitForNotes(*server, 1));
  server.reset();
  server = std::make_unique<NotificationServer>(bus);
  server->capabilities << QStringLiteral("body-markup");
  ASSERT_TRUE(waitUntil([&] { return ask() == "" && server->timesAsked > 0; }));
  notifications->post(note("a", "<second>"));
  ASSERT_TRUE(waitForNotes(*server, 1));
  EXPECT_EQ(server->notes[0].replaces, 0U);  // The number may be another program's note by now.
  EXPECT_EQ(server->notes[0].body, "&lt;second&gt;");
}

TEST_F(DesktopNotificationsTest, ComeBackWithANewBus) {
  {
    const NotificationServer server(bus);
    ASSERT_EQ(ask(), "");
  }
  bus.kill();
  waitUntil([&] { return ask() != ""; });
  bus.start();
  const NotificationServer server(bus);
  EXPECT_EQ(ask(), "");
  notifications->post(note("a", "x"));
  EXPECT_TRUE(waitForNotes(server, 1));
}

TEST_F(DesktopNotificationsTest, RememberOnlyTheNewest) {
  const NotificationServer server(bus);
  for (std::size_t i = 0; i <= DesktopNotifications::kMostRemembered; ++i) {
    notifications->post(note("note " + std::to_string(i), "x"));
    ASSERT_TRUE(waitForNotes(server, i + 1));
  }
  const std::size_t count = server.notes.size();
  notifications->post(note("note 0", "forgotten"));
  notifications->post(note("note " + std::to_string(DesktopNotifications::kMostRemembered), "remembered"));
  ASSERT_TRUE(waitForNotes(server, count + 2));
  EXPECT_EQ(server.notes[count].replaces, 0U);
  EXPECT_NE(server.notes[count + 1].replaces, 0U);
}

TEST_F(DesktopNotificationsTest, CanGoWhileSomethingIsUnderWay) {
  NotificationServer server(bus);
  server.manner = NotificationServer::Manner::isSilent;
  bool isAnswered = false;
  notifications->requestAuthorization([&](const std::optional<std::string>&) { isAnswered = true; });
  notifications->post(note("a", "x"));
  notifications.reset();
  const auto end = std::chrono::steady_clock::now() + 400ms;  // Past its time-out.
  while (std::chrono::steady_clock::now() < end) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  EXPECT_FALSE(isAnswered);
}

}  // namespace
}  // namespace quillard::desktop
