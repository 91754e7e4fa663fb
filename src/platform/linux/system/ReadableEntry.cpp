#include "platform/linux/system/ReadableEntry.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <openssl/sha.h>

#include "foundation/Text.h"
#include "platform/linux/processes/Interpreters.h"
#include "platform/linux/system/DesktopEntry.h"

namespace quillard::desktop::ReadableEntry {
namespace {

constexpr std::string_view kMainGroup = "[Desktop Entry]";
constexpr std::string_view kActionGroup = "[Desktop Action ";

// What starts a program that it is given by name, often in a world of its own.
constexpr std::array<std::string_view, 36> kLaunchers{
    "bwrap",       "chrt",     "dbus-launch", "dbus-run-session", "distrobox", "distrobox-enter",
    "exo-open",    "firejail", "flatpak",     "gamemoderun",      "gio",       "gtk-launch",
    "ionice",      "kstart",   "kstart5",     "mangohud",         "nice",      "nohup",
    "nsenter",     "optirun",  "pkexec",      "prime-run",        "primusrun", "run0",
    "runuser",     "setsid",   "snap",        "stdbuf",           "su",        "sudo",
    "systemd-run", "taskset",  "timeout",     "toolbox",          "unshare",   "xdg-open"};

// The line that `text` begins with, its end included, which is taken from it.
std::string_view takeLine(std::string_view& text) {
  const auto line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
  text.remove_prefix(line.size());
  return line;
}

std::string sumOf(std::string_view text) {
  std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
  SHA256(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), digest.data());
  std::string sum;
  for (const auto byte : digest) {
    sum += "0123456789abcdef"[byte >> 4];
    sum += "0123456789abcdef"[byte & 15];
  }
  return sum;
}

struct Marked {
  std::optional<std::string> mark;  // The first. Absent: there is none.
  std::string rest;
};

Marked takeMark(std::string_view text) {
  Marked found;
  while (!text.empty()) {
    const auto line = takeLine(text);
    if (!found.mark && line.starts_with(kMark) && line.substr(kMark.size()).starts_with('=')) {
      found.mark = text::trimmed(line.substr(kMark.size() + 1));
    } else {
      found.rest += line;
    }
  }
  return found;
}

std::string markOf(std::string_view rest, std::string_view id) {
  const auto mark = sumOf(rest);
  return id.empty() ? mark : mark + " " + std::string(text::trimmed(id));
}

struct Word {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string text;  // Without its quotes.
};

// Absent: there is none, or it is written in a way that is not read here.
std::optional<Word> nextWord(std::string_view value, std::size_t from) {
  const auto begin = value.find_first_not_of(" \t", from);
  if (begin == std::string_view::npos) return std::nullopt;
  const bool isQuoted = value[begin] == '"';
  const auto end =
      isQuoted ? value.find('"', begin + 1) : std::min(value.find_first_of(" \t\r\n", begin), value.size());
  if (end == std::string_view::npos) return std::nullopt;
  const auto text = value.substr(begin + (isQuoted ? 1 : 0), end - begin - (isQuoted ? 1 : 0));
  if (text.empty() || text.find_first_of("\\\"") != std::string_view::npos) return std::nullopt;
  return Word{.begin = begin, .end = end + (isQuoted ? 1 : 0), .text = std::string(text)};
}

// The program of a command line, behind `env` and its settings.
std::optional<Word> programOf(std::string_view value) {
  auto word = nextWord(value, 0);
  if (word && proc::baseName(word->text) == "env") {
    do {
      word = nextWord(value, word->end);
    } while (word && word->text.find('=') != std::string::npos);
  }
  if (!word || word->text.starts_with('-')) return std::nullopt;
  const auto name = proc::baseName(word->text);
  const bool isLauncher = std::find(kLaunchers.begin(), kLaunchers.end(), name) != kLaunchers.end();
  return isLauncher || proc::isInterpreter(name) ? std::nullopt : word;
}

// The value of an Exec line. Absent: it is another line.
std::optional<std::string_view> commandOf(std::string_view line) {
  const auto equals = line.find('=');
  if (equals == std::string_view::npos || text::trimmed(line.substr(0, equals)) != "Exec") return std::nullopt;
  return line.substr(equals + 1);
}

}  // namespace

std::optional<std::string> copyOf(std::string_view text, std::string_view id) {
  const auto values = DesktopEntry::mainGroup(text);
  const auto command = values.find("Exec");
  const auto byBus = values.find("DBusActivatable");
  if (id.find_first_of("\r\n") != std::string_view::npos || takeMark(text).mark || command == values.end() ||
      (byBus != values.end() && byBus->second == "true"))
    return std::nullopt;
  const auto program = programOf(command->second);
  if (!program) return std::nullopt;
  std::string rest;
  std::size_t placeOfMark = std::string::npos;
  bool isInGroup = false;
  bool isAdded = false;
  while (!text.empty()) {
    const auto line = takeLine(text);
    const auto name = text::trimmed(line);
    if (name.starts_with('[')) isInGroup = name == kMainGroup || name.starts_with(kActionGroup);
    const auto value = isInGroup ? commandOf(line) : std::nullopt;
    const auto own = value ? programOf(*value) : std::nullopt;
    if (own && own->text == program->text && value->find(kSwitch) == std::string_view::npos) {
      const auto place = line.size() - value->size() + own->end;
      rest.append(line.substr(0, place)).append(" ").append(kSwitch).append(line.substr(place));
      isAdded = true;
    } else {
      rest += line;
    }
    if (name == kMainGroup && placeOfMark == std::string::npos && line.ends_with('\n')) placeOfMark = rest.size();
  }
  if (!isAdded || placeOfMark == std::string::npos) return std::nullopt;
  const auto mark = std::string(kMark) + "=" + markOf(rest, id) + "\n";
  return rest.substr(0, placeOfMark) + mark + rest.substr(placeOfMark);
}

bool isCopy(std::string_view text) {
  const auto [mark, rest] = takeMark(text);
  std::string_view left = rest;
  while (mark && !left.empty()) {
    const auto value = commandOf(takeLine(left));
    if (value && value->find(kSwitch) != std::string_view::npos) return true;
  }
  return false;
}

bool isUnchangedCopy(std::string_view text, std::string_view id) {
  const auto [mark, rest] = takeMark(text);
  return mark == markOf(rest, id);
}

}  // namespace quillard::desktop::ReadableEntry
