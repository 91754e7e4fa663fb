#include <string>
#include <variant>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "platform/qt/WebSocketFrames.h"

using namespace quillard;
using fuzz::require;

namespace {

constexpr std::size_t kLongest = 200;

void takeAll(qt::WebSocketFrameReader& reader, std::vector<std::string>& events) {
  while (const auto event = reader.next()) {
    std::string text = std::to_string(event->index());
    if (const auto* message = std::get_if<qt::TextReceived>(&*event)) text += message->text;
    if (const auto* message = std::get_if<qt::BinaryReceived>(&*event)) text += message->bytes;
    if (const auto* ping = std::get_if<qt::PingReceived>(&*event)) text += ping->payload;
    if (const auto* close = std::get_if<qt::CloseReceived>(&*event)) text += std::to_string(close->code);
    if (const auto* broken = std::get_if<qt::ProtocolBroken>(&*event)) text += std::to_string(broken->code);
    require(text.size() <= kLongest + 1, "Nothing is longer than it may be.");
    events.push_back(std::move(text));
  }
}

}  // namespace

// What a server sends means the same in one piece and byte by byte, and nothing follows the end.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = fuzz::textOf(data, size);
  qt::WebSocketFrameReader whole(kLongest);
  qt::WebSocketFrameReader piecewise(kLongest);
  std::vector<std::string> events;
  std::vector<std::string> eventsPiecewise;
  whole.add(bytes);
  takeAll(whole, events);
  for (const char& byte : bytes) {
    piecewise.add({&byte, 1});
    takeAll(piecewise, eventsPiecewise);
  }
  require(events == eventsPiecewise, "The pieces do not matter.");
  return 0;
}
