#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/relay/app/RelaySetup.h"
#include "support/TemporaryFolder.h"

namespace quillard::relayserver {
namespace {

using testing::HasSubstr;
using testing::Not;

class RelaySetup : public testing::Test {
 protected:
  CommandLineMessage setUp(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--root", folder.path()});
    const auto options = readSetupOptions(arguments);
    if (const auto* message = std::get_if<CommandLineMessage>(&options)) return *message;
    return setUpRelay(std::get<RelaySetupOptions>(options));
  }
  [[nodiscard]] std::string contents(const std::string& file) const {
    std::ifstream stream(folder.path() + "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] std::string make(const std::string& name) const {
    std::ofstream(folder.path() + "/" + name) << "x";
    return folder.path() + "/" + name;
  }
  [[nodiscard]] RelayConfiguration written() const {
    return std::get<RelayConfiguration>(readConfiguration({"--config", folder.path() + "/etc/quillard-relay.conf"}));
  }

  const test::TemporaryFolder folder;
};

TEST_F(RelaySetup, PutsCaddyBeforeTheRelayByDefault) {
  const auto outcome = setUp({"--domain", "relay.example"});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  EXPECT_THAT(outcome.text, HasSubstr("QUILLARD_RELAY_URL=wss://relay.example/ws\n"));
  EXPECT_THAT(outcome.text, HasSubstr("quillard-relay check https://relay.example\n"));
  EXPECT_THAT(contents("etc/quillard-relay/Caddyfile"), HasSubstr("relay.example {\n"));
  EXPECT_THAT(outcome.text, HasSubstr("reverse_proxy 127.0.0.1:8080"));
  const auto configuration = written();
  EXPECT_TRUE(configuration.isBehindProxy);
  EXPECT_TRUE(configuration.listen.at(0).address.isLoopback());
  EXPECT_EQ(configuration.database, "/var/lib/quillard-relay/relay.db");
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/etc/systemd"));
}

TEST_F(RelaySetup, ListensAtPort443WithACertificateOfItsOwn) {
  const auto outcome = setUp(
      {"--domain", "relay.example", "--tls-certificate", make("fullchain.pem"), "--tls-key", make("privkey.pem")});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  EXPECT_THAT(outcome.text, HasSubstr("systemctl reload quillard-relay"));
  const auto configuration = written();
  EXPECT_EQ(configuration.listen.size(), 2U);
  EXPECT_EQ(configuration.listen.at(0).port, 443);
  EXPECT_EQ(configuration.tlsKey, "/run/quillard-relay/key.pem");
  EXPECT_FALSE(configuration.isBehindProxy);
  const auto dropIn = contents("etc/systemd/system/quillard-relay.service.d/setup.conf");
  for (const char* line : {"AmbientCapabilities=CAP_NET_BIND_SERVICE\n", "PrivateUsers=no\n", "ExecReload=\n",
                           "RuntimeDirectory=quillard-relay\n", "kill -HUP $MAINPID'\n", "/privkey.pem "}) {
    EXPECT_THAT(dropIn, HasSubstr(line));
  }
}

TEST_F(RelaySetup, MakesAKeyThatOnlyItsOwnerCanRead) {
  const auto outcome = setUp({"--domain", "relay.example", "--registration-key"});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  auto key = contents("etc/quillard-relay/registration-key");
  ASSERT_EQ(key.size(), 33U);
  key.pop_back();
  EXPECT_THAT(outcome.text, HasSubstr("QUILLARD_RELAY_URL=wss://relay.example/ws?registration-key=" + key + "\n"));
  struct stat status {};
  ASSERT_EQ(::stat((folder.path() + "/etc/quillard-relay/registration-key").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_THAT(contents("etc/quillard-relay.conf"), Not(HasSubstr(key)));
  EXPECT_THAT(contents("etc/systemd/system/quillard-relay.service.d/setup.conf"),
              HasSubstr("LoadCredential=registration-key:/etc/quillard-relay/registration-key\n"));
}

TEST_F(RelaySetup, LeavesAnEarlierConfigurationAlone) {
  ASSERT_EQ(setUp({"--domain", "first.example"}).exitCode, ExitCode::success);
  EXPECT_EQ(setUp({"--domain", "second.example"}).exitCode, ExitCode::cannotDoHere);
  EXPECT_THAT(contents("etc/quillard-relay.conf"), HasSubstr("first.example"));
  EXPECT_EQ(setUp({"--domain", "second.example", "--replace"}).exitCode, ExitCode::success);
  EXPECT_THAT(contents("etc/quillard-relay.conf"), HasSubstr("second.example"));
}

TEST_F(RelaySetup, WarnsAboutWhatItCannotUse) {
  const std::string file = make("file.pem");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{},
        {"--domain", "relay"},
        {"--domain", "https://relay.example"},
        {"--domain", "Relay.example"},
        {"--domain", "relay.example", "--tls-key", file},
        {"--domain", "relay.example", "--page", "/missing"},
        {"--domain", "relay.example", "--tls-key", file, "--tls-certificate", "/missing.pem"},
        {"--domain", "relay.example", "--nonsense"}}) {
    const auto outcome = setUp(arguments);
    EXPECT_EQ(outcome.exitCode, ExitCode::wrongUsage) << outcome.text;
    EXPECT_NE(outcome.text, "");
  }
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/etc"));
  EXPECT_EQ(setUp({"--help"}).exitCode, ExitCode::success);
}

}  // namespace
}  // namespace quillard::relayserver
