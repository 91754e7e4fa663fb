#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "macos/fakes/MacSystem.h"
#include "platform/macos/MacAccessibility.h"
#include "platform/macos/objc/MacWorkspace.h"
#include "platform/simulated/SimulatedWorld.h"

namespace quillard::test {

// A Mac of the test's own: the system's functions stand on its simulated desktop.
struct MacWorld {
  platform::simulated::SimulatedWorld world{platform::simulated::Seed{7}};
  platform::simulated::SimulatedSyntheticEvents events{world.desktop(), world.time()};
  fakes::MacSystem system{world.desktop(), events};
  macos::MacWorkspace workspace{world.time().mainThread()};
  macos::MacAccessibility accessibility{macos::AXCalls{}, frontmost(), world.time()};
  platform::simulated::SimulatedDesktop& desktop = world.desktop();

  MacWorld() { system.loop = &world.time().mainThread(); }
  [[nodiscard]] macos::FrontmostProcess frontmost() {
    return [this] {
      const auto front = workspace.frontmostApplication();
      return front ? std::optional(front->processIdentifier) : std::nullopt;
    };
  }
};

// Every object that a test's calls were given is released in the end, exactly once.
class MacTest : public testing::Test {
 protected:
  void TearDown() override {
    mac.reset();
    EXPECT_EQ(fakes::liveObjects(), 0) << "objects that were not released";
  }
  std::unique_ptr<MacWorld> mac = std::make_unique<MacWorld>();
};

}  // namespace quillard::test
