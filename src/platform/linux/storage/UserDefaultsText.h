#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/StrictJson.h"
#include "platform/storage/UserDefaults.h"

namespace quillard::xdg {

// The settings as they stand in their file: each value an object with one member, whose name is the value's kind. A
// kind that is unknown here stays as it was read, so that an older program does not lose a newer one's settings.
//
//   {"version": 1, "values": {"quillard.paused-until": {"date": 1772368496000000}}}
using StoredSettings = std::map<std::string, Json, std::less<>>;

// Any value can be encoded; what was encoded is decoded as it was. A foreign value decodes to `std::monostate`.
[[nodiscard]] Json encodedSetting(const platform::UserDefaultsValue& value);
[[nodiscard]] platform::UserDefaultsValue decodedSetting(const Json& stored);

// The settings, or what is wrong with the text. It names positions, and shows no values.
[[nodiscard]] std::variant<StoredSettings, JsonError> readUserDefaults(std::string_view text);
// Entries that hold text which is no UTF-8 are left out, for JSON cannot hold them.
[[nodiscard]] std::string userDefaultsText(const StoredSettings& settings);

}  // namespace quillard::xdg
