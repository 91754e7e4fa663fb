#include <fstream>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "agent/configuration/ConfiguredTransports.h"
#include "agent/configuration/Tunables.h"
#include "contract/support/TestAuthority.h"
#include "contract/support/TransportClients.h"
#include "e2e/RelayProgram.h"
#include "e2e/RelayWire.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtHttpSessions.h"
#include "platform/qt/QtNetworkThread.h"
#include "platform/qt/QtWebSockets.h"
#include "platform/qt/SystemClock.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "relay/RelayClient.h"
#include "relay/RelayCrypto.h"
#include "relay/RelayTokenRegistration.h"
#include "support/SampleApprovals.h"
#include "support/TemporaryFolder.h"

// The agent's side of the relay against the real relay: both halves of one protocol, made apart.
namespace quillard {
namespace {

using test::Awaited;
using test::RelayProgram;
using test::RelayWire;

const std::string kToken(64, 'a');
const std::string kPairing = "quillard-office-1";

class RelayServerEndToEnd : public testing::Test {
 protected:
  RelayRegistrationOutcome registerToken(const std::string& token) {
    Awaited<RelayRegistrationOutcome> outcome;
    std::unique_ptr<platform::HttpSession> session;
    test::onExecutor(*queue, [&] {
      session = http.makeEphemeralSession(*queue);
      registerRelayAuthToken({.relayURL = url(), .pairingID = kPairing}, Secret{std::string_view{token}}, *session,
                             *queue, [&](RelayRegistrationOutcome got) { outcome.set(std::move(got)); });
    });
    const auto got = outcome.get();
    test::onExecutor(*queue, [&] { session.reset(); });
    EXPECT_TRUE(got) << "the registration did not end";
    return got.value_or(std::nullopt);
  }

  [[nodiscard]] std::string url() const { return "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws"; }

  std::unique_ptr<RelayClient> connectAgent() {
    auto client = std::make_unique<RelayClient>(
        RelayClientAccess{.url = url() + "?pairing=" + kPairing + "&role=mac",
                          .relaySecret = Secret{std::string_view{kToken}},
                          .cryptoSecret = Secret{std::string_view{"shared"}}},
        RelayClientCallbacks{.onApprovalRequest = [this](const auto& request) { requests.set(request); },
                             .onSuppressionCommand = [this](const auto& command) { suppressions.set(command); },
                             .onStatusChange = [this](const auto& status) { statuses.set(status); }},
        *queue, RelayClientDependencies{sockets, clock, random, console, stampClock});
    client->connect();
    return client;
  }

  // The first status that `accepts` likes. Absent: none came in time.
  template <class Accepts>
  std::optional<RelayConnectionStatus> waitForStatus(Accepts accepts) {
    for (std::size_t i = 0;; ++i) {
      auto status = statuses.get(i);
      if (!status || accepts(*status)) return status;
    }
  }

  std::unique_ptr<RelayWire> connectPhone() {
    auto phone = std::make_unique<RelayWire>(relay.port());
    const auto reply = phone->upgrade("role=phone&pairing=" + kPairing + "&deviceID=A&deviceName=Ana&platform=iOS",
                                      {{"Sec-WebSocket-Protocol", "quillard.v1, quillard.bearer." + kToken}});
    EXPECT_EQ(reply.status, 101);
    return phone;
  }

  Json seal(const Json& command) {
    return toJson(
        std::get<EncryptedRelayPayload>(RelayCrypto::seal(command, Secret{std::string_view{"shared"}}, random)));
  }

