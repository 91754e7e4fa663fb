#include "foundation/UserTexts.h"

#include <algorithm>
#include <iterator>

namespace quillard {

Language languageOf(std::string_view locale) {
  const auto code = locale.substr(0, locale.find_first_of("_.@"));
  return code == "de" ? Language::german : Language::english;
}

std::string_view UserTexts::text(std::size_t row) const {
  const auto& [mac, computer, german] = kTextRows[row];
  if (language == Language::german) return german;
  return machine == Machine::mac || computer.empty() ? mac : computer;
}

std::string UserTexts::operator()(TextKey key, std::initializer_list<std::string_view> values) const {
  const auto pattern = text(key.row);
  std::string result;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    const bool isPlace = pattern[at] == '%' && at + 1 < pattern.size() && pattern[at + 1] >= '1' &&
                         static_cast<std::size_t>(pattern[at + 1] - '1') < values.size();
    if (isPlace) {
      result += *(values.begin() + (pattern[++at] - '1'));
    } else {
      result += pattern[at];
    }
  }
  return result;
}

std::string UserTexts::ofOther(std::string_view mac) const {
  const auto* const found =
      std::find_if(std::begin(kTextRows), std::end(kTextRows), [mac](const TextRow& row) { return row.mac == mac; });
  if (found == std::end(kTextRows)) return std::string(mac);
  return std::string(text(static_cast<std::size_t>(found - std::begin(kTextRows))));
}

}  // namespace quillard
