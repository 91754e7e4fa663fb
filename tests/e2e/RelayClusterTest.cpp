#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>

#include <gtest/gtest.h>

#include "companion/relay/rules/RelayWorld.h"
#include "contract/support/TestAuthority.h"
#include "e2e/RelayClusterFixture.h"
#include "support/LongTests.h"

// Three relays and three members of etcd under load, one fault after another: whoever lost its connection is back, what
// was revoked stays so, and no receipt says what is not so.
namespace quillard::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

class RelayCluster : public testing::Test {
 protected:
  void SetUp() override {
    if (!EtcdMembers::isInstalled()) GTEST_SKIP() << EtcdMembers::kMissing;
    relays = std::make_unique<ClusterOfRelays>();
    for (int i = 0; i < 4; ++i)
      pairings.push_back(std::make_unique<BusyPairing>(*relays, "busy-" + std::to_string(i), 2));
    expectBack("at first");
  }

  void TearDown() override {
    for (const auto& pairing : pairings) pairing->stop();
    for (const auto& pairing : pairings) EXPECT_EQ(pairing->wrongs(), "");
    if (relays) expectRevokedStays("at the end");
    if (HasFailure() && relays) std::printf("%s\n", relays->output().c_str());
  }

  // Each phone has the outcome of one more decision.
  // `since`: when it happened, if that was before.
  void expectBack(const std::string& after, steady_clock::time_point since = steady_clock::now()) {
    const auto begin = steady_clock::now();
    std::vector<std::vector<int>> before;
    for (const auto& pairing : pairings) {
      before.emplace_back();
      for (int phone = 0; phone < pairing->phoneCount(); ++phone) before.back().push_back(pairing->outcomes(phone));
    }
    const auto isBack = [&] {
      for (std::size_t i = 0; i < pairings.size(); ++i) {
        for (int phone = 0; phone < pairings[i]->phoneCount(); ++phone) {
          // The one that was under way may have ended in the first moment.
          if (pairings[i]->outcomes(phone) < before[i][static_cast<std::size_t>(phone)] + 2) return false;
        }
      }
      return true;
    };
    while (!isBack() && steady_clock::now() < begin + kBack) std::this_thread::sleep_for(milliseconds(10));
    EXPECT_TRUE(isBack()) << after;
    const auto took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - since);
    std::printf("%s: all are back after %d ms\n", after.c_str(), static_cast<int>(took.count()));
  }

  // Revokes a new pairing through the relay, and keeps it in mind. A relay that is not well may say that it cannot know
  // (503), and send everybody away (1012): then another pairing is tried.
  void revokeOne(int relay) {
    const auto latest = steady_clock::now() + kBack;
    int closed = 1012;
    std::string name;
    for (int i = 0; closed == 1012 && steady_clock::now() < latest; ++i) {
      name = "revoked-" + std::to_string(revoked.size()) + "-" + std::to_string(i);
      ASSERT_EQ(registerSoon(*relays, relay, name), 204);
      int status = 0;
      const auto agent = joinSoon(*relays, relay, "role=mac&pairing=" + name, status);
      ASSERT_TRUE(agent) << status;
      agent->say(relayserver::unpair());
      closed = agent->readClose();
    }
    ASSERT_EQ(closed, 4002);
    revoked.push_back(name);
  }
  // Nobody is ever let in again; where the relay cannot know, it says so.
  void expectRevokedStays(const std::string& after) {
    for (const auto& name : revoked) {
      for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
        const int registered = registerAt(*relays, relay, name);
        EXPECT_TRUE(registered == 410 || registered == 503 || registered == 0) << after << ": " << registered;
        const int joined = joinAt(*relays, relay, "role=mac&pairing=" + name);
        EXPECT_TRUE(joined == 410 || joined == 503 || joined == 0) << after << ": " << joined;
      }
    }
  }

  // Where most rooms are.
  [[nodiscard]] int busiest() const {
    std::array<int, ClusterOfRelays::kRelays> homes{};
    for (const auto& pairing : pairings) ++homes[static_cast<std::size_t>(pairing->home())];
    return static_cast<int>(std::max_element(homes.begin(), homes.end()) - homes.begin());
  }

  // What was under way when it happened has ended.
  static void settle() { std::this_thread::sleep_for(milliseconds(300)); }

  void killAndRestart(int relay) {
    revokeOne(relay);
    relays->kill(relay);
    settle();
    expectBack("relay killed");
    expectRevokedStays("relay killed");
    relays->start(relay);
    expectBack("relay started again");
  }
  void stopAndWake(int relay) {
    revokeOne(relay);
    relays->signal(relay, SIGSTOP);
    // Who is connected with it itself notices nothing; a phone of another relay notices, and finds no computer.
    std::this_thread::sleep_for(seconds(6));
    relays->signal(relay, SIGCONT);
    settle();
    expectBack("relay woken");
    expectRevokedStays("relay woken");
  }
  void cutOffAndMend(int relay) {
    revokeOne(relay);
    const auto cut = steady_clock::now();
    relays->cutOff(relay);
    std::this_thread::sleep_for(seconds(2));
    expectBack("relay cut off", cut);
    expectRevokedStays("relay cut off");
    relays->mend(relay);
    expectBack("relay mended");
  }
  void killAndRestartEtcd(int member) {
    revokeOne(member);
    relays->etcd().kill(member);
    settle();
    expectBack("etcd killed");
    revokeOne(member);
    relays->etcd().start(member);
    expectBack("etcd started again");
    expectRevokedStays("etcd started again");
  }
  void stopAndWakeEtcd(int member) {
    relays->etcd().stop(member);
    settle();
    expectBack("etcd stopped");
    revokeOne(member);
    std::this_thread::sleep_for(seconds(2));
    relays->etcd().wake(member);
    expectBack("etcd woken");
    expectRevokedStays("etcd woken");
  }

  std::unique_ptr<ClusterOfRelays> relays;
  std::vector<std::unique_ptr<BusyPairing>> pairings;
  std::vector<std::string> revoked;
};

