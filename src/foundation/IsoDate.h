#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "values/Time.h"

namespace quillard {

// The message of every failure to read a date.
inline constexpr std::string_view kExpectedIsoDate = "Expected ISO-8601 date string.";

// "2026-03-01T12:34:56Z": UTC, whole seconds (the fraction is dropped, towards the past). Years outside 0000 to 9999
// are written as the nearest moment inside.
[[nodiscard]] std::string isoDateText(Date date);

// The `quillardISO8601` strategy: an internet date-time, first with fractional seconds, else without; "Z" or a numeric
// offset from UTC. Fractions finer than a microsecond are dropped. Absent for anything else, a day or an hour that does
// not exist included.
[[nodiscard]] std::optional<Date> quillardISO8601(std::string_view text);

}  // namespace quillard
