#include "app/SettingsTool.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "agent/configuration/Tunables.h"
#include "foundation/AgentNames.h"
#include "foundation/PrintableText.h"
#include "foundation/UrlComponents.h"
#include "relay/RelayAddress.h"
#include "relay/UserRelay.h"

namespace quillard::app {
namespace {

using AgentConfiguration::Sources;
using AgentConfiguration::Tunable;
using AgentConfiguration::TunableKind;
using AgentConfiguration::TunableOrigin;
using AgentConfiguration::TunableValue;
using OrderedJson = nlohmann::ordered_json;

constexpr int kFormVersion = 1;

ExitCode fail(const Output& output, const std::string& problem, ExitCode code) {
  output.printError(problem + "\n");
  return code;
}

// Absent: the change is made and kept.
std::optional<ExitCode> failure(const Output& output, const ChangeOutcome& outcome) {
  if (outcome.problem) {
    return fail(output, *outcome.problem, outcome.canBeRepeated ? ExitCode::cannotDoHere : ExitCode::wrongUsage);
  }
  if (!outcome.unwritten) return std::nullopt;
  return fail(output,
              *outcome.unwritten + (outcome.isTakenOver ? "\nThe agent uses what was set, and tries to write it again."
                                                        : "\nSet it again once that is mended."),
              ExitCode::cannotDoHere);
}

std::string printed(const OrderedJson& json) { return json.dump(2) + "\n"; }

// ---- The relay

// Without user and query, which may be secret.
std::string printableAddress(const std::string& relayURL) {
  const auto components = UrlComponents::parse(relayURL);
  return components ? components->printableText() : printableText(relayURL);
}

bool hasRegistrationKey(const std::string& relayURL) {
  auto components = UrlComponents::parse(relayURL);
  return components && components->removeQueryItem(kRegistrationKeyItem);
}

std::string nameOf(RelayOrigin origin) {
  switch (origin) {
    case RelayOrigin::environment:
      return "environment";
    case RelayOrigin::bundle:
      return "bundle";
    case RelayOrigin::user:
      return "settings";
  }
  return {};
}

std::string sentenceOf(RelayOrigin origin) {
  switch (origin) {
    case RelayOrigin::environment:
      return "The environment names it (QUILLARD_RELAY_URL).";
    case RelayOrigin::bundle:
      return "It came with the program (RelayConfig.plist).";
    case RelayOrigin::user:
      return "You chose it (\"quillard relay set\").";
  }
  return {};
}

// What else names a relay, and comes first.
void warnOfOtherOrigin(PairingConfiguration& pairing, const Output& output) {
  const auto origin = pairing.relayOrigin();
  if (!origin || *origin == RelayOrigin::user) return;
  output.printError("This session uses another relay, which comes first. " + sentenceOf(*origin) + "\n");
}

void sayWhenItCounts(const ChangeOutcome& outcome, const Output& output) {
  output.print(outcome.isTakenOver ? "The agent uses it from now on.\n" : "The agent uses it when it starts.\n");
}

// ---- The tunables

std::string unitOf(const Tunable& tunable) {
  if (tunable.kind == TunableKind::seconds) return " s";
  return tunable.kind == TunableKind::bytes ? " bytes" : "";
}

std::string originText(const TunableValue& value) {
  switch (value.origin) {
    case TunableOrigin::environment:
      return std::string(value.variable);
    case TunableOrigin::settings:
      return "settings";
    case TunableOrigin::fallback:
      return "default";
  }
  return {};
}

OrderedJson jsonValue(const Tunable& tunable, const TunableValue& value) {
  if (tunable.kind == TunableKind::file) return value.path.empty() ? OrderedJson() : OrderedJson(value.path);
  if (tunable.kind == TunableKind::onOff) return value.value != 0;
  // Infinity is no number in JSON.
  const auto text = AgentConfiguration::tunableText(tunable, value);
  return text == "inf" ? OrderedJson(text) : OrderedJson(value.value);
}

OrderedJson jsonOf(const Tunable& tunable, const TunableValue& value) {
  OrderedJson json{{"name", tunable.name},
                   {"value", jsonValue(tunable, value)},
                   {"from", value.origin == TunableOrigin::environment ? "environment" : originText(value)}};
  if (value.origin == TunableOrigin::environment) json["variable"] = value.variable;
  json["default"] = jsonValue(tunable, AgentConfiguration::fallbackOf(tunable));
  if (tunable.kind == TunableKind::seconds) json["unit"] = "s";
  if (tunable.kind == TunableKind::bytes) json["unit"] = "bytes";
  json["meaning"] = tunable.meaning;
  return json;
}

std::string textOf(const Tunable& tunable, const TunableValue& value) {
  const auto shown = [&](const TunableValue& one) {
    return AgentConfiguration::tunableText(tunable, one) + unitOf(tunable);
  };
  std::string text = std::string(tunable.name) + ": " + shown(value) + " (" + originText(value);
  if (value.origin != TunableOrigin::fallback) text += "; default " + shown(AgentConfiguration::fallbackOf(tunable));
  return text + ")\n    " + std::string(tunable.meaning) + "\n";
}

}  // namespace

ChangeOutcome changeHere(const SettingsChange& change, platform::LockFiles& lockFiles,
                         const OpenSettings& openSettings) {
  const auto lock = lockFiles.acquire(kInstanceLockFile);
  if (lock.outcome == platform::LockOutcome::heldElsewhere) {
    return {.problem = "An agent runs and cannot be asked to change it: quit it, and try again.",
            .canBeRepeated = true};
  }
  const auto settings = openSettings();
  ChangeOutcome outcome{.problem = apply(change, *settings)};
  if (!outcome.problem) outcome.unwritten = settings->synchronize();
  return outcome;
}

ExitCode setRelay(const SetRelay& command, PairingConfiguration& pairing, const MakeChange& makeChange,
                  const Output& output) {
  const auto address = UserRelay::addressOf(command.address, command.registrationKey);
  if (const auto* refusal = std::get_if<UserRelay::Refusal>(&address)) {
    return fail(output, refusal->reason, ExitCode::wrongUsage);
  }
  const auto& url = std::get<std::string>(address);
  const auto before = pairing.userConfiguration();
  const auto outcome = makeChange({std::string(kRelaySetting), url});
  if (const auto code = failure(output, outcome)) return *code;
  output.print("The relay is " + printableAddress(url) +
               (hasRegistrationKey(url) ? ", with its operator's key.\n" : ".\n"));
  sayWhenItCounts(outcome, output);
  if (before && printableAddress(before->relayURL) != printableAddress(url)) {
    output.print("Phones that were paired over the other relay have to be paired again.\n");
  }
  warnOfOtherOrigin(pairing, output);
  return ExitCode::fine;
}

ExitCode forgetRelay(PairingConfiguration& pairing, const MakeChange& makeChange, const Output& output) {
  const auto outcome = makeChange({std::string(kRelaySetting), std::nullopt});
  if (const auto code = failure(output, outcome)) return *code;
  output.print("The settings name no relay any more.\n");
  warnOfOtherOrigin(pairing, output);
  return ExitCode::fine;
}

ExitCode showRelay(const ShowRelay& command, PairingConfiguration& pairing, const Output& output) {
  const auto configuration = pairing.configuredRelay();
  const auto origin = pairing.relayOrigin();
  const bool isThere = configuration && origin;
  if (command.asJson) {
    OrderedJson relay;
    if (isThere) {
      relay = {{"address", printableAddress(configuration->relayURL)},
               {"page", PairingConfiguration::backendBaseURL(configuration->relayURL).value_or("")},
               {"hasKey", hasRegistrationKey(configuration->relayURL)},
               {"from", nameOf(*origin)}};
    }
    output.print(printed({{"version", kFormVersion}, {"relay", relay}}));
    return isThere ? ExitCode::fine : ExitCode::problemFound;
  }
  if (!isThere) {
    output.print("No relay is set: \"quillard relay set ADDRESS\" sets one.\n");
    return ExitCode::problemFound;
  }
  output.print(printableAddress(configuration->relayURL) + "\n");
  if (hasRegistrationKey(configuration->relayURL)) output.print("With its operator's key.\n");
  output.print(sentenceOf(*origin) + "\n");
  return ExitCode::fine;
}

std::optional<RelayLaunchConfiguration> relayToTest(const TestRelay& command, PairingConfiguration& pairing,
                                                    const Output& output) {
  auto typed = command.address;
  if (!typed) {
    const auto configured = pairing.configuredRelay();
    if (!configured) {
      output.printError("No relay is set: \"quillard relay set ADDRESS\" sets one.\n");
      return std::nullopt;
    }
    if (!command.registrationKey) return configured;
    typed = configured->relayURL;
  }
  auto address = UserRelay::addressOf(*typed, command.registrationKey);
  if (const auto* refusal = std::get_if<UserRelay::Refusal>(&address)) {
    output.printError(refusal->reason + "\n");
    return std::nullopt;
  }
  return RelayLaunchConfiguration{std::get<std::string>(std::move(address)), {}};
}

ExitCode showSettings(const ShowSettings& command, const Sources& sources, const Output& output) {
  const auto* const only = command.name ? AgentConfiguration::findTunable(*command.name) : nullptr;
  if (command.name && !only) {
    return fail(output, "There is no setting " + printableText(*command.name) + ": \"quillard settings\" lists them.",
                ExitCode::wrongUsage);
  }
  std::string text;
  OrderedJson list = OrderedJson::array();
  for (const auto& tunable : AgentConfiguration::tunables()) {
    if (only && only != &tunable) continue;
    const auto value = AgentConfiguration::valueOf(tunable, sources);
    list.push_back(jsonOf(tunable, value));
    text += textOf(tunable, value);
  }
  output.print(command.asJson ? printed({{"version", kFormVersion}, {"settings", list}}) : text);
  return ExitCode::fine;
}

ExitCode changeSetting(const ChangeSetting& command, const Sources& sources, const MakeChange& makeChange,
                       const Output& output) {
  const auto outcome = command.name == kRelaySetting
                           ? ChangeOutcome{.problem = "The relay is set by \"quillard relay set\"."}
                           : makeChange({command.name, command.value});
  if (const auto code = failure(output, outcome)) return *code;
  const auto& tunable = *AgentConfiguration::findTunable(command.name);
  const auto fallback = AgentConfiguration::fallbackOf(tunable);
  const auto kept =
      command.value ? AgentConfiguration::readTunable(tunable, *command.value).value_or(fallback) : fallback;
  output.print(command.name + " is " + AgentConfiguration::tunableText(tunable, kept) + unitOf(tunable) +
               (command.value ? ".\n" : ", the default.\n"));
  sayWhenItCounts(outcome, output);
  if (const auto value = AgentConfiguration::valueOf(tunable, sources); value.origin == TunableOrigin::environment) {
    output.printError(std::string(value.variable) + " is set in this session, and comes first.\n");
  }
  return ExitCode::fine;
}

}  // namespace quillard::app
