#include <string>

#include <gtest/gtest.h>

#include "platform/simulated/SimulatedHttpSessions.h"
#include "platform/simulated/VirtualTime.h"
#include "relay/RelayTokenRegistration.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;
using Case = RelayRegistrationError::Case;
using platform::HttpResponse;
using platform::NotHttpResponse;
using platform::TransportError;

// One attempt against a server that gives one answer.
struct Registration {
  platform::simulated::VirtualTime time{platform::simulated::Seed{1}};
  platform::simulated::SimulatedHttpSessions web;
  std::unique_ptr<platform::HttpSession> session = web.makeEphemeralSession(time.mainThread());
  std::vector<RelayRegistrationOutcome> outcomes;

  void start(const std::string& relayURL, const std::string& pairingID = "quillard-0123") {
    registerRelayAuthToken({relayURL, pairingID}, Secret{std::string_view{"token"}}, *session, time.mainThread(),
                           [this](RelayRegistrationOutcome outcome) { outcomes.push_back(std::move(outcome)); });
  }
  // "" for success.
  std::string descriptionAfter(const std::string& relayURL) {
    start(relayURL);
    EXPECT_TRUE(outcomes.empty()) << "Never inside the call.";
    time.runUntilIdle();
    EXPECT_EQ(outcomes.size(), 1U);
    return outcomes.at(0) ? description(*outcomes.at(0)) : "";
  }
  std::string descriptionOf(const platform::HttpOutcome& answer) {
    web.setServer([&](const platform::HttpRequest&) { return answer; });
    outcomes.clear();
    return descriptionAfter("wss://relay.example/ws");
  }
};

TEST(RelayTokenRegistration, PutsTheTokenAtThePairingsAddress) {
  Registration registration;
  EXPECT_EQ(registration.descriptionAfter("wss://relay.example:8443/ws?room=1#x"), "");
  ASSERT_EQ(registration.web.requests().size(), 1U);
  const auto request = registration.web.requests().front();
  EXPECT_EQ(request.method, "PUT");
  EXPECT_EQ(request.url, "https://relay.example:8443/api/pairings/quillard-0123/relay-token");
  EXPECT_EQ(request.body, R"({"client":"mac","version":1})");
  EXPECT_EQ(request.timeout, Seconds{8});
  ASSERT_EQ(request.headers.size(), 2U);
  EXPECT_EQ(request.headers[0].name, "content-type");
  EXPECT_EQ(request.headers[0].value, "application/json");
  EXPECT_EQ(request.headers[1].name, "authorization");
  EXPECT_EQ(request.headers[1].value, "Bearer token");
}

TEST(RelayTokenRegistration, ShowsTheOperatorsKeyThatStandsInTheRelaysAddress) {
  Registration registration;
  EXPECT_EQ(registration.descriptionAfter("wss://relay.example/ws?room=1&registration-key=k3y"), "");
  const auto request = registration.web.requests().front();
  EXPECT_EQ(request.url, "https://relay.example/api/pairings/quillard-0123/relay-token");
  ASSERT_EQ(request.headers.size(), 3U);
  EXPECT_EQ(request.headers[2].name, "quillard-registration-key");
  EXPECT_EQ(request.headers[2].value, "k3y");
}

TEST(RelayTokenRegistration, GoesOverHttpsForAnUpperCaseSchemeToo) {
  Registration registration;
  EXPECT_EQ(registration.descriptionAfter("WSS://relay.example/ws"), "");
  EXPECT_EQ(registration.web.requests().at(0).url, "https://relay.example/api/pairings/quillard-0123/relay-token");
}

TEST(RelayTokenRegistration, NeverSendsATokenInClearToAnotherComputer) {
  for (const auto* url : {"ws://10.0.0.2/ws", "ws://relay.example/ws", "ws://LOCALHOST/ws", "ws://localhost.evil/ws",
                          "ws://localhost@evil/ws", "https://relay.example/ws", "http://relay.example",
                          "//relay.example", "ws://[::2]/", "ws://127.0.0.1.evil/"}) {
    Registration registration;
    EXPECT_EQ(registration.descriptionAfter(url), "The relay URL is not valid.") << url;
    EXPECT_TRUE(registration.web.requests().empty()) << url;
  }
}

TEST(RelayTokenRegistration, GoesInClearToThisVeryComputer) {
  for (const auto* host : {"localhost:8080", "127.0.0.1:8080", "[::1]:8080"}) {
    Registration registration;
    EXPECT_EQ(registration.descriptionAfter("ws://" + std::string(host) + "/ws"), "");
    EXPECT_EQ(registration.web.requests().at(0).url,
              "http://" + std::string(host) + "/api/pairings/quillard-0123/relay-token");
  }
}

