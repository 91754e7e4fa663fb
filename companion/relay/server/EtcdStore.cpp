#include "companion/relay/server/EtcdStore.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <utility>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include "companion/relay/cluster/EtcdMessages.h"
#include "companion/relay/server/EtcdWatch.h"
#include "companion/relay/server/OutgoingConnection.h"

namespace quillard::relayserver {
namespace {

constexpr std::chrono::milliseconds kAttempt{700};
// Of an attempt, once none of the members has answered in less.
constexpr std::chrono::milliseconds kLongestAttempt{2'800};
constexpr std::chrono::seconds kTimeout{4};
constexpr std::chrono::seconds kLongestAuthentication{16};
constexpr std::size_t kMostConnections = 32;
constexpr int kPage = 2'000;
constexpr int kOk = 200;
constexpr int kUnauthorized = 401;

using Clock = std::chrono::steady_clock;

}  // namespace

class EtcdStore::Implementation final : public std::enable_shared_from_this<Implementation> {
 public:
  Implementation(boost::asio::io_context& loop, EtcdOptions options, EventLog& log)
      : loop(loop), options(std::move(options)), log(log), authenticationTime(this->options.authentication) {}

  // `done` with the body of an answer that says it was done.
  void post(const char* path, std::string body, std::function<void(std::optional<std::string>)> done) {
    waiting.push_back({path, std::move(body), std::move(done), Clock::now() + kTimeout});
    expireWaiting();
    sendNext();
  }

  void readPage(const std::string& begin, const std::string& after, ClusterReading sofar,
                const std::function<void(std::optional<ClusterReading>)>& done) {
    auto body = etcd::rangeText(options.prefix, begin, after, sofar.revision, kPage);
    post(etcd::kRangePath, std::move(body), [=, this, sofar = std::move(sofar)](const auto& answer) mutable {
      auto range = answer ? etcd::readRange(*answer, options.prefix) : std::nullopt;
      if (!range) return done(std::nullopt);
      if (sofar.revision == 0) sofar.revision = range->reading.revision;
      auto& entries = range->reading.entries;
      std::move(entries.begin(), entries.end(), std::back_inserter(sofar.entries));
      if (!range->hasMore || entries.empty()) return done(std::move(sofar));
      const std::string last = sofar.entries.back().key;
      readPage(begin, last, std::move(sofar), done);
    });
  }

  void watch(Revision first, const ClusterWatcher& watcher) {
    if (watching) {
      watching->stop();
      ++watchedMember;
    }
    tokenOfWatch = tokenNumber;
    const PeerAddress& address = options.members[watchedMember % options.members.size()];
    auto request = requestText(address, etcd::kWatchPath, etcd::watchText(options.prefix, first));
    watching = EtcdWatch::start(loop, address, tls(), std::move(request),
                                {.line =
                                     [weak = weak_from_this(), watcher](const std::string& line) {
                                       const auto self = weak.lock();
                                       if (self) self->takeLine(line, watcher);
                                     },
                                 .ended = watcher.ended});
  }

  void stop() {
    isStopped = true;
    if (watching) watching->stop();
    for (auto& call : waiting) call.done = nullptr;
    waiting.clear();
  }

  const EtcdOptions& configuration() const { return options; }

 private:
  struct Call {
    const char* path;
    std::string body;
    std::function<void(std::optional<std::string>)> done;
    Clock::time_point latest;
    bool wasAuthenticated = false;
    std::uint64_t token = 0;  // The number of the token that it was sent with.
  };

  void takeLine(const std::string& line, const ClusterWatcher& watcher) {
    const auto read = etcd::readWatchLine(line, options.prefix);
    if (const auto* events = std::get_if<std::vector<ClusterEvent>>(&read)) {
      if (!events->empty()) watcher.events(*events);
      return;
    }
    watching->stop();
    if (std::holds_alternative<etcd::WatchCompacted>(read)) return watcher.compacted();
    // Unless there is a newer one by now.
    if (etcd::isOfUsers(line) && tokenOfWatch == tokenNumber) token.clear();
    watcher.ended();
  }

  [[nodiscard]] std::shared_ptr<boost::asio::ssl::context> tls() const { return options.tls ? options.tls() : nullptr; }

  std::string requestText(const PeerAddress& address, const char* path, const std::string& body) const {
    std::string text =
        std::string("POST ") + path + " HTTP/1.1\r\nHost: " + address.text() + "\r\nContent-Type: application/json\r\n";
    if (!token.empty()) text += "Authorization: " + token + "\r\n";
    return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  }

