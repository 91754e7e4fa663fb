#include "contract/support/EtcdMembers.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillard::test {
namespace {

constexpr const char* kEtcd = "/usr/bin/etcd";
constexpr const char* kControl = "/usr/bin/etcdctl";

std::string url(std::uint16_t port) { return "http://127.0.0.1:" + std::to_string(port); }

std::string nameOf(std::size_t member) { return "member-" + std::to_string(member); }

std::vector<std::string> controlEnvironment() {
  auto environment = presentEnvironment();
  environment.emplace_back("ETCDCTL_API=3");
  return environment;
}

}  // namespace

std::vector<std::uint16_t> freePorts(int count) {
  // Below those that the system gives to outgoing connections: one of these could be given away before it is listened
  // at, or while its server is started anew.
  constexpr int kFirst = 10'000;
  constexpr int kLast = 32'000;
  std::random_device random;
  std::uniform_int_distribution<int> any(kFirst, kLast);
  std::vector<int> held;
  std::vector<std::uint16_t> ports;
  constexpr int kMostTries = 1'000;
  for (int tried = 0; static_cast<int>(ports.size()) < count && tried < kMostTries; ++tried) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto port = static_cast<std::uint16_t>(any(random));
    address.sin_port = htons(port);
    held.push_back(descriptor);
    if (::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) ports.push_back(port);
  }
  for (const int descriptor : held) ::close(descriptor);
  if (static_cast<int>(ports.size()) < count) throw std::runtime_error("no free port");
  return ports;
}

bool EtcdMembers::isInstalled() { return std::filesystem::exists(kEtcd) && std::filesystem::exists(kControl); }

EtcdMembers::EtcdMembers(int count, Tls tls) : tls(std::move(tls)) {
  const auto ports = freePorts(2 * count);
  clientPorts.assign(ports.begin(), ports.begin() + count);
  peerPorts.assign(ports.begin() + count, ports.end());
  members.resize(static_cast<std::size_t>(count));
  for (int member = 0; member < count; ++member) start(member);
  const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!isReady()) {
    if (std::chrono::steady_clock::now() > latest) throw std::runtime_error("etcd did not start");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

std::vector<std::string> EtcdMembers::urls() const {
  std::vector<std::string> all;
  for (std::size_t i = 0; i < clientPorts.size(); ++i) all.push_back(clientUrl(i));
  return all;
}

std::string EtcdMembers::clientUrl(std::size_t member) const {
  return (tls.certificate.empty() ? "http" : "https") +
         url(clientPorts[member]).substr(std::string_view("http").size());
}

void EtcdMembers::start(int member) {
  const auto at = static_cast<std::size_t>(member);
  std::string cluster;
  for (std::size_t i = 0; i < peerPorts.size(); ++i) {
    cluster += (i == 0 ? "" : ",") + nameOf(i) + "=" + url(peerPorts[i]);
  }
  std::vector<std::string> command{kEtcd,
                                   "--name",
                                   nameOf(at),
                                   "--data-dir",
                                   place.path() + "/" + nameOf(at),
                                   "--listen-client-urls",
                                   clientUrl(at),
                                   "--advertise-client-urls",
                                   clientUrl(at),
                                   "--listen-peer-urls",
                                   url(peerPorts[at]),
                                   "--initial-advertise-peer-urls",
                                   url(peerPorts[at]),
                                   "--initial-cluster",
                                   cluster,
                                   "--log-level",
                                   "error"};
  if (!tls.certificate.empty()) {
    const std::vector<std::string> more{"--cert-file",       tls.certificate, "--key-file",        tls.key,
                                        "--trusted-ca-file", tls.authority,   "--client-cert-auth"};
    command.insert(command.end(), more.begin(), more.end());
  }
  members[at] = std::make_unique<ChildProcess>(
      ChildProcess::Start{.command = std::move(command), .environment = presentEnvironment()});
}

void EtcdMembers::demandPassword(const std::string& user, const std::string& password, const std::string& prefix) {
  const std::vector<std::vector<std::string>> steps{
      {"user", "add", kRoot},
      {"user", "grant-role", "root", "root"},
      {"role", "add", user},
      {"role", "grant-permission", user, "readwrite", prefix, "--prefix=true"},
      {"user", "add", user + ":" + password},
      {"user", "grant-role", user, user},
      {"auth", "enable"}};
  for (const auto& step : steps) {
    if (control(step) != 0) throw std::runtime_error("etcd did not take: " + step[0] + " " + step[1]);
  }
}

void EtcdMembers::kill(int member) { members[static_cast<std::size_t>(member)]->kill(); }

void EtcdMembers::stop(int member) const { ::kill(members[static_cast<std::size_t>(member)]->id(), SIGSTOP); }

void EtcdMembers::wake(int member) const { ::kill(members[static_cast<std::size_t>(member)]->id(), SIGCONT); }

bool EtcdMembers::isReady() const { return control({"endpoint", "health", "--cluster"}) == 0; }

std::vector<std::string> EtcdMembers::controlCommand(const std::string& endpoints, const std::string& timeout) const {
  // Connecting includes the check of a password, which takes a busy machine longer than the two seconds of the default.
  std::vector<std::string> command{kControl, "--endpoints",    endpoints, "--command-timeout",
                                   timeout,  "--dial-timeout", timeout};
  if (tls.certificate.empty()) return command;
  for (const auto* more :
       {"--cacert", tls.authority.c_str(), "--cert", tls.certificate.c_str(), "--key", tls.key.c_str()})
    command.emplace_back(more);
  return command;
}

int EtcdMembers::control(const std::vector<std::string>& arguments) const {
  std::string endpoints;
  for (const auto& each : urls()) endpoints += (endpoints.empty() ? "" : ",") + each;
  auto command = controlCommand(endpoints, "30s");
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess program({.command = command, .environment = controlEnvironment()});
  return program.wait().value_or(-1);
}

int EtcdMembers::leader() const {
  for (std::size_t i = 0; i < clientPorts.size(); ++i) {
    auto command = controlCommand(clientUrl(i), "1s");
    command.insert(command.end(), {"endpoint", "status"});
    ChildProcess program({.command = std::move(command), .environment = controlEnvironment()});
    const auto line = program.readLine();  // URL, ID, version, size, whether it leads, ...
    program.wait();
    if (!line) continue;
    std::size_t begin = 0;
    for (int column = 0; column < 4; ++column) begin = line->find(',', begin) + 1;
    if (line->substr(begin, 5) == " true") return static_cast<int>(i);
  }
  return -1;
}

}  // namespace quillard::test
