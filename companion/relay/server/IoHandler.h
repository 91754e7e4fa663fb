#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include <boost/system/error_code.hpp>

namespace quillard::relayserver {

using ErrorCode = boost::system::error_code;

// What is called when reading or writing is done; once. It hides from a stream what waits for it, so that Beast's
// templates are made once, and not once more for TLS.
class IoHandler {
 public:
  template <class Handler>
  explicit IoHandler(Handler handler) : held(std::make_unique<Holder<Handler>>(std::move(handler))) {}
  void operator()(const ErrorCode& error, std::size_t bytes) {
    const auto called = std::move(held);
    called->call(error, bytes);
  }

 private:
  struct Base {
    Base() = default;
    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;
    virtual ~Base() = default;
    virtual void call(const ErrorCode& error, std::size_t bytes) = 0;
  };
  template <class Handler>
  struct Holder final : Base {
    explicit Holder(Handler handler) : handler(std::move(handler)) {}
    void call(const ErrorCode& error, std::size_t bytes) override { std::move(handler)(error, bytes); }
    Handler handler;
  };
  std::unique_ptr<Base> held;
};

}  // namespace quillard::relayserver
