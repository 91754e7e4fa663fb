#include "audit/AuditChain.h"

#include <algorithm>
#include <array>

#include <openssl/evp.h>

#include "foundation/BrokenPromise.h"
#include "foundation/HexText.h"

namespace quillard {
namespace {

// Absent: the line follows `before`. The first line of a file follows nothing that could be compared, unless it is the
// first of all.
std::optional<std::string> problemAfter(const AuditHead& before, const AuditLine& line, bool isFirst) {
  if (isFirst && line.sequence > 1) return std::nullopt;
  if (line.sequence != before.sequence + 1) {
    return "Expected entry " + std::to_string(before.sequence + 1) + ", not " + std::to_string(line.sequence) + ".";
  }
  if (line.previous != before.digest) return "It does not follow the line before: one of the two was changed.";
  return std::nullopt;
}

std::string atLine(std::size_t number, const std::string& problem) {
  return "Line " + std::to_string(number) + ": " + problem;
}

void fail(AuditReading& reading, AuditFault fault, std::string problem) {
  reading.fault = fault;
  reading.problem = std::move(problem);
}

// False: it is not the next one, or none.
bool take(AuditReading& reading, std::string_view text) {
  const auto number = reading.lines.size() + 1;
  auto line = readAuditLine(text);
  if (const auto* error = std::get_if<JsonError>(&line)) {
    fail(reading, AuditFault::damaged, atLine(number, error->description()));
    return false;
  }
  auto& read = std::get<AuditLine>(line);
  if (const auto problem = problemAfter(reading.head(), read, reading.lines.empty())) {
    fail(reading, AuditFault::damaged, atLine(number, *problem));
    return false;
  }
  reading.digests.push_back(auditDigest(text));
  reading.lines.push_back(std::move(read));
  return true;
}

// Whether some line says that those before the first one were taken out, or are missing.
bool isBeginningExplained(const AuditReading& reading) {
  const auto first = reading.lines.front().sequence;
  return first == 1 || std::any_of(reading.lines.begin(), reading.lines.end(), [&](const AuditLine& line) {
           const bool explains =
               line.entry.event == audit_events::kRemoved || line.entry.event == audit_events::kMended;
           return explains && line.entry.sequence == first - 1;
         });
}

}  // namespace

std::string auditDigest(std::string_view text) {
  std::array<unsigned char, 32> bytes{};
  std::size_t length = 0;
  if (EVP_Q_digest(nullptr, "SHA256", nullptr, text.data(), text.size(), bytes.data(), &length) != 1 ||
      length != bytes.size()) {
    stopForBrokenPromise("The cryptographic library has no SHA-256.");
  }
  return hexText(bytes);
}

AuditHead AuditReading::head() const {
  if (lines.empty()) return {};
  return {.sequence = lines.back().sequence, .digest = digests.back()};
}

std::optional<std::string> AuditReading::digestOf(std::int64_t sequence) const {
  if (lines.empty() || sequence < lines.front().sequence || sequence > lines.back().sequence) return std::nullopt;
  return digests[static_cast<std::size_t>(sequence - lines.front().sequence)];
}

AuditReading readAuditChain(std::string_view bytes) {
  AuditReading reading;
  while (reading.goodBytes < bytes.size()) {
    const auto end = bytes.find('\n', reading.goodBytes);
    if (end == std::string_view::npos) {
      fail(reading, AuditFault::torn, atLine(reading.lines.size() + 1, "It is not finished."));
      return reading;
    }
    if (!take(reading, bytes.substr(reading.goodBytes, end - reading.goodBytes))) return reading;
    reading.goodBytes = end + 1;
  }
  if (!reading.lines.empty() && !isBeginningExplained(reading)) {
    fail(reading, AuditFault::beginning,
         "Entries 1 to " + std::to_string(reading.lines.front().sequence - 1) + " are missing.");
  }
  return reading;
}

std::string nextAuditLine(const AuditEntry& entry, AuditHead& head) {
  auto text = auditLineText({.sequence = head.sequence + 1, .previous = head.digest, .entry = entry});
  head = {.sequence = head.sequence + 1, .digest = auditDigest(text)};
  return text + "\n";
}

}  // namespace quillard
