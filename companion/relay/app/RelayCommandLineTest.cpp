#include <algorithm>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "companion/relay/app/RelayCommandLine.h"
#include "companion/relay/push/PushEndpoint.h"
#include "support/TemporaryFolder.h"

namespace quillard::relayserver {
namespace {

using Arguments = std::vector<std::string>;

// With a database, which is always needed.
std::variant<RelayConfiguration, CommandLineMessage> read(Arguments arguments) {
  arguments.insert(arguments.end(), {"--database", "relay.db"});
  return readConfiguration(arguments);
}

RelayConfiguration good(const Arguments& arguments) {
  const auto outcome = read(arguments);
  const auto* message = std::get_if<CommandLineMessage>(&outcome);
  EXPECT_FALSE(message) << message->text;
  return message ? RelayConfiguration{} : std::get<RelayConfiguration>(outcome);
}

std::string errorOf(const Arguments& arguments) {
  const auto outcome = read(arguments);
  const auto* message = std::get_if<CommandLineMessage>(&outcome);
  if (!message) return "";
  EXPECT_EQ(message->exitCode, ExitCode::wrongUsage);
  return message->text;
}

// A variable of the environment, for as long as it lives.
class Variable {
 public:
  Variable(const char* name, const char* value) : name(name) { ::setenv(name, value, 1); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  ~Variable() { ::unsetenv(name); }

 private:
  const char* name;
};

TEST(RelayCommandLine, ListensAtThisComputerOnlyByDefault) {
  const auto configuration = good({});
  ASSERT_EQ(configuration.listen.size(), 1U);
  EXPECT_TRUE(configuration.listen[0].address.isLoopback());
  EXPECT_EQ(configuration.listen[0].port, 8080);
  EXPECT_EQ(configuration.limits.pairings, 10'000U);
  EXPECT_EQ(configuration.limits.purgeAfter, std::chrono::hours(24 * 400));
  EXPECT_FALSE(configuration.metrics);
  EXPECT_TRUE(configuration.trustedProxies.empty());
}

TEST(RelayCommandLine, TakesFlagsBeforeTheEnvironmentBeforeTheFile) {
  const test::TemporaryFolder folder;
  const std::string file = folder.path() + "/relay.conf";
  std::ofstream(file)
      << "# the relay\npairings = 1\npurge-days = 2\nconnections = 3\nlisten = [\"127.0.0.1:1\", \"[::1]:2\"]\n"
      << "behind-proxy = true\n";
  const Variable purge("QUILLARD_RELAY_PURGE_DAYS", "20");
  const Variable connections("QUILLARD_RELAY_CONNECTIONS", "30");
  const Variable listen("QUILLARD_RELAY_LISTEN", "127.0.0.1:1,127.0.0.1:2,127.0.0.1:3");
  const auto configuration = good({"--config", file, "--connections", "300"});
  EXPECT_EQ(configuration.limits.pairings, 1U);
  EXPECT_EQ(configuration.limits.purgeAfter, std::chrono::hours(24 * 20));
  EXPECT_EQ(configuration.limits.connections, 300U);
  EXPECT_EQ(configuration.listen.size(), 3U);
  EXPECT_TRUE(configuration.isBehindProxy);
  EXPECT_EQ(configuration.trustedProxies.size(), 2U);
}

TEST(RelayCommandLine, TakesAllFromTheEnvironment) {
  const test::TemporaryFolder folder;
  const std::string file = folder.path() + "/relay.conf";
  std::ofstream(file) << "pairings = 7\n";
  const Variable config("QUILLARD_RELAY_CONFIG", file.c_str());
  const Variable proxy("QUILLARD_RELAY_BEHIND_PROXY", "true");
  const Variable empty("QUILLARD_RELAY_PAGE", "");
  const auto configuration = good({});
  EXPECT_EQ(configuration.limits.pairings, 7U);
  EXPECT_TRUE(configuration.isBehindProxy);
  EXPECT_EQ(configuration.page, "");
}

TEST(RelayCommandLine, TakesOriginsAsBrowsersWriteThem) {
  const auto configuration = good(
      {"--page-origin", "https://phones.example,https://other.example:8443", "--page-origin", "http://127.0.0.1:5000"});
  EXPECT_EQ(configuration.pageOrigins, (std::vector<std::string>{"https://phones.example", "https://other.example:8443",
                                                                 "http://127.0.0.1:5000"}));
  for (const std::string wrong : {"phones.example", "https://phones.example/", "https://phones.example/page",
                                  "https://Phones.example", "https://phones.example:443", "http://phones.example",
                                  "https://a@phones.example", "https://phones.example?a", "*", "null"}) {
    EXPECT_NE(errorOf({"--page-origin", wrong}).find("that is no origin"), std::string::npos) << wrong;
  }
}

TEST(RelayCommandLine, RefusesOtherAddressesWithoutEncryption) {
  EXPECT_NE(errorOf({"--listen", "0.0.0.0:80"}).find("other computers"), std::string::npos);
  EXPECT_NE(errorOf({"--listen", "[::]:80"}).find("other computers"), std::string::npos);
  good({"--listen", "0.0.0.0:80", "--behind-proxy"});
  good({"--listen", "[::]:443", "--tls-certificate", "a", "--tls-key", "b"});
  good({"--listen", "127.0.0.2:80", "--listen", "[::1]:0"});
  EXPECT_NE(errorOf({"--metrics", "0.0.0.0:9"}), "");
}

TEST(RelayCommandLine, WarnsAboutWhatItCannotUse) {
  for (const Arguments& arguments : {Arguments{"--listen", "localhost:80"},
                                     {"--listen", "127.0.0.1"},
                                     {"--listen", "127.0.0.1:65536"},
                                     {"--listen", "127.0.0.1:"},
                                     {"--listen", "::1:80"},
                                     {"--tls-key", "a"},
                                     {"--tls-certificate", "a"},
                                     {"--pairings", "0"},
                                     {"--pairings", "many"},
                                     {"--purge-days", "-1"},
                                     {"--nonsense"},
                                     {"stray"},
                                     {"--behind-proxy", "--trusted-proxy", "10.0.0.0/99"},
                                     {"--config", "/missing/relay.conf"},
                                     {"--metrics", "x"}}) {
    EXPECT_NE(errorOf(arguments), "") << arguments.front() << " " << arguments.back();
  }
  const test::TemporaryFolder folder;
  const std::string file = folder.path() + "/relay.conf";
  std::ofstream(file) << "no-such-option = 1\n";
  EXPECT_NE(errorOf({"--config", file}), "");
  EXPECT_EQ(std::get<CommandLineMessage>(readConfiguration({})).exitCode, ExitCode::wrongUsage);
}

TEST(RelayCommandLine, MakesARelayOneOfSeveral) {
  EXPECT_FALSE(good({}).cluster);
  const Arguments safe{"--cluster",
                       "https://etcd-1:2379,https://[2001:db8::1]:2379",
                       "--cluster-name",
                       "relay-1",
                       "--cluster-listen",
                       "10.0.0.1:8443",
                       "--cluster-address",
                       "relay-1.internal:8443",
                       "--cluster-user",
                       "relay",
                       "--cluster-password-file",
                       "password",
                       "--cluster-certificate",
                       "c",
                       "--cluster-key",
                       "k",
                       "--cluster-authority",
                       "a"};
  const auto cluster = good(safe).cluster;
  ASSERT_TRUE(cluster);
  EXPECT_TRUE(cluster->isEngineEncrypted);
  EXPECT_EQ(cluster->engine, (std::vector<PeerAddress>{{"etcd-1", 2379}, {"2001:db8::1", 2379}}));
  EXPECT_EQ(cluster->address, (PeerAddress{"relay-1.internal", 8443}));
  EXPECT_EQ(cluster->prefix, "quillard/");
  // Without one of these nobody would know who is a relay.
  for (const char* left : {"--cluster-name", "--cluster-key", "--cluster-authority", "--cluster-password-file"}) {
    auto fewer = safe;
    const auto at = std::find(fewer.begin(), fewer.end(), left);
    fewer.erase(at, at + 2);
    EXPECT_NE(errorOf(fewer), "") << left;
  }
  for (const char* engine : {"etcd-1:2379", "ftp://etcd-1:2379", "https://etcd-1", "http://etcd-1:2379",
                             "https://etcd-1:2379,http://127.0.0.1:2379"}) {
    auto other = safe;
    other[1] = engine;
    EXPECT_NE(errorOf(other), "") << engine;
  }
}

TEST(RelayCommandLine, SpeaksInClearWithOtherRelaysOfThisComputerOnly) {
  const Arguments test{"--cluster", "http://127.0.0.1:2379", "--cluster-name", "a"};
  EXPECT_NE(errorOf(test), "");
  auto inClear = test;
  inClear.emplace_back("--cluster-in-clear");
  EXPECT_TRUE(good(inClear).cluster);
  inClear.insert(inClear.end(), {"--cluster-listen", "10.0.0.1:8443"});
  EXPECT_NE(errorOf(inClear), "");
}

TEST(RelayCommandLine, ExplainsItself) {
  const auto help = std::get<CommandLineMessage>(readConfiguration({"--help"}));
  EXPECT_EQ(help.exitCode, ExitCode::success);
  EXPECT_NE(help.text.find("--behind-proxy"), std::string::npos);
  EXPECT_EQ(help.text.find("milliseconds"), std::string::npos);
  EXPECT_EQ(std::get<CommandLineMessage>(readConfiguration({"--version"})).text.rfind("quillard-relay ", 0), 0U);
}

TEST(RelayCommandLine, WakesNoPhonesWithoutAContact) {
  EXPECT_FALSE(good({}).push);
  EXPECT_FALSE(good({"--push-hosts", "push.example"}).push);
  const auto usual = good({"--push-contact", "mailto:operator@relay.example"}).push;
  ASSERT_TRUE(usual);
  EXPECT_EQ(usual->contact, "mailto:operator@relay.example");
  EXPECT_EQ(usual->hosts, PushHosts::large());
  EXPECT_FALSE(usual->allowsPrivateAddresses);
}

TEST(RelayCommandLine, TakesPushServicesBesideTheLargeOnesAndInTheirPlace) {
  const Arguments contact{"--push-contact", "https://relay.example"};
  const auto hostsWith = [&](const std::string& hosts) {
    Arguments all = contact;
    all.insert(all.end(), {"--push-hosts", hosts});
    return good(all).push->hosts;
  };
  EXPECT_EQ(hostsWith("ntfy.example,*.push.example:8443"),
            (std::vector<std::string>{"ntfy.example", "*.push.example:8443"}));
  auto both = PushHosts::large();
  both.emplace_back("ntfy.example");
  EXPECT_EQ(hostsWith("large,ntfy.example"), both);
}

TEST(RelayCommandLine, RefusesContactsAndHostsThatPushServicesWouldNot) {
  EXPECT_NE(errorOf({"--push-contact", "operator@relay.example"}).find("--push-contact"), std::string::npos);
  EXPECT_NE(
      errorOf({"--push-contact", "https://relay.example", "--push-hosts", "https://push.example"}).find("--push-hosts"),
      std::string::npos);
}

}  // namespace
}  // namespace quillard::relayserver
