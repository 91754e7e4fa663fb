#include "platform/linux/storage/PropertyList.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include <plist/plist.h>

#include "foundation/PropertyListShape.h"
#include "foundation/Text.h"

namespace quillard::xdg {
namespace {

using platform::PropertyListTexts;
using platform::ResourceError;

struct PlistFree {
  void operator()(plist_t list) const { plist_free(list); }
};
using Plist = std::unique_ptr<std::remove_pointer_t<plist_t>, PlistFree>;

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

Plist parse(std::span<const std::uint8_t> bytes) {
  const auto* const data = reinterpret_cast<const char*>(bytes.data());
  const auto size = static_cast<std::uint32_t>(bytes.size());
  plist_t list = nullptr;
  if (isBinaryPropertyList(bytes)) {
    plist_from_bin(data, size, &list);
  } else {
    plist_from_xml(data, size, &list);
  }
  return Plist(list);
}

// The node's text, when it is one.
std::optional<std::string> textOf(plist_t node) {
  if (plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t size = 0;
  const char* const text = plist_get_string_ptr(node, &size);
  return text ? std::string(text, size) : std::string();
}

PropertyListTexts textsOf(plist_t dictionary) {
  PropertyListTexts texts;
  plist_dict_iter step = nullptr;
  plist_dict_new_iter(dictionary, &step);
  const std::unique_ptr<void, decltype(&std::free)> owner(step, std::free);
  while (true) {
    char* name = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dictionary, step, &name, &value);
    const OwnedText key(name);
    if (!value) return texts;
    if (auto text = key ? textOf(value) : std::nullopt) texts.insert_or_assign(key.get(), std::move(*text));
  }
}

}  // namespace

std::variant<PropertyListTexts, ResourceError> readPropertyList(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return ResourceError{"The property list is empty."};
  if (const auto refusal = refusalOfPropertyList(bytes)) return ResourceError{std::string(*refusal)};
  const Plist list = parse(bytes);
  if (!list) return ResourceError{"The property list is malformed."};
  if (plist_get_node_type(list.get()) != PLIST_DICT) return ResourceError{"The property list is no dictionary."};
  auto texts = textsOf(list.get());
  for (const auto& [key, text] : texts) {
    if (!text::isValidUtf8(key) || !text::isValidUtf8(text)) return ResourceError{"The property list is no UTF-8."};
  }
  return texts;
}

}  // namespace quillard::xdg
