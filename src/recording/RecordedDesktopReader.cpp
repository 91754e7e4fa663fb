#include <array>
#include <set>
#include <utility>

#include "recording/RecordedDesktopJson.h"
#include "recording/RecordedDesktopMembers.h"
#include "recording/RecordedElementReader.h"
#include "recording/RecordedValueJson.h"

namespace quillard::recording {
namespace {

constexpr auto kDesktopMembers = std::to_array<std::string_view>(
    {"format", "version", "cut", "applications", "elements", "focusedWindow", "focusedElement", "windowList"});
constexpr auto kApplicationMembers =
    std::to_array<std::string_view>({"processIdentifier", "name", "bundleIdentifier", "activationPolicy", "active",
                                     "hidden", "terminated", "frontmost", "missedTimeout"});
// Of an application whose element is written elsewhere.
constexpr auto kReferenceMember = std::to_array<std::string_view>({"element"});
constexpr auto kWindowListMembers = std::to_array<std::string_view>(
    {"ownerProcessIdentifier", "ownerName", "windowName", "layer", "alpha", "bounds", "onScreen"});

std::optional<std::string> optionalText(JsonReader& reader, std::string_view name) {
  const Json* member = reader.member(name);
  if (!member) return std::nullopt;
  auto text = textOf(*member);
  if (!text) reader.failAt(name, "Expected a text.");
  return text;
}

std::optional<std::int32_t> optionalProcess(JsonReader& reader, std::string_view name) {
  const auto number = reader.optionalInteger(name, INT32_MIN, INT32_MAX);
  return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

bool flag(JsonReader& reader, std::string_view name) { return reader.optionalBoolean(name).value_or(false); }

platform::ActivationPolicy readPolicy(JsonReader& reader) {
  const auto name = reader.optionalString("activationPolicy");
  if (!name) return platform::ActivationPolicy::regular;
  for (const auto& [policy, known] : kActivationPolicies) {
    if (*name == known) return policy;
  }
  reader.failAt("activationPolicy", "Expected \"regular\", \"accessory\" or \"prohibited\".");
  return platform::ActivationPolicy::regular;
}

RecordedApplication readFacts(JsonReader& reader, std::size_t index) {
  return {
      .application = {.processIdentifier =
                          optionalProcess(reader, "processIdentifier").value_or(expectedProcessIdentifier(index)),
                      .localizedName = optionalText(reader, "name"),
                      .bundleIdentifier = optionalText(reader, "bundleIdentifier"),
                      .activationPolicy = readPolicy(reader),
                      .isActive = flag(reader, "active"),
                      .isHidden = flag(reader, "hidden"),
                      .isTerminated = flag(reader, "terminated")},
      .isFrontmost = flag(reader, "frontmost"),
      .missedTimeout = flag(reader, "missedTimeout"),
  };
}

// Reads every entry of a list that may be left out, until one fails: `readEntry(json, reader, index)`.
template <class ReadEntry>
void readEntries(JsonReader& reader, std::string_view name, ReadEntry readEntry) {
  const Json* list = reader.member(name);
  if (!list) return;
  if (!list->is_array()) reader.failAt(name, "Expected a list.");
  for (std::size_t i = 0; i < list->size() && !reader.error(); ++i) {
    JsonReader entry{(*list)[i], reader.pathOf(name) + "[" + std::to_string(i) + "]"};
    readEntry((*list)[i], entry, i);
    if (entry.error()) reader.fail(*entry.error());
  }
}

class DesktopReader {
 public:
  explicit DesktopReader(const Json& json) : json(json), elementReader(json) {}

  std::variant<RecordedDesktop, JsonError> read() {
    JsonReader reader{json};
    checkFormat(reader);
    refuseUnknownMembers(json, reader, kDesktopMembers);
    if (elementReader.total() > kRecordedDesktopElements) reader.fail({"", "There are too many elements."});
    desktop.isCut = flag(reader, "cut");
    readEntries(reader, "applications",
                [&](const Json& entry, JsonReader& inner, std::size_t index) { readApplication(entry, inner, index); });
    if (const Json* list = reader.member("elements")) {
      elementReader.readList(*list, "elements", reader, {.list = ElementList::elements});
    }
    desktop.focusedWindow = elementReader.readReference(reader, "focusedWindow");
    desktop.focusedElement = elementReader.readReference(reader, "focusedElement");
    readEntries(reader, "windowList",
                [&](const Json& entry, JsonReader& inner, std::size_t) { readWindowListEntry(entry, inner); });
    if (reader.error()) return *reader.error();
    desktop.elements = std::move(elementReader.elements);
    return std::move(desktop);
  }

 private:
  static void checkFormat(JsonReader& reader) {
    if (reader.string("format") != kRecordedDesktopFormat) reader.failAt("format", "This is no recorded desktop.");
    const auto version = reader.integer("version", INT64_MIN, INT64_MAX);
    if (version != kRecordedDesktopVersion) reader.failAt("version", "Only version 1 can be read.");
  }

  void readApplication(const Json& entry, JsonReader& reader, std::size_t index) {
    RecordedApplication application = readFacts(reader, index);
    const std::int32_t process = application.application.processIdentifier;
    if (!processes.insert(process).second) {
      reader.failAt("processIdentifier", "The process identifier " + std::to_string(process) + " stands twice.");
    }
    if (application.isFrontmost && std::exchange(hasFrontmost, true)) {
      reader.failAt("frontmost", "Only one application can be frontmost.");
    }
    if (auto elsewhere = elementReader.readReference(reader, "element")) {
      refuseUnknownMembers(entry, reader, kApplicationMembers, kReferenceMember);
      application.element = std::move(*elsewhere);
    } else {
      application.element = elementReader.readElement(
          entry, reader, {.list = ElementList::applications, .processIdentifier = process}, kApplicationMembers);
    }
    desktop.applications.push_back(std::move(application));
  }

  void readWindowListEntry(const Json& entry, JsonReader& reader) {
    refuseUnknownMembers(entry, reader, kWindowListMembers);
    RecordedWindowListEntry recorded{
        .entry = {.ownerProcessIdentifier = optionalProcess(reader, "ownerProcessIdentifier"),
                  .ownerName = optionalText(reader, "ownerName"),
                  .windowName = optionalText(reader, "windowName"),
                  .layer = reader.optionalInteger("layer", INT64_MIN, INT64_MAX),
                  .alpha = std::nullopt,
                  .bounds = std::nullopt},
        .isOnScreen = reader.optionalBoolean("onScreen").value_or(true),
    };
    if (const Json* alpha = reader.member("alpha")) {
      recorded.entry.alpha = numberOf(*alpha);
      if (!recorded.entry.alpha) reader.failAt("alpha", "Expected a number.");
    }
    if (const Json* bounds = reader.member("bounds")) {
      if (const auto n = numbersOf(*bounds, 4)) {
        recorded.entry.bounds = Rect{(*n)[0], (*n)[1], (*n)[2], (*n)[3]};
      } else {
        reader.failAt("bounds", "Expected [x, y, width, height].");
      }
    }
    desktop.windowList.push_back(std::move(recorded));
  }

  const Json& json;
  RecordedElementReader elementReader;
  RecordedDesktop desktop;
  std::set<std::int32_t> processes;
  bool hasFrontmost = false;
};

}  // namespace

std::variant<RecordedDesktop, JsonError> readRecordedDesktop(std::string_view text) {
  auto parsed = parseStrictJson(text, kRecordedDesktopLimits);
  if (auto* error = std::get_if<JsonError>(&parsed)) return std::move(*error);
  return DesktopReader{std::get<Json>(parsed)}.read();
}

}  // namespace quillard::recording
