#pragma once

#include <string>
#include <string_view>

#include "platform/linux/catalogues/Bytes.h"

namespace quillard::catalogues {

// UTF-8 of the UTF-16 in `bytes`; what is no character becomes U+FFFD, an odd byte at the end is left out.
[[nodiscard]] std::string utf8FromUtf16(std::string_view bytes, Bytes::Order order);

}  // namespace quillard::catalogues
