#include "platform/qt/QtWebSockets.h"

#include <deque>
#include <map>
#include <utility>

#include "platform/qt/OwnerLink.h"
#include "platform/qt/WebSocketConnection.h"

namespace quillard::qt {
namespace {

using platform::SerialExecutor;
using platform::TransportError;
using platform::WebSocketEnd;
using platform::WebSocketMessage;
using platform::WebSocketReceipt;
using platform::WebSocketRequest;

using ReceiveCompletion = std::function<void(WebSocketReceipt)>;
using SendCompletion = std::function<void(std::optional<TransportError>)>;

// The half that lives on the owner's executor. Each callback is a turn of its own, so that any of them may destroy the
// task and the next ones do not come.
class QtWebSocketTask final : public platform::WebSocketTask {
 public:
  QtWebSocketTask(SerialExecutor& network, const TransportOptions& options, SerialExecutor& executor,
                  WebSocketRequest request, std::function<void()> didOpen)
      : network(network), owner(std::make_shared<OwnerLink>(executor)), didOpen(std::move(didOpen)) {
    auto report = [this, link = owner](WebSocketNews news) {
      link->post([this, news = std::move(news)]() mutable { handle(std::move(news)); });
    };
    connection =
        std::make_shared<WebSocketConnection>(network, options, std::move(request), backlog, std::move(report));
  }

  ~QtWebSocketTask() override {
    owner->sever();
    network.post([last = std::move(connection)] { last->abandon(); });
  }

  void start() override {
    onNetwork([](WebSocketConnection& live) { live.open(); });
  }

  void receive(ReceiveCompletion completion) override {
    pendingReceive = std::move(completion);
    answerReceive();
  }

  void sendText(std::string text, SendCompletion completion) override {
    if (ended) return owner->post([completion = std::move(completion), error = ended->error] { completion(error); });
    const std::uint64_t number = ++lastSend;
    pendingSends.emplace(number, std::move(completion));
    onNetwork([text = std::move(text), number](WebSocketConnection& live) { live.sendText(text, number); });
  }

  void cancel(platform::WebSocketCloseCode code) override {
    if (ended) return;
    onNetwork([code](WebSocketConnection& live) { live.sendClose(code); });
    inbox.clear();
    end({std::nullopt, {"The connection was cancelled."}});
  }

 private:
  template <class Use>
  void onNetwork(Use use) {
    network.post([live = connection, use = std::move(use)] { use(*live); });
  }

  void handle(WebSocketNews news) {
    if (ended) return;
    if (std::holds_alternative<WebSocketOpened>(news)) {
      owner->post(didOpen);
    } else if (auto* message = std::get_if<WebSocketMessage>(&news)) {
      inbox.push_back(std::move(*message));
      answerReceive();
    } else if (const auto* sent = std::get_if<WebSocketSent>(&news)) {
      answerSend(sent->number, sent->error);
    } else {
      end(std::get<WebSocketEnd>(std::move(news)));
    }
  }

  // Messages that have arrived are still read after the end; then the end is what every receive gets.
  void answerReceive() {
    if (!pendingReceive || (inbox.empty() && !ended)) return;
    WebSocketReceipt receipt = WebSocketEnd{};
    if (inbox.empty()) {
      receipt = *ended;
    } else {
      *backlog -= backlogWeight(inbox.front());
      receipt = std::move(inbox.front());
      inbox.pop_front();
    }
    owner->post([completion = std::exchange(pendingReceive, nullptr), receipt = std::move(receipt)]() mutable {
      completion(std::move(receipt));
    });
  }

  void answerSend(std::uint64_t number, const std::optional<TransportError>& error) {
    const auto found = pendingSends.find(number);
    if (found == pendingSends.end()) return;
    owner->post([completion = std::move(found->second), error] { completion(error); });
    pendingSends.erase(found);
  }

  void end(WebSocketEnd why) {
    ended = std::move(why);
    answerReceive();
    while (!pendingSends.empty()) answerSend(pendingSends.begin()->first, ended->error);
  }

  SerialExecutor& network;
  const std::shared_ptr<OwnerLink> owner;
  const std::function<void()> didOpen;
  const WebSocketBacklog backlog = std::make_shared<std::atomic<std::size_t>>(0);
  std::shared_ptr<WebSocketConnection> connection;

  std::deque<WebSocketMessage> inbox;
  ReceiveCompletion pendingReceive;
  std::map<std::uint64_t, SendCompletion> pendingSends;
  std::uint64_t lastSend = 0;
  std::optional<WebSocketEnd> ended;
};

}  // namespace

QtWebSockets::QtWebSockets(QtNetworkThread& network, TransportOptions options) : network(network), options(options) {}

std::unique_ptr<platform::WebSocketTask> QtWebSockets::makeTask(SerialExecutor& executor, WebSocketRequest request,
                                                                std::function<void()> didOpen) {
  return std::make_unique<QtWebSocketTask>(network.executor(), options, executor, std::move(request),
                                           std::move(didOpen));
}

}  // namespace quillard::qt
