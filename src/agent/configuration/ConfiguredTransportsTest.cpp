#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "agent/configuration/ConfiguredTransports.h"
#include "agent/configuration/Tunables.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedHttpSessions.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/SimulatedWebSockets.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard {
namespace {

using namespace platform::simulated;

struct ConfiguredTransportsTest : testing::Test {
  void setAuthority(const std::string& path) {
    ASSERT_TRUE(AgentConfiguration::setTunable(*AgentConfiguration::findTunable("relay-authority"), path, settings));
  }
  // What the next request, and the next connection, are told to trust besides the system's authorities.
  std::string authorityOfRequest() {
    session->send({.method = "GET", .url = "https://relay.example/"},
                  [this](const platform::HttpOutcome& got) { outcome = got; });
    time.runUntilIdle();
    return http.requests().empty() ? "nothing was asked" : http.requests().back().authorityFile;
  }
  std::string authorityOfConnection() {
    (void)transports.makeTask(*queue, {.url = "wss://relay.example/ws"}, [] {});
    return sockets.newest()->request().authorityFile;
  }

  VirtualTime time{Seed{1}};
  const std::unique_ptr<platform::SerialExecutor> queue =
      time.makeSerialQueue("relay", platform::QualityOfService::standard);
  SimulatedHttpSessions http;
  SimulatedWebSockets sockets;
  SimulatedEnvironment environment;
  SimulatedUserDefaults settings;
  ConfiguredTransports transports{http, sockets, {environment, &settings}};
  const std::unique_ptr<platform::HttpSession> session = transports.makeEphemeralSession(*queue);
  std::optional<platform::HttpOutcome> outcome;
};

TEST_F(ConfiguredTransportsTest, TrustTheSystemsAuthoritiesAloneWhereNothingIsSet) {
  EXPECT_EQ(authorityOfRequest(), "");
  EXPECT_EQ(authorityOfConnection(), "");
}

TEST_F(ConfiguredTransportsTest, TrustWhatIsSetFromTheNextRequestOn) {
  http.addAuthorityFile("/etc/one.pem");
  http.addAuthorityFile("/etc/other.pem");
  setAuthority("/etc/one.pem");
  EXPECT_EQ(authorityOfRequest(), "/etc/one.pem");
  EXPECT_EQ(authorityOfConnection(), "/etc/one.pem");
  environment.set("QUILLARD_RELAY_AUTHORITY", "/etc/other.pem");
  EXPECT_EQ(authorityOfRequest(), "/etc/other.pem");
  EXPECT_EQ(authorityOfConnection(), "/etc/other.pem");
}

TEST_F(ConfiguredTransportsTest, NameTheFileThatCannotBeUsedAndDoNotGoOnWithoutIt) {
  setAuthority("/etc/gone.pem");
  EXPECT_EQ(authorityOfRequest(), "nothing was asked");
  ASSERT_TRUE(outcome && std::holds_alternative<platform::TransportError>(*outcome));
  EXPECT_EQ(std::get<platform::TransportError>(*outcome).description,
            "The file of authorities cannot be read: /etc/gone.pem");
}

}  // namespace
}  // namespace quillard
