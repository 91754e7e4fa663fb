#pragma once

#include <string>
#include <string_view>

#include "values/Time.h"

namespace quillard::relayserver {

enum class LogFormat { text, json };
enum class LogLevel { note, warning };

// One line of the log, its end included, with nothing in it that a terminal or a reader of lines could stumble over.
[[nodiscard]] std::string logLine(LogFormat format, LogLevel level, Date time, std::string_view text);

}  // namespace quillard::relayserver
