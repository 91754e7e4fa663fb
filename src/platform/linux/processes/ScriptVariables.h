#pragma once

#include <string>
#include <string_view>

namespace quillard::proc {

// The text of a shell script with the variables that it sets itself to plain words in their place, as in
// `LIBDIR=/usr/lib/$APPNAME`. What comes from elsewhere, such as from another command, stays as it is written. Nothing
// is run. At most 256 KiB; what is beyond stays as it is written.
[[nodiscard]] std::string withKnownVariables(std::string_view script);

}  // namespace quillard::proc
