#pragma once

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/AgentWorld.h"

namespace quillard {

// What the phone is told of a prompt that no press closes.
inline constexpr const char* kStillThere =
    "failed: The dialog was still visible after Quillard tried every safe click path.";

// An agent with a phone that decides.
struct DecidingAgent : samples::AgentWorld {
  DecidingAgent() { launchAndPair(); }

  // Opens it and waits until the phone shows it.
  platform::simulated::NodeHandle show(const platform::simulated::DialogSpec& spec) {
    const auto dialog = desktop().open(spec);
    advance(3);
    EXPECT_THAT(phone.shownTitles(), testing::Contains(spec.title));
    return dialog;
  }
  Uuid idOf(const std::string& title) {
    for (const auto& approval : phone.shown()) {
      if (approval.windowTitle == title) return approval.id;
    }
    ADD_FAILURE() << title << " is not shown.";
    return {};
  }
  std::string decide(const std::string& title, const std::string& label) {
    const auto decision = phone.decide(idOf(title), label);
    EXPECT_TRUE(decision);
    return decision.value_or("");
  }
};

// A prompt that stays whatever is pressed.
inline platform::simulated::DialogSpec stubborn(const std::string& title) {
  auto spec = samples::erasePrompt(title);
  spec.effect = platform::simulated::PressEffect::doesNothing();
  return spec;
}

// One that goes some time after the press.
inline platform::simulated::DialogSpec lingering(const std::string& title, double seconds) {
  auto spec = samples::erasePrompt(title);
  spec.effect = platform::simulated::PressEffect::closesAfter(Seconds{seconds});
  return spec;
}

}  // namespace quillard
