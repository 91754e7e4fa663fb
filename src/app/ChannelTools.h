#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/SettingsChange.h"
#include "app/CommandLine.h"
#include "app/ExitCode.h"
#include "app/Output.h"
#include "channel/ChannelClient.h"
#include "platform/process/Executors.h"
#include "platform/process/LocalSockets.h"

// The tools that ask the agent something over the channel, and print what it says.
namespace quillard::app {

// What comes of one request.
struct ChannelRequestEvents {
  // Each message; false: that was all.
  std::function<bool(const ChannelMessage&)> onMessage;
  // It did not come to that: no agent, an agent that is silent, one that refused. For people.
  std::function<void(ExitCode, const std::string& message)> onProblem;
};

// One request to the agent that runs. Main thread.
class ChannelRequest {
 public:
  static constexpr Seconds kTimeout{10};

  // `line`: the request. Nothing is called from inside; destroying it ends it.
  ChannelRequest(platform::LocalSockets& sockets, platform::SerialExecutor& mainThread, std::string line,
                 ChannelRequestEvents events);

 private:
  void open(const std::string& line);
  void received(const ChannelMessage& message);
  void fail(ExitCode code, const std::string& message);

  const ChannelRequestEvents events;
  bool isOver = false;
  ChannelClient client;
  platform::TaskHandle start;
  platform::TaskHandle timeout;  // Until the first message.
};

// The request of a command, as a line of the channel.
[[nodiscard]] std::string requestLine(const TellStatus& command);
[[nodiscard]] std::string requestLine(const PauseAlerts& command);
[[nodiscard]] std::string requestLine(const OpenWindow& command);
[[nodiscard]] std::string requestLine(const QuitAgent& command);
[[nodiscard]] std::string requestLine(const SettingsChange& change);

// What is printed of a status: plain words, or the message itself as one line of JSON.
[[nodiscard]] std::string statusText(const ChannelMessage& status, bool asJson);

// A question that waits, as the agent lists it.
struct ListedQuestion {
  std::string id;
  std::string program;
  std::string question;
  std::vector<std::string> lines;
  std::int64_t linesLeftOut = 0;
  std::vector<std::string> buttons;
};
// Absent: not understood.
[[nodiscard]] std::optional<std::vector<ListedQuestion>> readQuestions(const ChannelMessage& message);
[[nodiscard]] std::string questionsText(const std::vector<ListedQuestion>& questions);
// The one whose identity begins with `prefix`, in either case. Null: none, or several.
[[nodiscard]] const ListedQuestion* questionWith(const std::vector<ListedQuestion>& questions, std::string_view prefix);

}  // namespace quillard::app
