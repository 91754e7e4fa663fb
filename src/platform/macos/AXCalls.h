#pragma once

#include <future>
#include <memory>
#include <type_traits>
#include <utility>

#include "platform/process/Executors.h"

namespace quillard::macos {

// Where the requests of the accessibility interface are made. The system's documentation promises nothing about
// threads, so that all of them are made by one place, and which one can be changed in one line: a queue of its own
// (what the agent does: its main thread stays responsive), the main thread, or, without an executor, whatever thread
// asks.
//
// The thread that asks waits for its answer in any case. Any thread.
class AXCalls {
 public:
  // `executor` outlives this, and runs until the last request. Null: on the thread that asks.
  explicit AXCalls(platform::SerialExecutor* executor = nullptr) : executor(executor) {}

  // What `call` returns. It must not throw.
  template <class Call>
  std::invoke_result_t<Call> run(Call call) const {
    if (!executor || executor->isCurrent()) return call();
    // Shared, since the one who answers may still be busy with it when the answer is there.
    const auto promise = std::make_shared<std::promise<std::invoke_result_t<Call>>>();
    auto answer = promise->get_future();
    executor->post([&call, promise] {
      if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
        call();
        promise->set_value();
      } else {
        promise->set_value(call());
      }
    });
    return answer.get();
  }

 private:
  platform::SerialExecutor* executor;
};

}  // namespace quillard::macos
