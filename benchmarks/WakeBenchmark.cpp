// How long it takes from a prompt on the screen until a push service has the word for a phone that sleeps: with the
// installed agent on a private desktop, the real relay, and a strict push service over TLS. A line, beside the delay
// that is fixed.

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "benchmarks/Figures.h"
#include "benchmarks/SizedBenchmarks.h"
#include "e2e/AgentAtRelay.h"
#include "e2e/PushServiceProgram.h"

namespace quillard::benchmarks {
namespace {

using std::chrono::steady_clock;

// From the hint of a window to the second scan that finds its prompt, which is the one that publishes it.
constexpr double kPublish = 800;

// The installed agent at the real relay, a push service over TLS, and a phone that subscribes and goes.
class Road {
 public:
  Road() {
    agent.push_back(installed.start({{"QUILLARD_RELAY_URL", "ws://127.0.0.1:" + std::to_string(relay.port()) + "/ws"},
                                     {"QUILLARD_PAIRING_ID", "office"}}));
    const bool isThere = test::waitFor([&] { return relay.output().find("Agent joined") != std::string::npos; });
    if (!isThere) throw std::runtime_error("The agent does not connect.");
    phone.emplace(relay, installed.secrets());
    subscribe();
  }

  double toPushService() {
    // One push in ten seconds; and a phone that went may come back for a while.
    std::this_thread::sleep_for(std::chrono::seconds(11));
    auto prompt = desktop.launch("gtk3_prompt", test::prompt("Wake " + std::to_string(++prompts), {"No", "Yes"}));
    if (!prompt.waitForOutput("ready")) throw std::runtime_error("No prompt.");
    const auto shown = steady_clock::now();
    if (service.request().is_null()) throw std::runtime_error("No push.");
    return std::chrono::duration<double, std::milli>(steady_clock::now() - shown).count();
  }

 private:
  void subscribe() {
    if (phone->join("A") != 101) throw std::runtime_error("The phone cannot join.");
    const auto answer =
        test::RelayWire(relay.port())
            .ask("GET", "/api/pairings/" + phone->pairingID() + "/push-key?deviceID=A", phone->headers());
    const std::string key = Json::parse(answer.body)["key"];
    service.setKey(key);
    const Json box = toJson(phone->sealed({{"deviceID", "A"}, {"p256dh", kPoint}, {"auth", "BTBZMqHH6r4Tts7J_aSIgg"}}));
    phone->connection().say({{"type", "push.subscribe"},
                             {"endpoint", service.endpoint("201", "A")},
                             {"key", key},
                             {"encryptedSubscription", box}});
    if (!phone->connection().read("push.subscription").value("subscribed", false)) {
      throw std::runtime_error("The phone cannot subscribe.");
    }
    phone->leave();
  }

  static constexpr const char* kPoint =
      "BCVxsr7N_eNgVRqvHtD0zTZsEc6-VV-JvLexhqUzORcxaOzi6-AYWXvTBHm4bjyPjs7Vd8pZGH6SRpkNtoIAiw4";
  const test::PushServiceProgram service;
  test::RelayProgram relay{service.options()};
  test::PrivateDesktop desktop;
  test::InstalledAgent installed{desktop, QUILLARD_PROGRAM, QUILLARD_INFORMATION};
  std::vector<test::DesktopProgram> agent;
  std::optional<test::WirePhone> phone;
  int prompts = 0;
};

void wake() {
  Road road;
  std::vector<double> times;
  for (int i = 0; i < sized(9); ++i) times.push_back(road.toPushService());
  print({"prompt on screen to push service", "the fixed 0.8 s", medianOf(times), kPublish, "ms", "1800 ms"});
}

}  // namespace
}  // namespace quillard::benchmarks

int main() { quillard::benchmarks::wake(); }