TEST_F(RelayCluster, LosesNothingWhenARelayOrTheLeaderOfEtcdIsKilled) {
  killAndRestart(busiest());
  killAndRestartEtcd(std::max(relays->etcd().leader(), 0));
}

// A relay that has not the pairing's room asks the one that has: that one has to know which page asks.
TEST(RelayClusterPage, FromElsewhereMayAskEveryRelayWhatItMayAskOne) {
  if (!EtcdMembers::isInstalled()) GTEST_SKIP() << EtcdMembers::kMissing;
  const std::string page = "https://phones.example";
  const ClusterOfRelays relays({"--page-origin", page, "--push-contact", "mailto:operator@relay.example"});
  const std::string pairing = "shared";
  ASSERT_EQ(registerSoon(relays, 0, pairing), 204);
  int status = 0;
  const auto agent = joinSoon(relays, 0, "role=mac&pairing=" + pairing, status);
  ASSERT_TRUE(agent) << status;
  const auto ask = [&](int relay, const std::string& what, const std::string& origin) {
    auto headers = kClusterBearer;
    headers.emplace_back("Origin", origin);
    const auto latest = steady_clock::now() + kBack;
    WireReply reply;
    do {
      // They agree on a key first.
      if (reply.status != 0) std::this_thread::sleep_for(milliseconds(50));
      RelayWire wire(relays.port(relay));
      reply = wire.ask("GET", "/api/pairings/" + pairing + what + "?deviceID=A", headers);
    } while (reply.status == 503 && steady_clock::now() < latest);
    return reply;
  };
  std::string key;
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
    const auto state = ask(relay, "", page);
    EXPECT_EQ(state.status, 200);
    EXPECT_TRUE(Json::parse(state.body).value("macConnected", false)) << "relay " << relay << ": " << state.body;
    const auto given = ask(relay, "/push-key", page);
    ASSERT_EQ(given.status, 200) << "relay " << relay << ": " << given.body << relays.output();
    if (key.empty()) key = Json::parse(given.body)["key"];
    EXPECT_EQ(Json::parse(given.body)["key"], key) << "They have one key.";
    for (const auto& reply : {state, given}) {
      const auto allowed = reply.headers.find("access-control-allow-origin");
      EXPECT_TRUE(allowed != reply.headers.end() && allowed->second == page) << "relay " << relay;
    }
    EXPECT_FALSE(ask(relay, "", "https://other.example").headers.contains("access-control-allow-origin"));
  }
  // What a phone says at any relay about being woken arrives at the computer.
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
    const std::string device = "phone-" + std::to_string(relay);
    auto headers = kClusterBearer;
    headers.emplace_back("Origin", page);
    RelayWire phone(relays.port(relay));
    ASSERT_EQ(phone.upgrade("role=phone&pairing=" + pairing + "&deviceName=P&deviceID=" + device, headers).status, 101);
    phone.say({{"type", "push.subscribe"},
               {"endpoint", "https://fcm.googleapis.com/send/" + device},
               {"key", key},
               {"encryptedSubscription", relayserver::sealed()}});
    EXPECT_EQ(phone.read("push.subscription").value("subscribed", false), true) << "relay " << relay;
    bool isThere = false;
    while (!isThere) {
      const auto list = agent->read("push.subscriptions");
      ASSERT_TRUE(list.is_object()) << "relay " << relay;
      for (const auto& one : list["subscriptions"]) isThere = isThere || one["deviceID"] == device;
    }
  }
}

