#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "foundation/IsoDate.h"

namespace quillard {
namespace {

using namespace std::chrono_literals;

const Date kNoon{std::chrono::sys_days{std::chrono::year{2026} / 3 / 1} + 12h + 34min + 56s};

TEST(IsoDate, IsWrittenInUtcWithWholeSeconds) {
  EXPECT_EQ(isoDateText(kNoon), "2026-03-01T12:34:56Z");
  EXPECT_EQ(isoDateText(kNoon + 999ms), "2026-03-01T12:34:56Z");
  EXPECT_EQ(isoDateText(Date{-1us}), "1969-12-31T23:59:59Z");
}

TEST(IsoDate, WritesTheNearestYearOfFourDigitsForDatesBeyond) {
  EXPECT_EQ(isoDateText(Date::max()), "9999-12-31T23:59:59Z");
  EXPECT_EQ(isoDateText(Date::min()), "0000-01-01T00:00:00Z");
}

TEST(IsoDate, IsReadWithAndWithoutFractionalSeconds) {
  EXPECT_EQ(quillardISO8601("2026-03-01T12:34:56Z"), kNoon);
  EXPECT_EQ(quillardISO8601("2026-03-01T12:34:56.789Z"), kNoon + 789ms);
  EXPECT_EQ(quillardISO8601("2026-03-01T12:34:56.1234567Z"), kNoon + 123456us);
}

TEST(IsoDate, IsReadWithANumericOffset) {
  EXPECT_EQ(quillardISO8601("2026-03-01T14:04:56+01:30"), kNoon);
  EXPECT_EQ(quillardISO8601("2026-03-01T04:34:56.5-08:00"), kNoon + 500ms);
}

TEST(IsoDate, RefusesAnythingElse) {
  for (const auto* text : {"",
                           "2026-03-01",
                           "2026-03-01T12:34:56",
                           "2026-03-01 12:34:56Z",
                           "2026-03-01T12:34Z",
                           "2026-03-01T12:34:56.Z",
                           "2026-03-01T12:34:56,5Z",
                           "2026-02-29T00:00:00Z",
                           "2026-13-01T00:00:00Z",
                           "2026-00-10T00:00:00Z",
                           "2026-03-01T24:00:00Z",
                           "2026-03-01T12:60:00Z",
                           "2026-03-01T12:34:60Z",
                           "2026-03-01T12:34:56Zx",
                           "2026-03-01T12:34:56+0100",
                           "2026-03-01T12:34:56+24:00",
                           "+026-03-01T12:34:56Z",
                           "2026-03-01T12:34:56z",
                           " 2026-03-01T12:34:56Z",
                           "12026-03-01T12:34:56Z",
                           "tomorrow"}) {
    EXPECT_FALSE(quillardISO8601(text).has_value()) << text;
  }
}

RC_GTEST_PROP(IsoDate, ReadsBackWhatItWrites, ()) {
  const auto seconds = *rc::gen::inRange<std::int64_t>(-62'167'219'200, 253'402'300'800);
  const Date date{std::chrono::seconds{seconds}};
  RC_ASSERT(quillardISO8601(isoDateText(date)) == date);
}

RC_GTEST_PROP(IsoDate, NeverChokesOnText, (const std::string& text)) { (void)quillardISO8601(text); }

}  // namespace
}  // namespace quillard