TEST(RelayTokenRegistration, EncodesIdentifiersOfOlderBuilds) {
  Registration registration;
  registration.start("wss://relay.example", "../x?y#z \xC3\xA4");
  EXPECT_EQ(registration.web.requests().at(0).url,
            "https://relay.example/api/pairings/..%2Fx%3Fy%23z%20%C3%A4/relay-token");
}

TEST(RelayTokenRegistration, FailsBeforeAnyRequestWhenTheUrlDoesNotParse) {
  for (const auto* url : {"", "not a URL", "wss://", "relay.example", "wss://a b/"}) {
    Registration registration;
    EXPECT_EQ(registration.descriptionAfter(url), "The relay URL is not valid.") << url;
    EXPECT_TRUE(registration.web.requests().empty());
  }
}

TEST(RelayTokenRegistration, SucceedsWithAnyStatusFrom200To299) {
  for (const int status : {200, 201, 204, 299}) EXPECT_EQ(Registration{}.descriptionOf(HttpResponse{status}), "");
}

TEST(RelayTokenRegistration, IsRejectedWithAnyOtherStatus) {
  for (const int status : {0, 100, 199, 300, 302, 400, 401, 404, 409, 411, 500, 503}) {
    EXPECT_EQ(Registration{}.descriptionOf(HttpResponse{status}),
              "The relay rejected token registration with HTTP " + std::to_string(status) + ".");
  }
}

TEST(RelayTokenRegistration, TellsARevokedPairing) {
  Registration registration;
  EXPECT_EQ(registration.descriptionOf(HttpResponse{410}), "This pairing was revoked.");
  EXPECT_EQ(std::get<RelayRegistrationError>(*registration.outcomes.at(0)).code, Case::pairingRevoked);
}

TEST(RelayTokenRegistration, TellsAnAnswerThatIsNoHttp) {
  EXPECT_EQ(Registration{}.descriptionOf(NotHttpResponse{}), "The relay did not return a valid registration response.");
}

TEST(RelayTokenRegistration, PassesTransportErrorsOnButNotTheirControlCharacters) {
  EXPECT_EQ(Registration{}.descriptionOf(TransportError{"No such\nhost."}), "No such?host.");
}

TEST(RelayTokenRegistration, TimesOutAfterEightSeconds) {
  Registration registration;
  registration.web.setServer([](const platform::HttpRequest&) { return std::nullopt; });
  registration.start("wss://relay.example");
  registration.time.advance(7999ms);
  EXPECT_TRUE(registration.outcomes.empty());
  registration.time.advance(1ms);
  ASSERT_EQ(registration.outcomes.size(), 1U);
  EXPECT_EQ(description(*registration.outcomes.at(0)), "The request timed out.");
}

TEST(RelayTokenRegistration, IsNotRepeated) {
  Registration registration;
  EXPECT_NE(registration.descriptionOf(HttpResponse{503}), "");
  registration.time.advance(60s);
  EXPECT_EQ(registration.web.requests().size(), 1U);
  EXPECT_EQ(registration.outcomes.size(), 1U);
}

TEST(RelayTokenRegistration, EndsWithItsSession) {
  Registration registration;
  registration.start("wss://relay.example");
  registration.session.reset();
  registration.time.advance(60s);
  EXPECT_TRUE(registration.outcomes.empty());
}

// What the relay is told of the computer's key, and what its answer means then. "": success.
std::string answerWithKey(const std::string& key, int status, std::string& shown) {
  Registration registration;
  registration.web.setServer([&](const platform::HttpRequest& request) -> platform::HttpOutcome {
    for (const auto& header : request.headers) {
      if (header.name == "quillard-computer-key") shown = header.value;
    }
    return HttpResponse{status};
  });
  registerRelayAuthToken(
      {"wss://relay.example/ws", "quillard-0123"}, Secret{std::string_view{"token"}}, *registration.session,
      registration.time.mainThread(),
      [&](RelayRegistrationOutcome outcome) { registration.outcomes.push_back(std::move(outcome)); },
      Secret{std::string_view{key}});
  registration.time.runUntilIdle();
  const auto& outcome = registration.outcomes.at(0);
  return outcome ? description(*outcome) : "";
}

TEST(RelayTokenRegistration, ShowsTheComputersKeyOrThatThereIsNone) {
  std::string shown;
  EXPECT_EQ(answerWithKey("k3y", 204, shown), "");
  EXPECT_EQ(shown, "k3y");
  EXPECT_EQ(answerWithKey("", 204, shown), "") << "A relay that knows nothing of keys.";
  EXPECT_EQ(shown, "new");
  EXPECT_EQ(answerWithKey("", 428, shown), "The relay wants to know this computer by a key.");
  EXPECT_EQ(answerWithKey("k3y", 409, shown), "The relay knows the pairing's computer by another key.");
}

}  // namespace
}  // namespace quillard
