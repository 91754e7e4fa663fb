#pragma once

#include <string>
#include <string_view>

// What identifiers on the wire may look like.
namespace quillard::relayserver {

// 1 to 128 of a-z 0-9 _ -
[[nodiscard]] bool isPairingID(std::string_view text);
// 32 to 128 of A-Z a-z 0-9 - . _ ~
[[nodiscard]] bool isBearerToken(std::string_view text);
// 16 to 128 of the same: the operator's key.
[[nodiscard]] bool isRegistrationKey(std::string_view text);
// 1 to 64 of A-Z a-z 0-9 -: names of devices and of decisions.
[[nodiscard]] bool isDeviceOrDecisionID(std::string_view text);
// UTF-8 of at most `longest` characters, none of them a control character. May be empty.
[[nodiscard]] bool isShownText(std::string_view text, std::size_t longest);

// What a line of the log says of a pairing: enough to tell it from others.
[[nodiscard]] std::string shortened(std::string_view pairingID);

}  // namespace quillard::relayserver
