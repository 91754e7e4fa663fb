#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "click/ClickExecutor.h"
#include "support/ClickWorld.h"

namespace quillard {

// A prompt whose button is pressed, and a record of all that is done to it.
class ClickExecutorTest : public testing::Test, protected samples::ClickWorld {
 protected:
  using Lines = std::vector<std::string>;

  // What the click does from here on, each line with its second: requests that change something, and posted events.
  Outcome clickAndTrace() {
    const auto start = world.time().monotonicNow();
    desktop().setRequestHook([this, start](const platform::simulated::AXRequest& request) {
      if (request.kind == platform::simulated::AXRequestKind::performAction ||
          request.kind == platform::simulated::AXRequestKind::setAttribute) {
        traced.emplace_back(world.time().monotonicNow() - start, request.name + " " + nameOf(request));
      }
    });
    const auto outcome = click();
    desktop().setRequestHook({});
    for (const auto& event : events.posted()) traced.emplace_back(event.at - start, nameOf(event));
    std::stable_sort(traced.begin(), traced.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return outcome;
  }

  Lines trace() const {
    Lines lines;
    for (const auto& [at, what] : traced) {
      std::array<char, 16> seconds{};
      std::snprintf(seconds.data(), seconds.size(), "%.3f ", at.count());
      lines.push_back(seconds.data() + what);
    }
    return lines;
  }

  std::string nameOf(const platform::simulated::AXRequest& request) {
    if (!request.node) return "application";
    if (*request.node == prompt) return "window";
    const auto title = desktop().attribute(*request.node, platform::ax::kTitle);
    return title.hasValue() ? std::get<std::string>(title.value()) : "?";
  }

  static std::string nameOf(platform::KeyCode key) {
    switch (key) {
      case platform::KeyCode::returnKey:
        return "return";
      case platform::KeyCode::space:
        return "space";
      case platform::KeyCode::escape:
        return "escape";
    }
    return "?";
  }

  static std::string nameOf(const platform::simulated::PostedEvent& event) {
    const std::string where = event.processIdentifier ? " to process" : " to desktop";
    if (event.key) return nameOf(*event.key) + (event.isDown ? " down" : " up") + where;
    const auto type = *event.mouse;
    const std::string what = type == platform::MouseEventType::moved ? "moved" : event.isDown ? "down" : "up";
    return "mouse " + what + where;
  }

  std::size_t keysPosted(platform::KeyCode key) const {
    return static_cast<std::size_t>(
        std::count_if(events.posted().begin(), events.posted().end(),
                      [&](const platform::simulated::PostedEvent& event) { return event.key == key; }));
  }

  static Seconds ms(double milliseconds) { return Seconds{milliseconds / 1000}; }

  std::vector<std::pair<Seconds, std::string>> traced;
};

}  // namespace quillard
