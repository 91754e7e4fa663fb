#include "relay/RelayTokenRegistration.h"

#include <utility>

#include "foundation/PrintableText.h"
#include "foundation/UrlComponents.h"
#include "relay/PairingConfiguration.h"
#include "relay/RelayAddress.h"

namespace quillard {
namespace {

using Case = RelayRegistrationError::Case;

constexpr Seconds kTimeout{8};
constexpr std::string_view kRegistrationBody = R"({"client":"mac","version":1})";
constexpr int kConflict = 409;
constexpr int kPreconditionRequired = 428;
constexpr std::string_view kNoKeyYet = "new";

std::optional<std::string> registrationURL(const RelayLaunchConfiguration& configuration) {
  const auto base = PairingConfiguration::backendBaseURL(configuration.relayURL);
  auto url = base ? UrlComponents::parse(*base) : std::nullopt;
  if (!url || !url->host) return std::nullopt;
  if (url->scheme != "https" && !isThisComputer(*url->host)) return std::nullopt;
  // Identifiers that we made need no encoding; those of older builds may.
  url->path = "/api/pairings/" + percentEncoded(configuration.pairingID) + "/relay-token";
  return url->text();
}

platform::HttpRequest registrationRequest(std::string url, const Secret& relaySecret, const std::string& relayURL,
                                          const std::optional<Secret>& computerKey) {
  platform::HttpRequest request{
      .method = "PUT",
      .url = std::move(url),
      .headers = {{"content-type", "application/json"}, {"authorization", "Bearer " + std::string(relaySecret.text())}},
      .body = std::string(kRegistrationBody),
      .timeout = kTimeout};
  auto relay = UrlComponents::parse(relayURL);
  const auto key = relay ? relay->removeQueryItem(kRegistrationKeyItem) : std::nullopt;
  if (key) request.headers.push_back({"quillard-registration-key", *key});
  if (computerKey) {
    request.headers.push_back(
        {std::string(kComputerKeyHeader), std::string(computerKey->isEmpty() ? kNoKeyYet : computerKey->text())});
  }
  return request;
}

// `showsKey`: something was said of a computer's key.
RelayRegistrationOutcome outcomeOf(const platform::HttpOutcome& outcome, bool showsKey) {
  if (const auto* error = std::get_if<platform::TransportError>(&outcome)) return *error;
  const auto* response = std::get_if<platform::HttpResponse>(&outcome);
  if (!response) return RelayRegistrationError{Case::invalidResponse};
  if (response->statusCode == kRevokedStatus) return RelayRegistrationError{Case::pairingRevoked};
  if (showsKey && response->statusCode == kConflict) return RelayRegistrationError{Case::otherComputer};
  if (showsKey && response->statusCode == kPreconditionRequired) return RelayRegistrationError{Case::computerKeyWanted};
  if (response->statusCode < 200 || response->statusCode > 299) {
    return RelayRegistrationError{Case::rejected, response->statusCode};
  }
  return std::nullopt;
}

}  // namespace

std::string RelayRegistrationError::description() const {
  switch (code) {
    case Case::rejected:
      return "The relay rejected token registration with HTTP " + std::to_string(statusCode) + ".";
    case Case::invalidRelayURL:
      return "The relay URL is not valid.";
    case Case::invalidResponse:
      break;
    case Case::pairingRevoked:
      return "This pairing was revoked.";
    case Case::computerKeyWanted:
      return "The relay wants to know this computer by a key.";
    case Case::otherComputer:
      return "The relay knows the pairing's computer by another key.";
  }
  return "The relay did not return a valid registration response.";
}

std::string description(const RelayRegistrationFailure& failure) {
  if (const auto* error = std::get_if<RelayRegistrationError>(&failure)) return error->description();
  return printableText(std::get<platform::TransportError>(failure).description);
}

void registerRelayAuthToken(const RelayLaunchConfiguration& configuration, const Secret& relaySecret,
                            platform::HttpSession& session, platform::SerialExecutor& executor,
                            std::function<void(RelayRegistrationOutcome)> completion,
                            const std::optional<Secret>& computerKey) {
  auto url = registrationURL(configuration);
  if (!url) {
    executor.post([completion = std::move(completion)] { completion(RelayRegistrationError{Case::invalidRelayURL}); });
    return;
  }
  session.send(registrationRequest(*std::move(url), relaySecret, configuration.relayURL, computerKey),
               [completion = std::move(completion), showsKey = computerKey.has_value()](
                   const platform::HttpOutcome& outcome) { completion(outcomeOf(outcome, showsKey)); });
}

}  // namespace quillard
