#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <systemd/sd-bus.h>

#include "platform/linux/accessibility/CachedObject.h"
#include "platform/linux/accessibility/ObjectName.h"
#include "values/Geometry.h"

namespace quillard::atspi {

// What became of a call. `gone`: the program, or its name, has left the bus. `refused`: it answered with an error, or
// the call could not be sent.
enum class CallOutcome { answered, timedOut, gone, refused };

// The objects that a program listed. Of a longer list than was asked for, the last ones.
struct ObjectList {
  std::vector<ObjectName> objects;
  std::size_t total = 0;
};

// A program's answer, which may be anything: every reader gives nothing when the answer is of another type, and after a
// call that was not answered. Each reply is read once, by one reader.
class BusReply {
 public:
  // Texts longer than this read as `kUnreadableText`: they are there, and nothing may take them for absent.
  static constexpr std::size_t kLongestText = 64 * std::size_t{1024};
  // No text of a program is this one: a bus carries UTF-8 only.
  static constexpr std::string_view kUnreadableText = "\xFF";

  // `message`: borrowed, for as long as this object lives; null unless answered.
  // `isUnknown`: the program refused since it has no such object, or no such method; of one that is gone: the bus knows
  // nothing of its name.
  BusReply(CallOutcome outcome, sd_bus_message* message, bool isUnknown = false)
      : result(outcome), message(message), isUnknown(isUnknown) {}

  [[nodiscard]] CallOutcome outcome() const { return result; }
  [[nodiscard]] bool isUnknownToProgram() const { return result == CallOutcome::refused && isUnknown; }
  // Of a program that is gone: nothing has its name, rather than that it went before it answered.
  [[nodiscard]] bool isNameUnknown() const { return result == CallOutcome::gone && isUnknown; }

  [[nodiscard]] std::optional<std::uint32_t> readUnsigned() const;
  [[nodiscard]] std::optional<bool> readBoolean() const;
  [[nodiscard]] std::optional<std::string> readText() const;
  // Of an object of the program that answers.
  [[nodiscard]] std::optional<std::string> readPath() const;
  [[nodiscard]] std::optional<ObjectName> readObject() const;
  [[nodiscard]] std::optional<ObjectList> readObjects(std::size_t most) const;
  // A set of state numbers, as bits.
  [[nodiscard]] std::optional<std::uint64_t> readStates() const;
  [[nodiscard]] std::optional<Rect> readExtents() const;
  // All objects of the program that answers; of one that has more than `most`, none. Absent also when another kind of
  // list came, as Qt has one.
  [[nodiscard]] std::optional<CachedList> readCachedObjects(std::size_t most) const;

  // The same for the answers of properties, which come wrapped.
  [[nodiscard]] std::optional<std::string> readTextProperty() const;
  [[nodiscard]] std::optional<std::int32_t> readIntegerProperty() const;
  [[nodiscard]] std::optional<bool> readBooleanProperty() const;
  [[nodiscard]] std::optional<ObjectName> readObjectProperty() const;

 private:
  [[nodiscard]] bool enterProperty(const char* contents) const;

  CallOutcome result;
  sd_bus_message* message;
  bool isUnknown;
};

}  // namespace quillard::atspi
