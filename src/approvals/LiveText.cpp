#include "approvals/LiveText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/ShownText.h"
#include "foundation/Text.h"

namespace quillard::LiveText {
namespace {

struct Unit {
  std::string_view word;  // Lower case.
  double seconds;         // Zero: a percentage.
};

constexpr double kMinute = 60;
constexpr double kHour = 3600;

// Longer words before those that they begin with.
constexpr std::array kUnits{Unit{"%", 0},
                            Unit{"percent", 0},
                            Unit{"seconds", 1},
                            Unit{"second", 1},
                            Unit{"secs", 1},
                            Unit{"sec", 1},
                            Unit{"sekunden", 1},
                            Unit{"sekunde", 1},
                            Unit{"secondes", 1},
                            Unit{"seconde", 1},
                            Unit{"segundos", 1},
                            Unit{"segundo", 1},
                            Unit{"sekundę", 1},
                            Unit{"sekundy", 1},
                            Unit{"sekunda", 1},
                            Unit{"sekund", 1},
                            Unit{"秒", 1},
                            Unit{"ثانية", 1},
                            Unit{"ثوان", 1},
                            Unit{"ثواني", 1},
                            Unit{"minutes", kMinute},
                            Unit{"minute", kMinute},
                            Unit{"minuten", kMinute},
                            Unit{"minutos", kMinute},
                            Unit{"minuto", kMinute},
                            Unit{"minutę", kMinute},
                            Unit{"minuty", kMinute},
                            Unit{"minuta", kMinute},
                            Unit{"minut", kMinute},
                            Unit{"mins", kMinute},
                            Unit{"min", kMinute},
                            Unit{"分钟", kMinute},
                            Unit{"分", kMinute},
                            Unit{"دقيقة", kMinute},
                            Unit{"دقائق", kMinute},
                            Unit{"hours", kHour},
                            Unit{"hour", kHour},
                            Unit{"s", 1}};

constexpr Seconds kSlack{5};
constexpr Seconds kProgressSlack{1};
constexpr double kFastestProgress = 10;  // Points a second: what is done sooner needs no decision.
constexpr double kWhole = 100;
constexpr double kLongestUntimedCount = 120;
constexpr std::size_t kMostDigits = 12;  // Of a live number.
constexpr std::string_view kNoBreakSpace = "\xC2\xA0";
constexpr std::string_view kThinSpace = "\xE2\x80\xAF";

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isPartOfWord(char c) { return isAsciiLetter(c) || isDigit(c) || c == '_' || (c & 0x80) != 0; }

// Whether a number begins there, and not the rest of a name, an address or another number.
bool isNumberBegin(std::string_view text, std::size_t at) {
  constexpr std::string_view kBinding = "._:/-,";
  if (at == 0) return true;
  const char before = text[at - 1];
  if (isAsciiLetter(before) || isDigit(before)) return false;
  return kBinding.find(before) == std::string_view::npos;
}

// A live number in a text, with its unit.
struct Live {
  std::size_t begin = 0;
  std::size_t end = 0;  // Behind the unit.
  bool isTime = false;  // Else it is a percentage.
  double value = 0;     // Seconds, or points.
  double grain = 1;     // The smallest unit of a time, in seconds.
};

std::size_t skipBlanks(std::string_view text, std::size_t at) {
  for (;;) {
    if (at < text.size() && text[at] == ' ') {
      ++at;
    } else if (text.substr(at).starts_with(kNoBreakSpace)) {
      at += kNoBreakSpace.size();
    } else if (text.substr(at).starts_with(kThinSpace)) {
      at += kThinSpace.size();
    } else {
      return at;
    }
  }
}

double numberFrom(std::string_view digits) {
  double number = 0;
  for (const char c : digits) number = number * 10 + (c - '0');
  return number;
}

// Of the digits behind a point.
double fractionFrom(std::string_view digits) {
  double fraction = 0;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) fraction = (fraction + (*digit - '0')) / 10;
  return fraction;
}

// The unit that a number is followed by. `lower` is the text in lower case, of the same length.
const Unit* unitAt(std::string_view lower, std::size_t at) {
  const auto rest = lower.substr(at);
  for (const auto& unit : kUnits) {
    if (!rest.starts_with(unit.word)) continue;
    const bool isLatin = isAsciiLetter(unit.word.back());
    if (!isLatin || rest.size() == unit.word.size() || !isPartOfWord(rest[unit.word.size()])) return &unit;
  }
  return nullptr;
}

std::size_t digitsEnd(std::string_view text, std::size_t at) {
  while (at < text.size() && isDigit(text[at])) ++at;
  return at;
}

// "1:05", "0:01:05": parts of two digits behind the first.
std::optional<Live> clockAt(std::string_view text, std::size_t begin) {
  std::size_t end = digitsEnd(text, begin);
  if (end - begin > kMostDigits) return std::nullopt;
  double seconds = numberFrom(text.substr(begin, end - begin));
  int parts = 1;
  while (parts < 3 && end + 2 < text.size() && text[end] == ':' && digitsEnd(text, end + 1) == end + 3) {
    seconds = seconds * kMinute + numberFrom(text.substr(end + 1, 2));
    end += 3;
    ++parts;
  }
  const bool goesOn = end < text.size() && (text[end] == ':' || text[end] == '.');
  if (parts == 1 || (goesOn && end + 1 < text.size() && isDigit(text[end + 1]))) return std::nullopt;
  return Live{begin, end, true, seconds};
}

std::optional<Live> liveAt(std::string_view text, std::string_view lower, std::size_t begin) {
  if (const auto clock = clockAt(text, begin)) return clock;
  std::size_t end = digitsEnd(text, begin);
  if (end - begin > kMostDigits) return std::nullopt;
  double number = numberFrom(text.substr(begin, end - begin));
  const bool hasFraction = end + 1 < text.size() && (text[end] == '.' || text[end] == ',') && isDigit(text[end + 1]);
  if (hasFraction) {
    const std::size_t point = end;
    end = digitsEnd(text, point + 1);
    number += fractionFrom(text.substr(point + 1, end - point - 1));
  }
  const std::size_t unitBegin = skipBlanks(text, end);
  const Unit* const unit = unitAt(lower, unitBegin);
  if (!unit) return std::nullopt;
  const bool isTime = unit->seconds > 0;
  return Live{begin, unitBegin + unit->word.size(), isTime, isTime ? number * unit->seconds : number, unit->seconds};
}

// Whether two times make one: nothing but a joining word stands between them.
bool isJoint(std::string_view between) {
  constexpr std::array<std::string_view, 7> kJoints{"", "and", ",", "und", "et", "e", "i"};
  return std::find(kJoints.begin(), kJoints.end(), text::trimmed(between)) != kJoints.end();
}

std::vector<Live> livesOf(std::string_view text, Progress progress) {
  const bool mayProgress = progress == Progress::shown && !text::holdsQuestion(text);
  std::vector<Live> lives;
  std::string lower = text::lowercased(text);
  if (lower.size() != text.size()) lower = std::string(text);  // Letters whose lower case is longer or shorter.
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!isDigit(text[i])) continue;
    const auto live = isNumberBegin(text, i) ? liveAt(text, lower, i) : std::nullopt;
    if (!live || (!live->isTime && !mayProgress)) {
      i = digitsEnd(text, i);
      continue;
    }
    const bool joins = !lives.empty() && lives.back().isTime && live->isTime &&
                       isJoint(text.substr(lives.back().end, live->begin - lives.back().end));
    if (joins) {
      lives.back().end = live->end;
      lives.back().value += live->value;
      lives.back().grain = std::min(lives.back().grain, live->grain);
    } else {
      lives.push_back(*live);
    }
    i = live->end - 1;
  }
  return lives;
}

