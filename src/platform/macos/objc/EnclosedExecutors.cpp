#include "platform/macos/objc/EnclosedExecutors.h"

#include <utility>

namespace quillard::macos {
namespace {

using platform::Turn;

class EnclosedQueue final : public platform::SerialExecutor {
 public:
  EnclosedQueue(std::unique_ptr<platform::SerialExecutor> queue, EnclosedExecutors::Enclosure enclosure)
      : enclosure(std::move(enclosure)), queue(std::move(queue)) {}

  void post(Turn turn) override { queue->post(enclosed(std::move(turn))); }
  [[nodiscard]] platform::TaskHandle postAfter(platform::Seconds delay, Turn turn) override {
    return queue->postAfter(delay, enclosed(std::move(turn)));
  }
  [[nodiscard]] platform::TaskHandle repeatEvery(platform::Seconds interval, Turn turn) override {
    return queue->repeatEvery(interval, enclosed(std::move(turn)));
  }
  [[nodiscard]] bool isCurrent() const override { return queue->isCurrent(); }

 private:
  [[nodiscard]] Turn enclosed(Turn turn) const {
    return [enclosure = enclosure, turn = std::move(turn)] { enclosure(turn); };
  }

  const EnclosedExecutors::Enclosure enclosure;
  const std::unique_ptr<platform::SerialExecutor> queue;
};

}  // namespace

EnclosedExecutors::EnclosedExecutors(platform::Executors& beneath, Enclosure enclosure)
    : beneath(beneath), enclosure(std::move(enclosure)) {}

std::unique_ptr<platform::SerialExecutor> EnclosedExecutors::makeSerialQueue(std::string_view label,
                                                                             platform::QualityOfService quality) {
  return std::make_unique<EnclosedQueue>(beneath.makeSerialQueue(label, quality), enclosure);
}

}  // namespace quillard::macos
