#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/linux/accessibility/BusConnection.h"

namespace quillard::atspi {

// Open connections to one bus, lent to one user at a time: as many are open as were ever in use at once. One that has
// broken is dropped, and the next user gets a new one, to the address of that time. Any thread. Outlives every loan.
class BusConnections {
 public:
  using FindAddress = std::function<std::optional<std::string>()>;

  // `findAddress` is asked, on the borrower's thread, for every new connection.
  explicit BusConnections(FindAddress findAddress) : findAddress(std::move(findAddress)) {}

  // A connection for as long as this object lives. Any thread may end it.
  class Loan {
   public:
    Loan(BusConnections& owner, std::unique_ptr<BusConnection> connection)
        : owner(&owner), connection(std::move(connection)) {}
    Loan(Loan&&) = default;
    Loan& operator=(Loan&&) = delete;
    ~Loan();
    [[nodiscard]] BusConnection& operator*() const { return *connection; }
    [[nodiscard]] BusConnection* operator->() const { return connection.get(); }

   private:
    BusConnections* owner;
    std::unique_ptr<BusConnection> connection;
  };

  // Absent when there is no bus, or it does not answer.
  [[nodiscard]] std::optional<Loan> borrow();
  // Whether a connection that lies idle is still open. Waits for nothing, and opens none.
  [[nodiscard]] bool hasOpenConnection();

 private:
  [[nodiscard]] std::unique_ptr<BusConnection> takeIdle();
  void giveBack(std::unique_ptr<BusConnection> connection);

  const FindAddress findAddress;
  Mutex mutex;
  std::vector<std::unique_ptr<BusConnection>> idle QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::atspi
