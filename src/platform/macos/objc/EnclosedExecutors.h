#pragma once

#include <functional>
#include <memory>

#include "platform/process/Executors.h"

namespace quillard::macos {

// Executors that run each turn inside `enclosure`, which calls what it is given once.
class EnclosedExecutors final : public platform::Executors {
 public:
  using Enclosure = std::function<void(const platform::Turn&)>;

  // `beneath` outlives this and its queues. `enclosure` is called on any thread.
  EnclosedExecutors(platform::Executors& beneath, Enclosure enclosure);

  platform::SerialExecutor& mainThread() override { return *enclosedMain; }
  [[nodiscard]] std::unique_ptr<platform::SerialExecutor> makeSerialQueue(std::string_view label,
                                                                          platform::QualityOfService quality) override;

 private:
  platform::Executors& beneath;
  const Enclosure enclosure;
  const std::unique_ptr<platform::SerialExecutor> enclosedMain;
};

}  // namespace quillard::macos
