#include "platform/linux/accessibility/BusConnections.h"

#include <utility>

namespace quillard::atspi {
namespace {

// How long a bus may take to greet. It is a local daemon, which does nothing else.
constexpr std::chrono::seconds kGreetingTimeout{1};

}  // namespace

BusConnections::Loan::~Loan() {
  if (connection) owner->giveBack(std::move(connection));
}

std::optional<BusConnections::Loan> BusConnections::borrow() {
  while (auto connection = takeIdle()) {
    // What came in while it lay idle is handled here, so a bus that has gone is noticed before it is used.
    if (connection->drain()) return std::optional<Loan>{std::in_place, *this, std::move(connection)};
  }
  const auto address = findAddress();
  auto connection = address ? BusConnection::open(*address, kGreetingTimeout) : nullptr;
  if (!connection) return std::nullopt;
  return std::optional<Loan>{std::in_place, *this, std::move(connection)};
}

bool BusConnections::hasOpenConnection() {
  while (auto connection = takeIdle()) {
    if (!connection->drain()) continue;
    giveBack(std::move(connection));
    return true;
  }
  return false;
}

std::unique_ptr<BusConnection> BusConnections::takeIdle() {
  const MutexLock lock(mutex);
  if (idle.empty()) return nullptr;
  auto connection = std::move(idle.back());
  idle.pop_back();
  return connection;
}

void BusConnections::giveBack(std::unique_ptr<BusConnection> connection) {
  if (!connection->isOpen()) return;
  const MutexLock lock(mutex);
  idle.push_back(std::move(connection));
}

}  // namespace quillard::atspi