  RelayProgram relay;
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network};
  qt::QtHttpSessions http{network};
  qt::SystemClock clock;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  platform::simulated::SimulatedConsole console;
  const StampClock stampClock{clock, random};
  Awaited<ApprovalRequestEnvelope> requests;
  Awaited<ApprovalSuppressionCommand> suppressions;
  Awaited<RelayConnectionStatus> statuses;
  std::unique_ptr<platform::SerialExecutor> queue =
      executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
};

TEST_F(RelayServerEndToEnd, TakesTheAgentsTokenAndRefusesAnother) {
  EXPECT_FALSE(registerToken(kToken));
  EXPECT_FALSE(registerToken(kToken));
  const auto other = registerToken(std::string(64, 'b'));
  ASSERT_TRUE(other);
  EXPECT_EQ(description(*other), "The relay rejected token registration with HTTP 401.");
}

TEST_F(RelayServerEndToEnd, CarriesAPromptToThePhoneAndTheDecisionBack) {
  ASSERT_FALSE(registerToken(kToken));
  const auto agent = connectAgent();
  ASSERT_TRUE(waitForStatus([](const auto& status) { return status.relayConnected; }));
  const std::vector<PendingApproval> list{samples::approval(1)};
  agent->publishSnapshot(list, true, false);
  const auto phone = connectPhone();
  const auto status = waitForStatus([](const auto& seen) { return seen.phoneConnected; });
  ASSERT_TRUE(status);
  ASSERT_EQ(status->phones.size(), 1U);
  EXPECT_EQ(status->phones[0].deviceName, "Ana");
  EXPECT_EQ(status->phones[0].connected, true);
  EXPECT_EQ(phone->read("mac.snapshot")["snapshotID"], "ax1:" + RelayCrypto::snapshotID(list));

  const ApprovalRequestCommand command{.approvalID = samples::uuid(1), .buttonLabel = "Erase"};
  phone->say({{"type", "approval.request"}, {"decisionID", "d1"}, {"encryptedRequest", seal(toJson(command))}});
  const auto request = requests.get();
  ASSERT_TRUE(request);
  EXPECT_EQ(request->decisionID, "d1");
  EXPECT_EQ(request->command, command);
  EXPECT_EQ(phone->read("relay.receipt")["delivered"], true);
  agent->publishResult("d1", {.approvalID = samples::uuid(1), .buttonLabel = "Erase", .status = "accepted"});
  EXPECT_EQ(phone->read("approval.result")["phone"]["deviceID"], "A");

  const ApprovalSuppressionCommand suppression{
      .action = "suppress", .approvalID = {}, .suppressionID = samples::uuid(2)};
  phone->say(
      {{"type", "approval.suppress"}, {"decisionID", "s1"}, {"encryptedSuppression", seal(toJson(suppression))}});
  EXPECT_EQ(suppressions.get(), suppression);
  agent->disconnect();
  EXPECT_EQ(phone->read("mac.status")["macConnected"], false);
}

TEST_F(RelayServerEndToEnd, EndsThePairingWhenTheAgentUnpairs) {
  ASSERT_FALSE(registerToken(kToken));
  const auto agent = connectAgent();
  ASSERT_TRUE(waitForStatus([](const auto& status) { return status.relayConnected; }));
  const auto phone = connectPhone();
  ASSERT_TRUE(waitForStatus([](const auto& status) { return status.phoneConnected; }));
  Awaited<bool> sent;
  agent->unpairPhone({}, [&](bool isSent) { sent.set(isSent); });
  EXPECT_EQ(sent.get(), true);
  EXPECT_EQ(phone->readClose(), 4002);
  const auto outcome = registerToken(kToken);
  ASSERT_TRUE(outcome);
  EXPECT_EQ(description(*outcome), "This pairing was revoked.");
  agent->disconnect();
}

// A relay whose certificate is of an authority that the system does not know.
class RelayOfAPrivateAuthority : public testing::Test {
 protected:
  RelayOfAPrivateAuthority() {
    const auto identity = authority.issue({.names = "DNS:localhost"});
    write("certificate", identity.certificate);
    write("key", identity.key);
    write("authority", authority.certificate());
    write("other", test::TestAuthority().certificate());
    relay = std::make_unique<RelayProgram>(
        std::vector<std::string>{"--tls-certificate", file("certificate"), "--tls-key", file("key")});
  }
  // By its name, which the certificate gives.
  [[nodiscard]] std::string url() const { return "wss://localhost:" + std::to_string(relay->port()) + "/ws"; }
  [[nodiscard]] std::string file(const std::string& name) const { return folder.path() + "/" + name; }
  void write(const std::string& name, const std::string& content) const { std::ofstream(file(name)) << content; }
  void trust(const std::string& path) {
    ASSERT_TRUE(AgentConfiguration::setTunable(*AgentConfiguration::findTunable("relay-authority"), path, settings));
  }

