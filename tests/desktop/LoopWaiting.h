#pragma once

#include <chrono>
#include <thread>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include "desktop/Waiting.h"

namespace quillard::test {

// As waitFor, and runs the main thread's loop meanwhile.
template <typename Condition>
[[nodiscard]] bool waitInLoop(const Condition& condition, std::chrono::milliseconds timeout = kTimeout) {
  return waitFor(
      [&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return condition();
      },
      timeout);
}

}  // namespace quillard::test
