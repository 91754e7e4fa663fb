#pragma once

#include <functional>

#include "platform/Executors.h"

namespace quillard::macos {

// Executors whose queues run each turn inside `enclosure`, which calls what it is given once. The main thread is that
// of the executors beneath, as it is.
class EnclosedExecutors final : public platform::Executors {
 public:
  using Enclosure = std::function<void(const platform::Turn&)>;

  // `beneath` outlives this and its queues. `enclosure` is called on any thread.
  EnclosedExecutors(platform::Executors& beneath, Enclosure enclosure);

  platform::SerialExecutor& mainThread() override { return beneath.mainThread(); }
  [[nodiscard]] std::unique_ptr<platform::SerialExecutor> makeSerialQueue(std::string_view label,
                                                                          platform::QualityOfService quality) override;

 private:
  platform::Executors& beneath;
  const Enclosure enclosure;
};

}  // namespace quillard::macos
