#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "desktop/PrivateDesktop.h"
#include "private-desktop/DesktopBus.h"

namespace quillard::test {

// One object of a program as the accessibility bus tells of it, with all below it.
struct Accessible {
  std::string bus;  // Of its program.
  std::string path;
  std::uint32_t role = 0;  // As AT-SPI numbers them: 2 alert, 16 dialog, 23 frame, 29 label, 43 push button.
  std::string name;
  std::uint64_t states = 0;
  std::vector<Accessible> children;

  [[nodiscard]] bool hasState(int number) const { return ((states >> static_cast<unsigned>(number)) & 1U) != 0; }
  // The first one, itself included, from the top.
  [[nodiscard]] const Accessible* find(std::uint32_t withRole, const std::string& withName) const;
  // One line an object, indented: for messages of failed tests.
  [[nodiscard]] std::string text(int depth = 0) const;
};

inline constexpr std::uint32_t kAlertRole = 2;
inline constexpr std::uint32_t kDialogRole = 16;
inline constexpr std::uint32_t kFileChooserRole = 19;
inline constexpr std::uint32_t kFillerRole = 20;
inline constexpr std::uint32_t kFrameRole = 23;
inline constexpr std::uint32_t kLabelRole = 29;
inline constexpr std::uint32_t kPasswordRole = 40;
inline constexpr std::uint32_t kButtonRole = 43;
inline constexpr std::uint32_t kToolbarRole = 63;

// A second pair of eyes on the accessibility bus: slow and plain, for tests alone. One thread.
class AccessibleTree {
 public:
  explicit AccessibleTree(const PrivateDesktop& desktop) : AccessibleTree(desktop.accessibilityBusAddress()) {}
  explicit AccessibleTree(const std::string& accessibilityBus) : bus(accessibilityBus) {}

  // The windows of a process; empty when it has none, or does not answer.
  [[nodiscard]] std::vector<Accessible> windowsOf(pid_t pid);
  // Does what the object does first. False when it refuses or does not answer.
  bool press(const Accessible& object);

 private:
  [[nodiscard]] Accessible read(const std::string& busName, const std::string& path, int depth);

  DesktopBus bus;
};

}  // namespace quillard::test
