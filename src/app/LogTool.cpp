#include "app/LogTool.h"

#include <algorithm>
#include <array>
#include <utility>

#include "foundation/IsoDate.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace quillard::app {
namespace {

using platform::FileCode;

constexpr std::size_t kEventWidth = 9;
constexpr std::size_t kMostDigits = 6;

struct Unit {
  char name;
  int seconds;
};
constexpr std::array kUnits{Unit{'s', 1}, Unit{'m', 60}, Unit{'h', 3600}, Unit{'d', 86400}};

std::string shown(const std::string& text) { return printableText(text, 1000); }
std::string quoted(const std::string& text) { return "\"" + shown(text) + "\""; }

// "Installer: Install?"
std::string subject(const AuditEntry& entry) {
  std::string text = entry.program.empty() ? "a prompt" : shown(entry.program);
  if (!entry.title.empty()) text += ": " + shown(entry.title);
  return text;
}

std::string phonesText(const AuditEntry& entry) {
  std::vector<std::string> names;
  for (const auto& name : entry.phones) names.push_back(shown(name));
  return (names.empty() ? "a phone" : text::joined(names, " or ")) + ", pairing " + std::to_string(entry.pairing);
}

std::string askedText(const AuditEntry& entry) {
  std::string text = subject(entry);
  for (const auto& label : entry.buttons) text += " [" + shown(label) + "]";
  return text;
}

std::string outcomeText(const AuditEntry& entry) {
  std::string text = quoted(entry.label) + " " + shown(entry.status);
  if (!entry.error.empty()) text += " (" + shown(entry.error) + ")";
  return text + ", " + phonesText(entry) + ". " + subject(entry);
}

std::string mutedText(const AuditEntry& entry) {
  std::string text = subject(entry);
  if (entry.until) text += ", until " + isoDateText(*entry.until);
  return text + ", by " + shown(entry.how);
}

std::string wordsOf(const AuditEntry& entry) {
  const auto& event = entry.event;
  if (event == audit_events::kAsked) return askedText(entry);
  if (event == audit_events::kDecided) return quoted(entry.label) + ", " + phonesText(entry) + ". " + subject(entry);
  if (event == audit_events::kOutcome) return outcomeText(entry);
  if (event == audit_events::kAnswered) return quoted(entry.label) + " by " + shown(entry.how) + ". " + subject(entry);
  if (event == audit_events::kGone) return subject(entry) + ", " + shown(entry.how);
  if (event == audit_events::kMuted || event == audit_events::kUnmuted) return mutedText(entry);
  if (event == audit_events::kPaused) return entry.until ? "until " + isoDateText(*entry.until) : "";
  if (event == audit_events::kUnpaired) return "pairing " + std::to_string(entry.pairing);
  if (event == audit_events::kRemoved) return "entries to " + std::to_string(entry.sequence);
  return (entry.how.empty() ? "" : shown(entry.how) + ". ") + shown(entry.note);
}

}  // namespace

std::optional<Date> dateOf(std::string_view text, Date now) {
  if (const auto date = quillardISO8601(text)) return date;
  if (const auto day = quillardISO8601(std::string(text) + "T00:00:00Z")) return day;
  if (text.size() < 2 || text.size() > kMostDigits + 1) return std::nullopt;
  const auto* const unit =
      std::find_if(kUnits.begin(), kUnits.end(), [&](const Unit& one) { return one.name == text.back(); });
  int number = 0;
  for (const char digit : text.substr(0, text.size() - 1)) {
    if (digit < '0' || digit > '9') return std::nullopt;
    number = number * 10 + (digit - '0');
  }
  if (unit == kUnits.end()) return std::nullopt;
  return advanced(now, -Seconds{static_cast<double>(number) * unit->seconds});
}

std::string logText(const AuditLine& line) {
  const auto& entry = line.entry;
  auto event = shown(entry.event);
  event.resize(std::max(event.size(), kEventWidth), ' ');
  auto text = isoDateText(entry.at) + "  " + event + " " + wordsOf(entry);
  if (entry.leftOut > 0) text += " (" + std::to_string(entry.leftOut) + " before it were not written down)";
  while (text.ends_with(' ')) text.pop_back();
  return text + "\n";
}

LogTool::LogTool(ShowLog wanted, platform::AppendOnlyFile& file, Date now, const Output& output)
    : command(std::move(wanted)), file(file), output(output) {
  if (command.since) since = dateOf(*command.since, now);
}

ExitCode LogTool::print() {
  if (command.since && !since) {
    output.printError("quillard log: A time is written as 2h, 3d, 2026-03-01 or 2026-03-01T12:00:00Z.\n");
    return ExitCode::wrongUsage;
  }
  auto read = file.read();
  if (read.status.code == FileCode::absent) {
    if (!command.follows) output.printError("quillard log: Nothing was written down yet.\n");
    return ExitCode::fine;
  }
  if (read.status.code != FileCode::success) {
    output.printError("quillard log: The log cannot be read: " + read.status.text + "\n");
    return ExitCode::cannotDoHere;
  }
  if (!lastBytes.empty() && read.bytes == lastBytes) return ExitCode::fine;
  const auto reading = readAuditChain(read.bytes);
  lastBytes = std::move(read.bytes);
  if (command.verifies) return verify(reading);
  printNew(reading);
  // The agent may be writing.
  if (reading.fault == AuditFault::none || (command.follows && reading.fault == AuditFault::torn))
    return ExitCode::fine;
  output.printError("quillard log: The log is not whole. " + reading.problem + "\n");
  return ExitCode::problemFound;
}

void LogTool::printNew(const AuditReading& reading) {
  // Another file may have taken its place.
  if (reading.head().sequence < printedTo) printedTo = 0;
  for (std::size_t i = 0; i < reading.lines.size(); ++i) {
    const auto& line = reading.lines[i];
    if (line.sequence <= printedTo || (since && line.entry.at < *since)) continue;
    auto json = auditJson(line);
    json["digest"] = reading.digests[i];
    output.print(command.asJson ? json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n" : logText(line));
  }
  printedTo = reading.head().sequence;
}

ExitCode LogTool::verify(const AuditReading& reading) const {
  const auto head = reading.head();
  const bool isWhole = reading.fault == AuditFault::none;
  if (command.asJson) {
    Json json{{"version", 1},
              {"whole", isWhole},
              {"entries", reading.lines.size()},
              {"sequence", head.sequence},
              {"digest", head.digest}};
    if (!isWhole) json["problem"] = reading.problem;
    output.print(json.dump() + "\n");
  } else if (isWhole) {
    const auto first = reading.lines.empty() ? 0 : reading.lines.front().sequence;
    output.print("Entries " + std::to_string(first) + " to " + std::to_string(head.sequence) +
                 " are whole. The last one is " + head.digest + ".\n");
  } else {
    output.printError("quillard log: The log is not whole. " + reading.problem + "\n");
  }
  return isWhole ? ExitCode::fine : ExitCode::problemFound;
}

}  // namespace quillard::app
