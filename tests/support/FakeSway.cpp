#include "support/FakeSway.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/sway/SwayMessages.h"

namespace quillard::test {

struct FakeSway::Client {
  explicit Client(int file) : file(file) {}
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { ::close(file); }
  void send(const std::string& bytes) const {
    [[maybe_unused]] const auto sent = ::send(file, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  const int file;
  sway::MessageStream stream;
  bool isSubscribed = false;
};

FakeSway::FakeSway() : tree(R"({"type":"root","nodes":[]})"), wakeFile(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  start();
}

FakeSway::~FakeSway() {
  stop();
  ::close(wakeFile);
}

void FakeSway::start() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path().c_str(), sizeof(address.sun_path) - 1);
  listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ::unlink(address.sun_path);
  [[maybe_unused]] const auto bound = ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  [[maybe_unused]] const auto listening = ::listen(listener, 8);
  isEnding = false;
  thread = std::thread([this] { run(); });
}

void FakeSway::stop() {
  if (!thread.joinable()) return;
  isEnding = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(wakeFile, &one, sizeof(one));
  thread.join();
  std::uint64_t count = 0;
  [[maybe_unused]] const auto cleared = ::read(wakeFile, &count, sizeof(count));
  const std::lock_guard lock(mutex);
  clients.clear();
  ::close(listener);
  ::unlink(path().c_str());
}

void FakeSway::setTree(const std::string& json) {
  const std::lock_guard lock(mutex);
  tree = json;
}

void FakeSway::lieWith(const std::string& bytes) {
  const std::lock_guard lock(mutex);
  lie = bytes;
}

void FakeSway::announce(std::uint32_t type, const std::string& json) {
  const std::lock_guard lock(mutex);
  for (const auto& client : clients) {
    if (client->isSubscribed) client->send(sway::encoded(sway::MessageType{type}, json));
  }
}

std::vector<std::string> FakeSway::commands() {
  const std::lock_guard lock(mutex);
  return given;
}

std::size_t FakeSway::subscribers() {
  const std::lock_guard lock(mutex);
  return static_cast<std::size_t>(
      std::count_if(clients.begin(), clients.end(), [](const auto& client) { return client->isSubscribed; }));
}

void FakeSway::run() {
  while (!isEnding) {
    std::vector<pollfd> files{{wakeFile, POLLIN, 0}, {listener, POLLIN, 0}};
    {
      const std::lock_guard lock(mutex);
      for (const auto& client : clients) files.push_back({client->file, POLLIN, 0});
    }
    ::poll(files.data(), files.size(), -1);
    const std::lock_guard lock(mutex);
    for (std::size_t i = files.size(); i-- > 2;) {
      if (files[i].revents == 0) continue;
      auto& client = *clients[i - 2];
      std::array<char, 4096> buffer{};
      const auto length = ::recv(client.file, buffer.data(), buffer.size(), 0);
      if (length <= 0) {
        clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(i - 2));
        continue;
      }
      client.stream.add({buffer.data(), static_cast<std::size_t>(length)});
      while (const auto message = client.stream.next()) answer(client, message->type, message->payload);
    }
    if ((files[1].revents & POLLIN) != 0)
      clients.push_back(std::make_unique<Client>(::accept(listener, nullptr, nullptr)));
  }
}

void FakeSway::answer(Client& client, std::uint32_t type, const std::string& payload) {
  const auto kind = sway::MessageType{type};
  if (kind == sway::MessageType::runCommand) given.push_back(payload);
  if (kind == sway::MessageType::subscribe) client.isSubscribed = true;
  if (isSilent) return;
  if (!lie.empty()) return client.send(lie);
  if (kind == sway::MessageType::getTree) return client.send(sway::encoded(kind, tree));
  if (kind == sway::MessageType::subscribe) return client.send(sway::encoded(kind, R"({"success": true})"));
  client.send(sway::encoded(kind, R"([{"success": true}])"));
}

}  // namespace quillard::test
