#include <gtest/gtest.h>

#include "detection/KnownPromptService.h"

namespace quillard {
namespace {

TEST(KnownPromptService, IsKnownByItsBundleIdentifierInAnyCase) {
  for (const auto* identifier : {"com.apple.SecurityAgent", "com.apple.coreservicesuiagent", "com.apple.loginwindow",
                                 "LOGINWINDOW", "x.securityagenthelper"}) {
    EXPECT_TRUE(isKnownPromptService(identifier, "")) << identifier;
  }
  EXPECT_FALSE(isKnownPromptService("core services ui agent", "")) << "so it is written in names only";
  EXPECT_FALSE(isKnownPromptService("com.example.app", "App"));
}

TEST(KnownPromptService, IsKnownByItsNameInAnyCase) {
  for (const auto* name : {"SecurityAgent", "Core Services UI Agent", "CoreServicesUIAgent", "loginwindow"}) {
    EXPECT_TRUE(isKnownPromptService(std::nullopt, name)) << name;
  }
  EXPECT_FALSE(isKnownPromptService(std::nullopt, "Core  Services UI Agent"));
  EXPECT_FALSE(isKnownPromptService(std::nullopt, "Unknown app"));
  EXPECT_FALSE(isKnownPromptService(std::nullopt, ""));
}

}  // namespace
}  // namespace quillard
