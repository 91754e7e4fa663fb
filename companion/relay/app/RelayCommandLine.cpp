#include "companion/relay/app/RelayCommandLine.h"

#include <algorithm>
#include <cstdlib>

#include "companion/relay/app/Command.h"
#include "companion/relay/push/PushEndpoint.h"
#include "companion/relay/push/VapidKey.h"
#include "foundation/Text.h"
#include "foundation/UrlComponents.h"

namespace quillard::relayserver {
namespace {

constexpr const char* kDescription =
    "Passes sealed messages between Quillard's agents and the phones that are paired with them,\n"
    "and serves the phones' page.";
constexpr const char* kFooter =
    "Each option can also stand in the configuration file, without its dashes, or in the environment: --tls-key is\n"
    "QUILLARD_RELAY_TLS_KEY. A flag outweighs the environment, and that the file.\n"
    "Beside that: quillard-relay setup --domain relay.example writes a configuration and says what to do next,\n"
    "quillard-relay check https://relay.example says what is wrong with a relay. Each has --help.\n"
    "quillard-relay backup DATABASE COPY copies the database of a running relay.\n"
    "Exit codes: 0 fine, 1 a check found something wrong, 2 wrong usage, 3 not possible here.";

// What CLI11 reads into.
struct Arguments {
  std::vector<std::string> listen{"127.0.0.1:8080"};
  std::string metrics;
  std::string database;
  std::string page;
  std::vector<std::string> pageOrigins;
  std::string tlsCertificate;
  std::string tlsKey;
  bool isBehindProxy = false;
  std::vector<std::string> trustedProxies{"127.0.0.0/8", "::1"};
  RelayLimits limits;
  long purgeDays = 400;
  long reclaimDays = 1;
  std::size_t snapshotMebibytes = 256;
  std::size_t memoryMebibytes = 512;
  std::string registrationKeyFile;
  std::string logFormat = "text";
  int drainSeconds = 0;
  std::vector<std::string> cluster;
  ClusterConfiguration clusterParts;  // What needs no reading.
  std::string clusterListen = "127.0.0.1:8443";
  std::string clusterAddress;
  bool isClusterInClear = false;
  PushConfiguration push;  // Its hosts need reading.
  std::vector<std::string> pushHosts{"large"};
};

std::string environmentName(const std::string& option) {
  std::string name = "QUILLARD_RELAY_";
  for (const char c : option) name += c == '-' ? '_' : static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return name;
}

template <class Value>
CLI::Option* add(CLI::App& program, const std::string& name, Value& value, const std::string& description) {
  return program.add_option("--" + name, value, description);
}

constexpr double kMebibyte = 1024.0 * 1024;
constexpr const char* kLimitsGroup = "Limits";
constexpr const char* kRatesGroup = "Rates: so many at once, then so many a second";

void describeLimits(CLI::App& program, Arguments& read) {
  const auto limit = [&](const std::string& name, std::size_t& value, const std::string& description,
                         std::size_t highest) {
    add(program, name, value, description)
        ->check(CLI::Range(std::size_t{1}, highest))
        ->capture_default_str()
        ->group(kLimitsGroup);
  };
  limit("pairings", read.limits.pairings, "The most pairings that are kept", 10'000'000);
  limit("unjoined-pairings", read.limits.unjoinedPairings, "Of these, that no client has joined yet", 10'000'000);
  add(program, "purge-days", read.purgeDays, "Forget a pairing that was not used for so many days")
      ->check(CLI::Range(1, 36'500))
      ->capture_default_str()
      ->group(kLimitsGroup);
  add(program, "reclaim-days", read.reclaimDays, "Where all places are taken, forget one not used for so many days")
      ->check(CLI::Range(1, 36'500))
      ->capture_default_str()
      ->group(kLimitsGroup);
  limit("connections", read.limits.connections, "The most connections at the same time", 1'000'000);
  limit("open-requests", read.limits.openRequests, "Of one address, that are no WebSocket yet", 1'000'000);
  limit("address-websockets", read.limits.addressWebSockets, "WebSockets of one address", 1'000'000);
  limit("memory", read.memoryMebibytes, "MiB that clients can make the relay keep, snapshots included", 1'048'576);
  limit("snapshot-memory", read.snapshotMebibytes, "MiB for the newest snapshots of all pairings", 1'048'576);
}

void describeRates(CLI::App& program, Arguments& read) {
  const auto number = [&](const std::string& name, double& value, double unit, const std::string& description) {
    program
        .add_option_function<double>(
            "--" + name, [&value, unit](double given) { value = given * unit; }, description)
        ->check(CLI::Range(1e-6, 1e12))
        ->default_str(CLI::detail::to_string(value / unit))
        ->group(kRatesGroup);
  };
  const auto rate = [&](const std::string& burst, const std::string& perSecond, Rate& value, double unit,
                        const std::string& description) {
    number(burst, value.burst, unit, description);
    number(perSecond, value.perSecond, unit, "A second");
  };
  auto& limits = read.limits;
  rate("registration-burst", "registrations-per-second", limits.registrations, 1, "Registrations from one address");
  rate("handshake-burst", "handshakes-per-second", limits.handshakes, 1, "WebSockets and questions from one address");
  rate("address-new-pairing-burst", "address-new-pairings-per-second", limits.addressNewPairings, 1,
       "New pairings from one address");
  rate("address-connection-burst", "address-connections-per-second", limits.addressNewConnections, 1,
       "Connections from one address, unless it is a trusted proxy");
  rate("new-pairing-burst", "new-pairings-per-second", limits.newPairings, 1, "New pairings from all addresses");
  rate("connection-burst", "connections-per-second", limits.newConnections, 1, "Connections from all addresses");
  rate("agent-message-burst", "agent-messages-per-second", limits.agentMessages, 1, "Messages of one agent");
  rate("phone-message-burst", "phone-messages-per-second", limits.phoneMessages, 1, "Messages of one phone");
  rate("pairing-mebibyte-burst", "pairing-mebibytes-per-second", limits.pairingBytes, kMebibyte, "MiB of one pairing");
  rate("address-mebibyte-burst", "address-mebibytes-per-second", limits.addressBytes, kMebibyte, "MiB of one address");
  rate("mebibyte-burst", "mebibytes-per-second", limits.allBytes, kMebibyte, "MiB of all");
  rate("pairing-work-burst", "pairing-work-per-second", limits.pairingSeconds, 1, "Seconds of work for one pairing");
  rate("address-work-burst", "address-work-per-second", limits.addressSeconds, 1, "Seconds of work for one address");
  rate("work-burst", "work-per-second", limits.allSeconds, 1, "Seconds of work for all");
}

void describeCluster(CLI::App& program, Arguments& read) {
  constexpr const char* kGroup = "One of several relays";
  auto& parts = read.clusterParts;
  add(program, "cluster", read.cluster, "The members of the etcd that the relays share, such as https://etcd-1:2379")
      ->delimiter(',')
      ->group(kGroup);
  add(program, "cluster-user", parts.user, "The user that etcd knows this relay as")->group(kGroup);
  add(program, "cluster-password-file", parts.passwordFile, "A file with its password")
      ->type_name("FILE")
      ->group(kGroup);
  add(program, "cluster-name", parts.name, "The name of this relay, which no other has: a-z 0-9 -")->group(kGroup);
  add(program, "cluster-listen", read.clusterListen, "Where to listen for the other relays")
      ->capture_default_str()
      ->group(kGroup);
  add(program, "cluster-address", read.clusterAddress, "Where they reach it, such as relay-1.internal:8443")
      ->group(kGroup);
  add(program, "cluster-certificate", parts.certificate, "What it shows the other relays and etcd, PEM")
      ->type_name("FILE")
      ->group(kGroup);
  add(program, "cluster-key", parts.key, "Its private key, PEM")->type_name("FILE")->group(kGroup);
  add(program, "cluster-authority", parts.authority,
      "Who signs the certificates of the cluster, and of nobody else, PEM")
      ->type_name("FILE")
      ->group(kGroup);
  add(program, "cluster-prefix", parts.prefix, "What all keys in etcd begin with")
      ->capture_default_str()
      ->group(kGroup);
  // For tests: on this computer alone.
  program.add_flag("--cluster-in-clear", read.isClusterInClear)->group("");
}

void describePush(CLI::App& program, Arguments& read) {
  constexpr const char* kGroup = "Waking phones that sleep";
  add(program, "push-contact", read.push.contact,
      "Whom push services may write to, such as https://relay.example; without it no phone is woken")
      ->group(kGroup);
  add(program, "push-hosts", read.pushHosts,
      "Where to post: hosts, *.host for those below, and large for the large ones")
      ->delimiter(',')
      ->capture_default_str()
      ->group(kGroup);
  add(program, "push-authority", read.push.authority,
      "Who signs the push services' certificates, PEM, if not the system's")
      ->group(kGroup);
  // For tests: a push service on this computer.
  program.add_flag("--push-private-addresses", read.push.allowsPrivateAddresses)->group("");
}

// For tests, which need shorter times: not shown in the help.
void describeTimes(CLI::App& program, Arguments& read) {
  const auto hiddenTime = [&](const std::string& name, std::chrono::milliseconds& value) {
    program
        .add_option_function<std::int64_t>("--" + name,
                                           [&value](std::int64_t given) { value = std::chrono::milliseconds(given); })
        ->group("")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{3'600'000}));
  };
  hiddenTime("handshake-milliseconds", read.limits.handshake);
  hiddenTime("message-milliseconds", read.limits.message);
  hiddenTime("ping-milliseconds", read.limits.ping);
  hiddenTime("idle-milliseconds", read.limits.idle);
}

void describe(CLI::App& program, Arguments& read) {
  program.description(kDescription);
  program.footer(kFooter);
  program.set_version_flag("--version", "quillard-relay " QUILLARD_VERSION, "Print the version and exit");
  program.set_help_flag("-h,--help", "Print this help and exit");
  program.set_config("--config", "", "Read the configuration from this file")->type_name("FILE");
  program.allow_config_extras(CLI::config_extras_mode::error);
  add(program, "listen", read.listen, "Where to listen; may be given several times; port 0 takes one that is free")
      ->delimiter(',')
      ->capture_default_str();
  add(program, "database", read.database, "The file that pairings are kept in; it is made where there is none")
      ->type_name("FILE")
      ->required();
  add(program, "page", read.page, "The folder of the phones' page")->type_name("FOLDER");
  add(program, "page-origin", read.pageOrigins,
      "Where that page is served besides, such as https://phones.example; may be given several times")
      ->delimiter(',');
  add(program, "tls-certificate", read.tlsCertificate, "The certificate and those between it and its root, PEM")
      ->type_name("FILE");
  add(program, "tls-key", read.tlsKey, "Its private key, PEM. Both are read again at SIGHUP")->type_name("FILE");
  add(program, "registration-key-file", read.registrationKeyFile,
      "A file with a key that agents have to show for a new pairing")
      ->type_name("FILE");
  program.add_flag("--behind-proxy", read.isBehindProxy, "A proxy on the way does TLS, and says who the client is");
  add(program, "trusted-proxy", read.trustedProxies, "Addresses or networks whose X-Forwarded-For counts")
      ->delimiter(',')
      ->capture_default_str();
  add(program, "metrics", read.metrics, "Where to serve /metrics for Prometheus, in clear");
  add(program, "log-format", read.logFormat, "How the log is written to standard error: text or json")
      ->check(CLI::IsMember({"text", "json"}))
      ->capture_default_str();
  add(program, "drain-seconds", read.drainSeconds, "How long to serve on, and not be ready, once it is to stop")
      ->check(CLI::Range(0, 3'600))
      ->capture_default_str();
  describeLimits(program, read);
  describeRates(program, read);
  describeTimes(program, read);
  describeCluster(program, read);
  describePush(program, read);
}

bool isGiven(const std::string& flag, const std::vector<std::string>& arguments) {
  return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
    return argument == flag || argument.rfind(flag + "=", 0) == 0;
  });
}

// CLI11 itself would prefer the file to the environment. Each variable therefore becomes a flag, unless that flag was
// given.
std::vector<std::string> withEnvironment(const CLI::App& program, std::vector<std::string> arguments) {
  std::vector<std::string> added;
  for (const CLI::Option* option : program.get_options()) {
    const std::string name = option->get_single_name();
    const char* value = name == "help" || name == "version" ? nullptr : std::getenv(environmentName(name).c_str());
    if (value && *value != '\0' && !isGiven("--" + name, arguments)) added.push_back("--" + name + "=" + value);
  }
  arguments.insert(arguments.begin(), added.begin(), added.end());
  return arguments;
}

CommandLineMessage wrongUsage(const std::string& text) { return {text + "\n", ExitCode::wrongUsage}; }

std::optional<CommandLineMessage> readListeners(const Arguments& read, RelayConfiguration& configuration) {
  for (const auto& text : read.listen) {
    const auto address = ListenAddress::parse(text);
    if (!address) return wrongUsage("--listen " + text + ": that is no address and port, such as 127.0.0.1:8080.");
    if (!address->address.isLoopback() && !configuration.hasTls() && !configuration.isBehindProxy) {
      return wrongUsage("--listen " + text +
                        ": other computers could listen in. Give --tls-certificate and --tls-key, or "
                        "--behind-proxy where a proxy does TLS.");
    }
    configuration.listen.push_back(*address);
  }
  if (read.metrics.empty()) return std::nullopt;
  configuration.metrics = ListenAddress::parse(read.metrics);
  if (!configuration.metrics) return wrongUsage("--metrics " + read.metrics + ": that is no address and port.");
  if (!configuration.metrics->address.isLoopback() && !configuration.isBehindProxy) {
    return wrongUsage("--metrics " + read.metrics +
                      ": metrics are served in clear; without --behind-proxy only at this "
                      "computer's own address.");
  }
  return std::nullopt;
}

std::optional<CommandLineMessage> readProxies(const Arguments& read, RelayConfiguration& configuration) {
  if (!read.isBehindProxy) return std::nullopt;
  for (const auto& text : read.trustedProxies) {
    const auto network = IpNetwork::parse(text);
    if (!network) return wrongUsage("--trusted-proxy " + text + ": that is no address or network, such as 10.0.0.0/8.");
    configuration.trustedProxies.push_back(*network);
  }
  return std::nullopt;
}

// In the one spelling in which browsers write it: in lower case, without a port that is the usual one.
bool isOrigin(const std::string& text) {
  const auto url = UrlComponents::parse(text);
  if (!url || !url->host || url->text() != text || text != text::lowercased(text)) return false;
  const bool isEncrypted = url->scheme == "https";
  const bool isLocal = url->scheme == "http" && (*url->host == "localhost" || *url->host == "127.0.0.1");
  const bool hasUsualPort = text.ends_with(isEncrypted ? ":443" : ":80");
  return (isEncrypted || isLocal) && !hasUsualPort && text.find('/', text.find("//") + 2) == std::string::npos &&
         text.find_first_of("?#@") == std::string::npos;
}

std::optional<CommandLineMessage> readPageOrigins(const Arguments& read, RelayConfiguration& configuration) {
  for (const auto& origin : read.pageOrigins) {
    if (!isOrigin(origin)) {
      return wrongUsage("--page-origin " + origin +
                        ": that is no origin, such as https://phones.example or https://phones.example:8443.");
    }
  }
  configuration.pageOrigins = read.pageOrigins;
  return std::nullopt;
}

// Absent: it is no address of an etcd.
std::optional<std::pair<PeerAddress, bool>> readEngine(std::string text) {
  const bool isEncrypted = text.starts_with("https://");
  if (!isEncrypted && !text.starts_with("http://")) return std::nullopt;
  text = text.substr(text.find("//") + 2);
  if (text.ends_with('/')) text.pop_back();
  const auto address = PeerAddress::parse(text);
  if (!address) return std::nullopt;
  return std::pair(*address, isEncrypted);
}

bool isThisComputer(const PeerAddress& address) {
  const auto ip = IpAddress::parse(address.host);
  return address.host == "localhost" || (ip && ip->isLoopback());
}

std::optional<CommandLineMessage> readEngines(const Arguments& read, ClusterConfiguration& cluster) {
  for (const auto& text : read.cluster) {
    const auto engine = readEngine(text);
    if (!engine) return wrongUsage("--cluster " + text + ": that is no address of etcd, such as https://etcd-1:2379.");
    const bool isFirst = cluster.engine.empty();
    if (!isFirst && engine->second != cluster.isEngineEncrypted) {
      return wrongUsage("--cluster: either all addresses are https or none is.");
    }
    if (!engine->second && !isThisComputer(engine->first)) {
      return wrongUsage("--cluster " + text + ": without https only this computer's own address is possible.");
    }
    cluster.isEngineEncrypted = engine->second;
    cluster.engine.push_back(engine->first);
  }
  return std::nullopt;
}

std::optional<CommandLineMessage> readClusterCertificates(const Arguments& read, const ClusterConfiguration& cluster) {
  if (cluster.certificate.empty() != cluster.key.empty()) {
    return wrongUsage("--cluster-certificate and --cluster-key go together.");
  }
  if (cluster.user.empty() != cluster.passwordFile.empty()) {
    return wrongUsage("--cluster-user and --cluster-password-file go together.");
  }
  const bool isEncrypted = !cluster.certificate.empty();
  if ((isEncrypted || cluster.isEngineEncrypted) && cluster.authority.empty()) {
    return wrongUsage("--cluster needs --cluster-authority: who has signed the certificates of the cluster.");
  }
  if (!isEncrypted && !(read.isClusterInClear && cluster.listen.address.isLoopback())) {
    return wrongUsage("--cluster needs --cluster-certificate and --cluster-key: relays trust each other by them.");
  }
  return std::nullopt;
}

std::optional<CommandLineMessage> readCluster(const Arguments& read, RelayConfiguration& configuration) {
  if (read.cluster.empty()) return std::nullopt;
  ClusterConfiguration cluster = read.clusterParts;
  if (!isRelayName(cluster.name)) return wrongUsage("--cluster needs --cluster-name: a name of a-z 0-9 -.");
  if (cluster.prefix.empty()) return wrongUsage("--cluster-prefix: it has to be something, such as quillard/.");
  if (auto wrong = readEngines(read, cluster)) return wrong;
  const auto listen = ListenAddress::parse(read.clusterListen);
  if (!listen) return wrongUsage("--cluster-listen " + read.clusterListen + ": that is no address and port.");
  cluster.listen = *listen;
  if (!read.clusterAddress.empty()) {
    cluster.address = PeerAddress::parse(read.clusterAddress);
    if (!cluster.address) return wrongUsage("--cluster-address " + read.clusterAddress + ": that is no host and port.");
  }
  if (auto wrong = readClusterCertificates(read, cluster)) return wrong;
  configuration.cluster = std::move(cluster);
  return std::nullopt;
}

std::optional<CommandLineMessage> readPush(const Arguments& read, RelayConfiguration& configuration) {
  if (read.push.contact.empty()) return std::nullopt;
  PushConfiguration push = read.push;
  if (!isPushContact(push.contact)) {
    return wrongUsage("--push-contact " + push.contact +
                      ": that is no plain mailto:you@relay.example or https://relay.example.");
  }
  for (const auto& pattern : read.pushHosts) {
    if (pattern == "large") {
      push.hosts.insert(push.hosts.end(), PushHosts::large().begin(), PushHosts::large().end());
    } else if (PushHosts().add(pattern)) {
      push.hosts.push_back(pattern);
    } else {
      return wrongUsage("--push-hosts " + pattern + ": that is no host such as push.example or *.push.example:8443.");
    }
  }
  configuration.push = std::move(push);
  return std::nullopt;
}

std::variant<RelayConfiguration, CommandLineMessage> configurationOf(const Arguments& read) {
  if (read.tlsCertificate.empty() != read.tlsKey.empty()) {
    return wrongUsage("--tls-certificate and --tls-key go together.");
  }
  RelayConfiguration configuration{.database = read.database,
                                   .page = read.page,
                                   .tlsCertificate = read.tlsCertificate,
                                   .tlsKey = read.tlsKey,
                                   .registrationKeyFile = read.registrationKeyFile,
                                   .isBehindProxy = read.isBehindProxy,
                                   .logFormat = read.logFormat == "json" ? LogFormat::json : LogFormat::text,
                                   .drain = std::chrono::seconds(read.drainSeconds),
                                   .limits = read.limits};
  configuration.limits.purgeAfter = std::chrono::hours(24 * read.purgeDays);
  configuration.limits.reclaimAfter = std::chrono::hours(24 * read.reclaimDays);
  configuration.limits.memoryBytes = read.memoryMebibytes * 1024 * 1024;
  // Else snapshots alone would fill the memory, and messages under way would be dropped instead.
  configuration.limits.snapshotBytes =
      std::min(read.snapshotMebibytes * 1024 * 1024, configuration.limits.memoryBytes / 2);
  if (auto wrong = readListeners(read, configuration)) return *wrong;
  if (auto wrong = readProxies(read, configuration)) return *wrong;
  if (auto wrong = readPageOrigins(read, configuration)) return *wrong;
  if (auto wrong = readCluster(read, configuration)) return *wrong;
  if (auto wrong = readPush(read, configuration)) return *wrong;
  return configuration;
}

constexpr Command<Arguments> kRelay{"quillard-relay", describe};

}  // namespace

void withRelayCommandLine(const UseCommandLine& use) { kRelay.show(use); }

std::variant<RelayConfiguration, CommandLineMessage> readConfiguration(const std::vector<std::string>& arguments) {
  CLI::App program("", kRelay.name);
  Arguments read;
  kRelay.describe(program, read);
  if (auto message = parseArguments(program, withEnvironment(program, arguments))) return *message;
  return configurationOf(read);
}

}  // namespace quillard::relayserver
