#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "values/Time.h"

namespace quillard::platform {

// `std::monostate`: a value of a kind that the agent does not write.
using UserDefaultsValue =
    std::variant<std::monostate, bool, double, std::string, std::vector<std::string>, Date, std::vector<std::uint8_t>>;

// This user's settings of the agent, kept from run to run. Any thread. What was set is read back immediately; it
// reaches the disk whole or not at all, soon after. Failing to reach the disk then is not reported, and tried again.
//
// Several processes may have the settings open. Each writes the keys alone that it has set or removed, so that none
// takes back what another one has set; of two that set the same key the later write counts.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;
  // Absent when nothing is stored under the key.
  [[nodiscard]] virtual std::optional<UserDefaultsValue> object(std::string_view key) const = 0;
  virtual void set(std::string_view key, UserDefaultsValue value) = 0;
  // Nothing happens when nothing is stored.
  virtual void remove(std::string_view key) = 0;
  // Writes what was set and is not on the disk yet, and reads what other processes have written since, also where it
  // cannot write. Waits for the disk, and up to some seconds for another process that writes. Why what was set could
  // not be written, as a sentence for people that names the place; it is still read back, and tried again. Absent: it
  // is written.
  [[nodiscard]] virtual std::optional<std::string> synchronize() = 0;
};

}  // namespace quillard::platform
