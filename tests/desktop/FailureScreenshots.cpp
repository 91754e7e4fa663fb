#include "desktop/FailureScreenshots.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <set>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "desktop/Screenshot.h"

namespace quillard::test {
namespace {

namespace fs = std::filesystem;

struct State {
  std::mutex mutex;
  std::vector<std::string> displays;
  std::set<std::string> taken;  // Files, so that the first failure is the one in the picture.
  std::string test;             // The one that runs now: GoogleTest does not answer while it tells of a failure.
  bool isListening = false;
};

State& state() {
  static State state;
  return state;
}

std::string nameOf(const testing::TestInfo* test) {
  std::string name = test ? std::string(test->test_suite_name()) + "." + test->name() : "outside-of-tests";
  std::replace(name.begin(), name.end(), '/', '-');
  return name;
}

void takeAll() {
  const std::lock_guard lock(state().mutex);
  const fs::path folder = QUILLARD_SCREENSHOTS;
  for (std::size_t i = 0; i < state().displays.size(); ++i) {
    const fs::path file = folder / (state().test + "-" + std::to_string(i + 1) + ".png");
    if (!state().taken.insert(file.string()).second) continue;
    try {
      fs::create_directories(folder);
      saveScreenshot(state().displays[i], file.string());
      std::cout << "The screen then: " << fs::relative(file, QUILLARD_PROJECT).string() << "\n";
    } catch (const std::exception& error) {
      std::cout << "No picture of the screen: " << error.what() << "\n";
    }
  }
}

// At the failure itself: when the test has ended, its desktop has gone too.
class Listener : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    const std::lock_guard lock(state().mutex);
    state().test = nameOf(&test);
  }
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) takeAll();
  }
};

}  // namespace

void FailureScreenshots::add(const std::string& display) {
  const std::string test = nameOf(testing::UnitTest::GetInstance()->current_test_info());
  const std::lock_guard lock(state().mutex);
  state().displays.push_back(display);
  state().test = test;
  if (state().isListening) return;
  state().isListening = true;
  testing::UnitTest::GetInstance()->listeners().Append(new Listener);  // GoogleTest owns it.
}

void FailureScreenshots::remove(const std::string& display) {
  const std::lock_guard lock(state().mutex);
  std::erase(state().displays, display);
}

int FailureScreenshots::count() {
  const std::lock_guard lock(state().mutex);
  return static_cast<int>(state().taken.size());
}

}  // namespace quillard::test
