#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "companion/relay/app/RelaySetup.h"
#include "support/ChildProcess.h"
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

  [[nodiscard]] unsigned modeOf(const std::string& file) const {
    struct stat status {};
    return ::stat((folder.path() + "/" + file).c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
  }
  // All files and folders below it.
  static std::string listing(const std::string& place) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(place)) {
      names.push_back(std::filesystem::relative(entry.path(), place).string());
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (const auto& name : names) text += name + " ";
    return text;
  }

  const test::TemporaryFolder folder;
};

TEST_F(RelaySetup, PutsCaddyBeforeTheRelayByDefault) {
  const auto outcome = setUp({"--domain", "relay.example"});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  EXPECT_THAT(outcome.text, HasSubstr("  quillard relay set relay.example\n"));
  EXPECT_THAT(outcome.text, HasSubstr("quillard-relay check https://relay.example\n"));
  EXPECT_THAT(contents("etc/quillard-relay/Caddyfile"), HasSubstr("relay.example {\n"));
  EXPECT_THAT(outcome.text, HasSubstr("reverse_proxy 127.0.0.1:8080"));
  const auto configuration = written();
  EXPECT_TRUE(configuration.isBehindProxy);
  EXPECT_TRUE(configuration.listen.at(0).address.isLoopback());
  EXPECT_EQ(configuration.database, "/var/lib/quillard-relay/relay.db");
  ASSERT_TRUE(configuration.push);
  EXPECT_EQ(configuration.push->contact, "https://relay.example");
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/etc/systemd"));
}

TEST_F(RelaySetup, HasPushServicesWriteToWhomTheOperatorNames) {
  ASSERT_EQ(setUp({"--domain", "relay.example", "--push-contact", "mailto:ann@relay.example"}).exitCode,
            ExitCode::success);
  EXPECT_EQ(written().push->contact, "mailto:ann@relay.example");
  for (const std::string contact : {"ann@relay.example", "mailto:<ann@relay.example>", "http://relay.example"}) {
    EXPECT_NE(setUp({"--domain", "relay.example", "--replace", "--push-contact", contact}).exitCode, ExitCode::success)
        << contact;
  }
}

TEST_F(RelaySetup, WakesNoPhonesWhereTheOperatorWantsNone) {
  ASSERT_EQ(setUp({"--domain", "relay.example", "--no-push"}).exitCode, ExitCode::success);
  EXPECT_FALSE(written().push);
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
  for (const char* line :
       {"AmbientCapabilities=CAP_NET_BIND_SERVICE\n", "PrivateUsers=no\n", "ExecReload=\n",
        "RuntimeDirectory=quillard-relay\n", "ExecReload=/bin/kill -HUP $MAINPID\n",
        "ExecStartPre=+/etc/quillard-relay/copy-certificate\n", "ExecReload=+/etc/quillard-relay/copy-certificate\n"}) {
    EXPECT_THAT(dropIn, HasSubstr(line));
  }
  EXPECT_EQ(modeOf("etc/quillard-relay/copy-certificate"), 0755U);
  EXPECT_EQ(modeOf("etc/quillard-relay"), 0755U);
}

// What the service runs at its start, with a folder of the test in place of /run/quillard-relay.
TEST_F(RelaySetup, CopiesCertificatesFromAnyPath) {
  const std::string certificate = make("a \"full\" $chain's %n;#.pem");
  const std::string key = make("-key`id`\\.pem");
  const auto outcome = setUp({"--domain", "relay.example", "--tls-certificate", certificate, "--tls-key", key});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  auto script = contents("etc/quillard-relay/copy-certificate");
  const std::string place = "/run/quillard-relay";
  ASSERT_NE(script.find("cd " + place + "\n"), std::string::npos);
  script.replace(script.find(place), place.size(), "\"$1\"");
  std::filesystem::create_directory(folder.path() + "/run");
  const test::ChildProcess::Start start{.command = {"/bin/sh", "-c", script, "sh", folder.path() + "/run"},
                                        .environment = test::presentEnvironment()};
  EXPECT_EQ(test::ChildProcess(start).wait(), 0);
  EXPECT_EQ(contents("run/certificate.pem"), "x");
  EXPECT_EQ(contents("run/key.pem"), "x");
  EXPECT_EQ(modeOf("run/key.pem"), 0400U);
}

TEST_F(RelaySetup, LeavesTlsToATunnel) {
  const auto outcome = setUp({"--domain", "desk.home.example", "--tunnel"});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  EXPECT_THAT(outcome.text, HasSubstr("offer https://desk.home.example"));
  EXPECT_THAT(outcome.text, HasSubstr("http://127.0.0.1:8080"));
  EXPECT_THAT(outcome.text, Not(HasSubstr("Caddy")));
  EXPECT_TRUE(written().isBehindProxy);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/etc/quillard-relay"));
}

