#include "foundation/IsoDate.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace quillard {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year;

constexpr Date kFirstDate{sys_days{year{0} / 1 / 1}};
constexpr Date kLastDate{sys_days{year{9999} / 12 / 31} + days{1} - std::chrono::microseconds{1}};

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Takes pieces off the front of a text; once a piece does not fit, everything after it fails too.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest(text) {}

  int digits(std::size_t count) {
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (rest.empty() || !isDigit(rest.front())) return fail();
      value = value * 10 + (take() - '0');
    }
    return value;
  }

  void expect(char c) {
    if (rest.empty() || rest.front() != c) {
      fail();
    } else {
      take();
    }
  }

  // ".5" is 500,000; without a point, zero.
  std::chrono::microseconds fraction() {
    if (rest.empty() || rest.front() != '.') return {};
    take();
    if (rest.empty() || !isDigit(rest.front())) fail();
    int value = 0;
    int unit = 100'000;
    while (!rest.empty() && isDigit(rest.front())) {
      value += unit * (take() - '0');
      unit /= 10;
    }
    return std::chrono::microseconds{value};
  }

  // "Z", "+01:00" or "-08:00".
  std::chrono::minutes offset() {
    if (rest.empty()) fail();
    if (hasFailed) return {};
    const char sign = take();
    if (sign == 'Z') return {};
    if (sign != '+' && sign != '-') fail();
    const int hours = digits(2);
    expect(':');
    const int minutes = digits(2);
    if (hours > 23 || minutes > 59) fail();
    const std::chrono::minutes offset{hours * 60 + minutes};
    return sign == '-' ? -offset : offset;
  }

  [[nodiscard]] bool succeeded() const { return !hasFailed && rest.empty(); }

 private:
  char take() {
    const char c = rest.front();
    rest.remove_prefix(1);
    return c;
  }
  int fail() {
    hasFailed = true;
    return 0;
  }

  std::string_view rest;
  bool hasFailed = false;
};

}  // namespace

std::string isoDateText(Date date) {
  const Date shown = std::clamp(date, kFirstDate, kLastDate);
  const auto day = std::chrono::floor<days>(shown);
  const std::chrono::year_month_day ymd{day};
  const std::chrono::hh_mm_ss time{std::chrono::floor<std::chrono::seconds>(shown - day)};
  std::array<char, 32> text{};
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                                   static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                                   static_cast<unsigned>(ymd.day()), static_cast<int>(time.hours().count()),
                                   static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<Date> quillardISO8601(std::string_view text) {
  Scanner scanner{text};
  const int y = scanner.digits(4);
  scanner.expect('-');
  const int month = scanner.digits(2);
  scanner.expect('-');
  const int day = scanner.digits(2);
  scanner.expect('T');
  const int hour = scanner.digits(2);
  scanner.expect(':');
  const int minute = scanner.digits(2);
  scanner.expect(':');
  const int second = scanner.digits(2);
  const auto fraction = scanner.fraction();
  const auto offset = scanner.offset();
  const std::chrono::year_month_day ymd{year{y}, std::chrono::month{static_cast<unsigned>(month)},
                                        std::chrono::day{static_cast<unsigned>(day)}};
  if (!scanner.succeeded() || !ymd.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return Date{sys_days{ymd}} + std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second} +
         fraction - offset;
}

}  // namespace quillard
