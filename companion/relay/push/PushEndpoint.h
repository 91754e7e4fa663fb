#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillard::relayserver {

// Where a push service takes messages for one phone. It comes from outside, so one form alone is read: https, a plain
// host, a path of what may stand in a path. All of it is a secret of the phone's.
struct PushEndpoint {
  std::string host;  // In lower case: a name of several labels, or an IP address without brackets.
  std::uint16_t port = 443;
  std::string target;  // Path and query, as they stand in a request.
  bool isAddress = false;

  // Absent: it is none, or one that nobody needs, such as with a user's name, a fragment, or a host that some readers
  // take for a number.
  [[nodiscard]] static std::optional<PushEndpoint> parse(std::string_view text);
  // "https://push.example", with the port where it is not 443: what a token is made for.
  [[nodiscard]] std::string origin() const;
  bool operator==(const PushEndpoint&) const = default;
};

// The hosts that the relay posts to.
class PushHosts {
 public:
  // The large push services: those of Chrome, Firefox, Safari and Edge.
  [[nodiscard]] static const std::vector<std::string>& large();

  // "push.example", "*.push.example" for any host below it, each with ":8443" where the port is not 443. False: it is
  // none of these.
  [[nodiscard]] bool add(std::string_view pattern);
  [[nodiscard]] bool allows(const PushEndpoint& endpoint) const;

 private:
  struct Pattern {
    std::string host;
    bool isBelow = false;
    std::uint16_t port = 443;
  };
  std::vector<Pattern> patterns;
};

}  // namespace quillard::relayserver
