#include "platform/linux/catalogues/ProcessFolder.h"

#include <algorithm>
#include <cerrno>
#include <charconv>

#include <fcntl.h>
#include <unistd.h>

#include "foundation/Text.h"

namespace quillard::catalogues {
namespace {

constexpr std::size_t kLargestList = 4 * std::size_t{1024} * 1024;
constexpr std::size_t kLargestFile = 128 * std::size_t{1024};
constexpr std::size_t kPiece = 64 * std::size_t{1024};
constexpr int kFieldsBeforeStartTime = 20;  // Of those behind the name.

bool isLanguage(std::string_view locale) {
  return !locale.empty() && locale != "C" && locale != "POSIX" && !locale.starts_with("C.");
}

}  // namespace

std::string messageLocale(const std::function<std::optional<std::string>(std::string_view)>& variable) {
  std::string locale;
  for (const std::string_view name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (locale.empty()) locale = variable(name).value_or("");
  }
  if (!isLanguage(locale)) return "";
  const auto languages = variable("LANGUAGE").value_or("");
  return languages.empty() ? locale : languages.substr(0, languages.find(':'));
}

// In pieces: the kernel knows no size of these files, and they come whole in few reads.
ProcessFolder::Text ProcessFolder::read(const char* name, std::size_t largest) const {
  const int file = ::open((path + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return {.text = std::nullopt, .isForbidden = errno == EACCES || errno == EPERM};
  std::string text;
  ssize_t length = 0;
  do {
    const auto before = text.size();
    text.resize(before + kPiece);
    length = ::read(file, text.data() + before, kPiece);
    text.resize(before + static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  } while ((length > 0 || (length < 0 && errno == EINTR)) && text.size() < largest);
  const int error = length < 0 ? errno : 0;
  ::close(file);
  if (error != 0) return {.text = std::nullopt, .isForbidden = error == EACCES || error == EPERM};
  const bool isCutOff = text.size() >= largest;
  return {.text = std::move(text), .isCutOff = isCutOff};
}

ProcessFolder::Text ProcessFolder::maps() const { return read("maps", kLargestList); }
ProcessFolder::Text ProcessFolder::mounts() const {
  auto list = read("mountinfo", kLargestList);
  if (list.text && list.isCutOff) list.text->clear();
  return list;
}

std::optional<std::uint64_t> ProcessFolder::startTime() const {
  const auto line = read("stat", kLargestFile).text.value_or("");
  std::string_view left = line;
  left.remove_prefix(std::min(left.rfind(')'), left.size()));  // The name may hold anything, blanks included.
  for (int field = 0; field < kFieldsBeforeStartTime; ++field) {
    const auto blank = left.find(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    left.remove_prefix(blank + 1);
  }
  std::uint64_t time = 0;
  const auto [end, error] = std::from_chars(left.data(), left.data() + left.size(), time);
  return error == std::errc{} ? std::optional(time) : std::nullopt;
}

std::string ProcessFolder::shortName() const {
  return std::string(text::trimmed(read("comm", kLargestFile).text.value_or("")));
}

std::string ProcessFolder::locale() const {
  const auto environment = read("environ", kLargestFile).text.value_or("");
  return messageLocale([&](std::string_view name) -> std::optional<std::string> {
    const std::string begin = std::string(name) + "=";
    for (std::string_view left = environment; !left.empty();) {
      const auto variable = left.substr(0, left.find('\0'));
      if (variable.starts_with(begin)) return std::string(variable.substr(begin.size()));
      left.remove_prefix(std::min(variable.size() + 1, left.size()));
    }
    return std::nullopt;
  });
}

}  // namespace quillard::catalogues
