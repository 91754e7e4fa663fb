#include "app/ChannelTools.h"

#include <utility>

#include "app/ListedRecords.h"
#include "foundation/PrintableText.h"

namespace quillard::app {
namespace {

using platform::LocalConnectOutcome;

std::string relayText(JsonReader& status) {
  bool isConfigured = false;
  bool isConnected = false;
  (void)status.object("relay", [&](JsonReader& relay) {
    isConfigured = relay.boolean("configured");
    isConnected = relay.boolean("connected");
    return 0;
  });
  if (!isConfigured) return "none";
  return isConnected ? "connected" : "not connected";
}

std::string phonesText(JsonReader& status) {
  std::string names;
  for (const auto& name : status.objects("phones", [](JsonReader& phone) { return phone.string("name"); })) {
    names += (names.empty() ? "" : ", ") + printableText(name);
  }
  if (!names.empty()) return names;
  const auto wakeable = status.optionalInteger("wakeable", 0, INT32_MAX).value_or(0);
  return "none connected" + (wakeable > 0 ? ", " + std::to_string(wakeable) + " can be woken" : std::string());
}

}  // namespace

ChannelRequest::ChannelRequest(platform::LocalSockets& sockets, platform::SerialExecutor& mainThread, std::string line,
                               ChannelRequestEvents given)
    : events(std::move(given)),
      client(sockets, {.onMessage = [this](const auto& message) { received(message); },
                       .onEnd = [this] { fail(ExitCode::cannotDoHere, "The agent closed the connection."); }}),
      start(mainThread.postAfter(Seconds::zero(), [this, line = std::move(line)] { open(line); })),
      timeout(mainThread.postAfter(kTimeout, [this] { fail(ExitCode::cannotDoHere, "The agent does not answer."); })) {}

void ChannelRequest::open(const std::string& line) {
  const auto outcome = client.open();
  if (outcome == LocalConnectOutcome::absent) return fail(ExitCode::cannotDoHere, "No agent runs for this user.");
  if (outcome == LocalConnectOutcome::refused) {
    return fail(ExitCode::cannotDoHere, "The agent's socket takes no connection.");
  }
  client.send(line);
}

void ChannelRequest::received(const ChannelMessage& message) {
  if (isOver) return;
  timeout.reset();
  if (message.type == "error") {
    JsonReader reader{message.json};
    return fail(ExitCode::problemFound, reader.optionalString("message").value_or(""));
  }
  const auto told = events.onMessage;
  if (told(message)) return;
  isOver = true;
}

void ChannelRequest::fail(ExitCode code, const std::string& message) {
  if (std::exchange(isOver, true)) return;
  timeout.reset();
  const auto told = events.onProblem;
  told(code, message);
}

std::string requestLine(const TellStatus& command) {
  return channelLine("status", command.follows ? Json{{"follow", true}} : Json::object());
}
std::string requestLine(const PauseAlerts& command) { return channelLine("pause", {{"for", command.duration}}); }
std::string requestLine(const OpenWindow& /*command*/) { return channelLine("open"); }
std::string requestLine(const QuitAgent& /*command*/) { return channelLine("quit"); }

std::string requestLine(const SettingsChange& change) {
  Json members{{"name", change.name}};
  if (change.value) members["value"] = *change.value;
  return channelLine("set", members);
}

std::string statusText(const ChannelMessage& status, bool asJson) {
  if (asJson) return status.json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  JsonReader reader{status.json};
  std::string text = printableText(reader.string("summary")) + "\n";
  text += "Relay:   " + relayText(reader) + "\n";
  text += "Phones:  " + phonesText(reader) + "\n";
  const bool isPaused = reader.boolean("paused");
  const auto until = reader.optionalString("pausedUntil");
  text +=
      std::string("Alerts:  ") +
      (!isPaused ? (reader.optionalBoolean("nobodyReached").value_or(false) ? "on, and no phone was told of what waits"
                                                                            : "on")
       : until   ? "paused until " + printableText(*until)
                 : "paused") +
      "\n";
  text += "Waiting: " + std::to_string(reader.integer("pending", 0, INT32_MAX)) + "\n";
  return text;
}

std::optional<std::vector<ListedQuestion>> readQuestions(const ChannelMessage& message) {
  JsonReader reader{message.json};
  auto questions = reader.objects("questions", [](JsonReader& one) {
    return ListedQuestion{.id = one.string("id"),
                          .program = one.string("program"),
                          .question = one.string("question"),
                          .lines = one.strings("lines"),
                          .linesLeftOut = one.optionalInteger("linesLeftOut", 0, INT32_MAX).value_or(0),
                          .buttons = one.strings("buttons")};
  });
  if (reader.error()) return std::nullopt;
  return questions;
}

std::string questionsText(const std::vector<ListedQuestion>& questions) {
  if (questions.empty()) return "No question waits.\n";
  std::string text;
  for (const auto& one : questions) {
    text += listedIdentity(one.id) + "  " + printableText(one.program) + ": " +
            printableText(one.question, kLongestListed) + "\n";
    for (const auto& line : one.lines) text += "          " + printableText(line, kLongestListed) + "\n";
    if (one.linesLeftOut > 0) text += "          (" + std::to_string(one.linesLeftOut) + " more lines)\n";
    for (const auto& label : one.buttons) text += "          [" + printableText(label, kLongestListed) + "]\n";
  }
  return text;
}

const ListedQuestion* questionWith(const std::vector<ListedQuestion>& questions, std::string_view prefix) {
  return onlyRecordWith(questions, prefix);
}

}  // namespace quillard::app