  void sendNext() {
    while (!waiting.empty() && underWay < kMostConnections) {
      if (!options.user.empty() && token.empty() && waiting.front().path != etcd::kAuthenticatePath) {
        return authenticate();
      }
      Call call = std::move(waiting.front());
      waiting.pop_front();
      ++underWay;
      attempt(std::move(call));
    }
  }

  void authenticate() {
    if (isAuthenticating) return;
    isAuthenticating = true;
    waiting.push_front({etcd::kAuthenticatePath, etcd::authenticationText(options.user, options.password),
                        [this](const std::optional<std::string>& answer) {
                          isAuthenticating = false;
                          token = (answer ? etcd::readAuthentication(*answer) : std::nullopt).value_or("");
                          ++tokenNumber;
                          if (!token.empty()) {
                            authenticationTime = options.authentication;
                            return;
                          }
                          authenticationTime = std::min<Duration>(2 * authenticationTime, kLongestAuthentication);
                          failAll();
                        },
                        Clock::now() + 2 * authenticationTime});
    sendNext();
  }

  // They are made a few times a second, and wait for nothing but the token.
  void expireWaiting() {
    std::vector<Call> late;
    const auto now = Clock::now();
    const auto rest =
        std::stable_partition(waiting.begin(), waiting.end(), [now](const Call& call) { return now < call.latest; });
    std::move(rest, waiting.end(), std::back_inserter(late));
    waiting.erase(rest, waiting.end());
    for (auto& call : late) endLater(std::move(call));
  }

  // Whoever makes a call is not called back from inside it, nor is another caller.
  void endLater(Call call) {
    boost::asio::post(loop, [self = shared_from_this(), call = std::make_shared<Call>(std::move(call))] {
      if (!self->isStopped) call->done(std::nullopt);
    });
  }

  void failAll() {
    auto failing = std::exchange(waiting, {});
    for (auto& call : failing) endLater(std::move(call));
  }

  void attempt(Call call) {
    if (Clock::now() >= call.latest) {
      --underWay;
      endLater(std::move(call));
      return sendNext();
    }
    const std::size_t chosen = member % options.members.size();
    if (!idle.empty() && idle.back().member == chosen) {
      const auto stream = std::move(idle.back().stream);
      idle.pop_back();
      return ask(stream, chosen, std::move(call));
    }
    idle.clear();
    connectTo(loop, options.members[chosen], tls(), attemptTime,
              [self = shared_from_this(), chosen,
               call = std::make_shared<Call>(std::move(call))](std::optional<RelayStream> connected) {
                if (self->isStopped) return;
                if (!connected) return self->didNotAnswer(chosen, std::move(*call));
                self->ask(std::make_shared<RelayStream>(std::move(*connected)), chosen, std::move(*call));
              });
  }

  void ask(const std::shared_ptr<RelayStream>& stream, std::size_t chosen, Call call) {
    const bool lacksToken = !options.user.empty() && token.empty() && call.path != etcd::kAuthenticatePath;
    if (lacksToken) {
      idle.push_back({chosen, stream});
      --underWay;
      waiting.push_front(std::move(call));
      return sendNext();
    }
    auto request = requestText(options.members[chosen], call.path, call.body);
    call.token = tokenNumber;
    Duration timeout = attemptTime;
    if (call.path == etcd::kRangePath) timeout = kTimeout;
    if (call.path == etcd::kAuthenticatePath) timeout = authenticationTime;
    exchange(stream, std::move(request), etcd::kLongestAnswer, timeout,
             [self = shared_from_this(), stream, chosen,
              call = std::make_shared<Call>(std::move(call))](std::optional<HttpReply> reply) {
               if (self->isStopped) return;
               if (!reply) return self->didNotAnswer(chosen, std::move(*call));
               self->silent = 0;
               self->attemptTime = kAttempt;
               if (reply->keepsAlive) self->idle.push_back({chosen, stream});
               self->take(chosen, std::move(*call), std::move(*reply));
             });
  }

