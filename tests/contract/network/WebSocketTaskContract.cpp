#include <atomic>
#include <chrono>

#include "contract/network/NetworkContract.h"

namespace quillard::test {

using platform::BinaryMessage;
using platform::TextMessage;
using platform::WebSocketCloseCode;
using platform::WebSocketEnd;
using platform::WebSocketMessage;
using platform::WebSocketReceipt;
using namespace std::chrono_literals;

void runOnExecutor(NetworkBinding& binding, const std::function<void()>& body) {
  std::atomic<bool> hasRun{false};
  binding.executor().post([&] {
    body();
    hasRun = true;
  });
  while (!hasRun) (void)binding.eventually([&] { return hasRun.load(); });
}

TaskClient::TaskClient(NetworkBinding& binding, platform::WebSocketRequest request) : binding(binding) {
  run([&] {
    task = binding.webSockets().makeTask(binding.executor(), std::move(request), [this] { opened.set(true); });
    task->start();
  });
}

void TaskClient::run(const std::function<void()>& body) { runOnExecutor(binding, body); }

void TaskClient::beginReceive() {
  run([this] { task->receive([this](WebSocketReceipt receipt) { received.set(std::move(receipt)); }); });
}

std::optional<WebSocketReceipt> TaskClient::receive() {
  const std::size_t index = received.count();
  beginReceive();
  return next(received, index);
}

std::string TaskClient::receiveAsText() {
  const auto receipt = receive();
  if (!receipt) return "nothing came";
  if (const auto* end = std::get_if<WebSocketEnd>(&*receipt)) {
    EXPECT_NE(end->error.description, "");
    return end->closeCode ? "end " + std::to_string(*end->closeCode) : "end";
  }
  const auto& message = std::get<WebSocketMessage>(*receipt);
  if (const auto* text = std::get_if<TextMessage>(&message)) return text->text;
  const auto& bytes = std::get<BinaryMessage>(message).bytes;
  return "binary " + std::string(bytes.begin(), bytes.end());
}

void TaskClient::beginSend(const std::string& text) {
  run([&] {
    task->sendText(text, [this](const std::optional<platform::TransportError>& error) {
      sent.set(error ? error->description : "");
    });
  });
}

std::string TaskClient::send(const std::string& text) {
  const std::size_t index = sent.count();
  beginSend(text);
  return next(sent, index).value_or("no completion");
}

// ---- Opening

TEST_P(WebSocketTaskContract, OpensOnce) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  binding->sendText("later");
  EXPECT_EQ(client.receiveAsText(), "later");
  EXPECT_EQ(client.opened.count(), 1U);
}

TEST_P(WebSocketTaskContract, FailsOnAddressesThatCannotBeUsed) {
  for (const char* const url : {"", "http://127.0.0.1/ws", "ws://", "file:///ws", "127.0.0.1/ws"}) {
    TaskClient client(*binding, {.url = url});
    EXPECT_EQ(client.receiveAsText(), "end") << url;
    EXPECT_EQ(client.opened.count(), 0U) << url;
  }
}

TEST_P(WebSocketTaskContract, FailsWithTheNameOfAFileOfAuthoritiesThatCannotBeUsed) {
  const std::string url = binding->webSocketUrl();
  const std::string secure = "wss" + url.substr(url.find(':'));
  for (const auto& file : binding->unusableAuthorityFiles()) {
    TaskClient client(*binding, {.url = secure, .authorityFile = file});
    const auto receipt = client.receive();
    const auto* const end = receipt ? std::get_if<WebSocketEnd>(&*receipt) : nullptr;
    ASSERT_TRUE(end) << file;
    EXPECT_EQ(end->error.description.find("The file of authorities "), 0U) << end->error.description;
    EXPECT_NE(end->error.description.find(file), std::string::npos) << end->error.description;
    EXPECT_EQ(client.opened.count(), 0U);
  }
  TaskClient inClear(*binding, {.url = url, .authorityFile = binding->unusableAuthorityFiles().front()});
  EXPECT_TRUE(inClear.waitForOpen());
}

TEST_P(WebSocketTaskContract, GivesUpOpeningAfterTheTimeout) {
  TaskClient client(*binding, {.url = binding->silentWebSocketUrl(), .timeout = Seconds{0.02}});
  EXPECT_EQ(client.receiveAsText(), "end");
  EXPECT_EQ(client.opened.count(), 0U);
}

