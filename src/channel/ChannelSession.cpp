#include "channel/ChannelSession.h"

#include <utility>

namespace quillard {

ChannelSession::ChannelSession(std::unique_ptr<platform::LocalConnection> given, platform::SerialExecutor& mainThread,
                               Events events)
    : mainThread(mainThread), events(std::move(events)), connection(std::move(given)) {
  timeout = mainThread.postAfter(kRequestTimeout, [this] { close(); });
  connection->start({.onBytes = [this](std::string_view bytes) { received(bytes); }, .onEnd = [this] { close(); }});
}

void ChannelSession::received(std::string_view bytes) {
  if (hasFinished || isClosed) return;
  lines.add(bytes);
  while (const auto line = lines.next()) {
    if (hasFinished) return;
    if (++lineCount > kMostLines)
      return giveUp({std::string(channel_codes::kTooMuch), "Too many lines came on one connection."});
    read(*line);
  }
  if (lines.isBroken()) giveUp({std::string(channel_codes::kTooMuch), "The line is too long."});
}

void ChannelSession::read(std::string_view line) {
  const auto message = readChannelMessage(line);
  if (const auto* const problem = std::get_if<ChannelProblem>(&message)) return giveUp(*problem);
  const auto& read = std::get<ChannelMessage>(message);
  if (lineCount == 1) {
    timeout.reset();
    events.onRequest(read);
  } else if (onMessage) {
    const auto handler = onMessage;
    handler(read);
  } else {
    giveUp({std::string(channel_codes::kUnknownType), "Nothing more was expected on this connection."});
  }
}

void ChannelSession::send(std::string_view line) {
  if (!hasFinished && !isClosed) connection->send(line);
}

void ChannelSession::finish(std::string_view line) {
  if (hasFinished || isClosed) return;
  connection->send(line);
  hasFinished = true;
  timeout = mainThread.postAfter(kFinishTimeout, [this] { close(); });
}

void ChannelSession::refuse(std::string_view code, std::string_view message) {
  finish(channelLine(ChannelProblem{std::string(code), std::string(message)}));
}

void ChannelSession::giveUp(const ChannelProblem& problem) {
  if (hasFinished || isClosed) return;
  if (const auto ended = std::exchange(onEnd, nullptr)) ended();
  finish(channelLine(problem));
}

void ChannelSession::close() {
  if (std::exchange(isClosed, true)) return;
  timeout.reset();
  const auto ended = std::exchange(onEnd, nullptr);
  if (ended && !hasFinished) ended();
  const auto closed = events.onClosed;
  closed();
}

}  // namespace quillard