  void take(std::size_t chosen, Call call, HttpReply reply) {
    if (reply.status == kOk) return finish(call, std::move(reply.body));
    // What was wrong with the question is wrong at every member; without a leader the next one may have another.
    constexpr int kServerError = 500;
    constexpr int kLeaderless = 503;
    const bool isOld = reply.status == kUnauthorized || etcd::isOfUsers(reply.body);
    const bool isOldToken =
        isOld && !options.user.empty() && !call.wasAuthenticated && call.path != etcd::kAuthenticatePath;
    if (isOldToken) {
      call.wasAuthenticated = true;
      // Unless there is a newer one by now.
      if (call.token == tokenNumber) token.clear();
      --underWay;
      waiting.push_front(std::move(call));
      return sendNext();
    }
    if (call.path == etcd::kAuthenticatePath) {
      log.warn("The cluster's store did not take the user and password: " + etcd::readError(reply.body));
    }
    if (reply.status == kServerError || reply.status == kLeaderless || reply.status == kGatewayTimeout) {
      return tryNext(chosen, std::move(call));
    }
    finish(call, std::nullopt);
  }

  // A machine that is busy answers late. What is given up is asked anew, with a handshake: that makes it only busier.
  void didNotAnswer(std::size_t chosen, Call call) {
    const bool isPresent = member % options.members.size() == chosen;
    if (isPresent && ++silent >= options.members.size()) {
      silent = 0;
      attemptTime = std::min<Duration>(2 * attemptTime, kLongestAttempt);
    }
    tryNext(chosen, std::move(call));
  }

  // A little later, where all of them were asked.
  void tryNext(std::size_t failed, Call call) {
    if (member % options.members.size() == failed) {
      ++member;
      idle.clear();
    }
    constexpr std::chrono::milliseconds kPause{30};
    auto timer = std::make_shared<boost::asio::steady_timer>(loop, kPause);
    timer->async_wait(
        [self = shared_from_this(), timer, call = std::make_shared<Call>(std::move(call))](const ErrorCode&) {
          if (!self->isStopped) self->attempt(std::move(*call));
        });
  }

  void finish(const Call& call, std::optional<std::string> answer) {
    --underWay;
    call.done(std::move(answer));
    if (!isStopped) sendNext();
  }

  struct Idle {
    std::size_t member;
    std::shared_ptr<RelayStream> stream;
  };
  static constexpr int kGatewayTimeout = 504;

  boost::asio::io_context& loop;
  const EtcdOptions options;
  EventLog& log;
  std::deque<Call> waiting;
  std::size_t underWay = 0;
  std::vector<Idle> idle;
  std::size_t member = 0;         // Modulo their number: the one that answers.
  std::size_t watchedMember = 0;  // The same of the watch.
  std::size_t silent = 0;         // So many in a row did not answer.
  Duration attemptTime = kAttempt;
  std::shared_ptr<EtcdWatch> watching;
  std::string token;
  std::uint64_t tokenNumber = 0;
  std::uint64_t tokenOfWatch = 0;  // The number of the token that the watch was begun with.
  Duration authenticationTime;
  bool isAuthenticating = false;
  bool isStopped = false;
};

EtcdStore::EtcdStore(boost::asio::io_context& loop, EtcdOptions options, EventLog& log)
    : implementation(std::make_shared<Implementation>(loop, std::move(options), log)) {}

EtcdStore::~EtcdStore() { implementation->stop(); }

void EtcdStore::transact(ClusterTransaction transaction, Done<ClusterTransactionResult> done) {
  const auto& prefix = implementation->configuration().prefix;
  implementation->post(etcd::kTransactionPath, etcd::transactionText(transaction, prefix),
                       [prefix, done = std::move(done)](const std::optional<std::string>& answer) {
                         done(answer ? etcd::readTransaction(*answer, prefix) : std::nullopt);
                       });
}

void EtcdStore::readAll(const std::string& prefix, Done<ClusterReading> done) {
  implementation->readPage(prefix, "", {}, done);
}

void EtcdStore::takeLease(int seconds, Done<LeaseNumber> done) {
  implementation->post(etcd::kTakeLeasePath, etcd::takeLeaseText(seconds),
                       [done = std::move(done)](const std::optional<std::string>& answer) {
                         done(answer ? etcd::readTakenLease(*answer) : std::nullopt);
                       });
}

void EtcdStore::keepLease(LeaseNumber lease, Done<bool> done) {
  implementation->post(etcd::kKeepLeasePath, etcd::keepLeaseText(lease),
                       [done = std::move(done)](const std::optional<std::string>& answer) {
                         done(answer ? etcd::readKeptLease(*answer) : std::nullopt);
                       });
}

void EtcdStore::watch(Revision first, ClusterWatcher watcher) { implementation->watch(first, watcher); }

}  // namespace quillard::relayserver
