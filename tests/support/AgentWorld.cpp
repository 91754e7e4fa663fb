#include "support/AgentWorld.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "approvals/PendingApprovalJson.h"
#include "relay/RelayAddress.h"
#include "relay/RelayCrypto.h"
#include "status/MenuBarIcon.h"

namespace quillard::samples {

using platform::simulated::Seed;
using platform::simulated::SimulatedWorld;

namespace {

constexpr std::string_view kBearer = "Bearer ";

template <class Request>
std::optional<std::string> headerOf(const Request& request, std::string_view name) {
  for (const auto& header : request.headers) {
    if (header.name == name) return header.value;
  }
  return std::nullopt;
}

template <class Request>
std::string bearerOf(const Request& request) {
  const auto header = headerOf(request, "authorization");
  return header ? header->substr(kBearer.size()) : "";
}

// Of "…/api/pairings/NAME/relay-token".
std::string pairingOf(const platform::HttpRequest& request) {
  constexpr std::string_view kBefore = "/api/pairings/";
  const auto start = request.url.find(kBefore);
  if (start == std::string::npos) return {};
  const auto name = request.url.substr(start + kBefore.size());
  return name.substr(0, name.find('/'));
}

// Also where one of them knows no computer's key yet.
bool isSamePairing(const InstallationSecrets& one, const InstallationSecrets& other) {
  return one.pairingID == other.pairingID && one.relayAuthToken == other.relayAuthToken &&
         one.e2eSecret == other.e2eSecret;
}

std::string typeOf(const std::string& frame) {
  return std::get<RelayMessageTypeProbe>(readRelayRecord<RelayMessageTypeProbe>(frame)).type;
}

std::string textOf(const Json& json) { return *jsonText(json); }

}  // namespace

std::optional<InstallationSecrets> keptSecrets(const SimulatedWorld& world, int number) {
  const std::string account = "installation-secrets-v1" + (number == 1 ? "" : "-" + std::to_string(number));
  auto& store = const_cast<SimulatedWorld&>(world).secretStore();
  for (const auto place : {platform::SecretPlace::dataProtectionKeychain, platform::SecretPlace::fileKeychain}) {
    const auto stored = store.stored(place, account);
    if (!stored) continue;
    return readInstallationSecrets({reinterpret_cast<const std::uint8_t*>(stored->data()), stored->size()});
  }
  return std::nullopt;
}

// ---- The relay

SimulatedRelay::SimulatedRelay(SimulatedWorld& world) : world(world) {
  world.httpSessions().setServer([this](const platform::HttpRequest& request) -> std::optional<platform::HttpOutcome> {
    if (!isUp) return std::nullopt;
    return registered(request);
  });
  world.webSockets().onStart([this](const SocketHandle& socket) { started(socket); });
}

void SimulatedRelay::goDown() {
  isUp = false;
  dropConnections();
}

void SimulatedRelay::dropConnections() {
  for (const auto& conversation : all) {
    if (!conversation.socket->isEnded()) conversation.socket->fail("The connection was reset.");
  }
}

void SimulatedRelay::loseWhatIsSent() {
  for (auto& conversation : all) {
    if (!conversation.socket->isEnded()) conversation.losesWhatIsSent = true;
  }
}

void SimulatedRelay::revoke(const std::string& pairingID) {
  revokedPairingIDs.insert(pairingID);
  dropConnections();
}

void SimulatedRelay::loseDatabase() {
  tokens.clear();
  computerKeys.clear();
  dropConnections();
}

platform::HttpOutcome SimulatedRelay::registered(const platform::HttpRequest& request) {
  if (registrationAnswer) return *registrationAnswer;
  const auto pairingID = pairingOf(request);
  if (isRevoked(pairingID)) return platform::HttpResponse{410};
  if (const auto refusal = learnComputer(pairingID, headerOf(request, kComputerKeyHeader))) {
    return platform::HttpResponse{*refusal};
  }
  tokens.insert(bearerOf(request));
  return platform::HttpResponse{204};
}

std::optional<int> SimulatedRelay::learnComputer(const std::string& pairingID, const std::optional<std::string>& key) {
  const auto known = computerKeys.find(pairingID);
  if (known != computerKeys.end()) return known->second == key ? std::nullopt : std::optional{409};
  const bool isNew = !key || *key == "new";
  if (isNew) return wantsComputerKeys ? std::optional{428} : std::nullopt;
  computerKeys.emplace(pairingID, *key);
  return std::nullopt;
}

bool SimulatedRelay::isComputer(const std::string& pairingID, const std::optional<std::string>& key) const {
  const auto known = computerKeys.find(pairingID);
  return known == computerKeys.end() || known->second == key;
}

void SimulatedRelay::started(const SocketHandle& socket) {
  const auto secrets = secretsOf(bearerOf(socket->request()));
  if (!isUp || !secrets) {
    socket->fail("Connection refused.");
    return;
  }
  if (socketAnswer) return socket->refuse(*socketAnswer);
  if (isRevoked(secrets->pairingID)) return socket->refuse(410);
  const bool isComputersOwn = isComputer(secrets->pairingID, headerOf(socket->request(), kComputerKeyHeader));
  if (!tokens.contains(bearerOf(socket->request())) || !isComputersOwn) return socket->refuse(401);
  all.push_back({socket, *secrets});
  socket->accept();
}

// Of the identity that the agent keeps with this token, or had when it connected before.
std::optional<InstallationSecrets> SimulatedRelay::secretsOf(const std::string& token) const {
  for (int number = 1; number <= 8; ++number) {
    auto secrets = keptSecrets(world, number);
    if (secrets && secrets->relayAuthToken.text() == token) return secrets;
  }
  for (const auto& conversation : all) {
    if (conversation.secrets.relayAuthToken.text() == token) return conversation.secrets;
  }
  return std::nullopt;
}

std::vector<std::string> SimulatedRelay::revokedByAgents() const {
  std::vector<std::string> pairingIDs;
  for (const auto& conversation : all) {
    if (conversation.losesWhatIsSent) continue;
    for (const auto& frame : conversation.socket->receivedTexts()) {
      if (typeOf(frame) == kUnpairPhoneType) pairingIDs.push_back(conversation.secrets.pairingID);
    }
  }
  return pairingIDs;
}

bool SimulatedRelay::isRevoked(const std::string& pairingID) const {
  if (revokedPairingIDs.contains(pairingID)) return true;
  const auto revoked = revokedByAgents();
  return std::find(revoked.begin(), revoked.end(), pairingID) != revoked.end();
}

SocketHandle SimulatedRelay::agentOf(const InstallationSecrets& secrets) const {
  for (auto conversation = all.rbegin(); conversation != all.rend(); ++conversation) {
    const bool isOpen = conversation->socket->isAccepted() && !conversation->socket->isEnded();
    if (isOpen && isSamePairing(conversation->secrets, secrets)) return conversation->socket;
  }
  return {};
}

std::vector<std::string> SimulatedRelay::received(std::string_view type) const {
  std::vector<std::string> frames;
  for (const auto& conversation : all) {
    for (const auto& frame : conversation.socket->receivedTexts()) {
      if (typeOf(frame) == type) frames.push_back(frame);
    }
  }
  return frames;
}

// ---- The phone

SimulatedPhone::SimulatedPhone(SimulatedWorld& world, SimulatedRelay& relay)
    : world(world), relay(relay), random(Seed{0x70686F6E65}) {}

void SimulatedPhone::pair(int number) {
  secrets = keptSecrets(world, number);
  framesRead.clear();
  allSnapshots.clear();
  clock.reset();
  allResults.clear();
}

void SimulatedPhone::comeOnline(const std::string& deviceName) { sendStatus(true, deviceName); }
void SimulatedPhone::comeOnlineTogether(const std::vector<std::string>& deviceNames) {
  const auto agent = secrets ? relay.agentOf(*secrets) : nullptr;
  if (!agent) return;
  PhoneStatusRelayMessage message{.type = std::string(kPhoneStatusType),
                                  .phoneConnected = !deviceNames.empty(),
                                  .phoneCount = static_cast<std::int64_t>(deviceNames.size())};
  message.phones.emplace();
  for (const auto& name : deviceNames) message.phones->push_back({.deviceID = "of-" + name, .deviceName = name});
  agent->sendText(textOf(toJson(message)));
}
void SimulatedPhone::goOffline() { sendStatus(false, ""); }

void SimulatedPhone::sendStatus(bool isConnected, const std::string& deviceName) {
  const auto agent = secrets ? relay.agentOf(*secrets) : nullptr;
  if (!agent) return;
  PhoneStatusRelayMessage message{
      .type = std::string(kPhoneStatusType), .phoneConnected = isConnected, .phoneCount = isConnected ? 1 : 0};
  if (isConnected) message.phones = std::vector<RelayPhoneStatus>{{.deviceID = "phone-1", .deviceName = deviceName}};
  agent->sendText(textOf(toJson(message)));
}

bool SimulatedPhone::send(const std::string& decisionID, const Uuid& approvalID, const std::string& buttonLabel) {
  if (!secrets) return false;
  const ApprovalRequestCommand command{
      .approvalID = approvalID, .buttonLabel = buttonLabel, .isUserVerified = isUserVerified};
  return deliver(decisionID,
                 std::get<EncryptedRelayPayload>(RelayCrypto::seal(toJson(command), secrets->e2eSecret, random)));
}

EncryptedRelayPayload SimulatedPhone::timedRequest(const std::string& decisionID, const Uuid& approvalID,
                                                   const std::string& buttonLabel,
                                                   const std::optional<ClockStamp>& tappedAt) {
  const auto known = newestClock();
  const ApprovalRequestCommand command{
      .approvalID = approvalID,
      .buttonLabel = buttonLabel,
      .decisionID = decisionID,
      // A phone in the same world knows the agent's clock exactly, and the run from what came.
      .tappedAt = tappedAt ? *tappedAt : ClockStamp{known.value().epoch, world.time().continuousTime()},
      .isUserVerified = isUserVerified};
  return std::get<EncryptedRelayPayload>(RelayCrypto::seal(toJson(command), secrets.value().e2eSecret, random));
}

bool SimulatedPhone::deliver(const std::string& decisionID, const EncryptedRelayPayload& request) {
  const auto agent = secrets ? relay.agentOf(*secrets) : nullptr;
  if (!agent) return false;
  const ApprovalRequestRelayMessage message{.type = std::string(kApprovalRequestType),
                                            .decisionID = decisionID,
                                            .encryptedRequest = request,
                                            .issuedAt = world.time().now()};
  agent->sendText(textOf(toJson(message)));
  return true;
}

std::optional<std::string> SimulatedPhone::decide(const Uuid& approvalID, const std::string& buttonLabel) {
  std::string decisionID = "decision-" + std::to_string(++decisionCount);
  if (!send(decisionID, approvalID, buttonLabel)) return std::nullopt;
  return decisionID;
}

bool SimulatedPhone::sendSuppression(const std::string& action, const Uuid& suppressionID,
                                     std::optional<std::int64_t> lasts) {
  const auto agent = secrets ? relay.agentOf(*secrets) : nullptr;
  if (!agent) return false;
  const ApprovalSuppressionCommand command{.action = action, .suppressionID = suppressionID, .lasts = lasts};
  const ApprovalSuppressionRelayMessage message{.type = std::string(kSuppressType),
                                                .decisionID = "suppression",
                                                .encryptedSuppression = std::get<EncryptedRelayPayload>(
                                                    RelayCrypto::seal(toJson(command), secrets->e2eSecret, random))};
  lastSuppression = textOf(toJson(message));
  agent->sendText(lastSuppression);
  return true;
}

bool SimulatedPhone::repeatSuppression() {
  const auto agent = secrets ? relay.agentOf(*secrets) : nullptr;
  if (agent) agent->sendText(lastSuppression);
  return agent != nullptr;
}

std::string SimulatedPhone::opened(const EncryptedRelayPayload& payload) const {
  return std::get<std::string>(RelayCrypto::open(payload, secrets->e2eSecret));
}

ComputerState SimulatedPhone::readState(const EncryptedRelayPayload& payload) const {
  return std::get<ComputerState>(readRelayCommand<ComputerState>(opened(payload)));
}

void SimulatedPhone::read() {
  if (!secrets) return;
  const auto& conversations = relay.conversations();
  for (std::size_t i = 0; i < conversations.size(); ++i) {
    if (!isSamePairing(conversations[i].secrets, *secrets)) continue;
    const auto frames = conversations[i].socket->receivedTexts();
    for (auto& next = framesRead[i]; next < frames.size(); ++next) {
      const auto& frame = frames[next];
      if (typeOf(frame) == kMacSnapshotType) {
        const auto message = std::get<MacSnapshotRelayMessage>(readRelayRecord<MacSnapshotRelayMessage>(frame));
        const auto list = opened(message.encryptedApprovals);
        allSnapshots.push_back({std::get<std::vector<PendingApproval>>(readPendingApprovals(list)),
                                message.accessibilityTrusted, std::get<SnapshotMarks>(readSnapshotMarks(list)),
                                message.encryptedState ? readState(*message.encryptedState) : ComputerState{}});
        if (allSnapshots.back().marks.clock) clock = allSnapshots.back().marks.clock;
      } else if (typeOf(frame) == kApprovalResultType) {
        const auto message = std::get<ApprovalResultRelayMessage>(readRelayRecord<ApprovalResultRelayMessage>(frame));
        allResults.push_back(
            {message.decisionID, std::get<ApprovalResultCommand>(
                                     readRelayCommand<ApprovalResultCommand>(opened(message.encryptedResult)))});
        clock = allResults.back().command.clock;
      } else if (typeOf(frame) == kMacClockType) {
        const auto message = std::get<MacClockRelayMessage>(readRelayRecord<MacClockRelayMessage>(frame));
        const auto command = std::get<ClockCommand>(readRelayCommand<ClockCommand>(opened(message.encryptedClock)));
        clock = command.clock;
        lastMeeting = command.reports;
      }
    }
  }
}

MeetingReports SimulatedPhone::meeting() {
  read();
  return lastMeeting;
}

std::vector<PhoneSnapshot> SimulatedPhone::snapshots() {
  read();
  return allSnapshots;
}

std::vector<PhoneResult> SimulatedPhone::results() {
  read();
  return allResults;
}

std::optional<ClockStamp> SimulatedPhone::newestClock() {
  read();
  return clock;
}

std::vector<NewPhone> SimulatedPhone::newPhones() {
  read();
  return lastMeeting.newPhones;
}

std::vector<PendingApproval> SimulatedPhone::shown() {
  read();
  return allSnapshots.empty() ? std::vector<PendingApproval>{} : allSnapshots.back().approvals;
}

std::vector<std::string> SimulatedPhone::shownTitles() {
  std::vector<std::string> titles;
  for (const auto& approval : shown()) titles.push_back(approval.windowTitle);
  return titles;
}

std::vector<std::string> SimulatedPhone::answers(const std::string& decisionID) {
  std::vector<std::string> answers;
  for (const auto& result : results()) {
    if (result.decisionID != decisionID) continue;
    answers.push_back(result.command.status + (result.command.error ? ": " + *result.command.error : ""));
  }
  return answers;
}

// ---- The agent

AgentWorld::AgentWorld(std::uint64_t seed) : world(Seed{seed}) {
  world.environment().set("QUILLARD_RELAY_URL", "wss://relay.example/ws");
  world.environment().set("QUILLARD_PAIRING_ID", "quillard");
}

AgentWorld::~AgentWorld() { destroyAgent(); }

void AgentWorld::construct() {
  world.time().runOnMainThread(
      [&] { agent = std::make_shared<AppDelegate>(world.platform(), world.statusWindowViews()); });
}

void AgentWorld::launch() {
  if (!agent) construct();
  onMainThread([this](AppDelegate&) { world.application().setDelegate(agent); });
  onMainThread([](AppDelegate&) {});  // After the turn in which the agent launches.
}

void AgentWorld::launchAndPair() {
  launch();
  advance(1);
  phone.pair();
  phone.comeOnline();
  advance(0);
}

void AgentWorld::quit() {
  world.application().terminate();
  advance(1);
  destroyAgent();
}

void AgentWorld::destroyAgent() {
  if (!agent) return;
  bool isDone = false;
  world.time().runOnMainThread([&] {
    agent.reset();
    isDone = true;
  });
  while (!isDone) advance(0.01);
}

bool AgentWorld::menuBarShowsPending() {
  const auto items = world.statusBar().items();
  return !items.empty() && items.back()->length == MenuBarIcon::pendingLength;
}

MacStatusSnapshot AgentWorld::status() {
  MacStatusSnapshot snapshot;
  onMainThread([&](AppDelegate& delegate) { snapshot = delegate.currentStatusSnapshot(); });
  return snapshot;
}

platform::simulated::DialogSpec erasePrompt(const std::string& title) {
  return {.title = title, .lines = {"Erasing cannot be undone."}, .buttons = {"Cancel", "Erase"}};
}

}  // namespace quillard::samples
