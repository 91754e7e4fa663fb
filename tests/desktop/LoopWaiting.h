#pragma once

#include <chrono>
#include <thread>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include "private-desktop/Waiting.h"

namespace quillard::test {

// As waitFor, and runs the main thread's loop meanwhile.
template <typename Condition>
[[nodiscard]] bool waitInLoop(const Condition& condition,
                              std::chrono::milliseconds timeout = privatedesktop::kTimeout) {
  return privatedesktop::waitFor(
      [&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return condition();
      },
      timeout);
}

}  // namespace quillard::test
