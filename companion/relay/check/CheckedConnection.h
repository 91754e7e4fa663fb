#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::relayserver {

// Where a relay is to be found: https://relay.example, or http:// on this computer.
struct CheckedAddress {
  std::string host;
  std::uint16_t port = 443;
  bool isEncrypted = true;

  // Absent: that is no such address, or has a path, or is in clear and not of this computer.
  [[nodiscard]] static std::optional<CheckedAddress> parse(std::string_view text);
};

// What is wrong, as a text for whoever runs the relay.
struct CheckFailure {
  std::string text;
};

struct CheckedReply {
  int status = 0;
  std::map<std::string, std::string> headers;  // Names in lower case; of several with one name the last.
  std::string body;
};

// A client's connection with a relay, as a phone's browser would make it. Every call waits, `timeout` at most, and
// throws CheckFailure.
class CheckedConnection {
 public:
  // Resolves, connects, and checks the certificate with the system's authorities, or those in the file that
  // SSL_CERT_FILE names.
  CheckedConnection(const CheckedAddress& address, std::chrono::milliseconds timeout);
  ~CheckedConnection();
  CheckedConnection(const CheckedConnection&) = delete;
  CheckedConnection& operator=(const CheckedConnection&) = delete;

  using Headers = std::vector<std::pair<std::string, std::string>>;
  CheckedReply ask(const std::string& method, const std::string& target, const Headers& headers = {},
                   const std::string& body = {});
  // Afterwards texts go both ways, where the status is 101.
  CheckedReply openWebSocket(const std::string& target, const Headers& headers);
  void sendText(const std::string& text);
  // The next text; pings are answered on the way. Absent: none came in that time.
  std::optional<std::string> readText(std::chrono::milliseconds longest);

  // Until the certificate ends. Absent: not encrypted.
  [[nodiscard]] std::optional<int> daysOfCertificate() const;
  // How many pings of the relay have come.
  [[nodiscard]] int pings() const { return pingsReceived; }

 private:
  struct State;
  void sendFrame(unsigned opcode, const std::string& payload);
  CheckedReply readReply();
  std::string readBytes(std::size_t count);
  // False: nothing came in that time.
  bool readMore(std::chrono::milliseconds longest);
  void write(std::string_view bytes);

  const CheckedAddress address;
  const std::chrono::milliseconds timeout;
  std::unique_ptr<State> state;
  std::string arrived;
  int pingsReceived = 0;
};

}  // namespace quillard::relayserver
