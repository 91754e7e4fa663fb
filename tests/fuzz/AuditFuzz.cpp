// The file of the log: whatever stands in it is read up to its first fault, and what was read is written as it was.

#include <string>

#include "audit/AuditChain.h"
#include "fuzz/FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillard;
  const auto bytes = fuzz::textOf(data, size);
  const auto reading = readAuditChain(bytes);
  fuzz::require(reading.goodBytes <= bytes.size(), "no more was read than there is");
  fuzz::require(reading.lines.size() == reading.digests.size(), "each line has its digest");
  fuzz::require(reading.problem.empty() == (reading.fault == AuditFault::none), "a fault has words");
  const auto again = readAuditChain(bytes.substr(0, reading.goodBytes));
  fuzz::require(again.lines == reading.lines && again.head() == reading.head(), "the good part is good");
  for (const auto& line : reading.lines) {
    const auto written = readAuditLine(auditLineText(line));
    const auto* const read = std::get_if<AuditLine>(&written);
    fuzz::require(read && read->entry.title == line.entry.title && read->sequence == line.sequence,
                  "what was read is written as it was read");
  }
  // What comes next follows it.
  auto head = reading.head();
  if (reading.fault != AuditFault::none || head.sequence >= kMostAuditLines) return 0;
  const auto longer = readAuditChain(std::string(bytes) + nextAuditLine({.event = "asked"}, head));
  fuzz::require(longer.fault == AuditFault::none && longer.head() == head, "the chain goes on");
  return 0;
}
