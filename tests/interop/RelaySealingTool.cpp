#include <cstdio>
#include <iostream>
#include <string>

#include "foundation/HexText.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCrypto.h"
#include "support/HexBytes.h"

// The agent's side of the exchange: one request a line, one answer a line. Texts are hexadecimal, so that they may be
// anything.
//
//   seal SECRET TEXT     -> the sealed payload, as JSON
//   open SECRET PAYLOAD  -> the text, or "refused"
namespace quillard {
namespace {

std::string textOf(const std::string& hex) {
  const auto bytes = samples::hexBytes(hex);
  return {bytes.begin(), bytes.end()};
}

std::string hexOf(const std::string& text) {
  return hexText({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string sealed(const std::string& text, const Secret& secret, platform::Random& random) {
  const auto payload = RelayCrypto::sealText(text, secret, random);
  if (std::holds_alternative<RelayCryptoError>(payload)) return "failed";
  return jsonText(toJson(std::get<EncryptedRelayPayload>(payload))).value();
}

std::string opened(const std::string& json, const Secret& secret) {
  const auto payload = readRelayRecord<EncryptedRelayPayload>(json);
  if (std::holds_alternative<JsonError>(payload)) return "refused";
  const auto text = RelayCrypto::open(std::get<EncryptedRelayPayload>(payload), secret);
  return std::holds_alternative<RelayCryptoError>(text) ? "refused" : hexOf(std::get<std::string>(text));
}

void serve(std::uint64_t seed) {
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{seed}};
  for (std::string verb, secretHex, rest; std::cin >> verb >> secretHex && std::getline(std::cin, rest);) {
    const Secret secret{textOf(secretHex)};
    const std::string argument = rest.empty() ? rest : rest.substr(1);
    std::cout << (verb == "seal" ? sealed(textOf(argument), secret, random) : opened(argument, secret)) << std::endl;
  }
}

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  quillard::serve(argc > 1 ? std::stoull(argv[1]) : 1);
  return 0;
}
