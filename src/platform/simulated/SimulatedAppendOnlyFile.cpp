#include "platform/simulated/SimulatedAppendOnlyFile.h"

namespace quillard::platform::simulated {

void SimulatedAppendOnlyFile::failWith(FileCode code, bool forReading) {
  writing = code;
  isUnreadable = forReading;
}

FileStatus SimulatedAppendOnlyFile::failure() const { return {writing, "The disk of this simulation says no."}; }

FileReading SimulatedAppendOnlyFile::read() {
  if (isUnreadable) return {failure()};
  if (!contents) return {{FileCode::absent, "There is no such file."}};
  if (contents->size() > kLongest) return {{FileCode::tooLarge, "The file is too large."}};
  return {{}, *contents};
}

FileStatus SimulatedAppendOnlyFile::append(std::string_view bytes, std::size_t length) {
  if (writing != FileCode::success) return failure();
  if (contents.value_or("").size() != length) return {FileCode::changed, "It has another length."};
  if (length + bytes.size() > kLongest) return {FileCode::tooLarge, "The file would become too large."};
  contents = contents.value_or("") + std::string(bytes);
  return {};
}

FileStatus SimulatedAppendOnlyFile::replace(std::string_view bytes) {
  if (writing != FileCode::success) return failure();
  if (bytes.size() > kLongest) return {FileCode::tooLarge, "The file would become too large."};
  contents = std::string(bytes);
  return {};
}

std::optional<std::string> SimulatedAppendOnlyFile::putAside() {
  if (writing != FileCode::success || !contents) return std::nullopt;
  putAsides.push_back(*contents);
  contents.reset();
  return "log.damaged-" + std::to_string(putAsides.size());
}

}  // namespace quillard::platform::simulated
