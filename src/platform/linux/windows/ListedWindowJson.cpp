#include "platform/linux/windows/ListedWindowJson.h"

namespace quillard::desktop {
namespace {

constexpr std::size_t kLongestListedText = 64 * 1024;

}  // namespace

const Json* memberOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() ? nullptr : &*found;
}

bool isTrue(const Json& object, const char* name) {
  const Json* const value = memberOf(object, name);
  return value && value->is_boolean() && value->get<bool>();
}

std::string textOf(const Json& object, const char* name) {
  const Json* const value = memberOf(object, name);
  if (!value || !value->is_string()) return {};
  const auto& text = value->get_ref<const std::string&>();
  return text.size() <= kLongestListedText ? text : std::string{};
}

}  // namespace quillard::desktop
