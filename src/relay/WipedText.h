#pragma once

#include <string>
#include <utility>

#include <openssl/crypto.h>

#include "platform/Secret.h"

namespace quillard {

// Moves a secret out of a text that passed through code which knows nothing of secrets, and overwrites the text.
[[nodiscard]] inline platform::Secret takenSecret(std::string& text) {
  platform::Secret secret{std::string_view{text}};
  OPENSSL_cleanse(text.data(), text.size());
  text.clear();
  return secret;
}

}  // namespace quillard
