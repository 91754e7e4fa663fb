#pragma once

#include <chrono>
#include <cstdint>
#include <unordered_map>

#include "foundation/Mutex.h"
#include "values/Time.h"

namespace quillard::atspi {

// How long one request waits. Any thread.
class MessagingTimeouts {
 public:
  // What holds while nobody has said otherwise.
  static constexpr Seconds kInitial{0.5};

  // Zero, less, and what is no number mean "the default again".
  void setDefault(Seconds timeout);
  void setFor(std::int32_t processIdentifier, Seconds timeout);

  [[nodiscard]] std::chrono::microseconds ofDesktop() const;
  [[nodiscard]] std::chrono::microseconds of(std::int32_t processIdentifier) const;

 private:
  mutable Mutex mutex;
  Seconds common QUILLARD_GUARDED_BY(mutex) = kInitial;
  std::unordered_map<std::int32_t, Seconds> byProcess QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::atspi
