#include "simulation/HostileRelay.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>
#include <variant>

#include "foundation/StrictJson.h"
#include "foundation/UrlComponents.h"

namespace quillard::simulation {

using relayserver::MessageText;

namespace {

constexpr std::string_view kBearer = "Bearer ";
constexpr std::size_t kKeptFrames = 64;
constexpr std::int64_t kEpoch = 1'768'467'600;

class SilentLog final : public relayserver::EventLog {
 public:
  void note(std::string_view) override {}
  void warn(std::string_view) override {}
};

std::string bearerOf(const std::vector<platform::HttpHeader>& headers) {
  for (const auto& header : headers) {
    if (header.name == "authorization") return header.value.substr(std::min(kBearer.size(), header.value.size()));
  }
  return {};
}

// From the path on.
std::string targetOf(const std::string& url) {
  const auto host = url.find("://");
  const auto path = host == std::string::npos ? std::string::npos : url.find('/', host + 3);
  return path == std::string::npos ? "/" : url.substr(path);
}

}  // namespace

// The honest relay. It is made anew when the relay restarts; what it stored stays.
class HostileRelay::Core {
 public:
  explicit Core(relayserver::MemoryPairingStore& store) : pairings(store, limits) {}

  SilentLog log;
  relayserver::RelayLimits limits;
  relayserver::RelayMetrics metrics;
  relayserver::PhonePage page;
  relayserver::Pairings pairings;
  relayserver::MemoryBudget memory{limits.memoryBytes};
  relayserver::PairingRooms rooms{relayserver::PairingRooms::Dependencies{pairings, memory, limits, metrics, log}};
  relayserver::RelayService service{relayserver::RelayService::Dependencies{pairings, rooms, page, limits}};
};

struct HostileRelay::AgentLink {
  ConnectionHandle connection;
  std::string pairingID;
  std::string token;
  std::shared_ptr<AgentPeer> peer{};
  Seconds lastToAgent{0};
  Seconds lastFromAgent{0};
  bool hasLeft = false;
};

class HostileRelay::AgentPeer final : public relayserver::RelayPeer {
 public:
  AgentPeer(HostileRelay& relay, std::weak_ptr<AgentLink> link) : relay(relay), link(std::move(link)) {}
  Sending send(const MessageText& text, std::uint64_t) override {
    relay.toAgent(link, *text);
    return Sending::written;
  }
  void ping() override {
    const auto alive = link.lock();
    if (alive && !alive->connection->isEnded()) pinged = true;
  }
  void close(relayserver::CloseCode code) override {
    if (const auto alive = link.lock()) alive->connection->close(static_cast<std::uint16_t>(code));
  }
  void abort() override {
    if (const auto alive = link.lock()) alive->connection->fail("The connection was reset.");
  }
  [[nodiscard]] std::size_t heldBytes() const override { return 0; }
  bool pinged = false;

 private:
  HostileRelay& relay;
  std::weak_ptr<AgentLink> link;
};

class HostileRelay::PhonePeer final : public relayserver::RelayPeer {
 public:
  PhonePeer(HostileRelay& relay, std::string deviceID, std::uint64_t number)
      : relay(relay), deviceID(std::move(deviceID)), number(number) {}
  Sending send(const MessageText& text, std::uint64_t) override {
    relay.toPhone(deviceID, number, *text);
    return Sending::written;
  }
  void ping() override { pinged = true; }
  void close(relayserver::CloseCode) override { end(); }
  void abort() override { end(); }
  [[nodiscard]] std::size_t heldBytes() const override { return 0; }
  bool pinged = false;

