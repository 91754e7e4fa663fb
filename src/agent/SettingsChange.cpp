#include "agent/SettingsChange.h"

#include <string_view>
#include <variant>

#include "agent/configuration/Tunables.h"
#include "foundation/PrintableText.h"
#include "relay/UserRelay.h"

namespace quillard {
namespace {

using AgentConfiguration::Tunable;
using AgentConfiguration::TunableKind;

std::optional<std::string> applyRelay(const std::optional<std::string>& value, platform::UserDefaults& settings) {
  if (!value) {
    UserRelay::forget(settings);
    return std::nullopt;
  }
  const auto address = UserRelay::addressOf(*value, /*registrationKey=*/std::nullopt);
  if (const auto* refusal = std::get_if<UserRelay::Refusal>(&address)) return refusal->reason;
  UserRelay::store(std::get<std::string>(address), settings);
  return std::nullopt;
}

std::string_view whatIsAValue(TunableKind kind) {
  switch (kind) {
    case TunableKind::seconds:
      return " is a number of seconds greater than 0.";
    case TunableKind::bytes:
      return " is a number of bytes greater than 0.";
    case TunableKind::onOff:
      return " is on or off.";
    case TunableKind::file:
      return " is the full path of a file: it begins with /.";
  }
  return {};
}

std::optional<std::string> applyTunable(const Tunable& tunable, const std::optional<std::string>& value,
                                        platform::UserDefaults& settings) {
  if (!value) {
    AgentConfiguration::unsetTunable(tunable, settings);
    return std::nullopt;
  }
  if (AgentConfiguration::setTunable(tunable, *value, settings)) return std::nullopt;
  return std::string(tunable.name) + std::string(whatIsAValue(tunable.kind));
}

}  // namespace

std::optional<std::string> apply(const SettingsChange& change, platform::UserDefaults& settings) {
  if (change.name == kRelaySetting) return applyRelay(change.value, settings);
  if (const auto* tunable = AgentConfiguration::findTunable(change.name)) {
    return applyTunable(*tunable, change.value, settings);
  }
  return "There is no setting " + printableText(change.name) + ": \"quillard settings\" lists them.";
}

}  // namespace quillard