TEST_P(WebSocketTaskContract, TellsTheStatusWithWhichTheServerRefused) {
  for (const int status : {401, 403, 410, 500, 503}) {
    TaskClient client(*binding, {.url = binding->refusingWebSocketUrl(status)});
    for (int i = 0; i < 2; ++i) {  // Every later receive gets the same.
      const auto receipt = client.receive();
      const auto* end = receipt ? std::get_if<WebSocketEnd>(&*receipt) : nullptr;
      ASSERT_NE(end, nullptr) << status;
      EXPECT_EQ(end->refusedWithStatus, status);
      EXPECT_EQ(end->closeCode, std::nullopt);
      EXPECT_NE(end->error.description.find("HTTP " + std::to_string(status)), std::string::npos);
    }
    EXPECT_EQ(client.opened.count(), 0U);
  }
}

TEST_P(WebSocketTaskContract, TellsNoStatusOfAConnectionThatWasNotRefused) {
  TaskClient dropped(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(dropped.waitForOpen());
  binding->drop();
  const auto receipt = dropped.receive();
  ASSERT_TRUE(receipt && std::holds_alternative<WebSocketEnd>(*receipt));
  EXPECT_EQ(std::get<WebSocketEnd>(*receipt).refusedWithStatus, std::nullopt);
}

TEST_P(WebSocketTaskContract, RefusesToSendBeforeItIsOpen) {
  TaskClient client(*binding, {.url = binding->silentWebSocketUrl()});
  EXPECT_NE(client.send("too early"), "");
  EXPECT_EQ(client.opened.count(), 0U);
}

// ---- Messages

TEST_P(WebSocketTaskContract, CarriesMessagesBothWaysInOrder) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  const std::vector<std::string> texts{"{\"type\":\"a\"}", "", "Grüße \xF0\x9F\x94\x91", std::string(20'000, 'x')};
  for (const auto& text : texts) EXPECT_EQ(client.send(text), "");
  EXPECT_TRUE(binding->eventually([&] { return binding->receivedTexts() == texts; }));
  for (const auto& text : texts) binding->sendText(text);
  binding->sendBinary({0x00, 0xFF, 0x80});
  for (const auto& text : texts) EXPECT_EQ(client.receiveAsText(), text);
  EXPECT_EQ(client.receiveAsText(), std::string("binary \x00\xFF\x80", 10));
}

TEST_P(WebSocketTaskContract, NeverCallsBackFromInsideACall) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  binding->sendText("waiting");
  bool isCalling = false;
  std::atomic<int> inside{0};
  std::atomic<int> outcomes{0};
  client.run([&] {
    isCalling = true;
    client.task->sendText("a", [&](const auto&) { inside += isCalling ? 1 : 0, ++outcomes; });
    client.task->receive([&](const auto&) { inside += isCalling ? 1 : 0, ++outcomes; });
    isCalling = false;
  });
  ASSERT_TRUE(binding->eventually([&] { return outcomes == 2; }));
  client.run([&] {
    isCalling = true;
    client.task->receive([&](const auto&) { inside += isCalling ? 1 : 0, ++outcomes; });
    client.task->cancel(WebSocketCloseCode::goingAway);
    client.task->sendText("b", [&](const auto&) { inside += isCalling ? 1 : 0, ++outcomes; });
    isCalling = false;
  });
  ASSERT_TRUE(binding->eventually([&] { return outcomes == 4; }));
  EXPECT_EQ(inside, 0);
}

TEST_P(WebSocketTaskContract, FailsOnAMessageThatIsTooLong) {
  TaskClient client(*binding, {.url = binding->webSocketUrl(), .longestMessage = 100});
  ASSERT_TRUE(client.waitForOpen());
  binding->sendText(std::string(100, 'x'));
  EXPECT_EQ(client.receiveAsText(), std::string(100, 'x'));
  binding->sendText(std::string(101, 'x'));
  const std::string end = client.receiveAsText();
  EXPECT_TRUE(end == "end" || end == "end 1009") << end;  // The client's close message, which a server may echo.
  EXPECT_TRUE(binding->eventually([&] { return binding->hasEnded(); }));
}

// ---- The end

TEST_P(WebSocketTaskContract, ReportsTheEndAfterTheMessagesAndEverAfter) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  for (const char* const text : {"one", "two"}) binding->sendText(text);
  binding->close(4001);
  EXPECT_EQ(client.receiveAsText(), "one");
  EXPECT_EQ(client.receiveAsText(), "two");
  EXPECT_EQ(client.receiveAsText(), "end 4001");
  EXPECT_EQ(client.receiveAsText(), "end 4001");
  EXPECT_NE(client.send("too late"), "");
}

