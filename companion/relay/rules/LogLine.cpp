#include "companion/relay/rules/LogLine.h"

#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "foundation/StrictJson.h"

namespace quillard::relayserver {

std::string logLine(LogFormat format, LogLevel level, Date time, std::string_view text) {
  constexpr std::size_t kLongest = 500;
  const std::string printable = printableText(text, kLongest);
  if (format == LogFormat::text) return isoDateText(time) + " " + printable + "\n";
  const Json json{
      {"time", isoDateText(time)}, {"level", level == LogLevel::warning ? "warning" : "info"}, {"message", printable}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quillard::relayserver
