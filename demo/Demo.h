#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "desktop/PrivateDesktop.h"
#include "demo/EndSignals.h"
#include "demo/RelayProgram.h"
#include "demo/DemoSocket.h"
#include "demo/SamplePrompts.h"
#include "demo/Service.h"

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

// The whole road on one machine: desktop if need be, relay, agent, prompts, phone. Goes through bringing up, being up,
// and ending, which it does in this order: phone, agent, prompts, relay, desktop. It ends when it is told to, when its
// phone does, or when agent or relay do.
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
  void tellHowItStands();
  int stayUp();
  void waitForNews(std::chrono::milliseconds timeout) const;
  void takeAnswerOfSample();
  [[nodiscard]] std::optional<int> reasonToEnd();
  [[nodiscard]] int resultOfPhone(int code);
  void end();
  [[nodiscard]] bool stopRequested() const { return signals.requested().has_value(); }

  const Programs programs;
  const Options options;
  EndSignals& signals;
  std::string folder;    // For databases and logs.
  std::string agentLog;  // Empty: its lines go to our own streams.
  Road road;
  std::optional<std::string> pairing;   // What the code holds. Absent: there is none.
  std::optional<std::string> answered;  // The label of the newest answer to a sample prompt.
  std::optional<std::chrono::steady_clock::time_point> nextSampleAt;
  // Destroyed from the last to the first, should an exception skip `end`.
  std::unique_ptr<test::PrivateDesktop> desktop;
  std::unique_ptr<RelayProgram> relay;
  std::unique_ptr<SamplePrompts> samples;
  std::unique_ptr<Service> agent;
  std::unique_ptr<DemoSocket> demoSocket;
  std::unique_ptr<Service> phone;
};

}  // namespace quillard::demo
