#include "companion/relay/check/RelayCheck.h"

#include <array>
#include <cmath>
#include <ctime>

#include <openssl/rand.h>

#include "foundation/StrictJson.h"

namespace quillard::relayserver {
namespace {

using std::chrono::milliseconds;

constexpr double kMostClockDifference = 60;  // Seconds.
constexpr int kFewDays = 14;

[[noreturn]] void fail(const std::string& text) { throw CheckFailure{text}; }

std::string randomHex() {
  std::array<unsigned char, 32> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) fail("There are no random numbers here.");
  std::string text;
  for (const unsigned char byte : bytes) {
    text += "0123456789abcdef"[byte >> 4U];
    text += "0123456789abcdef"[byte & 15U];
  }
  return text;
}

// One run of all checks. Each method is one of them, in the order in which they are made.
class Check {
 public:
  Check(const RelayCheckOptions& options, const std::function<void(const std::string&)>& print)
      : options(options), print(print), token(randomHex()), pairing("check-" + randomHex().substr(0, 24)) {}

  void run() {
    reach();
    askForHealth();
    askForPage();
    registerPairing();
    connectBoth();
    sendSnapshot();
    stayConnected();
  }

  // Leaves nothing behind, whatever was found: over a connection of its own, since the others may be what is wrong.
  // Where none can be made, no client has joined, and the relay forgets the pairing by itself.
  void forget() {
    if (!isRegistered) return;
    try {
      CheckedConnection last(options.address, options.timeout);
      if (last.openWebSocket("/ws?role=mac&pairing=" + pairing, bearer()).status != 101) return;
      last.sendText(R"({"type":"phone.unpair","issuedAt":"2026-01-01T00:00:00Z"})");
      while (last.readText(options.timeout)) {
      }
    } catch (const CheckFailure&) {
      // It was closed, as it should be.
    }
  }

 private:
  void fine(const std::string& text) { print("fine     " + text); }
  void warn(const std::string& text) { print("warning  " + text); }

  void reach() {
    const CheckedConnection connection(options.address, options.timeout);
    const auto days = connection.daysOfCertificate();
    if (!days) return fine("something answers there, in clear, on this computer");
    if (*days < kFewDays) warn("the certificate ends in " + std::to_string(*days) + " days");
    fine("name, port and certificate (for " + std::to_string(*days) + " more days)");
  }

  void askForHealth() {
    CheckedConnection connection(options.address, options.timeout);
    const auto reply = connection.ask("GET", "/healthz");
    if (reply.status == 502 || reply.status == 504 || (reply.status == 503 && reply.body != "ok")) {
      fail("A proxy answers (" + std::to_string(reply.status) +
           "), but no relay behind it: is quillard-relay running, at the address that the proxy has for it?");
    }
    if (reply.status != 200 || reply.body != "ok") {
      fail("What answers there is no relay: /healthz gave " + std::to_string(reply.status) + ".");
    }
    fine("the relay serves");
    const auto date = reply.headers.find("date");
    tm parts{};
    if (date == reply.headers.end() || !::strptime(date->second.c_str(), "%a, %d %b %Y %H:%M:%S", &parts)) return;
    const double difference = static_cast<double>(::timegm(&parts)) - options.currentSecondsSinceEpoch;
    if (std::abs(difference) > kMostClockDifference) {
      warn("the clocks of the server and of this computer differ by " +
           std::to_string(static_cast<long>(std::abs(difference))) + " s: one of them is wrong");
    } else {
      fine("the clocks agree");
    }
  }

  void askForPage() {
    CheckedConnection connection(options.address, options.timeout);
    const auto reply = connection.ask("GET", "/", {{"Accept-Encoding", "br, gzip"}});
    if (reply.status == 404) fail("The relay serves no page to phones: give it --page.");
    const auto policy = reply.headers.find("content-security-policy");
    if (reply.status != 200 || policy == reply.headers.end()) {
      fail("/ gave " + std::to_string(reply.status) +
           " and not the phones' page: the proxy sends something else there.");
    }
    fine("the phones' page");
    const bool isStrict = reply.headers.contains("strict-transport-security");
    if (options.address.isEncrypted && !isStrict) warn("the proxy does not send Strict-Transport-Security");
  }

  CheckedConnection::Headers bearer() const { return {{"Authorization", "Bearer " + token}}; }

  void registerPairing() {
    CheckedConnection connection(options.address, options.timeout);
    auto headers = bearer();
    if (!options.registrationKey.empty()) headers.emplace_back("Quillard-Registration-Key", options.registrationKey);
    const auto reply =
        connection.ask("PUT", "/api/pairings/" + pairing + "/relay-token", headers, R"({"client":"mac","version":1})");
    if (reply.status == 401) fail("The proxy does not pass the header Authorization on.");
    if (reply.status == 403) fail("The relay wants its operator's key for new pairings: give --registration-key.");
    if (reply.status == 405) fail("The proxy does not pass PUT on.");
    if (reply.status == 429) fail("The relay has had too many requests from here. Try again in a minute.");
    if (reply.status == 507) fail("The relay holds as many pairings as it may: see --pairings.");
    if (reply.status != 204) fail("Registering a pairing gave " + std::to_string(reply.status) + ".");
    isRegistered = true;
    fine("an agent can register");
  }

