#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "e2e/RelayServerFixture.h"

// Hostile clients in bounded numbers, over loopback, and honest ones beside them: these join and decide, and the
// relay's memory stays within what it was given. A proxy that the relay trusts says where each client comes from.
namespace quillard::test {
namespace {

using relayserver::request;
using relayserver::result;
using relayserver::snapshot;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
constexpr bool kIsSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kIsSanitized = false;
#endif

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;
constexpr std::size_t kMemory = 64;  // MiB: the relay's budget.
// MiB beside the budget: what connections, buffers of the system's library and the allocator take.
constexpr std::size_t kOverhead = 32;

// Whether it holds within half a minute.
bool eventually(const std::function<bool()>& holds) {
  const auto latest = steady_clock::now() + seconds(30);
  while (steady_clock::now() < latest) {
    if (holds()) return true;
    std::this_thread::sleep_for(milliseconds(20));
  }
  return holds();
}

class RelayLoad : public RelayServer {
 protected:
  void start(std::vector<std::string> more = {}) {
    more.insert(more.end(), {"--behind-proxy", "--memory", std::to_string(kMemory), "--metrics", "127.0.0.1:0"});
    relay = std::make_unique<RelayProgram>(more);
    memoryAtStart = residentBytes();
  }

  static WireHeaders from(const std::string& address) { return {kBearer[0], {"X-Forwarded-For", address}}; }

  int registerFrom(const std::string& pairing, const std::string& address) const {
    return wire()->ask("PUT", "/api/pairings/" + pairing + "/relay-token", from(address), kRegistration).status;
  }
  std::unique_ptr<RelayWire> joinFrom(const std::string& query, const std::string& address) const {
    auto joined = wire();
    EXPECT_EQ(joined->upgrade(query, from(address)).status, 101) << query;
    return joined;
  }
  static std::string phoneOf(const std::string& pairing, int number = 0) {
    return "role=phone&deviceName=A&pairing=" + pairing + "&deviceID=" + std::to_string(number);
  }

  // Registers, joins, sends a snapshot and takes a decision to its outcome, from an address of its own.
  void useHonestly(int number) const {
    const std::string pairing = "honest-" + std::to_string(number);
    const std::string address = "192.0.2." + std::to_string(number);
    ASSERT_EQ(registerFrom(pairing, address), 204);
    const auto agent = joinFrom(agentQuery(pairing), address);
    const auto phone = joinFrom(phoneOf(pairing), address);
    agent->say(snapshot());
    EXPECT_EQ(phone->read("mac.snapshot"), snapshot());
    phone->say(request("d1"));
    EXPECT_EQ(phone->read("relay.receipt")["delivered"], true);
    EXPECT_EQ(agent->read("approval.request"), request("d1"));
    agent->say(result("d1"));
    EXPECT_EQ(phone->read("approval.result")["decisionID"], "d1");
  }

  // Of the family's line that begins so.
  [[nodiscard]] double metric(const std::string& name) const {
    const auto page = RelayWire(relay->metricsPort().value()).ask("GET", "/metrics").body;
    const auto line = page.find("\n" + name + " ");
    return line == std::string::npos ? 0 : std::stod(page.substr(line + name.size() + 2));
  }

  [[nodiscard]] std::size_t residentBytes() const {
    std::ifstream rollup("/proc/" + std::to_string(relay->processID()) + "/smaps_rollup");
    for (std::string name; rollup >> name;) {
      std::size_t kibibytes = 0;
      if (name == "Rss:" && rollup >> kibibytes) return kibibytes * 1024;
    }
    return 0;
  }

  void expectMemoryWithinBudget() const {
    EXPECT_LE(metric("quillard_relay_memory_bytes"), kMemory * kMebibyte);
    // Sanitizers keep what was freed for a while.
    if (!kIsSanitized) {
      EXPECT_LE(residentBytes(), memoryAtStart + (kMemory + kOverhead) * kMebibyte);
    }
  }

