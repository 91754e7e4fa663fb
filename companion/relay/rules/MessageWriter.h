#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "companion/relay/rules/MessageMembers.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {

// As text. Of what was read as UTF-8.
[[nodiscard]] std::string messageText(const Json& json);

// Writes the known members of a message one after another: the text that goes on. One that breaks its rules spoils all
// of it.
class MessageWriter {
 public:
  // `room`: about how many bytes it will be.
  MessageWriter(std::string_view type, std::size_t room);

  // `name`: takes the decision's name.
  void decisionID(const MemberValue& value, std::string& name);
  void date(std::string_view name, const MemberValue& value);
  void boolean(std::string_view name, const MemberValue& value);
  void count(std::string_view name, const MemberValue& value);
  void snapshotID(const MemberValue& value);
  void payload(std::string_view name, const MemberPayload& given);

  // Absent: a member broke its rules.
  std::optional<std::string> finish() &&;
  // Of those that were written, the bytes of nonce and ciphertext.
  [[nodiscard]] std::size_t sealedBytes() const { return sealed; }

 private:
  void require(bool isFine) { isGood = isGood && isFine; }
  void begin(std::string_view name);
  void quote(std::string_view plain);
  void member(std::string_view name, std::string_view value);
  void number(std::string_view name, const MemberValue& value, std::int64_t highest);
  void base64(std::string_view name, const MemberValue& value, std::size_t longest);

  std::string text;
  std::size_t sealed = 0;
  bool isFirst = false;
  bool isGood = true;
};

}  // namespace quillard::relayserver
