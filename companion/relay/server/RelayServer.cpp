#include "companion/relay/server/RelayServer.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <openssl/ssl.h>

#include "companion/relay/push/PushService.h"
#include "companion/relay/rules/Pairings.h"
#include "companion/relay/rules/PrefixCounts.h"
#include "companion/relay/rules/RelayNames.h"
#include "companion/relay/rules/StoreCare.h"
#include "companion/relay/server/HttpConnection.h"
#include "companion/relay/server/PhonePageFiles.h"
#include "companion/relay/server/ProcessMemory.h"
#include "companion/relay/server/PushSender.h"
#include "companion/relay/server/RelayCluster.h"
#include "companion/relay/server/StderrLog.h"

namespace quillard::relayserver {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

constexpr std::chrono::milliseconds kTick{250};
constexpr std::chrono::milliseconds kTickOfCluster{100};
// After a connection could not be accepted, usually for want of file descriptors.
constexpr std::chrono::milliseconds kAcceptPause{200};

constexpr int kSendBuffer = 256 * 1024;
// What a client sends while it is not read waits in the system, where it is not counted.
constexpr int kReceiveBuffer = 256 * 1024;

using TlsContext = std::shared_ptr<asio::ssl::context>;

tcp::endpoint endpointOf(const ListenAddress& requested) {
  return {asio::ip::make_address(requested.address.text()), requested.port};
}

std::string textOf(const tcp::endpoint& endpoint) {
  const auto address = endpoint.address();
  const std::string host = address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
  return host + ":" + std::to_string(endpoint.port());
}

// Throws boost::system::system_error.
TlsContext makeTlsContext(const RelayConfiguration& configuration) {
  auto context = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
  context->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_compression |
                       SSL_OP_NO_RENEGOTIATION | SSL_OP_CIPHER_SERVER_PREFERENCE);
  SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
  SSL_CTX_set_cipher_list(context->native_handle(), "ECDHE+AESGCM:ECDHE+CHACHA20");
  SSL_CTX_set_mode(context->native_handle(), SSL_MODE_RELEASE_BUFFERS);
  context->use_certificate_chain_file(configuration.tlsCertificate);
  context->use_private_key_file(configuration.tlsKey, asio::ssl::context::pem);
  return context;
}

// Empty: there is none, or it is not one.
std::string readRegistrationKey(const std::string& file) {
  std::ifstream stream(file);
  std::string key;
  std::getline(stream, key);
  return isRegistrationKey(key) ? key : "";
}

Moment currentMoment() {
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return {.instant = std::chrono::steady_clock::now(),
          .epochSeconds = std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count()};
}

}  // namespace

class RelayServer::Implementation {
 public:
  Implementation(const RelayConfiguration& configuration, OpenStore openStore, OpenDisk openDisk)
      : configuration(configuration), openStore(std::move(openStore)), openDisk(std::move(openDisk)) {}
  // What it has open needs the loop; what the loop holds does not need it.
  ~Implementation() {
    pushSender.reset();
    cluster.reset();
  }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  std::string prepare();
  void run();

 private:
  enum class Purpose { clients, metrics, relays };
  struct Listener {
    tcp::acceptor acceptor;
    asio::steady_timer pause;
    Purpose purpose = Purpose::clients;
  };

  void open(const ListenAddress& requested, Purpose purpose);
  void openForRelays();
  void openStoreAndRooms();
  void openPush(RelayStore& kept);
  void printAddresses();
  void accept(Listener& listener);
  void acceptAfter(Duration pause, Listener& listener);
  bool serve(tcp::socket socket, Purpose purpose, Instant now);
  [[nodiscard]] bool isRefused(const RatePrefixes& from, bool isTrusted, Instant now);
  void awaitSignal();
  void reloadCertificate();
  void awaitTick();
  void keepHouse(Moment now);
  void drain();
  void stop();
  void closeNext(Duration pause);
  void waitForConnections(Instant latest);
  HttpResponse answerForMetrics(const HttpRequest& request);

