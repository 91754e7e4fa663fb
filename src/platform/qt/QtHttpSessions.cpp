#include "platform/qt/QtHttpSessions.h"

#include <cstdint>
#include <map>
#include <utility>

#include "platform/qt/HttpExchange.h"
#include "platform/qt/OwnerLink.h"

namespace quillard::qt {
namespace {

using platform::HttpOutcome;
using platform::HttpRequest;
using platform::SerialExecutor;

// The exchanges of one session that are under way. On the network thread, where its last reference goes.
class HttpExchanges : public std::enable_shared_from_this<HttpExchanges> {
 public:
  explicit HttpExchanges(SerialExecutor& network) : network(network) {}

  void begin(HttpRequest request, std::function<void(HttpOutcome)> done) {
    const std::uint64_t number = ++lastNumber;
    const auto finished = [this, number, done = std::move(done)](HttpOutcome outcome) {
      done(std::move(outcome));
      underWay.erase(number);
    };
    underWay[number] = std::make_unique<HttpExchange>(network, std::move(request), finished);
    underWay[number]->start();
  }

  void abandon() { underWay.clear(); }

 private:
  SerialExecutor& network;
  std::uint64_t lastNumber = 0;
  std::map<std::uint64_t, std::unique_ptr<HttpExchange>> underWay;
};

class QtHttpSession final : public platform::HttpSession {
 public:
  QtHttpSession(SerialExecutor& network, SerialExecutor& executor)
      : network(network),
        owner(std::make_shared<OwnerLink>(executor)),
        exchanges(std::make_shared<HttpExchanges>(network)) {}

  ~QtHttpSession() override {
    owner->sever();
    network.post([last = std::move(exchanges)] { last->abandon(); });
  }

  // The completion stays here, so that what it holds is never destroyed on another thread.
  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) override {
    const std::uint64_t number = ++lastNumber;
    pending.emplace(number, std::move(completion));
    auto done = [this, link = owner, number](const HttpOutcome& outcome) {
      link->post([this, number, outcome] { answer(number, outcome); });
    };
    network.post([live = exchanges, request = std::move(request), done = std::move(done)]() mutable {
      live->begin(std::move(request), std::move(done));
    });
  }

 private:
  void answer(std::uint64_t number, const HttpOutcome& outcome) {
    const auto completion = std::move(pending.extract(number).mapped());
    completion(outcome);  // May destroy this object.
  }

  SerialExecutor& network;
  const std::shared_ptr<OwnerLink> owner;
  std::shared_ptr<HttpExchanges> exchanges;
  std::uint64_t lastNumber = 0;
  std::map<std::uint64_t, std::function<void(HttpOutcome)>> pending;
};

}  // namespace

QtHttpSessions::QtHttpSessions(QtNetworkThread& network) : network(network) {}

std::unique_ptr<platform::HttpSession> QtHttpSessions::makeEphemeralSession(SerialExecutor& executor) {
  return std::make_unique<QtHttpSession>(network.executor(), executor);
}

}  // namespace quillard::qt
