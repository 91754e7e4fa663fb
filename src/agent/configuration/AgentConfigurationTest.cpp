#include <clocale>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "agent/configuration/AgentConfiguration.h"
#include "platform/simulated/SimulatedEnvironment.h"

namespace quillard::AgentConfiguration {
namespace {

using platform::simulated::SimulatedEnvironment;

const double kInfinity = std::numeric_limits<double>::infinity();

std::optional<double> parsed(const std::string& text) {
  SimulatedEnvironment environment;
  environment.set("NAME", text);
  return positiveDoubleEnvironmentValue(environment, "NAME");
}

struct NumberRow {
  const char* text;
  std::optional<double> value;
};

class PositiveDouble : public testing::TestWithParam<NumberRow> {};

TEST_P(PositiveDouble, IsReadAsTheTableSays) { EXPECT_EQ(parsed(GetParam().text), GetParam().value); }

INSTANTIATE_TEST_SUITE_P(
    Table, PositiveDouble,
    testing::Values(NumberRow{"60", 60}, NumberRow{"0.35", 0.35}, NumberRow{".5", 0.5}, NumberRow{"5.", 5},
                    NumberRow{"+5", 5}, NumberRow{"5e1", 50}, NumberRow{"5E-1", 0.5}, NumberRow{"0x10", 16},
                    NumberRow{"0X1p4", 16}, NumberRow{"0x.8", 0.5}, NumberRow{"inf", kInfinity},
                    NumberRow{"+Infinity", kInfinity}, NumberRow{"1e999", kInfinity}, NumberRow{"0.01", 0.01},
                    NumberRow{"86400", 86400},  //
                    NumberRow{"", {}}, NumberRow{" 5", {}}, NumberRow{"\t5", {}}, NumberRow{"\n5", {}},
                    NumberRow{"\v5", {}}, NumberRow{"\f5", {}}, NumberRow{"\r5", {}}, NumberRow{"5 ", {}},
                    NumberRow{"5\n", {}}, NumberRow{"5s", {}}, NumberRow{"5,0", {}}, NumberRow{"1'000", {}},
                    NumberRow{"five", {}}, NumberRow{"0", {}}, NumberRow{"0.0", {}}, NumberRow{"-0", {}},
                    NumberRow{"-3", {}}, NumberRow{"-inf", {}}, NumberRow{"nan", {}}, NumberRow{"NAN(1)", {}},
                    NumberRow{"1e-999", {}}, NumberRow{"0x", {}}, NumberRow{"1e", {}}, NumberRow{"--5", {}},
                    NumberRow{"1.2.3", {}}, NumberRow{"٥", {}}));

TEST(PositiveDoubleEnvironmentValue, RefusesATextThatBeginsWithANull) {
  EXPECT_EQ(parsed(std::string("\0005", 2)), std::nullopt);
}

TEST(PositiveDoubleEnvironmentValue, IsAbsentWhenNotSet) {
  EXPECT_EQ(positiveDoubleEnvironmentValue(SimulatedEnvironment{}, "NAME"), std::nullopt);
}

TEST(PositiveDoubleEnvironmentValue, ReadsThePointInEveryLocale) {
  for (const auto* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
    if (std::setlocale(LC_NUMERIC, name)) break;
  }
  const bool hasComma = std::localeconv()->decimal_point[0] == ',';
  const auto point = parsed("0.35");
  const auto comma = parsed("0,35");
  std::setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(point, 0.35);
  EXPECT_EQ(comma, std::nullopt);
  if (!hasComma) std::printf("No locale with a decimal comma is installed here: only the point's half was tried.\n");
}

RC_GTEST_PROP(PositiveDoubleEnvironmentValue, NeverGivesAnythingButAPositiveNumber, (const std::string& text)) {
  const auto value = parsed(text);
  RC_ASSERT(!value || *value > 0);
}

struct WordRow {
  const char* text;
  std::optional<bool> value;
};

class BooleanWord : public testing::TestWithParam<WordRow> {};

TEST_P(BooleanWord, IsReadAsTheTableSays) {
  SimulatedEnvironment environment;
  environment.set("NAME", GetParam().text);
  EXPECT_EQ(booleanEnvironmentValue(environment, "NAME"), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Table, BooleanWord,
                         testing::Values(WordRow{"1", true}, WordRow{"true", true}, WordRow{"TRUE", true},
                                         WordRow{"yes", true}, WordRow{"Yes", true}, WordRow{"0", false},
                                         WordRow{"False", false}, WordRow{"NO", false}, WordRow{"", {}},
                                         WordRow{"on", {}}, WordRow{"off", {}}, WordRow{"y", {}}, WordRow{"2", {}},
                                         WordRow{" true", {}}, WordRow{"true ", {}}, WordRow{"1.0", {}}));

TEST(Tunables, HaveTheirDefaultsWhenNothingIsSet) {
  const SimulatedEnvironment environment;
  EXPECT_EQ(safetySweepInterval(environment), Seconds{300});
  EXPECT_EQ(eventScanDebounce(environment), Seconds{0.35});
  EXPECT_EQ(approvalStaleGrace(environment), Seconds{8});
  EXPECT_EQ(staleCleanupDelay(environment), Seconds{8.5});
  EXPECT_EQ(visibleWindowOwnerPollInterval(environment), Seconds{2});
  EXPECT_FALSE(dialogDiagnosticsEnabled(environment));
}

struct TunableRow {
  Seconds (*read)(const Sources&);
  std::vector<std::string> names;
};

class SecondsTunable : public testing::TestWithParam<TunableRow> {};

// From the last name to the first: each one set takes over from those behind it; each one spoilt gives way again.
TEST_P(SecondsTunable, TakesTheFirstUsableNameInOrderOfPrecedence) {
  const auto& [read, names] = GetParam();
  SimulatedEnvironment environment;
  double value = 20;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    const auto before = read(environment);
    for (const auto* spoilt : {"0", "-3", "5s", "", "nan"}) {
      environment.set(*name, spoilt);
      EXPECT_EQ(read(environment), before) << *name << "=" << spoilt;
    }
    environment.set(*name, std::to_string(++value));
    EXPECT_EQ(read(environment), Seconds{value}) << *name;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Table, SecondsTunable,
    testing::Values(TunableRow{safetySweepInterval,
                               {"QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "FARROWLIGHT_SAFETY_SWEEP_INTERVAL_SECONDS",
                                "QUILLARD_SCAN_INTERVAL_SECONDS", "FARROWLIGHT_SCAN_INTERVAL_SECONDS"}},
                    TunableRow{eventScanDebounce,
                               {"QUILLARD_EVENT_SCAN_DEBOUNCE_SECONDS", "FARROWLIGHT_EVENT_SCAN_DEBOUNCE_SECONDS"}},
                    TunableRow{approvalStaleGrace,
                               {"QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "FARROWLIGHT_APPROVAL_STALE_GRACE_SECONDS"}},
                    TunableRow{visibleWindowOwnerPollInterval,
                               {"QUILLARD_VISIBLE_WINDOW_OWNER_POLL_SECONDS",
                                "FARROWLIGHT_VISIBLE_WINDOW_OWNER_POLL_SECONDS"}}));

TEST(SafetySweepInterval, FallsBackToTheScanIntervalWhenItsOwnValueCannotBeUsed) {
  SimulatedEnvironment environment;
  environment.set("QUILLARD_SAFETY_SWEEP_INTERVAL_SECONDS", "0");
  environment.set("QUILLARD_SCAN_INTERVAL_SECONDS", "60");
  EXPECT_EQ(safetySweepInterval(environment), Seconds{60});
}

TEST(DialogDiagnostics, AreEnabledByTheProductsNameFirst) {
  SimulatedEnvironment environment;
  environment.set("FARROWLIGHT_DIALOG_DIAGNOSTICS", "yes");
  EXPECT_TRUE(dialogDiagnosticsEnabled(environment));
  environment.set("QUILLARD_DIALOG_DIAGNOSTICS", "on");
  EXPECT_TRUE(dialogDiagnosticsEnabled(environment)) << "\"on\" is no word for it, so the other name decides";
  environment.set("QUILLARD_DIALOG_DIAGNOSTICS", "0");
  EXPECT_FALSE(dialogDiagnosticsEnabled(environment));
  environment.unset("FARROWLIGHT_DIALOG_DIAGNOSTICS");
  environment.set("QUILLARD_DIALOG_DIAGNOSTICS", "on");
  EXPECT_FALSE(dialogDiagnosticsEnabled(environment));
}

TEST(Tunables, AreReadAfreshEachTime) {
  SimulatedEnvironment environment;
  EXPECT_EQ(approvalStaleGrace(environment), Seconds{8});
  environment.set("QUILLARD_APPROVAL_STALE_GRACE_SECONDS", "86400");
  EXPECT_EQ(approvalStaleGrace(environment), Seconds{86400});
  EXPECT_EQ(staleCleanupDelay(environment), Seconds{86400.5});
}

}  // namespace
}  // namespace quillard::AgentConfiguration
