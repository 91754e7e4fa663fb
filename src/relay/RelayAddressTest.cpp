#include <string>
#include <variant>

#include <gtest/gtest.h>

#include "relay/RelayAddress.h"

namespace quillard {
namespace {

bool isAllowed(const std::string& url) {
  const auto components = UrlComponents::parse(url);
  return components && isAllowedRelayURL(*components);
}

std::string addressOf(const std::string& relayURL) {
  const auto address = relaySocketURL({.relayURL = relayURL, .pairingID = "quillard-0123"});
  const auto* url = std::get_if<std::string>(&address);
  return url ? *url : "refused: " + std::get<RelayAddressRefusal>(address).line;
}

TEST(RelayAddress, AnEncryptedRelayMayBeAnywhere) {
  EXPECT_TRUE(isAllowed("wss://relay.example/ws"));
  EXPECT_TRUE(isAllowed("WSS://relay.example/ws"));
  EXPECT_TRUE(isAllowed("wss://10.0.0.2:8080"));
}

TEST(RelayAddress, AnOpenRelayMayBeOnThisComputerOnly) {
  EXPECT_TRUE(isAllowed("ws://localhost:8080/ws"));
  EXPECT_TRUE(isAllowed("WS://127.0.0.1/ws"));
  EXPECT_TRUE(isAllowed("ws://[::1]:8080/ws"));
  EXPECT_FALSE(isAllowed("ws://LOCALHOST:8080/ws"));
  EXPECT_FALSE(isAllowed("ws://10.0.0.2/ws"));
  EXPECT_FALSE(isAllowed("ws://localhost.example/ws"));
  EXPECT_FALSE(isAllowed("ws://127.0.0.2/ws"));
}

TEST(RelayAddress, EverythingElseIsRefused) {
  EXPECT_FALSE(isAllowed("https://relay.example/ws"));
  EXPECT_FALSE(isAllowed("http://localhost/ws"));
  EXPECT_FALSE(isAllowed("//relay.example/ws"));
  EXPECT_FALSE(isAllowed("wss:/ws"));
}

TEST(RelayAddress, IsJudgedAsTextAsWell) {
  EXPECT_TRUE(isAllowedRelayURL("wss://relay.example/ws"));
  EXPECT_TRUE(isAllowedRelayURL("ws://127.0.0.1:8080/ws"));
  for (const auto* text : {"", "not an address", "ws://relay.example", "https://relay.example", "wss:///ws"}) {
    EXPECT_FALSE(isAllowedRelayURL(text)) << text;
  }
}

TEST(RelayAddress, NamesRoleAndPairing) {
  EXPECT_EQ(addressOf("wss://relay.example/ws"), "wss://relay.example/ws?role=mac&pairing=quillard-0123");
}

TEST(RelayAddress, KeepsTheQueryItemsThatAreThere) {
  EXPECT_EQ(addressOf("wss://relay.example/ws?tenant=a&x=1"),
            "wss://relay.example/ws?tenant=a&x=1&role=mac&pairing=quillard-0123");
}

TEST(RelayAddress, SaysWhatItRefusesWithoutUserAndQuery) {
  EXPECT_EQ(addressOf("ws://c4n4ry:hunter2@10.0.0.2/ws?token=canaryquery7f3a"),
            "refused: Refusing insecure relay URL: ws://10.0.0.2/ws");
}

TEST(RelayAddress, SaysNothingOfWhatIsNoAddress) { EXPECT_EQ(addressOf("not an address"), "refused: "); }

TEST(RelayAddress, KeepsTheRegistrationKeyOutOfTheSocketsAddress) {
  const auto url = relaySocketURL({"wss://relay.example/ws?registration-key=abc&room=1", "home"});
  EXPECT_EQ(std::get<std::string>(url), "wss://relay.example/ws?room=1&role=mac&pairing=home");
}

TEST(ComputerKeyFor, GivesEachRelayAKeyOfItsOwn) {
  const Secret key{std::string_view{"0123456789abcdef0123456789abcdef"}};
  const auto of = [&](std::string_view relayURL) { return std::string(computerKeyFor(key, relayURL).text()); };
  const auto one = of("wss://relay.example/ws");
  EXPECT_EQ(one.size(), 64U);
  EXPECT_EQ(of("wss://Relay.example:443/other?registration-key=x"), one) << "The same relay.";
  EXPECT_EQ(of("wss://relay.example:8443/ws"), one) << "It moved, and brought its pairings along.";
  EXPECT_NE(of("wss://other.example/ws"), one);
  EXPECT_NE(std::string(computerKeyFor(Secret{std::string_view{"another"}}, "wss://relay.example/ws").text()), one);
  EXPECT_EQ(of("not an address"), "");
  EXPECT_TRUE(computerKeyFor({}, "wss://relay.example/ws").isEmpty()) << "None was made.";
}

}  // namespace
}  // namespace quillard
