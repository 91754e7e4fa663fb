#include "platform/macos/objc/EnclosedExecutors.h"

#include <utility>

namespace quillard::macos {
namespace {

using platform::Turn;

class EnclosedExecutor final : public platform::SerialExecutor {
 public:
  // `beneath` outlives this.
  EnclosedExecutor(platform::SerialExecutor& beneath, EnclosedExecutors::Enclosure enclosure)
      : enclosure(std::move(enclosure)), beneath(beneath) {}

  void post(Turn turn) override { beneath.post(enclosed(std::move(turn))); }
  [[nodiscard]] platform::TaskHandle postAfter(Seconds delay, Turn turn) override {
    return beneath.postAfter(delay, enclosed(std::move(turn)));
  }
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds interval, Turn turn) override {
    return beneath.repeatEvery(interval, enclosed(std::move(turn)));
  }
  [[nodiscard]] bool isCurrent() const override { return beneath.isCurrent(); }

 private:
  [[nodiscard]] Turn enclosed(Turn turn) const {
    return [enclosure = enclosure, turn = std::move(turn)] { enclosure(turn); };
  }

  const EnclosedExecutors::Enclosure enclosure;
  platform::SerialExecutor& beneath;
};

// Owns the queue that it encloses.
class EnclosedQueue final : public platform::SerialExecutor {
 public:
  EnclosedQueue(std::unique_ptr<platform::SerialExecutor> queue, const EnclosedExecutors::Enclosure& enclosure)
      : queue(std::move(queue)), enclosed(*this->queue, enclosure) {}

  void post(Turn turn) override { enclosed.post(std::move(turn)); }
  [[nodiscard]] platform::TaskHandle postAfter(Seconds delay, Turn turn) override {
    return enclosed.postAfter(delay, std::move(turn));
  }
  [[nodiscard]] platform::TaskHandle repeatEvery(Seconds interval, Turn turn) override {
    return enclosed.repeatEvery(interval, std::move(turn));
  }
  [[nodiscard]] bool isCurrent() const override { return enclosed.isCurrent(); }

 private:
  const std::unique_ptr<platform::SerialExecutor> queue;
  EnclosedExecutor enclosed;
};

}  // namespace

EnclosedExecutors::EnclosedExecutors(platform::Executors& beneath, Enclosure enclosure)
    : beneath(beneath),
      enclosure(std::move(enclosure)),
      enclosedMain(std::make_unique<EnclosedExecutor>(beneath.mainThread(), this->enclosure)) {}

std::unique_ptr<platform::SerialExecutor> EnclosedExecutors::makeSerialQueue(std::string_view label,
                                                                             platform::QualityOfService quality) {
  return std::make_unique<EnclosedQueue>(beneath.makeSerialQueue(label, quality), enclosure);
}

}  // namespace quillard::macos
