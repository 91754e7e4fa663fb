#include "platform/linux/system/DesktopNotifications.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include <QtCore/QVariantMap>

#include "foundation/PrintableText.h"
#include "platform/linux/system/SessionBus.h"

namespace quillard::desktop {
namespace {

using platform::UserNotification;
using Completion = std::function<void(std::optional<std::string>)>;

const QString kService = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage methodCall(const QString& method) {
  return QDBusMessage::createMethodCall(kService, QStringLiteral("/org/freedesktop/Notifications"), kService, method);
}

std::string errorText(const QDBusMessage& reply) {
  if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")) {
    return "No program of this desktop shows notifications.";
  }
  return printableText((reply.errorName() + QStringLiteral(": ") + reply.errorMessage()).toStdString());
}

QVariantMap hintsOf(const UserNotification& notification) {
  constexpr uchar kNormalUrgency = 1;
  QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("com.quillard.agent")},
                    {QStringLiteral("urgency"), QVariant::fromValue(kNormalUrgency)}};
  if (notification.playsDefaultSound) {
    hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
  } else {
    hints.insert(QStringLiteral("suppress-sound"), true);
  }
  return hints;
}

QDBusMessage notifyCall(const UserNotification& notification, uint replaces, bool escapesBody) {
  const auto body = QString::fromStdString(notification.body);
  constexpr int kAsLongAsTheDesktopLikes = -1;
  auto message = methodCall(QStringLiteral("Notify"));
  message << QStringLiteral("Quillard") << replaces << QString() << QString::fromStdString(notification.title)
          << (escapesBody ? body.toHtmlEscaped() : body) << QStringList() << hintsOf(notification)
          << kAsLongAsTheDesktopLikes;
  return message;
}

}  // namespace

// What the server is like is asked once for each server; notes wait for the answer.
class DesktopNotifications::Implementation {
 public:
  Implementation(const platform::Environment& environment, platform::SerialExecutor& mainThread,
                 std::chrono::milliseconds timeout)
      : mainThread(mainThread), bus(environment), timeout(timeout) {
    bus.setOnConnect([this] {
      forgetServer();
      tellAll("The connection to the session bus broke.");  // What was asked on the one before.
      bus.watchOwner(kService, [this] { forgetServer(); });
    });
  }

  // In a later turn.
  void requestAuthorization(Completion completion) {
    withServer([this, completion = std::move(completion)](const std::optional<std::string>& error) {
      mainThread.post([weak = std::weak_ptr(life), completion, error] {
        if (!weak.expired()) completion(error);
      });
    });
  }

  // Runs `use` with an error, or with the server known.
  void withServer(Completion use) {
    if (!bus.isThere()) return use("There is no session bus.");
    if (isServerKnown) return use(std::nullopt);
    if (waiting.size() >= kMostRemembered) return use("The notification server is slow.");
    waiting.push_back(std::move(use));
    if (waiting.size() > 1) return;  // It is being asked already.
    // In this order, so that a server that tells both is known with its capabilities.
    bus.call(methodCall(QStringLiteral("GetServerInformation")), timeout,
             [this, askedOf = generation](const QDBusMessage& reply) {
               if (askedOf == generation) serverIntroduced(reply);
             });
    bus.call(methodCall(QStringLiteral("GetCapabilities")), timeout,
             [this](const QDBusMessage& reply) { serverAnswered(reply); });
  }

  [[nodiscard]] std::optional<platform::NotificationServer> server() const {
    return isServerKnown ? information : std::nullopt;
  }

  void post(const UserNotification& notification) {
    withServer([this, notification](const std::optional<std::string>& error) {
      if (!error) send(notification);
    });
  }

 private:
  // What is shown, or about to be, under one identifier.
  struct Shown {
    std::string identifier;
    uint number = 0;  // The server's own; 0: not known.
    bool isSending = false;
    std::optional<UserNotification> next;  // To be sent once it is known what to replace.
  };

  void forgetServer() {
    isServerKnown = false;
    information.reset();
    generation += 1;
    shown.clear();
  }

  void serverIntroduced(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage) return;
    const auto texts = reply.arguments();
    information = platform::NotificationServer{.name = printableText(texts.value(0).toString().toStdString()),
                                               .vendor = printableText(texts.value(1).toString().toStdString())};
  }

  void serverAnswered(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage) return tellAll(errorText(reply));
    const auto capabilities = reply.arguments().value(0).toStringList();
    escapesBody = capabilities.contains(QStringLiteral("body-markup"));
    isServerKnown = true;
    tellAll(std::nullopt);
  }

  void tellAll(const std::optional<std::string>& error) {
    const auto told = std::exchange(waiting, {});
    for (const auto& use : told) use(error);
  }

  Shown* find(const std::string& identifier) {
    const auto found =
        std::find_if(shown.begin(), shown.end(), [&](const Shown& one) { return one.identifier == identifier; });
    return found == shown.end() ? nullptr : &*found;
  }

  void send(const UserNotification& notification) {
    Shown* place = find(notification.identifier);
    if (!place) {
      if (shown.size() >= kMostRemembered) shown.pop_front();
      place = &shown.emplace_back(Shown{.identifier = notification.identifier});
    }
    if (place->isSending) {
      place->next = notification;
      return;
    }
    place->isSending = true;
    bus.call(notifyCall(notification, place->number, escapesBody), timeout,
             [this, identifier = notification.identifier, sentTo = generation](const QDBusMessage& reply) {
               if (sentTo == generation) wasSent(identifier, reply);
             });
  }

  void wasSent(const std::string& identifier, const QDBusMessage& reply) {
    Shown* const place = find(identifier);
    if (!place) return;
    place->isSending = false;
    place->number = reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toUInt() : 0;
    if (const auto next = std::exchange(place->next, std::nullopt)) send(*next);
  }

  const std::shared_ptr<const bool> life =
      std::make_shared<const bool>(true);  // Answers come no more when it has gone.
  platform::SerialExecutor& mainThread;
  SessionBus bus;
  const std::chrono::milliseconds timeout;
  std::vector<Completion> waiting;
  bool isServerKnown = false;
  bool escapesBody = false;
  std::optional<platform::NotificationServer> information;
  std::deque<Shown> shown;  // Oldest first.
  int generation = 0;       // Of the server: numbers of an earlier one mean nothing, or another program's notes.
};

DesktopNotifications::DesktopNotifications(const platform::Environment& environment,
                                           platform::SerialExecutor& mainThread, std::chrono::milliseconds timeout)
    : implementation(std::make_unique<Implementation>(environment, mainThread, timeout)) {}

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::requestAuthorization(Completion completion) {
  implementation->requestAuthorization(std::move(completion));
}

std::optional<platform::NotificationServer> DesktopNotifications::server() const { return implementation->server(); }

void DesktopNotifications::post(const UserNotification& notification) { implementation->post(notification); }

}  // namespace quillard::desktop
