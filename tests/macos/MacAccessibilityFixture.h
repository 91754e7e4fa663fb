#pragma once

#include <string>
#include <utility>
#include <vector>

#include "macos/MacWorld.h"

namespace quillard::test {

// A Mac on which a program shows a dialog.
class MacAccessibility : public MacTest {
 protected:
  // The window of a dialog that has just been opened.
  platform::AXUIElement openWindow() {
    prompt = mac->desktop.open({.title = "Camera", .buttons = {"Allow"}});
    const auto element = mac->accessibility.createApplication(mac->desktop.owner(prompt)->processIdentifier);
    const auto windows = mac->accessibility.copyAttributeValue(element, platform::ax::kWindows);
    return std::get<std::vector<platform::AXUIElement>>(windows.value()).front();
  }
  // What the element answers for AXSample when it gives this object.
  platform::AXResult<platform::AXValue> readAs(fakes::Held object) {
    const platform::AXUIElement window = openWindow();
    mac->system.odd.values.insert_or_assign("AXSample", std::move(object));
    return mac->accessibility.copyAttributeValue(window, "AXSample");
  }
  Seconds waitedFor(const platform::AXUIElement& element) {
    const auto before = mac->world.time().monotonicNow();
    EXPECT_EQ(mac->accessibility.copyAttributeValue(element, platform::ax::kRole).error(),
              platform::AXError::cannotComplete);
    return mac->world.time().monotonicNow() - before;
  }
  platform::simulated::NodeHandle prompt{};
};

}  // namespace quillard::test
