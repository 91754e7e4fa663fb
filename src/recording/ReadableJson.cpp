#include "recording/ReadableJson.h"

#include <cstddef>

namespace quillard::recording {
namespace {

constexpr std::size_t kLineWidth = 120;
// Lists and objects inside one another on one line: an element with its frame, but not with its children.
constexpr int kLevelsOnOneLine = 2;

std::string scalarText(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

// Appends `json` to `line`. False when it is too much for one line; what was appended is then of no use.
bool appendOneLine(const Json& json, int levels, std::size_t width, std::string& line) {
  if (!json.is_structured()) {
    line += scalarText(json);
    return line.size() <= width;
  }
  if (levels == 0) return false;
  line += json.is_object() ? "{" : "[";
  for (auto entry = json.begin(); entry != json.end(); ++entry) {
    if (entry != json.begin()) line += ", ";
    if (json.is_object()) line += scalarText(entry.key()) + ": ";
    if (!appendOneLine(*entry, levels - 1, width, line)) return false;
  }
  line += json.is_object() ? "}" : "]";
  return line.size() <= width;
}

// `used`: how much of the line the text before the value takes.
void append(const Json& json, std::size_t indent, std::size_t used, std::string& text) {
  constexpr std::size_t kComma = 1;
  std::string line;
  const std::size_t room = kLineWidth > used + kComma ? kLineWidth - used - kComma : 0;
  if (!json.is_structured() || json.empty() || appendOneLine(json, kLevelsOnOneLine, room, line)) {
    text += line.empty() ? scalarText(json) : line;
    return;
  }
  const std::string margin(indent + 2, ' ');
  text += json.is_object() ? "{\n" : "[\n";
  for (auto entry = json.begin(); entry != json.end(); ++entry) {
    if (entry != json.begin()) text += ",\n";
    const std::string lead = margin + (json.is_object() ? scalarText(entry.key()) + ": " : "");
    text += lead;
    append(*entry, indent + 2, lead.size(), text);
  }
  text += "\n" + std::string(indent, ' ') + (json.is_object() ? "}" : "]");
}

}  // namespace

std::string readableJson(const Json& json) {
  std::string text;
  append(json, 0, 0, text);
  return text + "\n";
}

}  // namespace quillard::recording