  // Why the relay was not told of the token. Empty: it has it.
  std::string registration() {
    Awaited<RelayRegistrationOutcome> outcome;
    const RelayLaunchConfiguration configuration{.relayURL = url(), .pairingID = kPairing};
    const auto session = transports.makeEphemeralSession(*queue);
    test::onExecutor(*queue, [&] {
      registerRelayAuthToken(configuration, Secret{std::string_view{kToken}}, *session, *queue,
                             [&](RelayRegistrationOutcome got) { outcome.set(std::move(got)); });
    });
    const auto got = outcome.get();
    if (!got) return "nothing came";
    return *got ? description(**got) : "";
  }
  // Whether a connection opens, or else why not.
  std::string connection() {
    Awaited<std::string> ended;
    const auto task = transports.makeTask(
        *queue,
        {.url = url() + "?pairing=" + kPairing + "&role=mac", .headers = {{"authorization", "Bearer " + kToken}}},
        [&] { ended.set("open"); });
    test::onExecutor(*queue, [&] {
      task->start();
      task->receive([&](const platform::WebSocketReceipt& receipt) {
        const auto* const end = std::get_if<platform::WebSocketEnd>(&receipt);
        if (end) ended.set(end->error.description);
      });
    });
    const auto text = ended.get().value_or("nothing came");
    test::onExecutor(*queue, [&] { task->cancel(platform::WebSocketCloseCode::normalClosure); });
    return text;
  }

  const test::TestAuthority authority;
  const test::TemporaryFolder folder;
  std::unique_ptr<RelayProgram> relay;
  qt::QtExecutors executors;
  qt::QtNetworkThread network;
  qt::QtWebSockets sockets{network};
  qt::QtHttpSessions http{network};
  platform::simulated::SimulatedEnvironment environment;
  platform::simulated::SimulatedUserDefaults settings;
  ConfiguredTransports transports{http, sockets, {environment, &settings}};
  std::unique_ptr<platform::SerialExecutor> queue =
      executors.makeSerialQueue("farrowlight.relay-client", platform::QualityOfService::standard);
};

TEST_F(RelayOfAPrivateAuthority, IsTrustedOnceTheSettingsNameThatAuthority) {
  const std::string refused = "The server's certificate was refused: ";
  EXPECT_EQ(registration().find(refused), 0U);
  EXPECT_EQ(connection().find(refused), 0U);
  trust(file("other"));
  EXPECT_EQ(registration().find(refused), 0U);
  trust(file("authority"));
  EXPECT_EQ(registration(), "");
  EXPECT_EQ(connection(), "open");
}

TEST_F(RelayOfAPrivateAuthority, IsNotAskedAnythingWhereTheFileCannotBeUsed) {
  trust(file("gone"));
  const std::string unreadable = "The file of authorities cannot be read: " + file("gone");
  EXPECT_EQ(registration(), unreadable);
  EXPECT_EQ(connection(), unreadable);
  trust(file("key"));
  EXPECT_EQ(registration(), "The file of authorities holds no certificate: " + file("key"));
  EXPECT_EQ(relay->output().find(kPairing.substr(0, 8)), std::string::npos) << relay->output();
}

}  // namespace
}  // namespace quillard