TEST_P(WebSocketTaskContract, AnEndWithoutACloseMessageHasNoCode) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  client.beginReceive();
  EXPECT_EQ(client.received.count(), 0U);
  binding->drop();
  const auto receipt = client.next(client.received, 0);
  ASSERT_TRUE(receipt && std::holds_alternative<WebSocketEnd>(*receipt));
  EXPECT_EQ(std::get<WebSocketEnd>(*receipt).closeCode, std::nullopt);
  EXPECT_EQ(client.receiveAsText(), "end");
  EXPECT_NE(client.send("too late"), "");
}

TEST_P(WebSocketTaskContract, CancellingSendsTheCloseMessageAndEndsTheConnection) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  client.beginReceive();
  client.cancel(WebSocketCloseCode::goingAway);
  const auto receipt = client.next(client.received, 0);
  ASSERT_TRUE(receipt && std::holds_alternative<WebSocketEnd>(*receipt));
  EXPECT_EQ(std::get<WebSocketEnd>(*receipt).closeCode, std::nullopt) << "the server's code, not the client's";
  EXPECT_NE(client.send("too late"), "");
  EXPECT_TRUE(binding->eventually([&] { return binding->hasEnded(); }));
  EXPECT_EQ(binding->receivedCloseCode(), 1001);
}

TEST_P(WebSocketTaskContract, CancellingDropsMessagesThatWereNotReceived) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  binding->sendText("received");
  binding->sendText("dropped");
  EXPECT_EQ(client.receiveAsText(), "received");
  client.cancel(WebSocketCloseCode::normalClosure);
  EXPECT_EQ(client.receiveAsText(), "end");
}

TEST_P(WebSocketTaskContract, CancellingBeforeItIsOpenEndsIt) {
  TaskClient client(*binding, {.url = binding->silentWebSocketUrl()});
  client.cancel(WebSocketCloseCode::goingAway);
  EXPECT_EQ(client.receiveAsText(), "end");
  EXPECT_EQ(client.opened.count(), 0U);
}

TEST_P(WebSocketTaskContract, CancellingInTheTurnThatStartedItNeverOpensIt) {
  std::atomic<int> opened{0};
  std::unique_ptr<platform::WebSocketTask> task;
  runOnExecutor(*binding, [&] {
    task = binding->webSockets().makeTask(binding->executor(), {.url = binding->webSocketUrl()}, [&] { ++opened; });
    task->start();
    task->cancel(WebSocketCloseCode::goingAway);
  });
  std::atomic<bool> hasEnded{false};
  runOnExecutor(*binding, [&] {
    task->receive([&](const WebSocketReceipt& receipt) { hasEnded = std::holds_alternative<WebSocketEnd>(receipt); });
  });
  EXPECT_TRUE(binding->eventually([&] { return hasEnded.load(); }));
  runOnExecutor(*binding, [&] { task.reset(); });
  EXPECT_EQ(opened, 0);
}

TEST_P(WebSocketTaskContract, IsSilentOnceDestroyedAndEndsTheConnection) {
  TaskClient client(*binding, {.url = binding->webSocketUrl()});
  ASSERT_TRUE(client.waitForOpen());
  const auto held = std::make_shared<int>(1);
  client.run([&] {
    client.task->receive([&, held](WebSocketReceipt receipt) { client.received.set(std::move(receipt)); });
    client.task->sendText("lost or not", [&, held](const auto&) { client.sent.set(""); });
    client.task.reset();
  });
  EXPECT_TRUE(binding->eventually([&] { return binding->hasEnded(); }));
  EXPECT_TRUE(binding->eventually([&] { return held.use_count() == 1; })) << "callbacks are destroyed";
  EXPECT_EQ(client.received.count() + client.sent.count(), 0U);
}

TEST_P(WebSocketTaskContract, MayBeDestroyedFromItsOwnCallback) {
  std::unique_ptr<platform::WebSocketTask> task;
  std::atomic<bool> isGone{false};
  std::atomic<int> late{0};
  runOnExecutor(*binding, [&] {
    task = binding->webSockets().makeTask(binding->executor(), {.url = binding->webSocketUrl()}, [&] {
      task->sendText("never completed", [&](const auto&) { ++late; });
      task->receive([&](const auto&) { ++late; });
      task.reset();
      isGone = true;
    });
    task->start();
  });
  ASSERT_TRUE(binding->eventually([&] { return isGone.load(); }));
  runOnExecutor(*binding, [] {});
  EXPECT_EQ(late, 0);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(WebSocketTaskContract);

}  // namespace quillard::test
