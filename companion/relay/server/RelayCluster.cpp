#include "companion/relay/server/RelayCluster.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <openssl/rand.h>
#include <openssl/ssl.h>

#include "foundation/Text.h"

namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;
using TlsContext = std::shared_ptr<asio::ssl::context>;

constexpr std::chrono::milliseconds kQuestionInterval{500};
constexpr std::chrono::milliseconds kQuestionTimeout{1'000};
// A relay that says nothing for so long is taken for one that stands still.
constexpr std::chrono::milliseconds kSilence{2'000};
constexpr std::chrono::seconds kHomeTimeout{2};
constexpr std::chrono::seconds kLeaving{2};
constexpr std::size_t kLongestAnswer = 4096;
// How long a home has to close a phone itself, with the code that says why.
constexpr std::chrono::seconds kGrace{1};

// Goes on while the computer sleeps.
Instant bootInstant() {
#ifdef CLOCK_BOOTTIME
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return Instant(
      std::chrono::duration_cast<Duration>(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec)));
#else
  return std::chrono::steady_clock::now();
#endif
}

std::string randomRun() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
    throw std::runtime_error("There is no randomness.");
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte / 16];
    text += kDigits[byte % 16];
  }
  return text;
}

std::string readPassword(const std::string& file) {
  std::ifstream stream(file);
  std::string line;
  if (!std::getline(stream, line) || line.empty() || !text::isValidUtf8(line)) {
    throw std::runtime_error("There is no password in " + file + ".");
  }
  return line;
}

// Both ends show a certificate of the cluster's authority.
TlsContext makeContext(asio::ssl::context::method method, const ClusterConfiguration& configuration) {
  auto context = std::make_shared<asio::ssl::context>(method);
  SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
  SSL_CTX_set_mode(context->native_handle(), SSL_MODE_RELEASE_BUFFERS);
  if (!configuration.certificate.empty()) {
    context->use_certificate_chain_file(configuration.certificate);
    context->use_private_key_file(configuration.key, asio::ssl::context::pem);
  }
  context->load_verify_file(configuration.authority);
  context->set_verify_mode(asio::ssl::verify_peer | asio::ssl::verify_fail_if_no_peer_cert);
  return context;
}

}  // namespace

RelayCluster::RelayCluster(const Dependencies& dependencies, const RelayConfiguration& relayConfiguration)
    : dependencies(dependencies), configuration(relayConfiguration.cluster.value()) {
  try {
    readCertificates();
  } catch (const boost::system::system_error& error) {
    throw std::runtime_error(std::string("The cluster's certificate, key or authority cannot be used: ") +
                             error.code().message());
  }
  EtcdOptions options{.members = configuration.engine, .user = configuration.user, .prefix = configuration.prefix};
  if (configuration.isEngineEncrypted) options.tls = [this] { return tlsOfClient; };
  if (!configuration.user.empty()) options.password = readPassword(configuration.passwordFile);
  engine = std::make_unique<EtcdStore>(dependencies.loop, std::move(options), dependencies.log);
}

RelayCluster::~RelayCluster() { *isAlive = false; }

void RelayCluster::readCertificates() {
  if (configuration.authority.empty()) return;
  auto client = makeContext(asio::ssl::context::tls_client, configuration);
  if (!configuration.certificate.empty()) tlsOfServer = makeContext(asio::ssl::context::tls_server, configuration);
  tlsOfClient = std::move(client);
}

void RelayCluster::reloadCertificates() {
  try {
    readCertificates();
  } catch (const boost::system::system_error& error) {
    dependencies.log.warn("The cluster's certificates stay as they were: " + error.code().message());
  }
}

void RelayCluster::begin(const PeerAddress& own) {
  member = std::make_unique<ClusterMember>(
      ClusterMember::Dependencies{*engine, dependencies.disk, dependencies.log},
      ClusterMember::Options{.relay = configuration.name, .address = own.text(), .run = randomRun()},
      ClusterMember::Listener{.movedAway = [this](const std::string& pairingID) { movedAway(pairingID); },
                              .revoked =
                                  [this](const std::string& pairingID) {
                                    if (rooms) rooms->closeRoom(pairingID, CloseCode::revoked, CloseCode::revoked);
                                  },
                              .homeChanged = [this](const std::string& pairingID) { homeChanged(pairingID); },
                              .relayChanged =
                                  [this](const std::string&) {
                                    if (admitting) admitting->relayChanged();
                                  },
                              .fenced = [this] { fenced(); },
                              .proven =
                                  [this] {
                                    if (admitting) admitting->resumeHeld();
                                  }});
  store = std::make_unique<ClusterPairingStore>(*member, dependencies.limits,
                                                [this] { return member->isFresh(bootInstant()); });
}

void RelayCluster::attach(Pairings& pairings, PairingRooms& newRooms, RelayService& service) {
  rooms = &newRooms;
  admitting = std::make_unique<ClusterAdmission>(ClusterAdmission::Dependencies{
      *member, *store, pairings, service, dependencies.limits, dependencies.now, bootInstant});
}

void RelayCluster::tick() {
  const Instant now = bootInstant();
  member->tick(now);
  served = served || !member->isFenced();
  admitting->tick();
  askNeighbours();
}

ClusterMetrics RelayCluster::metrics() { return member->metrics(bootInstant()); }

void RelayCluster::leave(std::function<void()> done) {
  const auto once = std::make_shared<std::function<void()>>(std::move(done));
  const auto finish = [once] {
    if (*once) std::exchange(*once, nullptr)();
  };
  auto timer = std::make_shared<asio::steady_timer>(dependencies.loop, kLeaving);
  timer->async_wait([finish, timer](const ErrorCode&) { finish(); });
  member->leave([finish, timer] {
    timer->cancel();
    finish();
  });
}

