#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "desktop/PrivateDesktop.h"
#include "private-desktop/DesktopBus.h"

namespace quillard::test {

inline constexpr int kShowingState = 25;

// One object of a program as the accessibility bus tells of it, with all below it.
struct Accessible {
  std::string bus;  // Of its program.
  std::string path;
  std::uint32_t role = 0;  // As AT-SPI numbers them: 2 alert, 16 dialog, 23 frame, 29 label, 43 push button.
  std::string roleName;
  std::string name;
  std::string description;
  std::uint64_t states = 0;
  std::vector<Accessible> children;

  [[nodiscard]] bool hasState(int number) const { return ((states >> static_cast<unsigned>(number)) & 1U) != 0; }
  [[nodiscard]] bool isShowing() const { return hasState(kShowingState); }
  // The first one, itself included, from the top.
  [[nodiscard]] const Accessible* find(std::uint32_t withRole, const std::string& withName) const;
  // Whether it, or anything below it, has that role.
  [[nodiscard]] bool holdsRole(std::uint32_t wanted) const;
  // All that satisfy `isWanted`, itself included, parents first. What does not show is passed over with all below it,
  // as screen readers do.
  [[nodiscard]] std::vector<Accessible> findAllShowing(const std::function<bool(const Accessible&)>& isWanted) const;
  // One line an object, indented, also of what does not show.
  [[nodiscard]] std::string text(int depth = 0) const;
};

inline constexpr std::uint32_t kAlertRole = 2;
inline constexpr std::uint32_t kDialogRole = 16;
inline constexpr std::uint32_t kFileChooserRole = 19;
inline constexpr std::uint32_t kFillerRole = 20;
inline constexpr std::uint32_t kFrameRole = 23;
inline constexpr std::uint32_t kLabelRole = 29;
inline constexpr std::uint32_t kTabListRole = 38;
inline constexpr std::uint32_t kPasswordRole = 40;
inline constexpr std::uint32_t kButtonRole = 43;
inline constexpr std::uint32_t kToolbarRole = 63;

// A second pair of eyes on the accessibility bus: slow and plain, for tests alone. One thread.
class AccessibleTree {
 public:
  explicit AccessibleTree(const PrivateDesktop& desktop) : AccessibleTree(desktop.accessibilityBusAddress()) {}
  explicit AccessibleTree(const std::string& accessibilityBus) : bus(accessibilityBus) {}

  // How many programs the registry lists.
  [[nodiscard]] int programCount();
  // The windows of a process; empty when it has none, or does not answer.
  [[nodiscard]] std::vector<Accessible> windowsOf(pid_t pid);
  // The first window of that name, of any program. Absent while there is none.
  [[nodiscard]] std::optional<Accessible> windowNamed(const std::string& name);
  // Does what the object does first. False when it refuses or does not answer.
  bool press(const Accessible& object);

 private:
  [[nodiscard]] Accessible read(const std::string& busName, const std::string& path, int depth);

  DesktopBus bus;
};

}  // namespace quillard::test
