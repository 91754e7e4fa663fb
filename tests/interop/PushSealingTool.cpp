#include <algorithm>
#include <iostream>
#include <string>

#include "foundation/StrictBase64.h"
#include "platform/simulated/SimulatedWorld.h"
#include "push/PushEncryption.h"

// Reads lines of a phone's `p256dh` and `auth` and a text without line breaks, with blanks between, and writes for each
// the body of a push in base64, or "refused".
int main() {
  using namespace quillard;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{1}};
  std::string point;
  std::string auth;
  std::string text;
  while (std::cin >> point >> auth && std::getline(std::cin, text)) {
    const auto read = readSubscription(R"({"deviceID":"A","p256dh":")" + point + R"(","auth":")" + auth + "\"}");
    const auto* command = std::get_if<SubscriptionCommand>(&read);
    const auto body = command ? encryptedPush(std::string_view(text).substr(1), command->keys, random) : std::nullopt;
    std::cout << (body ? base64Text(*body) : "refused") << std::endl;
  }
  return 0;
}