std::string withoutLives(std::string_view text, const std::vector<Live>& lives) {
  constexpr char kPlace = '\x1F';  // Nothing that is shown.
  std::string rest;
  std::size_t from = 0;
  for (const auto& live : lives) {
    rest.append(text.substr(from, live.begin - from)) += kPlace;
    from = live.end;
  }
  return rest.append(text.substr(from));
}

double boundAfter(Seconds passed, Seconds slack) { return (std::max(passed, Seconds{0}) + slack).count(); }

// Whether the number may have got from `before` to `after` by running.
bool mayRunTo(const Live& before, const Live& after, Seconds passed) {
  if (before.isTime != after.isTime) return false;
  const double fall = before.value - after.value;
  if (fall == 0) return true;  // Also of what is no progress, as "150 %" beside a time that runs.
  if (!before.isTime) {
    return fall < 0 && -fall <= boundAfter(passed, kProgressSlack) * kFastestProgress && after.value <= kWhole;
  }
  const bool isTick = fall > 0 && after.grain == kMinute;
  return std::abs(fall) <= boundAfter(passed, kSlack) + (isTick ? kMinute : 0);
}

// A label that counts: "Restart (9)", "Keep (12 s)".
struct Count {
  std::string_view words;  // What stands before the brackets.
  double number = 0;
  bool hasUnit = false;
};

std::optional<Count> countIn(std::string_view label) {
  const auto shown = text::trimmed(label);
  if (shown.empty() || shown.back() != ')') return std::nullopt;
  const std::size_t open = shown.rfind('(');
  if (open == std::string_view::npos || open == 0) return std::nullopt;
  const auto inner = shown.substr(open + 1, shown.size() - open - 2);
  const std::size_t end = digitsEnd(inner, 0);
  if (end == 0 || end > kMostDigits) return std::nullopt;
  const std::string unit = text::lowercased(inner.substr(skipBlanks(inner, end)));
  const bool isInSeconds = std::any_of(kUnits.begin(), kUnits.end(),
                                       [&](const Unit& known) { return known.seconds == 1 && known.word == unit; });
  if (end != inner.size() && !isInSeconds) return std::nullopt;
  return Count{text::trimmed(shown.substr(0, open)), numberFrom(inner.substr(0, end)), isInSeconds};
}

}  // namespace

std::string steady(std::string_view text, Progress progress) { return withoutLives(text, livesOf(text, progress)); }

std::string steadyLabel(std::string_view label) {
  const auto count = countIn(label);
  return count ? std::string(count->words) + "\x1F" : std::string(label);
}

bool isSameText(std::string_view shown, std::string_view now, Seconds passed, Progress progress) {
  if (shown == now) return true;
  const auto before = livesOf(shown, progress);
  const auto after = livesOf(now, progress);
  if (before.size() != after.size() || withoutLives(shown, before) != withoutLives(now, after)) return false;
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (!mayRunTo(before[i], after[i], passed)) return false;
  }
  return true;
}

bool isSameLabel(std::string_view shown, std::string_view now, std::optional<Seconds> passed) {
  if (shown == now) return true;
  const auto before = countIn(shown);
  const auto after = countIn(now);
  if (!before || !after || before->words != after->words || before->hasUnit != after->hasUnit) return false;
  const double fall = before->number - after->number;
  return fall >= 0 && fall <= (passed ? boundAfter(*passed, kSlack) : kLongestUntimedCount);
}

}  // namespace quillard::LiveText