TEST(RelayClusterTls, TrustsRelaysByTheirCertificatesAndNobodyElse) {
  if (!EtcdMembers::isInstalled()) GTEST_SKIP() << EtcdMembers::kMissing;
  const TestAuthority authority;
  const TemporaryFolder folder;
  const auto file = [&](const std::string& name) { return folder.path() + "/" + name; };
  const auto install = [&] {
    // etcd's gateway refuses whoever shows a certificate with a common name and is a user with a password.
    const auto identity = authority.issue({.commonName = ""});
    std::ofstream(file("certificate")) << identity.certificate;
    std::ofstream(file("key")) << identity.key;
  };
  install();
  std::ofstream(file("authority")) << authority.certificate();
  std::ofstream(file("password")) << "planned\n";
  // etcd, too, takes nobody else, and asks for a user and a password.
  ClusterOfRelays relays(
      {"--cluster-certificate", file("certificate"), "--cluster-key", file("key"), "--cluster-authority",
       file("authority"), "--cluster-user", "relay", "--cluster-password-file", file("password")},
      {.certificate = file("certificate"), .key = file("key"), .authority = file("authority")}, {"relay", "planned"});
  ASSERT_EQ(registerSoon(relays, 0, "home"), 204);
  int status = 0;
  const auto agent = joinSoon(relays, 0, "role=mac&pairing=home", status);
  ASSERT_TRUE(agent) << status;
  const auto phone = joinSoon(relays, 1, "role=phone&deviceName=A&deviceID=A&pairing=home", status);
  ASSERT_TRUE(phone) << status;
  phone->say(relayserver::request("d1"));
  EXPECT_EQ(agent->read("approval.request")["decisionID"], "d1");
  EXPECT_EQ(phone->read("relay.receipt")["delivered"], true);
  // Without a certificate, or without TLS.
  RelayWire stranger(relays.peerPort(0), authority.certificate());
  EXPECT_EQ(stranger.ask("GET", "/cluster").status, 0);
  EXPECT_EQ(RelayWire(relays.peerPort(0)).ask("GET", "/cluster").status, 0);
  // New certificates; tunnels stay open.
  const auto before = stranger.certificate();
  install();
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) relays.signal(relay, SIGHUP);
  std::string after = before;
  const auto latest = steady_clock::now() + kBack;
  while (after == before && steady_clock::now() < latest) {
    std::this_thread::sleep_for(milliseconds(10));
    after = RelayWire(relays.peerPort(0), authority.certificate()).certificate();
  }
  EXPECT_NE(after, before);
  phone->say(relayserver::request("d2"));
  EXPECT_EQ(phone->read("relay.receipt")["delivered"], true);
  EXPECT_TRUE(joinSoon(relays, 2, "role=phone&deviceName=B&deviceID=B&pairing=home", status)) << status;
  // Users come and go, and a member forgets whom it has let in.
  EXPECT_EQ(relays.etcd().control({"--user", EtcdMembers::kRoot, "user", "add", "another:one"}), 0);
  relays.etcd().kill(0);
  relays.etcd().start(0);
  EXPECT_EQ(registerSoon(relays, 1, "after"), 204);
  if (HasFailure()) std::printf("%s\n", relays.output().c_str());
}

// Some minutes.
class RelayClusterForLong : public RelayCluster {
 protected:
  void SetUp() override {
    if (rounds(0, 1) == 0) GTEST_SKIP() << "This takes some minutes: ./test --long";
    RelayCluster::SetUp();
  }
};

TEST_F(RelayClusterForLong, LosesNothingWhenARelayIsKilledStoppedOrCutOff) {
  constexpr int kTimes = 6;
  for (int i = 0; i < kTimes; ++i) {
    killAndRestart(busiest());
    stopAndWake(busiest());
    cutOffAndMend(busiest());
  }
}

TEST_F(RelayClusterForLong, LosesNothingWhenAMemberOfEtcdIsKilledOrStopped) {
  for (int member = 0; member < relays->etcd().count(); ++member) {
    killAndRestartEtcd(member);
    stopAndWakeEtcd(member);
  }
  for (int i = 0; i < 2; ++i) {
    killAndRestartEtcd(std::max(relays->etcd().leader(), 0));
    stopAndWakeEtcd(std::max(relays->etcd().leader(), 0));
  }
}

TEST_F(RelayClusterForLong, LosesNoDecisionWhenItsRelaysAreRestartedInTurn) {
  for (int relay = 0; relay < ClusterOfRelays::kRelays; ++relay) {
    EXPECT_EQ(relays->end(relay), 0);
    relays->start(relay);
    expectBack("relay restarted");
  }
}

}  // namespace
}  // namespace quillard::test
