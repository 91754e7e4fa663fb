#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Catalogues as compilers of messages write them, for tests.
namespace quillard::catalogues::test {

// Source and translation. For gettext the source may hold a context ("menu\4Open") and a plural behind a zero byte.
using TestMessages = std::vector<std::pair<std::string, std::string>>;

inline void appendNumber(std::string& bytes, std::uint64_t value, std::size_t size, bool isBig) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes += static_cast<char>((value >> (8 * (isBig ? size - 1 - i : i))) & 0xFFU);
  }
}

inline std::string gettextCatalogue(const TestMessages& messages, const std::string& charset = "UTF-8",
                                    bool isBig = false) {
  TestMessages all{{"", "Content-Type: text/plain; charset=" + charset + "\n"}};
  all.insert(all.end(), messages.begin(), messages.end());
  constexpr std::size_t kHead = 28;
  std::string tables[2];
  std::string texts;
  const std::size_t textsAt = kHead + 16 * all.size();
  for (const int side : {0, 1}) {
    for (const auto& message : all) {
      const auto& text = side == 0 ? message.first : message.second;
      appendNumber(tables[side], text.size(), 4, isBig);
      appendNumber(tables[side], textsAt + texts.size(), 4, isBig);
      texts += text + '\0';
    }
  }
  std::string bytes;
  for (const std::uint64_t number :
       {std::uint64_t{0x950412de}, std::uint64_t{0}, std::uint64_t{all.size()}, std::uint64_t{kHead},
        std::uint64_t{kHead + 8 * all.size()}, std::uint64_t{0}, std::uint64_t{0}}) {
    appendNumber(bytes, number, 4, isBig);
  }
  return bytes + tables[0] + tables[1] + texts;
}

inline std::string utf16(const std::u16string& text, bool isBig) {
  std::string bytes;
  for (const char16_t unit : text) appendNumber(bytes, unit, 2, isBig);
  return bytes;
}

struct QtMessage {
  std::string source;
  std::vector<std::u16string> translations;
};

inline std::string qtCatalogue(const std::vector<QtMessage>& messages) {
  std::string section;
  const auto add = [&](int tag, const std::string& text) {
    section += static_cast<char>(tag);
    appendNumber(section, text.size(), 4, true);
    section += text;
  };
  for (const auto& message : messages) {
    for (const auto& translation : message.translations) add(3, utf16(translation, true));
    add(8, "");
    if (!message.source.empty()) add(6, message.source + '\0');
    add(7, "QPlatformTheme");
    section += '\1';
  }
  std::string bytes = "\x3C\xB8\x64\x18\xCA\xEF\x9C\x95\xCD\x21\x1C\xBF\x60\xA1\xBD\xDD";
  const auto addSection = [&](int tag, const std::string& contents) {
    bytes += static_cast<char>(tag);
    appendNumber(bytes, contents.size(), 4, true);
    bytes += contents;
  };
  addSection(0x42, "hashes, not used here");
  addSection(0x69, section);
  return bytes;
}

// Texts by number, of version 5.
inline std::string chromiumPack(const std::vector<std::pair<int, std::string>>& texts,
                                const std::vector<std::pair<int, int>>& aliases = {}) {
  std::string bytes;
  appendNumber(bytes, 5, 4, false);
  appendNumber(bytes, 1, 4, false);
  appendNumber(bytes, texts.size(), 2, false);
  appendNumber(bytes, aliases.size(), 2, false);
  std::size_t at = bytes.size() + 6 * (texts.size() + 1) + 4 * aliases.size();
  std::string contents;
  for (const auto& [number, text] : texts) {
    appendNumber(bytes, static_cast<std::uint64_t>(number), 2, false);
    appendNumber(bytes, at + contents.size(), 4, false);
    contents += text;
  }
  appendNumber(bytes, 0, 2, false);
  appendNumber(bytes, at + contents.size(), 4, false);
  for (const auto& [number, index] : aliases) {
    appendNumber(bytes, static_cast<std::uint64_t>(number), 2, false);
    appendNumber(bytes, static_cast<std::uint64_t>(index), 2, false);
  }
  return bytes + contents;
}

}  // namespace quillard::catalogues::test
