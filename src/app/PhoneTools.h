#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/CommandLine.h"
#include "channel/ChannelMessage.h"
#include "values/Time.h"

// `quillard phones` and `quillard unpair`: what they print, and which phones a person means. Pure functions.
namespace quillard::app {

// A phone, as the agent lists it.
struct ListedPhone {
  std::string name;
  int pairing = 0;  // Phones with the same one are unpaired together.
  Date since;
  Date lastHeard;
  bool isConnected = false;
  std::int64_t decisions = 0;
  bool isUnexpected = false;  // It joined by a code that another phone had already.
  bool isUnreadable = false;  // The secrets of its pairing cannot be read.
};

// Absent: not understood.
[[nodiscard]] std::optional<std::vector<ListedPhone>> readPhones(const ChannelMessage& message);
// One line for each.
[[nodiscard]] std::string phonesText(const std::vector<ListedPhone>& phones);

// What is to be unpaired.
struct Unpairing {
  std::string line;      // The request.
  std::string question;  // To be asked before, with all phones that go together in it.
};
// The pairing of that number, or the phone of that name: as it is written, or else in either case. Otherwise why
// nothing can be unpaired.
[[nodiscard]] std::variant<Unpairing, std::string> planUnpairing(const UnpairPhones& command,
                                                                 const std::vector<ListedPhone>& phones);
// Which phones were unpaired. Absent: not understood.
[[nodiscard]] std::optional<std::string> unpairedText(const ChannelMessage& message);

}  // namespace quillard::app
