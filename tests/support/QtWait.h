#pragma once

#include <chrono>
#include <functional>

#include <QtCore/QCoreApplication>

namespace quillard::test {

// Lets the Qt event loop run until something is so. False when it took ten seconds without success.
inline bool waitUntil(const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  }
  return true;
}

}  // namespace quillard::test