  void open(CheckedConnection& connection, const std::string& query, const CheckedConnection::Headers& headers,
            const std::string& who) {
    const auto reply = connection.openWebSocket("/ws?pairing=" + pairing + query, headers);
    if (reply.status == 426) {
      fail("The proxy does not pass WebSockets: it has to pass on the headers Upgrade and Connection.");
    }
    if (reply.status == 401) fail("The proxy drops the " + who + "'s token.");
    if (reply.status != 101) fail("The " + who + "'s WebSocket was refused with " + std::to_string(reply.status) + ".");
    const auto accept = reply.headers.find("sec-websocket-accept");
    if (accept == reply.headers.end() || accept->second != "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=") {
      fail("Something between here and the relay changes the WebSocket's handshake.");
    }
  }

  void connectBoth() {
    agent.emplace(options.address, options.timeout);
    open(*agent, "&role=mac", bearer(), "agent");
    (void)read(*agent, "phone.status");
    phone.emplace(options.address, options.timeout);
    open(*phone, "&role=phone&deviceID=check&deviceName=check",
         {{"Sec-WebSocket-Protocol", "quillard.v1, quillard.bearer." + token}}, "phone");
    (void)read(*phone, "mac.status");
    fine("WebSockets of an agent and of a phone");
  }

  // The next message of this type.
  Json read(CheckedConnection& connection, const std::string& type) {
    while (const auto text = connection.readText(options.timeout)) {
      auto parsed = parseStrictJson(*text);
      auto* json = std::get_if<Json>(&parsed);
      if (!json) fail("Something between here and the relay changes messages.");
      if (JsonReader(*json).string("type") == type) return std::move(*json);
    }
    if (hasEnded(agent) || hasEnded(phone)) fail("Something between here and the relay ends WebSockets that are used.");
    fail("A message did not arrive in time: a proxy keeps messages back.");
  }

  static bool hasEnded(std::optional<CheckedConnection>& connection) {
    try {
      while (connection && connection->readText(milliseconds(0))) {
      }
      return false;
    } catch (const CheckFailure&) {
      return true;
    }
  }

  void sendSnapshot() {
    constexpr std::size_t kSize = std::size_t{200} * 1024;
    const Json message{{"type", "mac.snapshot"},
                       {"observedAt", "2026-01-01T00:00:00Z"},
                       {"accessibilityTrusted", true},
                       {"encryptedApprovals",
                        {{"version", 1}, {"nonce", "AAAAAAAAAAAAAAAA"}, {"ciphertext", std::string(kSize, 'A')}}},
                       {"approvalCount", 0},
                       {"snapshotID", "check"}};
    agent->sendText(message.dump());
    if (read(*phone, "mac.snapshot") != message) fail("Something between here and the relay changes messages.");
    fine("a long message from the agent to the phone");
    phone->sendText(R"({"type":"approval.request","decisionID":"check","encryptedRequest":)" +
                    message["encryptedApprovals"].dump() + "}");
    (void)read(*agent, "approval.request");
    if (JsonReader(read(*phone, "relay.receipt")).boolean("delivered")) fine("a decision from the phone to the agent");
  }

  void stayConnected() {
    if (options.silence.count() == 0) return;
    const auto end = std::chrono::steady_clock::now() + options.silence;
    try {
      while (std::chrono::steady_clock::now() < end) {
        (void)agent->readText(milliseconds(100));
        (void)phone->readText(milliseconds(100));
      }
    } catch (const CheckFailure&) {
      fail("A silent connection was dropped: raise the time after which the proxy ends it to 90 s at least.");
    }
    constexpr int kPingInterval = 20;
    if (options.silence.count() > kPingInterval + 5 && agent->pings() == 0) {
      fail("The relay's pings do not arrive: a proxy keeps them back.");
    }
    fine("connections that are silent for " + std::to_string(options.silence.count()) + " s");
  }

  const RelayCheckOptions& options;
  const std::function<void(const std::string&)>& print;
  const std::string token;
  const std::string pairing;
  bool isRegistered = false;
  std::optional<CheckedConnection> agent;
  std::optional<CheckedConnection> phone;
};

}  // namespace

bool checkRelay(const RelayCheckOptions& options, const std::function<void(const std::string&)>& print) {
  Check check(options, print);
  bool isFine = true;
  try {
    check.run();
  } catch (const CheckFailure& failure) {
    print("WRONG    " + failure.text);
    isFine = false;
  }
  check.forget();
  return isFine;
}

}  // namespace quillard::relayserver