 private:
  void end() {
    relay.stage.later(Seconds::zero(), [&owner = relay, device = deviceID, connection = number] {
      const auto found = owner.phones.find(device);
      if (found == owner.phones.end() || found->second.number != connection) return;
      PhoneLine* const line = found->second.line;
      owner.phones.erase(found);
      line->lineEnded();
    });
  }
  HostileRelay& relay;
  const std::string deviceID;
  const std::uint64_t number;
};

HostileRelay::HostileRelay(Stage& stage, Identities& identities, Ledger& ledger, RelayEvents events, std::uint64_t seed)
    : stage(stage),
      identities(identities),
      ledger(ledger),
      events(std::move(events)),
      chance(seed, 2),
      network(stage, ledger, chance),
      core(std::make_unique<Core>(store)) {
  stage.world.httpSessions().setServer([this](const platform::HttpRequest& request) { return answer(request); });
  stage.world.webSockets().onStart([this](const ConnectionHandle& connection) { connectionStarted(connection); });
}

HostileRelay::~HostileRelay() {
  stage.world.httpSessions().setServer(nullptr);
  stage.world.webSockets().onStart(nullptr);
}

relayserver::Moment HostileRelay::moment() const {
  const auto passed = std::chrono::duration_cast<relayserver::Duration>(stage.now());
  return {relayserver::Instant{std::chrono::hours{1}} + passed,
          kEpoch + std::chrono::duration_cast<std::chrono::seconds>(passed).count()};
}

// ---- The agent's side

std::optional<platform::HttpOutcome> HostileRelay::answer(const platform::HttpRequest& request) {
  expectBoundedAttempts();
  identities.refresh();
  identities.presented(bearerOf(request.headers));
  events.agentAsked(request);
  if (!isUp || stage.verdict.isBroken()) return std::nullopt;
  const auto refuses = [this](Fault how) {
    const auto found = refusals.find(how);
    if (found == refusals.end() || found->second < stage.now()) return false;
    stage.happened(how);
    return true;
  };
  if (refuses(Fault::registrationIsNotAnswered)) return std::nullopt;
  if (refuses(Fault::registrationIsAnswered401)) return platform::HttpResponse{401};
  if (refuses(Fault::registrationIsAnswered410)) return platform::HttpResponse{410};
  if (refuses(Fault::registrationIsAnswered500)) return platform::HttpResponse{500};
  relayserver::HttpRequest asked{.method = request.method,
                                 .target = targetOf(request.url),
                                 .body = request.body,
                                 .authorization = {std::string(kBearer) + bearerOf(request.headers)},
                                 .from = {"192.0.2.1"}};
  const int status = core->service.answer(asked, moment()).status;
  stage.trace("relay", "registration is answered with ", status);
  return platform::HttpResponse{status};
}

// No more than twenty in any ten seconds, whatever the relay answers.
void HostileRelay::expectBoundedAttempts() {
  constexpr std::size_t kMost = 20;
  attempts.push_back(stage.now());
  if (attempts.size() <= kMost) return;
  if (attempts.back() - attempts.front() < Seconds{10}) stage.fail("The agent asks the relay without end.");
  attempts.pop_front();
}

// The status with which the relay refuses. Absent: it does not. Zero: it does not answer as a server at all.
std::optional<int> HostileRelay::refusal(const ConnectionHandle& connection) {
  if (!isUp) return 0;
  constexpr std::array<std::pair<Fault, int>, 3> kLies{{{Fault::connectionIsAnswered401, 401},
                                                        {Fault::connectionIsAnswered410, 410},
                                                        {Fault::connectionIsAnswered500, 500}}};
  for (const auto& [how, status] : kLies) {
    const auto found = refusals.find(how);
    if (found == refusals.end() || found->second < stage.now()) continue;
    stage.happened(how);
    return status;
  }
  const auto outcome =
      core->service.admit({.method = "GET",
                           .target = targetOf(connection->request().url),
                           .authorization = {std::string(kBearer) + bearerOf(connection->request().headers)},
                           .asksForWebSocket = true,
                           .from = {"192.0.2.1"}},
                          moment());
  const auto* refused = std::get_if<relayserver::HttpResponse>(&outcome);
  return refused ? std::optional{refused->status} : std::nullopt;
}

void HostileRelay::connectionStarted(const ConnectionHandle& connection) {
  expectBoundedAttempts();
  events.agentWasCutOff();  // From the connection before, whoever ended that.
  identities.refresh();
  if (const auto status = refusal(connection)) {
    stage.trace("relay", "refuses the agent's connection with ", *status);
    stage.later(Seconds{0.02}, [connection, status] {
      if (*status == 0) {
        connection->fail("Connection refused.");
      } else {
        connection->refuse(*status);
      }
    });
    return;
  }
  const auto link = std::make_shared<AgentLink>(
      AgentLink{.connection = connection, .token = bearerOf(connection->request().headers)});
  const auto target = relayserver::parseRequestTarget(targetOf(connection->request().url));
  const auto who = target ? relayserver::readIntroduction(target->query) : std::nullopt;
  if (!who) return stage.fail("The agent asked for a connection that the relay cannot read.");
  link->pairingID = who->pairingID;
  link->peer = std::make_shared<AgentPeer>(*this, link);
  connection->setReceiver([this, weak = std::weak_ptr(link)](const std::string& frame) {
    if (const auto alive = weak.lock()) fromAgent(alive, frame);
  });
  agents.push_back(link);
  stage.later(Seconds{0.02}, [this, link, introduction = *who] {
    if (link->connection->isEnded() || link->hasLeft) return;
    stage.trace("relay", "accepts the agent's connection");
    link->connection->accept();
    core->rooms.join(link->peer, introduction, {}, moment().instant);
  });
}

void HostileRelay::fromAgent(const std::shared_ptr<AgentLink>& link, const std::string& frame) {
  identities.refresh();
  if (const auto* secrets = identities.ofToken(link->token)) {
    events.agentSent(frame, *secrets);
  } else {
    events.unknownAgentSent(frame);
  }
  const int hostility = network.hostilityPercent();
  if (hostility > 0 && static_cast<int>(chance.below(400)) < hostility) {
    stage.happened(Fault::frameIsReflected);
    toAgent(link, frame);
  }
  network.send(frame, link->lastFromAgent, [this, link](const std::string& arrived) {
    core->rooms.didReceiveBytes(*link->peer, 1, moment().instant);
    core->rooms.take(*link->peer, arrived, moment());
  });
}

void HostileRelay::toAgent(const std::weak_ptr<AgentLink>& link, const std::string& frame) {
  const auto alive = link.lock();
  if (!alive) return;
  archive.push_back({alive->pairingID, frame});
  if (archive.size() > kKeptFrames) archive.pop_front();
  network.send(frame, alive->lastToAgent, [this, pairingID = alive->pairingID, link](const std::string& arrived) {
    deliverToAgent(pairingID, link, arrived);
  });
}

// What was held back reaches the connection that the agent has by then.
void HostileRelay::deliverToAgent(const std::string& pairingID, const std::weak_ptr<AgentLink>& link,
                                  const std::string& frame) {
  auto target = link.lock();
  if (!target || target->connection->isEnded()) {
    if (network.hostilityPercent() == 0) return;
    target = newestLink(pairingID);
  }
  if (!target || !target->connection->isAccepted() || target->connection->isEnded()) return;
  const auto parsed = Json::parse(frame, nullptr, false);
  if (parsed.is_object() && parsed.contains("encryptedRequest")) {
    const auto ciphertext = parsed["encryptedRequest"].value("ciphertext", std::string{});
    if (TapDecision* const decision = ledger.ofBox(ciphertext)) {
      stage.trace("relay", "delivers ", parsed.value("decisionID", std::string{}), " to the agent");
      ledger.deliver(*decision, stage.now());
    }
  }
  target->connection->sendText(frame);
}

std::shared_ptr<HostileRelay::AgentLink> HostileRelay::newestLink(const std::string& pairingID) const {
  for (auto link = agents.rbegin(); link != agents.rend(); ++link) {
    if ((*link)->pairingID == pairingID && !(*link)->connection->isEnded()) return *link;
  }
  return nullptr;
}

bool HostileRelay::hasAgent(const InstallationSecrets& secrets) const {
  const auto link = newestLink(secrets.pairingID);
  return link && link->connection->isAccepted();
}

void HostileRelay::leave(AgentLink& link) {
  if (std::exchange(link.hasLeft, true)) return;
  core->rooms.leave(*link.peer, moment().instant);
}

// ---- The phones' side

bool HostileRelay::connect(const std::string& deviceID, const InstallationSecrets& secrets, PhoneLine& line) {
  if (!isUp) return false;
  const std::string target =
      "/ws?role=phone&pairing=" + secrets.pairingID + "&deviceID=" + deviceID + "&deviceName=" + deviceID;
  auto outcome =
      core->service.admit({.method = "GET",
                           .target = target,
                           .authorization = {std::string(kBearer) + std::string(secrets.relayAuthToken.text())},
                           .asksForWebSocket = true,
                           .from = {deviceID}},
                          moment());
  auto* const admission = std::get_if<relayserver::Admission>(&outcome);
  if (!admission) return false;
  const std::uint64_t number = ++connectionsMade;
  PhoneLink& link = phones[deviceID];
  link = {.peer = std::make_shared<PhonePeer>(*this, deviceID, number),
          .line = &line,
          .number = number,
          .pairingID = secrets.pairingID};
  const auto peer = link.peer;
  core->rooms.join(peer, admission->who, admission->from, moment().instant);
  return true;
}

void HostileRelay::disconnect(const std::string& deviceID) {
  const auto found = phones.find(deviceID);
  if (found == phones.end()) return;
  const auto peer = found->second.peer;
  phones.erase(found);
  core->rooms.leave(*peer, moment().instant);
}

void HostileRelay::send(const std::string& deviceID, const std::string& frame) {
  const auto found = phones.find(deviceID);
  if (found == phones.end()) return;
  network.send(frame, found->second.lastFromPhone, [this, peer = found->second.peer](const std::string& arrived) {
    core->rooms.didReceiveBytes(*peer, 1, moment().instant);
    core->rooms.take(*peer, arrived, moment());
  });
}

void HostileRelay::toPhone(const std::string& deviceID, std::uint64_t connection, const std::string& frame) {
  const auto found = phones.find(deviceID);
  if (found == phones.end() || found->second.number != connection) return;
  network.send(frame, found->second.lastToPhone, [this, deviceID, connection](const std::string& arrived) {
    const auto link = phones.find(deviceID);
    if (link != phones.end() && link->second.number == connection) link->second.line->frameArrived(arrived);
  });
}

// ---- What happens once

void HostileRelay::dropConnections() {
  if (agents.empty()) return;
  stage.happened(Fault::connectionIsDropped);
  for (const auto& link : agents) {
    if (!link->connection->isEnded()) link->connection->fail("The connection was reset.");
    leave(*link);
  }
  agents.clear();
  events.agentWasCutOff();
}

void HostileRelay::goDown(Seconds duration) {
  stage.happened(Fault::relayIsDown);
  isUp = false;
  restart(false);
  stage.later(duration, [this] {
    isUp = true;
    stage.trace("relay", "is up again");
  });
}

void HostileRelay::restart(bool losesDatabase) {
  stage.happened(losesDatabase ? Fault::relayLosesItsDatabase : Fault::relayRestarts);
  for (const auto& link : agents) {
    if (!link->connection->isEnded()) link->connection->fail("The connection was reset.");
    link->hasLeft = true;
  }
  agents.clear();
  events.agentWasCutOff();
  const auto ending = std::exchange(phones, {});
  if (losesDatabase) store.entries.clear();
  core = std::make_unique<Core>(store);
  for (const auto& [deviceID, link] : ending) link.line->lineEnded();
}

void HostileRelay::refuse(Fault how, Seconds duration) { refusals[how] = stage.now() + duration; }

void HostileRelay::togglePresence() {
  if (agents.empty()) return;
  const auto link = agents.back();
  stage.happened(Fault::presenceIsToggled);
  for (int i = chance.between(1, 6); i > 0; --i) {
    const std::string text = relayserver::phoneStatusText(
        i % 2 == 0
            ? std::vector<relayserver::PhoneDescription>{}
            : std::vector<relayserver::PhoneDescription>{{.deviceID = "made-up", .deviceName = "Nobody's phone"}});
    stage.later(chance.seconds(0.01, 5), [this, link, text] { deliverToAgent(link->pairingID, link, text); });
  }
}

void HostileRelay::replayOldFrame() {
  if (archive.empty()) return;
  const KeptFrame kept = archive[chance.below(archive.size())];
  stage.happened(Fault::oldFrameIsReplayed);
  deliverToAgent(kept.pairingID, {}, kept.frame);
}

void HostileRelay::sendGarbage() {
  if (agents.empty()) return;
  const std::string decision = R"({"type":"approval.request","decisionID":"x","encryptedRequest":)"
                               R"({"version":1,"nonce":"AAAA","ciphertext":"AAAA"}})";
  const std::vector<std::string> garbage{"",
                                         "{",
                                         "[]",
                                         R"({"type":"approval.request"})",
                                         R"({"type":"phone.status","phoneCount":-1e999})",
                                         R"({"type":"mac.clock"})",
                                         "{\"type\":\"\xff\"}",
                                         decision};
  stage.happened(Fault::garbageIsSent);
  const auto link = agents.back();
  if (link->connection->isAccepted() && !link->connection->isEnded()) link->connection->sendText(chance.pick(garbage));
}

// Nobody can find out which frames a relay kept to itself. What it kept is sent anew over new connections.
void HostileRelay::calmDown() {
  const bool wasHostile = network.hostilityPercent() > 0;
  network.setHostility(0);
  if (wasHostile) restart(false);
  isUp = true;
  refusals.clear();
  archive.clear();
}

void HostileRelay::tick() {
  if (!isUp) return;
  for (const auto& link : agents) {
    if (link->connection->isEnded()) leave(*link);
  }
  std::erase_if(agents, [](const auto& link) { return link->hasLeft; });
  core->rooms.tick(moment().instant);
  for (const auto& link : agents) {
    if (std::exchange(link->peer->pinged, false)) core->rooms.didReceiveBytes(*link->peer, 1, moment().instant);
  }
  std::vector<std::shared_ptr<PhonePeer>> alive;
  for (const auto& [deviceID, link] : phones) {
    if (std::exchange(link.peer->pinged, false)) alive.push_back(link.peer);
  }
  for (const auto& peer : alive) core->rooms.didReceiveBytes(*peer, 1, moment().instant);
}

}  // namespace quillard::simulation