  const RelayConfiguration configuration;
  const OpenStore openStore;
  const OpenDisk openDisk;
  StderrLog log{configuration.logFormat};
  RelayMetrics metrics;
  Unfinished unfinished;
  PhonePage page;
  std::string registrationKey;
  std::unique_ptr<RelayStore> store;  // Of the only relay; one of several has the next two.
  std::unique_ptr<RelayDisk> disk;
  std::unique_ptr<RelayCluster> cluster;
  MemoryBudget memory{configuration.limits.memoryBytes / 4 * 3};
  MemoryBudget memoryOfRequests{configuration.limits.memoryBytes / 4};
  std::optional<Pairings> pairings;
  std::unique_ptr<PushSender> pushSender;  // Both or none.
  std::optional<PushService> push;
  std::optional<PairingRooms> rooms;
  std::optional<RelayService> service;
  std::optional<StoreCare> storeCare;
  std::optional<ConnectionDependencies> dependencies;
  TlsContext tls;
  TokenBucket newConnections{configuration.limits.newConnections, Instant{}};
  ProcessMemory processMemory;
  Instant nextHousekeeping{};
  bool isStopping = false;
  PrefixCounts openRequests{configuration.limits.openRequests};
  PrefixBuckets newConnectionsFrom{configuration.limits.addressNewConnections, configuration.limits.addresses};
  bool hasPrinted = false;
  asio::io_context loop{1};
  std::vector<std::unique_ptr<Listener>> listeners;
  asio::signal_set signals{loop, SIGTERM, SIGINT, SIGHUP};
  asio::steady_timer ticker{loop};
  asio::steady_timer closeTimer{loop};
};

