#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include "detection/PromptReader.h"
#include "detection/elements/AXHelpers.h"
#include "platform/linux/accessibility/LinuxAccessibility.h"
#include "platform/linux/accessibility/Roles.h"
#include "platform/linux/windows/DesktopWindows.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeAccessibilityBus.h"

// A program with a prompt on an accessibility bus, and the binding that reads it.
namespace quillard::test {

// One that shows. A button can be clicked.
inline FakeObject object(atspi::Role role, const std::string& name, std::vector<std::string> children = {}) {
  FakeObject object{
      .role = static_cast<std::uint32_t>(role), .states = atspi::bit(atspi::State::showing), .name = name};
  object.extents = Rect{10, 10, 100, 20};
  object.children = std::move(children);
  if (role == atspi::Role::pushButton) object.actions = {"click"};
  return object;
}

// One program with a prompt, on a bus of its own. All fake programs live in this process.
struct FakeProgramWorld {
  // No test waits for it where every program answers, so it may be long: for a busy machine.
  explicit FakeProgramWorld(Seconds messagingTimeout = Seconds{20})
      : program(bus.start()),
        accessibility({.sessionBusAddress = bus.address(), .messagingTimeout = messagingTimeout}, windows, executors) {
    bus.registerPrograms({program->name()});
    program->set(FakeProgram::kRoot, object(atspi::Role{75}, "example", {"/window"}));
    program->set("/window", object(atspi::Role::dialog, "Permission", {"/text", "/deny", "/allow"}));
    program->set("/text", object(atspi::Role::label, "Allow it?"));
    program->set("/deny", object(atspi::Role::pushButton, "Don't Allow"));
    program->set("/allow", object(atspi::Role::pushButton, "Allow"));
  }

  platform::AXUIElement application() { return accessibility.createApplication(::getpid()); }
  std::optional<platform::AXUIElement> window() {
    const auto found = AXHelpers::windows(accessibility, application());
    return found.empty() ? std::nullopt : std::optional{found.front()};
  }
  PromptReading read(platform::AXReadScope& scope, const platform::AXUIElement& window) {
    return PromptReader::readPrompt(scope, {.window = window, .appName = "example"}, 80);
  }
  std::size_t elementsBelow(const platform::AXUIElement& window) {
    const auto scope = accessibility.beginReadScope();
    return AXHelpers::deeplyNestedChildren(*scope, window, 120).size();
  }

  FakeAccessibilityBus bus;
  std::unique_ptr<FakeProgram> program;
  desktop::NoDesktopWindows windows;
  qt::QtExecutors executors;
  atspi::LinuxAccessibility accessibility;
};

}  // namespace quillard::test
