// Eyes and hands on the desktop that DISPLAY and the session bus lead to, for tests that are no C++:
//
//   desktop_hand screenshot FILE      the whole screen as PNG
//   desktop_hand see PID ROW NAME     waits until the windows of a process show that name in the row (or card) named
//   ROW desktop_hand press PID ROW LABEL  waits for that button, and presses it through the accessibility bus
//   desktop_hand tree PID             prints what the windows of a process hold, for the messages of failed tests
//
// An empty ROW means anywhere in the windows.
//
// Exit codes: 0 done; 1 it did not come in time, or failed; 2 not understood.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "desktop/AccessibleTree.h"
#include "desktop/Screenshot.h"
#include "private-desktop/DesktopBus.h"
#include "private-desktop/Waiting.h"

namespace {

using quillard::privatedesktop::DesktopBus;
using quillard::privatedesktop::waitFor;
using quillard::test::Accessible;
using quillard::test::AccessibleTree;

constexpr std::uint32_t kPanelRole = 39;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  if (!value) throw std::runtime_error(std::string("There is no ") + name);
  return value;
}

AccessibleTree treeOfDesktop() {
  return AccessibleTree{DesktopBus(variable("DBUS_SESSION_BUS_ADDRESS")).accessibilityBusAddress()};
}

const Accessible* named(const Accessible& object, const std::string& name) {
  if (object.name == name) return &object;
  for (const auto& child : object.children) {
    if (const auto* const found = named(child, name)) return found;
  }
  return nullptr;
}

// Below the row of that name (anywhere when it is empty): the object of that name, and of that role where one is given.
std::optional<Accessible> find(AccessibleTree& tree, pid_t pid, const std::string& row, const std::string& name,
                               std::optional<std::uint32_t> role) {
  for (const auto& window : tree.windowsOf(pid)) {
    const auto* const place = row.empty() ? &window : window.find(kPanelRole, row);
    if (!place) continue;
    const auto* const found = role ? place->find(*role, name) : named(*place, name);
    if (found) return *found;
  }
  return std::nullopt;
}

bool see(pid_t pid, const std::string& row, const std::string& name) {
  auto tree = treeOfDesktop();
  return waitFor([&] { return find(tree, pid, row, name, std::nullopt).has_value(); });
}

bool press(pid_t pid, const std::string& row, const std::string& label) {
  auto tree = treeOfDesktop();
  std::optional<Accessible> button;
  const bool isThere = waitFor([&] {
    button = find(tree, pid, row, label, quillard::test::kButtonRole);
    return button.has_value();
  });
  return isThere && tree.press(*button);
}

void printTree(pid_t pid) {
  auto tree = treeOfDesktop();
  for (const auto& window : tree.windowsOf(pid)) std::fputs(window.text().c_str(), stdout);
}

// Absent: not understood.
std::optional<bool> carryOut(const std::vector<std::string>& words) {
  const auto asks = [&](const char* verb, std::size_t count) { return words.size() == count && words[0] == verb; };
  const auto pid = [&] { return static_cast<pid_t>(std::stol(words[1])); };
  if (asks("screenshot", 2)) {
    quillard::test::saveScreenshot(variable("DISPLAY"), words[1]);
    return true;
  }
  if (asks("see", 4)) return see(pid(), words[2], words[3]);
  if (asks("press", 4)) return press(pid(), words[2], words[3]);
  if (asks("tree", 2)) {
    printTree(pid());
    return true;
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const auto isDone = carryOut({argv + 1, argv + argc});
    if (!isDone) std::fprintf(stderr, "Usage: desktop_hand screenshot FILE | see|press PID ROW NAME | tree PID\n");
    return isDone ? (*isDone ? 0 : 1) : 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