std::string RelayServer::Implementation::prepare() {
  try {
    if (configuration.hasTls()) tls = makeTlsContext(configuration);
  } catch (const boost::system::system_error& error) {
    return std::string("The certificate or its key cannot be used: ") + error.code().message();
  }
  if (!configuration.page.empty()) {
    std::string why;
    auto read = readPhonePage(configuration.page, why);
    if (!read) return "The page cannot be served from " + configuration.page + ": " + why;
    page = std::move(*read);
  }
  if (!configuration.registrationKeyFile.empty()) {
    registrationKey = readRegistrationKey(configuration.registrationKeyFile);
    if (registrationKey.empty()) {
      return "There is no usable key in " + configuration.registrationKeyFile +
             ": one line of 16 to 128 letters, digits, or - . _ ~";
    }
  }
  try {
    openStoreAndRooms();
  } catch (const PairingStore::Failure& failure) {
    return failure.description;
  } catch (const boost::system::system_error& error) {
    return "Cannot listen for other relays at " + textOf(endpointOf(configuration.cluster->listen)) + ": " +
           error.code().message();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  for (const auto& requested : configuration.listen) {
    try {
      open(requested, Purpose::clients);
    } catch (const boost::system::system_error& error) {
      return "Cannot listen at " + textOf(endpointOf(requested)) + ": " + error.code().message();
    }
  }
  if (!configuration.metrics) return {};
  try {
    open(*configuration.metrics, Purpose::metrics);
  } catch (const boost::system::system_error& error) {
    return "Cannot listen at " + textOf(endpointOf(*configuration.metrics)) + ": " + error.code().message();
  }
  return {};
}

void RelayServer::Implementation::openStoreAndRooms() {
  if (configuration.cluster) {
    disk = openDisk();
    cluster = std::make_unique<RelayCluster>(
        RelayCluster::Dependencies{loop, configuration.limits, *disk, log, metrics, memoryOfRequests, currentMoment},
        configuration);
    openForRelays();
  } else {
    store = openStore();
  }
  RelayStore& kept = cluster ? cluster->relayStore() : *store;
  pairings.emplace(kept, configuration.limits);
  openPush(kept);
  auto* waking = push ? &*push : nullptr;
  rooms.emplace(PairingRooms::Dependencies{*pairings, memory, configuration.limits, metrics, log, waking});
  service.emplace(RelayService::Dependencies{*pairings, *rooms, page, configuration.limits, registrationKey,
                                             configuration.pageOrigins, waking});
  storeCare.emplace(StoreCare::Dependencies{*pairings, *rooms, metrics, log});
  if (push) push->attach(*rooms);
  if (cluster) cluster->attach(*pairings, *rooms, *service);
  dependencies.emplace(ConnectionDependencies{*service, *rooms, memory, memoryOfRequests, configuration.limits, metrics,
                                              log, unfinished, configuration.trustedProxies, currentMoment,
                                              cluster.get()});
}

void RelayServer::Implementation::openPush(RelayStore& kept) {
  if (!configuration.push) return;
  const auto& wanted = *configuration.push;
  PushHosts hosts;
  for (const auto& pattern : wanted.hosts) (void)hosts.add(pattern);
  pushSender = std::make_unique<PushSender>(
      loop, wanted.limits,
      PushSender::Options{.authority = wanted.authority, .allowsPrivateAddresses = wanted.allowsPrivateAddresses});
  push.emplace(PushService::Dependencies{kept, *pushSender, wanted.limits, metrics, log, currentMoment,
                                         [] { return VapidKey::newSecret(); }},
               std::move(hosts), wanted.contact);
  // So that there is a key before there is a phone. One of several relays has to be a part of its cluster first.
  if (!cluster) push->tick(currentMoment());
}

void RelayServer::Implementation::openForRelays() {
  const auto& requested = *configuration.cluster;
  open(requested.listen, Purpose::relays);
  const auto port = listeners.back()->acceptor.local_endpoint().port();
  cluster->begin(requested.address.value_or(PeerAddress{requested.listen.address.text(), port}));
}

void RelayServer::Implementation::open(const ListenAddress& requested, Purpose purpose) {
  const auto endpoint = endpointOf(requested);
  auto listener = std::make_unique<Listener>(Listener{tcp::acceptor(loop), asio::steady_timer(loop), purpose});
  listener->acceptor.open(endpoint.protocol());
  listener->acceptor.set_option(asio::socket_base::reuse_address(true));
  if (endpoint.address().is_v6()) listener->acceptor.set_option(asio::ip::v6_only(true));
  listener->acceptor.set_option(tcp::socket::receive_buffer_size(kReceiveBuffer));
  listener->acceptor.bind(endpoint);
  listener->acceptor.listen();
  listeners.push_back(std::move(listener));
}

void RelayServer::Implementation::run() {
  for (const auto& listener : listeners) accept(*listener);
  awaitSignal();
  awaitTick();
  if (!cluster) printAddresses();
  loop.run();
  // The peers that are left end before the loop does.
  while (rooms->closeNext(CloseCode::stopping)) {
  }
}

void RelayServer::Implementation::printAddresses() {
  hasPrinted = true;
  for (const auto& listener : listeners) {
    if (listener->purpose == Purpose::relays) continue;
    const bool isForMetrics = listener->purpose == Purpose::metrics;
    const std::string scheme = tls && !isForMetrics ? "https://" : "http://";
    const std::string what = isForMetrics ? "Metrics on " : "Listening on ";
    std::printf("%s\n", (what + scheme + textOf(listener->acceptor.local_endpoint())).c_str());
  }
  std::fflush(stdout);
}

void RelayServer::Implementation::accept(Listener& listener) {
  listener.acceptor.async_accept([this, &listener](const ErrorCode& error, tcp::socket socket) {
    if (!listener.acceptor.is_open()) return;
    if (error) {
      log.warn("A connection could not be accepted: " + error.message());
      return acceptAfter(kAcceptPause, listener);
    }
    const auto now = std::chrono::steady_clock::now();
    // Refusing costs little, so those that are refused do not keep others waiting for long.
    constexpr double kCostOfRefusing = 0.02;
    newConnections.spend(serve(std::move(socket), listener.purpose, now) ? 1 : kCostOfRefusing, now);
    acceptAfter(newConnections.debtTime(now), listener);
  });
}

// Those that come meanwhile wait in the system.
void RelayServer::Implementation::acceptAfter(Duration pause, Listener& listener) {
  if (pause == Duration::zero()) return accept(listener);
  listener.pause.expires_after(pause);
  listener.pause.async_wait([this, &listener](const ErrorCode& ended) {
    if (!ended && listener.acceptor.is_open()) accept(listener);
  });
}

// False: it was refused.
bool RelayServer::Implementation::serve(tcp::socket socket, Purpose purpose, Instant now) {
  ErrorCode error;
  const auto endpoint = socket.remote_endpoint(error);
  if (error) return false;
  const auto peer = IpAddress::parse(endpoint.address().to_string()).value_or(IpAddress{});
  const auto from = peer.ratePrefixes();
  const bool isFromRelay = purpose == Purpose::relays;
  const bool isTrusted =
      isFromRelay || std::any_of(configuration.trustedProxies.begin(), configuration.trustedProxies.end(),
                                 [&](const IpNetwork& network) { return network.contains(peer); });
  if (isRefused(from, isTrusted, now)) {
    log.note("A connection was refused: there are too many.");
    return false;
  }
  socket.set_option(tcp::no_delay(true), error);
  // What waits for a slow reader waits in its queue, where it is counted, and not in the system.
  socket.set_option(tcp::socket::send_buffer_size(kSendBuffer), error);
  openRequests.add(from);
  ++metrics.requests;
  const auto onEnd = [this, from] {
    --metrics.requests;
    openRequests.remove(from);
  };
  PlainResponder plainResponder;
  if (purpose == Purpose::metrics) {
    plainResponder = [this](const HttpRequest& request) { return answerForMetrics(request); };
  }
  TlsContext shown = tls;
  if (purpose == Purpose::metrics) shown = nullptr;
  if (isFromRelay) shown = cluster->serverTls();
  serveHttp(RelayStream(std::move(socket), shown), peer, *dependencies, plainResponder, isFromRelay, onEnd);
  return true;
}

bool RelayServer::Implementation::isRefused(const RatePrefixes& from, bool isTrusted, Instant now) {
  if (metrics.requests + metrics.tunnels + rooms->peerCount() >= configuration.limits.connections) return true;
  return !isTrusted && (!openRequests.hasRoom(from) || !newConnectionsFrom.take(from, now));
}

HttpResponse RelayServer::Implementation::answerForMetrics(const HttpRequest& request) {
  if (cluster && request.target.starts_with("/route?")) return cluster->admission().answerRoute(request);
  if (request.target != "/metrics" || request.method != "GET") return errorResponse(404, "Only /metrics is here.");
  metrics.pairings = pairings->count();
  metrics.memoryBytes = memory.used() + memoryOfRequests.used();
  if (cluster) metrics.cluster = cluster->metrics();
  return {.headers = {{"content-type", "text/plain; version=0.0.4; charset=utf-8"}},
          .body = std::make_shared<const std::string>(prometheusText(metrics))};
}

void RelayServer::Implementation::awaitSignal() {
  signals.async_wait([this](const ErrorCode& error, int signal) {
    if (error) return;
    if (signal == SIGHUP) {
      reloadCertificate();
    } else if (isStopping) {
      return loop.stop();
    } else {
      drain();
    }
    awaitSignal();
  });
}

void RelayServer::Implementation::reloadCertificate() {
  if (cluster) cluster->reloadCertificates();
  if (!configuration.hasTls()) return;
  try {
    tls = makeTlsContext(configuration);
    log.warn("The certificate was read again.");
  } catch (const boost::system::system_error& error) {
    log.warn("The certificate stays as it was; the new one cannot be used: " + error.code().message());
  }
}

void RelayServer::Implementation::awaitTick() {
  const Duration housekeeping = std::min<Duration>(kTick, configuration.limits.ping / 2);
  ticker.expires_after(cluster ? std::min<Duration>(kTickOfCluster, housekeeping) : housekeeping);
  ticker.async_wait([this, housekeeping](const ErrorCode& error) {
    if (error) return;
    const auto now = currentMoment();
    if (cluster && !service->stopRequested()) {
      cluster->tick();
      if (!hasPrinted && cluster->hasServed()) printAddresses();
    }
    if (now.instant >= nextHousekeeping) {
      nextHousekeeping = now.instant + housekeeping;
      keepHouse(now);
    }
    awaitTick();
  });
}

void RelayServer::Implementation::keepHouse(Moment now) {
  rooms->tick(now.instant);
  if (pushSender) pushSender->tick();
  if (push && (!cluster || cluster->hasServed())) push->tick(now);
  processMemory.noteConnections(metrics.requests + rooms->peerCount(), now.instant);
  storeCare->tick(now, !cluster || cluster->hasServed());
}

void RelayServer::Implementation::drain() {
  isStopping = true;
  if (configuration.drain.count() == 0) return stop();
  log.warn("Draining.");
  service->drain();
  closeTimer.expires_after(configuration.drain);
  closeTimer.async_wait([this](const ErrorCode& error) {
    if (!error) stop();
  });
}

void RelayServer::Implementation::stop() {
  log.warn("Stopping.");
  service->stop();
  for (const auto& listener : listeners) listener->acceptor.close();
  if (cluster) cluster->leave([] {});
  constexpr std::chrono::milliseconds kUsualPause{5};
  const auto count = static_cast<Duration::rep>(std::max<std::size_t>(rooms->peerCount(), 1));
  closeNext(std::min<Duration>(kUsualPause, Duration(configuration.limits.closeStagger) / count));
}

void RelayServer::Implementation::closeNext(Duration pause) {
  if (!rooms->closeNext(CloseCode::stopping)) {
    return waitForConnections(std::chrono::steady_clock::now() + configuration.limits.lastAnswers);
  }
  closeTimer.expires_after(pause);
  closeTimer.async_wait([this, pause](const ErrorCode& error) {
    if (!error) closeNext(pause);
  });
}

void RelayServer::Implementation::waitForConnections(Instant latest) {
  // Who comes in through a tunnel hears from its home, which may be stopping, too.
  const bool isDone = unfinished.webSockets == 0 && unfinished.answers == 0 && metrics.tunnels == 0;
  if (isDone || std::chrono::steady_clock::now() >= latest) return loop.stop();
  constexpr std::chrono::milliseconds kCheckInterval{10};
  closeTimer.expires_after(kCheckInterval);
  closeTimer.async_wait([this, latest](const ErrorCode& error) {
    if (!error) waitForConnections(latest);
  });
}

RelayServer::RelayServer(const RelayConfiguration& configuration, OpenStore openStore, OpenDisk openDisk)
    : implementation(std::make_unique<Implementation>(configuration, std::move(openStore), std::move(openDisk))) {}
RelayServer::~RelayServer() = default;

std::string RelayServer::prepare() { return implementation->prepare(); }

void RelayServer::run() { implementation->run(); }

}  // namespace quillard::relayserver
