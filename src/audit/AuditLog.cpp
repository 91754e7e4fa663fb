#include "audit/AuditLog.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "foundation/PrintableText.h"
#include "foundation/WholeNumber.h"

namespace quillard {
namespace {

using platform::FileCode;

constexpr std::size_t kDigestLength = 64;
constexpr std::size_t kLongestTorn = 900;
constexpr std::int64_t kMostLost = 1'000'000;
constexpr Seconds kFirstBound{600};
// What is kept of a file that has become too large.
constexpr double kKeptShare = 0.75;

bool isShown(const AuditLine& line) {
  const auto& event = line.entry.event;
  return event == audit_events::kOutcome || event == audit_events::kAnswered || event == audit_events::kGone;
}

}  // namespace

// ---- The file as it is found

void AuditLog::open() {
  if (std::exchange(isOpen, true)) return;
  boundAt = advanced(dependencies.clock.monotonicNow(), kFirstBound);
  inFile = rememberedHead().value_or(AuditHead{});
  newest = inFile;
  lostBefore = lostByEarlierRuns();
  leftOut = lostBefore;
  writeWaiting();
}

bool AuditLog::examine() {
  const auto read = dependencies.file.read();
  if (read.status.code == FileCode::absent) {
    fileLength = 0;
    mustExamine = false;
    if (inFile.sequence > 0) mend("missing", "The file has gone.", inFile.sequence);
    return true;
  }
  if (read.status.code != FileCode::success) {
    failed(read.status);
    return false;
  }
  const auto reading = readAuditChain(read.bytes);
  const bool isWhole = reading.fault == AuditFault::none || reading.fault == AuditFault::beginning;
  if (waiting.empty() && isWhole) return goOnAfter(reading);
  if (waiting.empty() && reading.fault == AuditFault::torn) return keepTornLine(reading, read.bytes);
  if (!isWhole || reading.head() != inFile) return putAside(reading);
  fileLength = reading.goodBytes;
  mustExamine = false;
  return true;
}

// Nothing was chained to what is remembered yet, so that the chain can go on after what is there.
bool AuditLog::goOnAfter(const AuditReading& reading) {
  const auto known = std::exchange(inFile, reading.head());
  newest = inFile;
  fileLength = reading.goodBytes;
  mustExamine = false;
  for (std::size_t i = 0; i < reading.lines.size(); ++i) show(reading.lines[i], reading.digests[i]);
  if (known.sequence == 0 || reading.digestOf(known.sequence) == known.digest) return true;
  if (inFile.sequence < known.sequence) {
    mend("cut", "Entries " + std::to_string(inFile.sequence + 1) + " to " + std::to_string(known.sequence) +
                    " have gone from the end.");
  } else {
    mend("changed", "It is another one than was left here.");
  }
  return true;
}

bool AuditLog::keepTornLine(const AuditReading& reading, std::string_view bytes) {
  const auto status = dependencies.file.replace(bytes.substr(0, reading.goodBytes));
  if (status.code != FileCode::success) {
    failed(status);
    return false;
  }
  (void)goOnAfter(reading);
  mend("torn", "The last line was not finished: " + printableText(bytes.substr(reading.goodBytes), kLongestTorn));
  return true;
}

bool AuditLog::putAside(const AuditReading& reading) {
  const auto aside = dependencies.file.putAside();
  if (!aside) {
    failed({FileCode::failed, "The file is damaged, and cannot be put aside. " + reading.problem});
    return false;
  }
  fileLength = 0;
  mustExamine = false;
  const auto before = newest.sequence - static_cast<std::int64_t>(waiting.size());
  mend(reading.fault == AuditFault::none ? "changed" : "damaged",
       "The file before is kept as " + *aside + ". " + reading.problem, before);
  return true;
}

// `missingTo`: the entries up to that one are not in this file.
void AuditLog::mend(const std::string& how, const std::string& note, std::int64_t missingTo) {
  dependencies.console.writeLine("The log of decisions was not as it was left: " + how + ". " + note);
  addLine({.event = std::string(audit_events::kMended), .how = how, .note = note, .sequence = missingTo});
}

std::optional<AuditHead> AuditLog::rememberedHead() const {
  const auto stored = dependencies.userDefaults.object(key);
  const auto* text = stored ? std::get_if<std::string>(&*stored) : nullptr;
  const auto colon = text ? text->find(':') : std::string::npos;
  if (colon == std::string::npos || text->size() - colon - 1 != kDigestLength) return std::nullopt;
  const auto sequence = wholeNumber(std::string_view(*text).substr(0, colon));
  if (!sequence || *sequence < 1 || *sequence > std::numeric_limits<std::int64_t>::max()) return std::nullopt;
  return AuditHead{.sequence = static_cast<std::int64_t>(*sequence), .digest = text->substr(colon + 1)};
}

void AuditLog::rememberHead() {
  if (inFile.sequence == 0) return;
  dependencies.userDefaults.set(key, std::to_string(inFile.sequence) + ":" + inFile.digest);
}

// ---- Entries

void AuditLog::add(AuditEntry entry) {
  if (!isOpen) return;
  if (waiting.size() >= kMostWaiting) {
    ++leftOut;
    return;
  }
  addLine(std::move(entry));
  if (dependencies.clock.monotonicNow() >= retryAt || !lastProblem) writeWaiting();
}

void AuditLog::addLine(AuditEntry entry) {
  entry.at = dependencies.clock.now();
  entry.leftOut += std::exchange(leftOut, 0);
  AuditLine line{
      .sequence = newest.sequence + 1, .previous = newest.digest, .entry = boundedAuditEntry(std::move(entry))};
  waiting.push_back(nextAuditLine(line.entry, newest));
  show(line, newest.digest);
}

void AuditLog::show(const AuditLine& line, const std::string& digest) {
  if (!isShown(line)) return;
  shown.push_back({line, digest});
  if (shown.size() > kMostNewest) shown.pop_front();
}

void AuditLog::writeWaiting() {
  for (int triesLeft = 2; triesLeft > 0; --triesLeft) {
    if (mustExamine && !examine()) return;
    std::string lines;
    for (const auto& line : waiting) lines += line;
    if (lines.empty()) return settled();
    const auto status = dependencies.file.append(lines, fileLength);
    if (status.code == FileCode::success) return written(lines);
    mustExamine = status.code == FileCode::changed;
    if (!mustExamine || triesLeft == 1) return failed(status);
  }
}

void AuditLog::flush() {
  if (!isOpen || waiting.empty()) return;
  writeWaiting();
  if (waiting.empty()) return;
  const auto lost = lostBefore + leftOut + static_cast<std::int64_t>(waiting.size());
  dependencies.userDefaults.set(lostKey, static_cast<double>(std::min(lost, kMostLost)));
}

std::int64_t AuditLog::lostByEarlierRuns() const {
  const auto stored = dependencies.userDefaults.object(lostKey);
  const auto* count = stored ? std::get_if<double>(&*stored) : nullptr;
  return count && *count >= 1 ? static_cast<std::int64_t>(std::min(*count, static_cast<double>(kMostLost))) : 0;
}

void AuditLog::settled() {
  if (std::exchange(lastProblem, std::nullopt))
    dependencies.console.writeLine("The log of decisions is written again.");
}

void AuditLog::written(const std::string& lines) {
  fileLength += lines.size();
  waiting.clear();
  inFile = newest;
  rememberHead();
  if (std::exchange(lostBefore, 0) > 0) dependencies.userDefaults.remove(lostKey);
  settled();
  if (fileLength > dependencies.limits().bytes) bound(/*byAge=*/false);
}

void AuditLog::failed(const platform::FileStatus& status) {
  retryAt = advanced(dependencies.clock.monotonicNow(), kRetryInterval);
  if (lastProblem != status.text) {
    dependencies.console.writeLine("The log of decisions cannot be written: " + status.text);
  }
  lastProblem = status.text;
}

// ---- Bounds

void AuditLog::tend() {
  if (!isOpen) return;
  const auto now = dependencies.clock.monotonicNow();
  if (lastProblem && now >= retryAt) writeWaiting();
  if (lastProblem || now < boundAt) return;
  boundAt = advanced(now, kAgeInterval);
  bound(/*byAge=*/true);
}

// Lines stay as they are; only from the beginning some are taken out.
void AuditLog::bound(bool byAge) {
  const auto limits = dependencies.limits();
  const auto read = dependencies.file.read();
  if (read.status.code != FileCode::success || read.bytes.size() != fileLength) return;
  const auto reading = readAuditChain(read.bytes);
  if (reading.fault != AuditFault::none && reading.fault != AuditFault::beginning) return;
  const auto oldest = advanced(dependencies.clock.now(), -limits.age);
  const auto wanted = read.bytes.size() > limits.bytes
                          ? static_cast<std::size_t>(static_cast<double>(limits.bytes) * kKeptShare)
                          : read.bytes.size();
  std::size_t begin = 0;
  std::size_t index = 0;
  for (; index + 1 < reading.lines.size(); ++index) {
    const bool isTooLarge = read.bytes.size() - begin > wanted;
    const bool isTooOld = byAge && reading.lines[index].entry.at < oldest && reading.lines.size() - index > kKeptAnyway;
    if (!isTooLarge && !isTooOld) break;
    begin = read.bytes.find('\n', begin) + 1;
  }
  if (begin == 0) return;
  const auto removedTo = reading.lines[index].sequence - 1;
  auto head = newest;
  AuditEntry said{.at = dependencies.clock.now(), .event = std::string(audit_events::kRemoved), .sequence = removedTo};
  const auto kept = read.bytes.substr(begin) + nextAuditLine(said, head);
  const auto status = dependencies.file.replace(kept);
  if (status.code != FileCode::success) return failed(status);
  fileLength = kept.size();
  newest = head;
  inFile = head;
  rememberHead();
}

}  // namespace quillard
