#pragma once

#include <string>
#include <utility>

#include <openssl/crypto.h>

#include "values/Secret.h"

namespace quillard {

// Moves a secret out of a text that passed through code which knows nothing of secrets, and overwrites the text.
[[nodiscard]] inline Secret takenSecret(std::string& text) {
  Secret secret{std::string_view{text}};
  OPENSSL_cleanse(text.data(), text.size());
  text.clear();
  return secret;
}

}  // namespace quillard
