#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "demo/DemoSocket.h"
#include "demo/EndSignals.h"
#include "demo/RelayProgram.h"
#include "demo/SamplePrompts.h"
#include "demo/Service.h"
#include "private-desktop/PrivateDesktop.h"

namespace quillard::demo {

// What was built.
struct Programs {
  std::string agent;
  std::string information;  // The agent's Info.plist.
  std::string relay;
  std::string page;   // The folder.
  std::string phone;  // For Node.
  std::string sample;
};

struct Options {
  // The agent as it is installed for this user. Absent: there is no display here, and all happens on a private desktop.
  std::optional<std::string> installed;
  bool withPhone = false;
  std::optional<std::string> answer;  // The label that the phone presses by itself.
  bool withSample = false;            // On this user's own desktop; on a private one there always is one.
};

// The whole system on one machine: a private desktop where there is no display, relay, agent, prompts, phone. States:
// coming up, up, ending; it ends them in this order: phone, agent, prompts, relay, desktop. It ends at a signal, when
// its phone ends, or when the agent or the relay ends.
class Demo {
 public:
  Demo(Programs programs, Options options, EndSignals& signals);
  Demo(const Demo&) = delete;
  Demo& operator=(const Demo&) = delete;
  ~Demo();

  // From the first step to the last. What this process shall exit with.
  int run();

 private:
  void bringUp();
  void makeDesktop();
  void startRelay();
  void startAgent();
  [[nodiscard]] std::string placeOfAgentsLog() const;
  void waitUntilConnected();
  void startPhone();
  void printWelcome();
  int stayUp();
  void waitForEvents(std::chrono::milliseconds timeout) const;
  void takeSampleAnswer();
  [[nodiscard]] std::optional<int> reasonToEnd();
  [[nodiscard]] int resultOfPhone(int code);
  void end();
  void withdrawLoginStart();
  [[nodiscard]] bool stopRequested() const { return signals.requested().has_value(); }

  const Programs programs;
  const Options options;
  EndSignals& signals;
  std::string folder;    // For databases and logs.
  std::string agentLog;  // Empty: its lines go to our own streams.
  RunningDemo running;
  std::optional<std::string> pairing;   // What the code holds. Absent: there is none.
  std::optional<std::string> answered;  // The label of the newest answer to a sample prompt.
  std::optional<std::chrono::steady_clock::time_point> nextSampleAt;
  // Destroyed from the last to the first, should an exception skip `end`.
  std::unique_ptr<privatedesktop::PrivateDesktop> desktop;
  std::unique_ptr<RelayProgram> relay;
  std::unique_ptr<SamplePrompts> samples;
  std::unique_ptr<Service> agent;
  std::unique_ptr<DemoSocket> demoSocket;
  std::unique_ptr<Service> phone;
};

}  // namespace quillard::demo
