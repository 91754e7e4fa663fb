#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/windows/DesktopWindows.h"

namespace quillard::test {

// A desktop of the test's own, on which it opens windows, seen through one source of windows.
class WindowSourceBinding {
 public:
  WindowSourceBinding() = default;
  WindowSourceBinding(const WindowSourceBinding&) = delete;
  WindowSourceBinding& operator=(const WindowSourceBinding&) = delete;
  virtual ~WindowSourceBinding() = default;

  virtual desktop::DesktopWindows& windows() = 0;
  virtual desktop::WindowChanges& changes() = 0;
  // A program with a window of that title; its process.
  virtual std::int32_t open(const std::string& title) = 0;
  // Ends it immediately, as in a crash.
  virtual void kill(std::int32_t process) = 0;
  // From now on the desktop cannot be asked.
  virtual void lose() = 0;
  // Lets time pass, and the main thread run, until `condition` holds; false when it never came to hold.
  [[nodiscard]] virtual bool eventually(const std::function<bool()>& condition) = 0;
};

struct WindowSourceCase {
  std::string name;
  std::function<std::unique_ptr<WindowSourceBinding>()> make;
  // Why this machine cannot have it. Empty: it can.
  std::function<std::string()> whyMissing = [] { return std::string(); };
};

inline void PrintTo(const WindowSourceCase& source, std::ostream* out) { *out << source.name; }

class WindowSourceContract : public testing::TestWithParam<WindowSourceCase> {};

}  // namespace quillard::test
