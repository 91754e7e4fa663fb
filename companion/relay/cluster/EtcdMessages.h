#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "companion/relay/cluster/ClusterStore.h"

// etcd's HTTP/JSON gateway: what is posted to it, and what comes back. Keys and values are in base64, numbers in texts,
// and members that are zero, false or empty are left out. `prefix` stands before every key there, and before none here.
namespace quillard::relayserver::etcd {

inline constexpr const char* kTransactionPath = "/v3/kv/txn";
inline constexpr const char* kRangePath = "/v3/kv/range";
inline constexpr const char* kTakeLeasePath = "/v3/lease/grant";
inline constexpr const char* kKeepLeasePath = "/v3/lease/keepalive";
inline constexpr const char* kWatchPath = "/v3/watch";
inline constexpr const char* kAuthenticatePath = "/v3/auth/authenticate";

// The longest answer that is read.
inline constexpr std::size_t kLongestAnswer = std::size_t{64} * 1024 * 1024;

[[nodiscard]] std::string transactionText(const ClusterTransaction& transaction, const std::string& prefix);
[[nodiscard]] std::optional<ClusterTransactionResult> readTransaction(std::string_view text, const std::string& prefix);

// From `after` on, which is not in it, or from the start where it is empty. `revision` 0: the newest.
[[nodiscard]] std::string rangeText(const std::string& prefix, const std::string& begin, const std::string& after,
                                    Revision revision, int most);
struct Range {
  ClusterReading reading;
  bool hasMore = false;
};
[[nodiscard]] std::optional<Range> readRange(std::string_view text, const std::string& prefix);

[[nodiscard]] std::string takeLeaseText(int seconds);
[[nodiscard]] std::optional<LeaseNumber> readTakenLease(std::string_view text);
[[nodiscard]] std::string keepLeaseText(LeaseNumber lease);
// False: it has ended.
[[nodiscard]] std::optional<bool> readKeptLease(std::string_view text);

[[nodiscard]] std::string watchText(const std::string& prefix, Revision first);
struct WatchCompacted {};
struct WatchEnded {};
using WatchLine = std::variant<WatchEnded, WatchCompacted, std::vector<ClusterEvent>>;
// One line of a watch's answer. Ended also for what cannot be read.
[[nodiscard]] WatchLine readWatchLine(std::string_view line, const std::string& prefix);

[[nodiscard]] std::string authenticationText(const std::string& user, const std::string& password);
[[nodiscard]] std::optional<std::string> readAuthentication(std::string_view text);

// What it says is wrong: for the log, one short line of printable ASCII.
[[nodiscard]] std::string readError(std::string_view text);
// Whether it, or a line of a watch, refuses a token: because it has ended, or was given before the users were changed.
[[nodiscard]] bool isOfUsers(std::string_view text);

}  // namespace quillard::relayserver::etcd
