#include <gtest/gtest.h>

#include "companion/relay/cluster/ClusterRecords.h"
#include "companion/relay/cluster/EtcdMessages.h"
#include "foundation/StrictJson.h"

// What is read from the engine, and what is not taken for it.
namespace quillard::relayserver {
namespace {

TEST(ClusterRecords, ReadWhatTheyWrite) {
  PairingRecord pairing{.lastUsed = 12, .isJoined = true};
  pairing.token.fill(0xA5);
  EXPECT_EQ(readPairingRecord(valueOf(pairing)), pairing);
  pairing.computerKey.emplace().fill(0x5A);
  EXPECT_EQ(readPairingRecord(valueOf(pairing)), pairing);
  EXPECT_EQ(readTombstoneRecord(valueOf(TombstoneRecord{7})), TombstoneRecord{7});
  const HomeRecord home{.relay = "relay-1", .run = "0a"};
  EXPECT_EQ(readHomeRecord(valueOf(home)), home);
  const RelayRecord relay{.address = "[2001:db8::1]:8443", .run = "0a", .beat = 3};
  EXPECT_EQ(readRelayRecord(valueOf(relay)), relay);
  PushSubscription push{.deviceID = "A",
                        .id = std::string(32, 'a'),
                        .endpoint = "https://push.example/\"",
                        .sealed = R"("encryptedSubscription":{"version":1})",
                        .state = PushSubscription::State::refused,
                        .at = 9};
  EXPECT_EQ(readPushSubscription(valueOf(push), "A"), push);
  push = {.deviceID = "A", .id = std::string(32, 'a'), .state = PushSubscription::State::expired};
  EXPECT_EQ(readPushSubscription(valueOf(push), "A"), push);
  const PushSecretRecord secret{.secret = std::string(32, '\xA5')};
  EXPECT_EQ(readPushSecretRecord(valueOf(secret)), secret);
}

TEST(ClusterRecords, RefuseASubscriptionThatWouldSpoilAMessage) {
  const auto recordOf = [](const std::string& id, const std::string& sealed, int state) {
    return Json{{"id", id}, {"endpoint", "x"}, {"sealed", sealed}, {"state", state}, {"at", 1}}.dump();
  };
  const std::string id(32, 'a');
  const std::string good = R"("encryptedSubscription":{})";
  EXPECT_TRUE(readPushSubscription(recordOf(id, good, 0), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf(id, good, 3), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf("a\"", good, 0), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf(id, good + "}", 0), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf(id, R"("other":{})", 0), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf(id, good + R"(,"deviceID":"B")", 0), "A"));
  EXPECT_FALSE(readPushSubscription(recordOf(id, good + R"(,"refused":true)", 0), "A"));
  EXPECT_FALSE(readPushSecretRecord(R"({"secret":"00"})"));
}

TEST(ClusterRecords, RefuseWhatIsNone) {
  for (const char* value : {"", "{", "[]", "null", R"({"at":-1})", R"({"at":1.5})", R"({"at":"1"})", R"({})"}) {
    EXPECT_EQ(readTombstoneRecord(value), std::nullopt) << value;
  }
  for (const char* value :
       {R"({"relay":"A","run":"0a"})", R"({"relay":"a","run":"xyz"})", R"({"relay":"a","run":""})"}) {
    EXPECT_EQ(readHomeRecord(value), std::nullopt) << value;
  }
  EXPECT_EQ(readPairingRecord(R"({"token":"00","lastUsed":1,"joined":true})"), std::nullopt);
  const std::string token(64, 'a');
  for (const char* computer : {"1", "\"00\""}) {
    EXPECT_EQ(
        readPairingRecord(R"({"token":")" + token + R"(","lastUsed":1,"joined":true,"computer":)" + computer + "}"),
        std::nullopt)
        << computer;
  }
  EXPECT_EQ(readRelayRecord(R"({"address":"nowhere","run":"0a","beat":1})"), std::nullopt);
}

TEST(ClusterRecords, NameWhatAKeyIsAboutAndIgnoreOtherKinds) {
  EXPECT_TRUE(std::holds_alternative<PairingName>(readKey("pairing/a")));
  EXPECT_TRUE(std::holds_alternative<PushName>(readKey("push/a/B-1")));
  EXPECT_TRUE(std::holds_alternative<PushSecretName>(readKey("vapid/secret")));
  for (const char* key : {"", "pairing", "pairing/", "pairing/A", "removed/a/B-1", "push//B", "relay/A", "later/a/B",
                          "push/a", "push/a/", "vapid/other", "pairing/a/b"}) {
    EXPECT_TRUE(std::holds_alternative<OtherName>(readKey(key))) << key;
  }
}

TEST(PeerAddress, IsAHostAndAPort) {
  EXPECT_EQ(PeerAddress::parse("relay-1.internal:8443"), (PeerAddress{"relay-1.internal", 8443}));
  EXPECT_EQ(PeerAddress::parse("[::1]:1")->text(), "[::1]:1");
  for (const char* text : {"", "a", ":1", "a:", "a:0", "a:65536", "a:1x", "::1:1", "[a]:1", "a b:1", "[]:1"}) {
    EXPECT_EQ(PeerAddress::parse(text), std::nullopt) << text;
  }
}

TEST(EtcdMessages, RefuseWhatEtcdDoesNotSay) {
  for (
      const char* text :
      {"", "{}", "[]", R"({"header":{}})", R"({"header":{"revision":"x"}})", R"({"header":{"revision":"0"}})",
       R"({"header":{"revision":"1"},"responses":{}})",
       R"({"header":{"revision":"1"},"responses":[{"response_range":{"kvs":[{"key":"!","mod_revision":"1"}]}}]})",
       R"({"header":{"revision":"1"},"responses":[{"response_range":{"kvs":[{"key":"b3RoZXI=","mod_revision":"1"}]}}]})"}) {
    EXPECT_FALSE(etcd::readTransaction(text, "quillard/")) << text;
  }
  EXPECT_FALSE(etcd::readTakenLease(R"({"ID":"0"})"));
  EXPECT_FALSE(etcd::readKeptLease(R"({"error":"no"})"));
  EXPECT_FALSE(etcd::readAuthentication(R"({"token":"a\r\nb"})"));
  EXPECT_EQ(etcd::readError(R"({"error":"etcdserver: permission\ndenied","code":7})"), "etcdserver: permission denied");
  EXPECT_EQ(etcd::readError("plain\xC3\xA4\n"), "plain   ");
  EXPECT_EQ(etcd::readError(std::string(10'000, 'x')).size(), 200U);
  EXPECT_TRUE(etcd::isOfUsers(R"({"error":"etcdserver: revision of auth store is old","code":3})"));
  EXPECT_TRUE(etcd::isOfUsers(R"({"error":{"grpc_code":16,"message":"etcdserver: invalid auth token"}})"));
  EXPECT_FALSE(etcd::isOfUsers(R"({"error":"etcdserver: user name is empty","code":3})"));
  EXPECT_TRUE(std::holds_alternative<etcd::WatchEnded>(etcd::readWatchLine("{}", "")));
  EXPECT_TRUE(std::holds_alternative<etcd::WatchEnded>(etcd::readWatchLine(R"({"result":{"canceled":true}})", "")));
  EXPECT_TRUE(std::holds_alternative<etcd::WatchCompacted>(
      etcd::readWatchLine(R"({"result":{"canceled":true,"compact_revision":"5"}})", "")));
}

}  // namespace
}  // namespace quillard::relayserver
