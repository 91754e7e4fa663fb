// What programs send over the channel: the stream is cut into lines, and each line is read as every request is.

#include <string>
#include <variant>

#include "channel/ChannelLines.h"
#include "channel/ChannelMessage.h"
#include "fuzz/FuzzTarget.h"
#include "questions/QuestionRequest.h"

namespace {

using namespace quillard;

void readAsQuestion(const ChannelMessage& message) {
  JsonReader reader{message.json};
  const auto request = readQuestionRequest(reader);
  if (reader.error()) return;
  fuzz::require(!problemOf(request), "what was read can be asked");
  const Json written = toJson(request);
  JsonReader again{written};
  fuzz::require(readQuestionRequest(again) == request && !again.error(), "what was read is written as it was read");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = fuzz::textOf(data, size);
  // However the bytes come, the lines are the same.
  ChannelLines whole;
  ChannelLines pieces;
  whole.add(text);
  for (const char byte : text) pieces.add({&byte, 1});
  while (const auto line = whole.next()) {
    fuzz::require(pieces.next() == line, "lines do not depend on the pieces");
    const auto message = readChannelMessage(*line);
    if (const auto* const read = std::get_if<ChannelMessage>(&message)) readAsQuestion(*read);
  }
  fuzz::require(!pieces.next(), "nor does their number");
  return 0;
}
