#include "app/PairingTool.h"

#include "agent/PhoneRoster.h"
#include "app/PairingCodeText.h"
#include "foundation/AgentNames.h"
#include "foundation/UrlComponents.h"
#include "relay/PairingPayload.h"
#include "relay/QRCodeRenderer.h"
#include "relay/RelayAddress.h"

namespace quillard::app {
namespace {

using platform::SecretPlace;
using platform::SecretStatusCode;

ExitCode refuse(const Output& output, std::string_view reason) {
  output.printError(reason);
  return ExitCode::cannotDoHere;
}

// Whether the agent, too, would find what is found here, or make what is made here.
bool isKeychainReadable(platform::SecretStore& secretStore) {
  const auto reading = secretStore.copyMatching(SecretPlace::dataProtectionKeychain, kAgentIdentifier, kSecretsAccount);
  const auto code = reading.status.code;
  return code == SecretStatusCode::success || code == SecretStatusCode::itemNotFound ||
         code == SecretStatusCode::missingEntitlement;
}

ExitCode showCode(const Secret& text, const TerminalFacts& terminal, const Output& output, const UserTexts& say) {
  constexpr int kOnePixelAModule = 1;
  const auto code = QRCodeRenderer::image(text.view(), kOnePixelAModule);
  if (!code) return refuse(output, "The pairing settings are too long for a code.\n");
  if (terminal.columns && *terminal.columns < code->width) {
    return refuse(output, "The terminal is too narrow: the code needs " + std::to_string(code->width) +
                              " columns, and there are " + std::to_string(*terminal.columns) + ".\n");
  }
  output.print(terminalText(*code).text());
  output.print(say("Open the iPhone app, choose Pair Mac, and scan this code.") + "\n");
  output.printError(
      "Whoever sees this code can read and answer this computer's prompts: clear the terminal when you are done.\n");
  return ExitCode::fine;
}

// A text is wrapped by a narrow terminal, and copied from there as the one line that it is.
ExitCode showText(const Secret& text, const Output& output) {
  output.print(text.text());
  output.print("\n");
  output.printError(
      "Whoever has this text can read and answer this computer's prompts: clear the terminal when you are done.\n");
  return ExitCode::fine;
}

// Neither user nor query of it, which may be secret.
std::string noAddressText(const RelayLaunchConfiguration& relay) {
  const auto components = UrlComponents::parse(relay.relayURL);
  return "\"" + (components ? components->printableText() : std::string()) +
         "\" is no address that may be used: wss:// to any host, ws:// to this computer only. \"quillard doctor\" says "
         "what to do.\n";
}

}  // namespace

UserTexts terminalTexts(const UserTexts& texts) {
  return {texts.isOfMac() ? Machine::mac : Machine::computer, Language::english};
}

bool isFirstCodeUsed(PairingConfiguration& pairing, platform::UserDefaults& settings, const platform::Clock& clock) {
  const auto secrets = pairing.storedSecrets();
  return secrets && !PhoneRoster(settings, clock).phonesOf(secrets->pairingID).empty();
}

std::optional<ExitCode> refusalToShow(const ShowPairingCode& command, const TerminalFacts& terminal,
                                      const Output& output) {
  if (terminal.isTerminal || command.evenWithoutTerminal) return std::nullopt;
  return refuse(output, "The code holds secrets, and this output is no terminal. --force shows it all the same.\n");
}

ExitCode showCodeOf(const Secret& text, const ShowPairingCode& command, const TerminalFacts& terminal,
                    const Output& output, std::string_view lifetime, const UserTexts& say) {
  const auto code = command.asText ? showText(text, output) : showCode(text, terminal, output, say);
  if (code == ExitCode::fine) output.printError(lifetime);
  return code;
}

ExitCode showPairingCode(const ShowPairingCode& command, const TerminalFacts& terminal, PairingConfiguration& pairing,
                         platform::SecretStore& secretStore, const Output& output, const UserTexts& say) {
  if (const auto refusal = refusalToShow(command, terminal, output)) return *refusal;
  if (!isKeychainReadable(secretStore)) {
    return refuse(output, "The keychain cannot be read. \"quillard doctor\" says what to do.\n");
  }
  const auto relay = pairing.configuredRelay();
  if (relay && !isAllowedRelayURL(relay->relayURL)) return refuse(output, noAddressText(*relay));
  const auto payload = pairing.payload();
  if (!payload) {
    return refuse(output, "Pairing is not configured for this launch. \"quillard doctor\" says what to do.\n");
  }
  const auto text = pairingPayloadText(*payload);
  if (!text) return refuse(output, "The pairing settings are no text that a code could hold.\n");
  return showCodeOf(*text, command, terminal, output, /*lifetime=*/"", say);
}

}  // namespace quillard::app