// ---- What the member hears

void RelayCluster::movedAway(const std::string& pairingID) {
  if (rooms) rooms->closeRoom(pairingID, CloseCode::replaced, CloseCode::stopping);
}

void RelayCluster::homeChanged(const std::string& pairingID) {
  const auto residence = member->residenceOf(pairingID);
  const auto [first, last] = tunnels.equal_range(pairingID);
  for (auto at = first; at != last; ++at) {
    const auto tunnel = at->second.tunnel.lock();
    if (tunnel && at->second.relay != residence.relay) tunnel->closeAfter(kGrace);
  }
  if (admitting) admitting->homeChanged(pairingID);
}

void RelayCluster::fenced() {
  while (rooms && rooms->closeNext(CloseCode::stopping)) {
  }
  if (admitting) admitting->resumeHeld();
}

// ---- Other relays

HttpResponse RelayCluster::answerNeighbour() {
  const auto steady = std::chrono::duration_cast<std::chrono::milliseconds>(member->steadyFor(bootInstant()));
  return {.headers = {{"content-type", "text/plain"}, {"cache-control", "no-store"}},
          .body = std::make_shared<const std::string>(std::to_string(steady.count()))};
}

void RelayCluster::askNeighbours() {
  const Instant now = bootInstant();
  for (const auto& [name, relay] : member->mirror().relays()) {
    if (name == configuration.name) continue;
    auto& neighbour = neighbours[name];
    if (neighbour.run != relay.record.run) {
      closeTunnels(neighbour.run.empty() ? "" : name);
      neighbour = Neighbour{.run = relay.record.run, .answeredAt = now};
    }
    const auto address = PeerAddress::parse(relay.record.address);
    const bool isDue = now >= neighbour.nextQuestion || member->isInDoubt(now);
    if (address && !neighbour.isAsked && isDue) askNeighbour(name, neighbour, *address);
    if (now - neighbour.answeredAt > kSilence) closeTunnels(name);
  }
  std::erase_if(neighbours, [this](const auto& known) {
    const bool isGone = !member->mirror().relay(known.first);
    if (isGone) closeTunnels(known.first);
    return isGone;
  });
}

void RelayCluster::askNeighbour(const std::string& name, Neighbour& neighbour, const PeerAddress& address) {
  neighbour.isAsked = true;
  neighbour.nextQuestion = bootInstant() + kQuestionInterval;
  const auto done = [this, name, run = neighbour.run, alive = isAlive](const std::optional<HttpReply>& reply) {
    if (*alive) didAnswer(name, run, reply);
  };
  const std::string request = "GET /cluster HTTP/1.1\r\nHost: " + address.text() + "\r\n\r\n";
  if (neighbour.stream) return exchange(neighbour.stream, request, kLongestAnswer, kQuestionTimeout, done);
  connectTo(dependencies.loop, address, tlsOfServer ? tlsOfClient : nullptr, kQuestionTimeout,
            [this, name, run = neighbour.run, request, done, alive = isAlive](std::optional<RelayStream> connected) {
              if (!*alive || !connected) return done(std::nullopt);
              auto stream = std::make_shared<RelayStream>(std::move(*connected));
              const auto found = neighbours.find(name);
              if (found != neighbours.end() && found->second.run == run) found->second.stream = stream;
              exchange(stream, request, kLongestAnswer, kQuestionTimeout, done);
            });
}

void RelayCluster::didAnswer(const std::string& name, const std::string& run, const std::optional<HttpReply>& reply) {
  const auto found = neighbours.find(name);
  if (found == neighbours.end() || found->second.run != run) return;
  auto& neighbour = found->second;
  neighbour.isAsked = false;
  constexpr int kOk = 200;
  if (!reply || reply->status != kOk || !reply->keepsAlive) neighbour.stream.reset();
  if (!reply || reply->status != kOk) return;
  neighbour.answeredAt = bootInstant();
  std::int64_t steady = 0;
  std::from_chars(reply->body.data(), reply->body.data() + reply->body.size(), steady);
  constexpr std::int64_t kMostMilliseconds = 1'000'000'000;
  member->noteNeighbour(std::chrono::milliseconds(std::clamp<std::int64_t>(steady, 0, kMostMilliseconds)),
                        bootInstant());
}

void RelayCluster::closeTunnels(const std::string& relay) {
  for (const auto& [pairingID, open] : tunnels) {
    const auto tunnel = open.relay == relay ? open.tunnel.lock() : nullptr;
    if (tunnel) tunnel->closeAfter(Duration::zero());
  }
}

void RelayCluster::ask(const Forwarding& forwarding, std::string head, std::function<void(HomeReply)> done) {
  const auto address = PeerAddress::parse(forwarding.address);
  if (!address) return done({});
  askHome(dependencies.loop, *address, tlsOfServer ? tlsOfClient : nullptr, std::move(head), kHomeTimeout,
          std::move(done));
}

void RelayCluster::startTunnel(const Forwarding& forwarding, RelayStream client, HomeReply reply) {
  ++dependencies.metrics.tunnels;
  const auto place = tunnels.emplace(forwarding.pairingID, OpenTunnel{forwarding.relay, {}});
  place->second.tunnel = Tunnel::start(std::move(client), std::move(*reply.stream), std::move(reply.arrived),
                                       dependencies.memory, [this, place, alive = isAlive] {
                                         if (!*alive) return;
                                         --dependencies.metrics.tunnels;
                                         tunnels.erase(place);
                                       });
}

}  // namespace quillard::relayserver
