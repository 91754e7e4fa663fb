#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "agent/configuration/Tunables.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedUserDefaults.h"

namespace quillard::AgentConfiguration {
namespace {

using platform::simulated::SimulatedEnvironment;
using platform::simulated::SimulatedUserDefaults;

struct User {
  SimulatedEnvironment environment;
  SimulatedUserDefaults settings;
  const Tunable& grace = *findTunable("approval-stale-grace");
  const Tunable& diagnostics = *findTunable("dialog-diagnostics");
  [[nodiscard]] Sources sources() const { return {environment, &settings}; }
};

TEST(UserSettings, CountWhereTheEnvironmentSaysNothing) {
  User user;
  ASSERT_TRUE(setTunable(user.grace, "20", user.settings));
  EXPECT_EQ(approvalStaleGrace(user.sources()), Seconds{20});
  EXPECT_EQ(staleCleanupDelay(user.sources()), Seconds{20.5});
  EXPECT_EQ(valueOf(user.grace, user.sources()), (TunableValue{20, TunableOrigin::settings}));
}

TEST(UserSettings, ComeAfterEveryNameOfTheEnvironment) {
  for (const auto variable : {"QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "FARROWLIGHT_APPROVAL_STALE_GRACE_SECONDS"}) {
    User user;
    ASSERT_TRUE(setTunable(user.grace, "20", user.settings));
    user.environment.set(variable, "30");
    EXPECT_EQ(valueOf(user.grace, user.sources()), (TunableValue{30, TunableOrigin::environment, variable}));
    user.environment.set(variable, "soon");
    EXPECT_EQ(approvalStaleGrace(user.sources()), Seconds{20}) << "what cannot be used counts as not set";
  }
}

TEST(UserSettings, GoBackToTheDefault) {
  User user;
  ASSERT_TRUE(setTunable(user.grace, "20", user.settings));
  unsetTunable(user.grace, user.settings);
  EXPECT_EQ(valueOf(user.grace, user.sources()), (TunableValue{8, TunableOrigin::fallback}));
}

TEST(UserSettings, KeepWhatTheyHadWhenANewValueIsNone) {
  for (const auto* text : {"", "0", "-1", "nan", "5 s", "2,5", "on"}) {
    User user;
    ASSERT_TRUE(setTunable(user.grace, "20", user.settings));
    EXPECT_FALSE(setTunable(user.grace, text, user.settings)) << text;
    EXPECT_EQ(approvalStaleGrace(user.sources()), Seconds{20}) << text;
  }
}

TEST(UserSettings, OfAnotherKindOrSpoiltByHandCountAsNotSet) {
  const std::vector<platform::UserDefaultsValue> spoilt{12.0, true, std::string("soon"), std::string(),
                                                        std::monostate{}};
  for (const auto& value : spoilt) {
    User user;
    user.settings.set("quillard.settings.approval-stale-grace", value);
    EXPECT_EQ(approvalStaleGrace(user.sources()), Seconds{8});
  }
}

TEST(UserSettings, TakeTheWordsThatPeopleUseForASwitch) {
  for (const auto* text : {"on", "On", "yes", "true", "1"}) {
    User user;
    ASSERT_TRUE(setTunable(user.diagnostics, text, user.settings)) << text;
    EXPECT_TRUE(dialogDiagnosticsEnabled(user.sources())) << text;
    ASSERT_TRUE(setTunable(user.diagnostics, "off", user.settings));
    EXPECT_FALSE(dialogDiagnosticsEnabled(user.sources()));
  }
}

TEST(UserSettings, NameAFileByItsFullPathAndNothingElse) {
  const Tunable& authority = *findTunable("relay-authority");
  User user;
  EXPECT_EQ(relayAuthorityFile(user.sources()), "");
  ASSERT_TRUE(setTunable(authority, "/home/ann/été.pem", user.settings));
  EXPECT_EQ(relayAuthorityFile(user.sources()), "/home/ann/été.pem");
  const std::vector<std::string> bad{
      "",      "authority.pem",         "~/authority.pem", "./authority.pem", "none",
      "/a\nb", std::string("/a\0b", 4), "/a\x1b[2J",       "/\xff",           "/" + std::string(4096, 'a')};
  for (const auto& text : bad) {
    EXPECT_FALSE(setTunable(authority, text, user.settings)) << text;
    user.environment.set("QUILLARD_RELAY_AUTHORITY", text);
    EXPECT_EQ(relayAuthorityFile(user.sources()), "/home/ann/été.pem") << text;
  }
  user.environment.set("FARROWLIGHT_RELAY_AUTHORITY", "/etc/older.pem");
  EXPECT_EQ(valueOf(authority, user.sources()), (TunableValue{.origin = TunableOrigin::environment,
                                                              .variable = "FARROWLIGHT_RELAY_AUTHORITY",
                                                              .path = "/etc/older.pem"}));
  user.environment.set("QUILLARD_RELAY_AUTHORITY", "/etc/newer.pem");
  EXPECT_EQ(relayAuthorityFile(user.sources()), "/etc/newer.pem");
}

TEST(TunableTable, HasANameAMeaningAndAVariableInEachRowAndNoNameTwice) {
  std::set<std::string_view> names;
  for (const auto& tunable : tunables()) {
    EXPECT_TRUE(names.insert(tunable.name).second) << tunable.name;
    EXPECT_FALSE(tunable.meaning.empty()) << tunable.name;
    EXPECT_TRUE(tunable.variables.front().starts_with("QUILLARD_")) << tunable.name;
    EXPECT_EQ(findTunable(tunable.name), &tunable);
  }
  EXPECT_EQ(findTunable("colour"), nullptr);
}

TEST(TunableTable, WritesEachValueAsItIsReadAgain) {
  for (const auto& tunable : tunables()) {
    for (const auto* text : {"0.35", "300", "1e-05", "inf", "on", "off", "/etc/authority.pem"}) {
      const auto value = readTunable(tunable, text);
      if (value) {
        EXPECT_EQ(readTunable(tunable, tunableText(tunable, *value)), value) << tunable.name << "=" << text;
      }
    }
  }
  EXPECT_EQ(tunableText(*findTunable("event-scan-debounce"), {.value = 0.35}), "0.35");
  EXPECT_EQ(tunableText(*findTunable("safety-sweep-interval"), {.value = 300}), "300");
  EXPECT_EQ(tunableText(*findTunable("relay-authority"), {}), "none");
}

}  // namespace
}  // namespace quillard::AgentConfiguration
