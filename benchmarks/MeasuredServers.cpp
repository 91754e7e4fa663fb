#include "benchmarks/MeasuredServers.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "companion/relay/rules/RelayWorld.h"
#include "contract/support/TestAuthority.h"

namespace quillard::benchmarks {
namespace {

using test::Opcode;
using test::RelayWire;

const std::string kToken(64, 'a');
const test::WireHeaders kBearer{{"Authorization", "Bearer " + kToken}};

std::vector<std::string> liftedLimits(std::vector<std::string> arguments) {
  for (const char* name : {"agent-message-burst", "phone-message-burst", "pairing-mebibyte-burst",
                           "address-mebibyte-burst", "mebibyte-burst", "pairing-work-burst", "address-work-burst",
                           "work-burst", "registration-burst", "handshake-burst", "new-pairing-burst",
                           "address-new-pairing-burst", "connection-burst", "address-connection-burst"}) {
    arguments.insert(arguments.end(), {"--" + std::string(name), "100000000"});
  }
  for (const char* name : {"pairings", "unjoined-pairings", "connections", "open-requests", "address-websockets"}) {
    arguments.insert(arguments.end(), {"--" + std::string(name), "1000000"});
  }
  // Clients that are not read answer no pings, and a busy machine takes its time to connect ten thousand of them.
  arguments.insert(arguments.end(), {"--idle-milliseconds", "3600000"});
  return arguments;
}

}  // namespace

double MeasuredServer::processorSeconds() const {
  std::ifstream file("/proc/" + std::to_string(process()) + "/schedstat");
  double nanoseconds = 0;
  file >> nanoseconds;
  return nanoseconds / 1e9;
}

double MeasuredServer::memory() const {
  std::ifstream rollup("/proc/" + std::to_string(process()) + "/smaps_rollup");
  double sum = 0;
  for (std::string name; rollup >> name;) {
    double value = 0;
    if ((name == "Pss:" || name == "SwapPss:") && rollup >> value) sum += value;
  }
  return sum;
}

MeasuredRelay::MeasuredRelay(Encryption encryption, const std::vector<std::string>& more)
    : relay(argumentsFor(encryption, more)), registrar(relay.port(), authority) {}

std::vector<std::string> MeasuredRelay::argumentsFor(Encryption encryption, const std::vector<std::string>& more) {
  auto arguments = liftedLimits(more);
  if (encryption == Encryption::none) return arguments;
  const test::TestAuthority signer;
  const auto identity = signer.issue();
  authority = signer.certificate();
  const std::string certificate = folder.path() + "/certificate";
  const std::string key = folder.path() + "/key";
  std::ofstream(certificate) << identity.certificate;
  std::ofstream(key) << identity.key;
  arguments.insert(arguments.end(), {"--tls-certificate", certificate, "--tls-key", key});
  return arguments;
}

void MeasuredRelay::addPairing(const std::string& name) {
  const auto reply =
      registrar.ask("PUT", "/api/pairings/" + name + "/relay-token", kBearer, R"({"client":"mac","version":1})");
  if (reply.status != 204) throw std::runtime_error("A registration gave " + std::to_string(reply.status));
}

std::unique_ptr<RelayWire> MeasuredRelay::join(const std::string& query, int receiveBuffer) const {
  auto wire = std::make_unique<RelayWire>(relay.port(), authority, receiveBuffer);
  const int status = wire->upgrade(query, kBearer).status;
  if (status != 101) throw std::runtime_error("A WebSocket was refused with " + std::to_string(status));
  return wire;
}

std::unique_ptr<RelayWire> MeasuredRelay::joinAgent(const std::string& pairing) const {
  return join("role=mac&pairing=" + pairing, 0);
}

std::unique_ptr<RelayWire> MeasuredRelay::joinPhone(const std::string& pairing, const std::string& device,
                                                    int receiveBuffer) const {
  return join("role=phone&deviceID=" + device + "&deviceName=" + device + "&pairing=" + pairing, receiveBuffer);
}

MeasuredEcho::MeasuredEcho(const std::vector<std::string>& command)
    : server({.command = command, .environment = test::presentEnvironment()}) {
  const auto line = server.readLine();
  if (!line) throw std::runtime_error("The echo did not start.");
  boundPort = static_cast<std::uint16_t>(std::stoul(*line));
}

std::vector<std::string> MeasuredEcho::bare() {
  const char* other = std::getenv("QUILLARD_ECHO_PROGRAM");
  return {other ? other : QUILLARD_BARE_ECHO};
}

std::unique_ptr<RelayWire> MeasuredEcho::join() const {
  auto wire = std::make_unique<RelayWire>(boundPort);
  if (wire->upgrade("", {}).status != 101) throw std::runtime_error("The echo refused a WebSocket.");
  return wire;
}

std::string snapshotOf(std::size_t bytes) {
  auto message = relayserver::snapshot();
  message["encryptedApprovals"]["ciphertext"] = std::string(bytes, 'A');
  return message.dump();
}

void pass(RelayWire& from, RelayWire& to, const std::string& text, int count) {
  const int mostUnderWay = text.size() > 16 * 1024 ? 16 : 128;
  std::atomic<int> read{0};
  std::thread writer([&] {
    for (int i = 0; i < count; ++i) {
      while (i - read >= mostUnderWay) std::this_thread::yield();
      if (!from.sendFrame(Opcode::text, text)) return;
    }
  });
  while (read < count) {
    const auto frame = to.readFrame();
    if (!frame) break;
    if (frame->payload.size() >= text.size()) ++read;
  }
  const bool isDone = read >= count;
  read = count;
  writer.join();
  if (!isDone) throw std::runtime_error("The connection ended.");
}

}  // namespace quillard::benchmarks
