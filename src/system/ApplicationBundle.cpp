#include "system/ApplicationBundle.h"

#include <string>
#include <string_view>

namespace quillard {

bool isApplicationBundle(const platform::Bundle& bundle) {
  static constexpr std::string_view kExtension = ".app";
  const std::string path = bundle.path();
  std::string_view name = path;
  while (name.ends_with('/')) name.remove_suffix(1);
  name = name.substr(name.rfind('/') + 1);  // All of it where there is no "/": `npos` is one before zero.
  return name.ends_with(kExtension) && name.size() > kExtension.size();
}

}  // namespace quillard
