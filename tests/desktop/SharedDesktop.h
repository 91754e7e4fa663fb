#pragma once

#include <memory>
#include <stdexcept>
#include <utility>

#include <gtest/gtest.h>

#include "desktop/AccessibleTree.h"
#include "desktop/ClientList.h"
#include "desktop/PrivateDesktop.h"

namespace quillard::test {

// A desktop that the tests of a suite share, one after another, because bringing one up costs as much as a short test.
// A test that leaves a window behind gets the next one a new desktop. For suites whose tests only start and end
// programs.
//
//   class Something : public testing::Test {
//     static void TearDownTestSuite() { shared.end(); }
//     inline static SharedDesktop shared;
class SharedDesktop {
 public:
  SharedDesktop() : SharedDesktop(PrivateDesktop::Options{}) {}
  explicit SharedDesktop(PrivateDesktop::Options options) : options(std::move(options)) {}

  // Free of windows. Made by the first call.
  [[nodiscard]] PrivateDesktop& get() {
    using namespace std::chrono_literals;
    if (desktop && (!isWhole() || !waitFor([this] { return isFree(); }, 3s))) desktop.reset();
    if (!desktop) {
      desktop = std::make_unique<PrivateDesktop>(options);
      programsOfItsOwn = programs();
    }
    return *desktop;
  }
  void end() { desktop.reset(); }

 private:
  // A test may have taken the accessibility bus away.
  [[nodiscard]] bool isWhole() {
    try {
      const DesktopBus bus(desktop->accessibilityBusAddress());
      return true;
    } catch (const std::runtime_error&) {
      return false;
    }
  }
  [[nodiscard]] bool isFree() {
    const bool hasXServer = !desktop->display().empty();
    return hasXServer ? ClientList(*desktop).windows().empty() : programs() == programsOfItsOwn;
  }

  // How many take part in accessibility.
  [[nodiscard]] int programs() { return AccessibleTree(*desktop).programCount(); }

  const PrivateDesktop::Options options;
  std::unique_ptr<PrivateDesktop> desktop;
  int programsOfItsOwn = 0;
};

}  // namespace quillard::test
