#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/storage/UserDefaults.h"

// The relay that the user of this computer chose, kept in the settings. It counts where neither the environment nor
// what came with the application names one.
namespace quillard::UserRelay {

// Why nothing was kept: a sentence for people, without the key.
struct Refusal {
  std::string reason;
  bool operator==(const Refusal&) const = default;
};

// The relay's address as `RelayLaunchConfiguration` wants it, of what a person types: "relay.example",
// "https://relay.example" (the address of the phones' page) and "wss://relay.example/ws" are the same relay. A path
// that is given stays. `registrationKey`: what its operator asks for at new pairings; it becomes a part of the address.
[[nodiscard]] std::variant<std::string, Refusal> addressOf(std::string_view typed,
                                                           const std::optional<std::string>& registrationKey);

// Absent: the user chose none, or what is stored is no text.
[[nodiscard]] std::optional<std::string> stored(const platform::UserDefaults& settings);
// `address`: as from `addressOf`.
void store(const std::string& address, platform::UserDefaults& settings);
void forget(platform::UserDefaults& settings);

}  // namespace quillard::UserRelay