  std::size_t memoryAtStart = 0;
};

// One mebibyte that has to be looked at byte by byte: nothing of it is sealed.
std::string dearestMessage() {
  const std::string begin = R"({"type":"x","x":")";
  std::string text = begin;
  while (text.size() + 4 < kMebibyte) text += "\\n";
  return text + "\"}";
}

TEST_F(RelayLoad, ServesHonestPairingsWhileOthersSendTheDearestMessages) {
  start();
  constexpr int kHostile = 6;
  constexpr int kMostMessages = 600;  // Of each.
  const auto begin = steady_clock::now();
  std::vector<std::unique_ptr<RelayWire>> hostile;
  for (int i = 0; i < kHostile; ++i) {
    const std::string address = "198.51.100." + std::to_string(i);
    ASSERT_EQ(registerFrom("hostile-" + std::to_string(i), address), 204);
    hostile.push_back(joinFrom(agentQuery("hostile-" + std::to_string(i)), address));
  }
  std::atomic<bool> isOver{false};
  std::vector<std::thread> senders;
  for (const auto& client : hostile) {
    senders.emplace_back([&isOver, &client] {
      const auto message = dearestMessage();
      // At a rate that the limit of messages allows.
      for (int i = 0; i < kMostMessages && !isOver && client->sendFrame(Opcode::text, message); ++i) {
        std::this_thread::sleep_for(milliseconds(100));
      }
    });
  }
  for (int i = 0; i < 50; ++i) useHonestly(i);
  isOver = true;
  expectMemoryWithinBudget();
  // By its budget each of them gets half a second of work at first, and then 20 ms a second: 6 ms a message.
  const auto passed = std::chrono::duration<double>(steady_clock::now() - begin).count();
  const double most = kHostile * ((0.5 + 0.02 * passed) / 0.006 + 1 + passed / 10);
  const double taken = metric("quillard_relay_messages_total{type=\"unknown\"}");
  EXPECT_GT(taken, 0);
  EXPECT_LE(taken, most);
  relay->signal(SIGKILL);
  for (auto& sender : senders) sender.join();
}

// Frames that are no message, one after another, from several clients: what the relay has done of them is within what
// it has for them.
TEST_F(RelayLoad, ServesHonestPairingsWhileOthersSendPingsAndPieces) {
  start();
  constexpr int kHostile = 4;
  constexpr int kMostFrames = 600'000;  // Of each: more than six seconds of work.
  const auto begin = steady_clock::now();
  std::vector<std::unique_ptr<RelayWire>> hostile;
  for (int i = 0; i < kHostile; ++i) {
    const std::string address = "198.51.100." + std::to_string(i);
    ASSERT_EQ(registerFrom("hostile-" + std::to_string(i), address), 204);
    hostile.push_back(joinFrom(agentQuery("hostile-" + std::to_string(i)), address));
  }
  // The first two send pings, the others a message byte by byte.
  const std::string ping("\x89\x80\0\0\0\0", 6);
  const std::string piece("\x00\x81\0\0\0\0 ", 7);
  std::atomic<std::size_t> pongs{0};
  std::atomic<std::size_t> pieceBytes{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < kHostile; ++i) {
    clients.emplace_back([&, client = hostile[static_cast<std::size_t>(i)].get(), pings = i < 2] {
      constexpr int kAtOnce = 1000;
      std::string many;
      for (int k = 0; k < kAtOnce; ++k) many += pings ? ping : piece;
      if (!pings) client->sendFrame(Opcode::text, " ", false);
      for (int sent = 0; sent < kMostFrames && client->write(many); sent += kAtOnce) {
        if (!pings) pieceBytes += many.size();
      }
    });
    if (i >= 2) continue;
    clients.emplace_back([&, client = hostile[static_cast<std::size_t>(i)].get()] {
      while (client->readRaw(2).size() == 2) ++pongs;
    });
  }
  for (int i = 0; i < 50; ++i) useHonestly(i);
  const auto passed = std::chrono::duration<double>(steady_clock::now() - begin).count();
  // By its budget each of them gets half a second of work at first, and then 20 ms a second: 10 us a ping, 2 us a
  // piece. What it has read ahead may come on top.
  constexpr double kReadAhead = 4096;
  EXPECT_GT(pongs, 0U);
  EXPECT_LE(static_cast<double>(pongs), 2 * ((0.5 + 0.02 * passed) / 10e-6 + kReadAhead));
  const double mostPieces = (0.5 + 0.02 * passed) / 2e-6 + kReadAhead;
  constexpr double kInTheSystem = 4.0 * 1024 * 1024;
  EXPECT_LE(static_cast<double>(pieceBytes), 2 * (mostPieces * 7 + kInTheSystem));
  relay->signal(SIGKILL);
  for (auto& client : clients) client.join();
}

TEST_F(RelayLoad, KeepsUnfinishedMessagesWithinItsMemoryAndThoseOfOthersWhole) {
  start({"--handshake-burst", "1000", "--registration-burst", "1000"});
  ASSERT_EQ(registerFrom("honest", "192.0.2.1"), 204);
  const auto agent = joinFrom(agentQuery("honest"), "192.0.2.1");
  const auto phone = joinFrom(phoneOf("honest"), "192.0.2.1");
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(400 * 1024, 'A');
  const auto text = message.dump();
  ASSERT_TRUE(agent->sendFrame(Opcode::text, std::string_view(text).substr(0, text.size() / 2), false));

  constexpr int kHostile = 80;
  std::vector<std::unique_ptr<RelayWire>> hostile;
  for (int i = 0; i < kHostile; ++i) {
    const std::string pairing = "hostile-" + std::to_string(i);
    ASSERT_EQ(registerFrom(pairing, "198.51.100.1"), 204);
    hostile.push_back(joinFrom(agentQuery(pairing), "198.51.100.1"));
    hostile.back()->sendFrame(Opcode::text, std::string(kMebibyte - 1, ' '), false);
    if (i % 10 == 0) expectMemoryWithinBudget();
  }
  ASSERT_TRUE(eventually([&] { return metric("quillard_relay_dropped_for_memory_total") >= 1; }));
  expectMemoryWithinBudget();
  // The honest one, whose message was unfinished all the time, ends it.
  ASSERT_TRUE(agent->sendFrame(Opcode::continuation, std::string_view(text).substr(text.size() / 2)));
  EXPECT_EQ(phone->read("mac.snapshot"), message);
  useHonestly(2);

  // What they took is released when they have gone.
  hostile.clear();
  EXPECT_TRUE(eventually([&] { return kIsSanitized || residentBytes() < memoryAtStart + 16 * kMebibyte; }))
      << residentBytes() / kMebibyte << " MiB, at first " << memoryAtStart / kMebibyte;
}

TEST_F(RelayLoad, KeepsWhatSlowReadersDoNotReadWithinItsMemory) {
  start({"--handshake-burst", "1000", "--registration-burst", "1000", "--pairing-mebibyte-burst", "1000"});
  constexpr int kPairings = 18;
  constexpr int kSmallBuffer = 4096;
  std::vector<std::unique_ptr<RelayWire>> wires;
  auto message = snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(1000 * 1024, 'A');
  for (int i = 0; i < kPairings; ++i) {
    const std::string pairing = "hostile-" + std::to_string(i);
    ASSERT_EQ(registerFrom(pairing, "198.51.100.1"), 204);
    auto slow = std::make_unique<RelayWire>(relay->port(), "", kSmallBuffer);
    ASSERT_EQ(slow->upgrade(phoneOf(pairing), from("198.51.100.1")).status, 101);
    wires.push_back(std::move(slow));
    wires.push_back(joinFrom(agentQuery(pairing), "198.51.100.1"));
    for (int k = 0; k < 4; ++k) {
      message["snapshotID"] = "ax1:" + std::to_string(k);
      wires.back()->say(message);
    }
    expectMemoryWithinBudget();
  }
  EXPECT_TRUE(eventually([&] { return metric("quillard_relay_dropped_for_memory_total") > 0; }));
  useHonestly(1);
  expectMemoryWithinBudget();
}

TEST_F(RelayLoad, TakesNewcomersAfterAFloodOfRegistrations) {
  start({"--pairings", "200", "--unjoined-pairings", "100", "--new-pairing-burst", "100000",
         "--address-new-pairing-burst", "100000"});
  ASSERT_EQ(registerFrom("honest-before", "192.0.2.1"), 204);
  const auto before = joinFrom(agentQuery("honest-before"), "192.0.2.1");
  constexpr int kRegistrations = 500;
  const auto client = wire();
  for (int i = 0; i < kRegistrations; ++i) {
    const std::string address = "198.51." + std::to_string(i / 250) + "." + std::to_string(i % 250);
    const auto path = "/api/pairings/flood-" + std::to_string(i) + "/relay-token";
    ASSERT_EQ(client->ask("PUT", path, from(address), kRegistration).status, 204);
  }
  EXPECT_LE(metric("quillard_relay_pairings"), 101);
  useHonestly(2);
  EXPECT_EQ(registerFrom("honest-before", "192.0.2.1"), 204);
  EXPECT_EQ(wire()->upgrade(agentQuery("honest-before"), from("192.0.2.1")).status, 101);
}

}  // namespace
}  // namespace quillard::test
