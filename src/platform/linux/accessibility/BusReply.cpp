#include "platform/linux/accessibility/BusReply.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace quillard::atspi {
namespace {

std::optional<std::string> nextText(sd_bus_message* message) {
  const char* text = nullptr;
  if (sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, static_cast<void*>(&text)) <= 0 || !text) {
    return std::nullopt;
  }
  const std::string_view view{text};
  return std::string(view.size() > BusReply::kLongestText ? BusReply::kUnreadableText : view);
}

// An object reference; absent at the end of a list, and when it is no reference.
std::optional<ObjectName> nextObject(sd_bus_message* message) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, "so") <= 0) return std::nullopt;
  const char* bus = nullptr;
  const char* path = nullptr;
  if (sd_bus_message_read(message, "so", &bus, &path) <= 0) return std::nullopt;
  if (sd_bus_message_exit_container(message) < 0) return std::nullopt;
  return ObjectName{bus, path};
}

constexpr const char* kCachedObject = "(so)(so)(so)iiassusau";

std::optional<std::uint64_t> nextStates(sd_bus_message* message) {
  const void* words = nullptr;
  std::size_t size = 0;
  if (sd_bus_message_read_array(message, SD_BUS_TYPE_UINT32, &words, &size) < 0) return std::nullopt;
  std::uint64_t states = 0;
  for (std::size_t i = 0; i < 2 && (i + 1) * sizeof(std::uint32_t) <= size; ++i) {
    std::uint32_t word = 0;
    std::memcpy(&word, static_cast<const char*>(words) + i * sizeof word, sizeof word);
    states |= static_cast<std::uint64_t>(word) << (32 * i);
  }
  return states;
}

template <class T>
std::optional<T> nextNumber(sd_bus_message* message, char type) {
  T value{};
  if (sd_bus_message_read_basic(message, type, &value) <= 0) return std::nullopt;
  return value;
}

// Absent at the end of the list.
std::optional<CachedObject> nextCachedObject(sd_bus_message* message) {
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_STRUCT, kCachedObject) <= 0) return std::nullopt;
  auto name = nextObject(message);
  const auto application = nextObject(message);
  auto parent = nextObject(message);
  const auto index = nextNumber<std::int32_t>(message, SD_BUS_TYPE_INT32);
  const auto childCount = nextNumber<std::int32_t>(message, SD_BUS_TYPE_INT32);
  if (sd_bus_message_skip(message, "as") < 0) return std::nullopt;  // Its interfaces.
  auto title = nextText(message);
  const auto role = nextNumber<std::uint32_t>(message, SD_BUS_TYPE_UINT32);
  auto description = nextText(message);
  const auto states = nextStates(message);
  const bool isRead = name && application && parent && index && childCount && title && role && description && states;
  if (!isRead || sd_bus_message_exit_container(message) < 0) return std::nullopt;
  CachedObject object{
      .name = *std::move(name), .parent = *std::move(parent), .index = *index, .childCount = *childCount, .record = {}};
  object.record.role = static_cast<Role>(*role);
  object.record.states = *states;
  object.record.name = std::move(title);
  object.record.description = std::move(description);
  return object;
}

}  // namespace

std::optional<std::uint32_t> BusReply::readUnsigned() const {
  return message ? nextNumber<std::uint32_t>(message, SD_BUS_TYPE_UINT32) : std::nullopt;
}

std::optional<bool> BusReply::readBoolean() const {
  const auto value = message ? nextNumber<int>(message, SD_BUS_TYPE_BOOLEAN) : std::nullopt;
  return value ? std::optional{*value != 0} : std::nullopt;
}

std::optional<std::string> BusReply::readText() const { return message ? nextText(message) : std::nullopt; }

std::optional<std::string> BusReply::readPath() const {
  const char* path = nullptr;
  const bool isRead =
      message && sd_bus_message_read_basic(message, SD_BUS_TYPE_OBJECT_PATH, static_cast<void*>(&path)) > 0;
  return isRead && path ? std::optional<std::string>{path} : std::nullopt;
}

std::optional<ObjectName> BusReply::readObject() const { return message ? nextObject(message) : std::nullopt; }

std::optional<ObjectList> BusReply::readObjects(std::size_t most) const {
  if (!message || sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "(so)") <= 0) return std::nullopt;
  ObjectList list;
  while (auto object = nextObject(message)) {
    ++list.total;
    list.objects.push_back(*std::move(object));
    // Half a list at a time, so that a long one is not moved for each of its objects.
    if (list.objects.size() > 2 * most) {
      list.objects.erase(list.objects.begin(), list.objects.end() - static_cast<std::ptrdiff_t>(most));
    }
  }
  if (list.objects.size() > most) {
    list.objects.erase(list.objects.begin(), list.objects.end() - static_cast<std::ptrdiff_t>(most));
  }
  return list;
}

std::optional<std::uint64_t> BusReply::readStates() const { return message ? nextStates(message) : std::nullopt; }

std::optional<CachedList> BusReply::readCachedObjects(std::size_t most) const {
  const auto contents = "(" + std::string(kCachedObject) + ")";
  if (!message || sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, contents.c_str()) <= 0) {
    return std::nullopt;
  }
  CachedList list;
  while (auto object = nextCachedObject(message)) {
    if (list.objects.size() == most) return CachedList{.objects = {}, .isTooLong = true};
    list.objects.push_back(*std::move(object));
  }
  return list;
}

std::optional<Rect> BusReply::readExtents() const {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  if (!message || sd_bus_message_read(message, "(iiii)", &x, &y, &width, &height) <= 0) return std::nullopt;
  return Rect{static_cast<double>(x), static_cast<double>(y), static_cast<double>(width), static_cast<double>(height)};
}

bool BusReply::enterProperty(const char* contents) const {
  return message && sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents) > 0;
}

std::optional<std::string> BusReply::readTextProperty() const {
  return enterProperty("s") ? nextText(message) : std::nullopt;
}

std::optional<std::int32_t> BusReply::readIntegerProperty() const {
  return enterProperty("i") ? nextNumber<std::int32_t>(message, SD_BUS_TYPE_INT32) : std::nullopt;
}

std::optional<bool> BusReply::readBooleanProperty() const { return enterProperty("b") ? readBoolean() : std::nullopt; }

std::optional<ObjectName> BusReply::readObjectProperty() const {
  return enterProperty("(so)") ? nextObject(message) : std::nullopt;
}

}  // namespace quillard::atspi