TEST_F(RelaySetup, MakesAKeyThatOnlyItsOwnerCanRead) {
  const auto outcome = setUp({"--domain", "relay.example", "--registration-key"});
  ASSERT_EQ(outcome.exitCode, ExitCode::success) << outcome.text;
  auto key = contents("etc/quillard-relay/registration-key");
  ASSERT_EQ(key.size(), 33U);
  key.pop_back();
  EXPECT_THAT(outcome.text, HasSubstr("  quillard relay set relay.example --key " + key + "\n"));
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
  EXPECT_THAT(contents("etc/quillard-relay.conf.old"), HasSubstr("first.example"));
}

TEST_F(RelaySetup, GuardsEachFileThatItWouldWriteOrPutAside) {
  for (const char* file :
       {"etc/quillard-relay.conf", "etc/quillard-relay/registration-key", "etc/quillard-relay/Caddyfile",
        "etc/quillard-relay/copy-certificate", "etc/systemd/system/quillard-relay.service.d/setup.conf"}) {
    const auto path = std::filesystem::path(folder.path()) / file;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "by hand";
    const auto outcome = setUp({"--domain", "relay.example"});
    EXPECT_EQ(outcome.exitCode, ExitCode::cannotDoHere) << file;
    EXPECT_THAT(outcome.text, HasSubstr(file));
    EXPECT_EQ(contents(file), "by hand");
    EXPECT_EQ(setUp({"--domain", "relay.example", "--replace"}).exitCode, ExitCode::success) << file;
    EXPECT_EQ(contents(std::string(file) + ".old"), "by hand");
    EXPECT_NE(contents(file), "by hand");
    std::filesystem::remove_all(folder.path() + "/etc");
  }
}

TEST_F(RelaySetup, KeepsTheKeyThatAgentsHave) {
  ASSERT_EQ(setUp({"--domain", "relay.example", "--registration-key"}).exitCode, ExitCode::success);
  const auto key = contents("etc/quillard-relay/registration-key");
  ASSERT_EQ(setUp({"--domain", "other.example", "--registration-key", "--replace"}).exitCode, ExitCode::success);
  EXPECT_EQ(contents("etc/quillard-relay/registration-key"), key);
}

TEST_F(RelaySetup, WritesAllOrNothing) {
  // Two of the files cannot be put where they belong: one not written, the other not renamed.
  const std::string etc = folder.path() + "/etc";
  std::filesystem::create_directories(etc);
  std::ofstream(etc + "/systemd") << "no folder";
  EXPECT_EQ(setUp({"--domain", "relay.example", "--registration-key"}).exitCode, ExitCode::cannotDoHere);
  EXPECT_EQ(listing(etc), "systemd ");
  std::filesystem::remove(etc + "/systemd");

  ASSERT_EQ(setUp({"--domain", "first.example", "--registration-key"}).exitCode, ExitCode::success);
  const auto before = listing(etc);
  const std::string obstacle = etc + "/systemd/system/quillard-relay.service.d/setup.conf.old";
  std::filesystem::create_directories(obstacle + "/in-the-way");
  EXPECT_EQ(setUp({"--domain", "second.example", "--registration-key", "--replace"}).exitCode, ExitCode::cannotDoHere);
  EXPECT_THAT(contents("etc/quillard-relay.conf"), HasSubstr("first.example"));
  std::filesystem::remove_all(obstacle);
  EXPECT_EQ(listing(etc), before);
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
        {"--domain", "relay.example", "--tls-key", file, "--tls-certificate", file, "--tunnel"},
        {"--domain", "relay.example", "--tls-key", make("line\nbreak"), "--tls-certificate", file},
        {"--domain", "relay.example", "--nonsense"}}) {
    const auto outcome = setUp(arguments);
    EXPECT_EQ(outcome.exitCode, ExitCode::wrongUsage) << outcome.text;
    EXPECT_NE(outcome.text, "");
  }
  // What the configuration file cannot hold is no page, either.
  std::filesystem::create_directory(folder.path() + "/a#b");
  (void)make("a#b/index.html");
  EXPECT_EQ(setUp({"--domain", "relay.example", "--page", folder.path() + "/a#b"}).exitCode, ExitCode::cannotDoHere);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/etc"));
  EXPECT_EQ(setUp({"--help"}).exitCode, ExitCode::success);
}

}  // namespace
}  // namespace quillard::relayserver
