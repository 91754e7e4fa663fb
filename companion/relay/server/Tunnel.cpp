#include "companion/relay/server/Tunnel.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include "companion/relay/server/OutgoingConnection.h"

namespace quillard::relayserver {
namespace {

namespace asio = boost::asio;

constexpr std::size_t kLongestHead = 16 * 1024;
// Of each direction: small while little goes through, so that idle tunnels cost little.
constexpr std::size_t kSmallBuffer = 1024;
constexpr std::size_t kLargeBuffer = 16 * 1024;
// What the system keeps of each direction beside: a sender could push megabytes through otherwise.
constexpr int kSocketBuffer = 64 * 1024;
// How long the other direction may go on after one has ended.
constexpr std::chrono::seconds kHalfClosed{2};

// The operations under way own it.
class AskedHome final : public std::enable_shared_from_this<AskedHome> {
 public:
  AskedHome(RelayStream connected, std::string head, std::function<void(HomeReply)> done)
      : stream(std::move(connected)), deadline(stream->get_executor()), head(std::move(head)), done(std::move(done)) {}

  void start(Duration timeout) {
    ErrorCode ignored;
    stream->socket().set_option(asio::socket_base::send_buffer_size(kSocketBuffer), ignored);
    stream->socket().set_option(asio::socket_base::receive_buffer_size(kSocketBuffer), ignored);
    deadline.expires_after(timeout);
    deadline.async_wait([self = shared_from_this()](const ErrorCode& error) {
      if (!error) self->finish(0);
    });
    asio::async_write(*stream, asio::buffer(head), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      if (error) return self->finish(0);
      self->read();
    });
  }

 private:
  void read() {
    if (!done) return;
    stream->async_read_some(asio::buffer(part), [self = shared_from_this()](const ErrorCode& error, std::size_t bytes) {
      if (error || !self->done) return self->finish(0);
      self->arrived.append(self->part.data(), bytes);
      if (self->arrived.find("\r\n\r\n") != std::string::npos) return self->finish(self->status());
      if (self->arrived.size() > kLongestHead) return self->finish(0);
      self->read();
    });
  }

  [[nodiscard]] int status() const {
    constexpr std::string_view kStart = "HTTP/1.1 ";
    int number = 0;
    if (!arrived.starts_with(kStart)) return 0;
    for (const char digit : arrived.substr(kStart.size(), 3)) {
      if (digit < '0' || digit > '9') return 0;
      number = number * 10 + (digit - '0');
    }
    return number;
  }

  void finish(int status) {
    if (!done) return;
    deadline.cancel();
    HomeReply reply{.status = status};
    if (status == 0) {
      stream->close();
    } else {
      reply.arrived = std::move(arrived);
      reply.stream = std::move(stream);
    }
    std::exchange(done, nullptr)(std::move(reply));
  }

  std::optional<RelayStream> stream;
  asio::steady_timer deadline;
  const std::string head;
  std::function<void(HomeReply)> done;  // Empty: it was called.
  std::array<char, 2048> part{};
  std::string arrived;
};

// The operations under way own it.
class CopyingTunnel final : public Tunnel, public std::enable_shared_from_this<CopyingTunnel> {
 public:
  CopyingTunnel(RelayStream client, RelayStream home, std::string arrived, const MemoryBudget& budget,
                std::function<void()> onEnd)
      : client(std::move(client)),
        home(std::move(home)),
        timer(this->client.get_executor()),
        toClient{&this->home, &this->client, {}},
        toHome{&this->client, &this->home, {}},
        arrived(std::move(arrived)),
        kept(budget),
        onEnd(std::move(onEnd)) {}
  ~CopyingTunnel() override { onEnd(); }
  CopyingTunnel(const CopyingTunnel&) = delete;
  CopyingTunnel& operator=(const CopyingTunnel&) = delete;

  void begin() {
    client.setOnBytes(nullptr);
    ErrorCode ignored;
    client.socket().set_option(asio::socket_base::send_buffer_size(kSocketBuffer), ignored);
    resize(toClient, kSmallBuffer);
    resize(toHome, kSmallBuffer);
    asio::async_write(client, asio::buffer(arrived), [self = shared_from_this()](const ErrorCode& error, std::size_t) {
      self->arrived = {};
      if (error) return self->end(self->toClient);
      self->read(self->toClient);
    });
    read(toHome);
  }

  void closeAfter(Duration grace) override {
    if (isEnding) return;
    isEnding = true;
    timer.expires_after(grace);
    timer.async_wait([weak = weak_from_this()](const ErrorCode&) {
      if (const auto self = weak.lock()) self->close();
    });
  }

 private:
  struct Direction {
    RelayStream* from;
    RelayStream* to;
    std::vector<char> buffer;
  };

  void resize(Direction& direction, std::size_t size) {
    direction.buffer.resize(size);
    if (direction.buffer.capacity() > size) direction.buffer.shrink_to_fit();
    kept.resize(toClient.buffer.size() + toHome.buffer.size());
  }

  void read(Direction& direction) {
    direction.from->async_read_some(asio::buffer(direction.buffer),
                                    [self = shared_from_this(), &direction](const ErrorCode& error, std::size_t bytes) {
                                      if (error) return self->end(direction);
                                      self->write(direction, bytes);
                                    });
  }

  void write(Direction& direction, std::size_t bytes) {
    asio::async_write(*direction.to, asio::buffer(direction.buffer.data(), bytes),
                      [self = shared_from_this(), &direction, bytes](const ErrorCode& error, std::size_t) {
                        if (error) return self->end(direction);
                        const std::size_t size = direction.buffer.size();
                        if (bytes == size && size < kLargeBuffer) self->resize(direction, kLargeBuffer);
                        if (bytes <= kSmallBuffer && size > kSmallBuffer) self->resize(direction, kSmallBuffer);
                        self->read(direction);
                      });
  }

  // All that came this way was written.
  void end(Direction& direction) {
    direction.to->shutdown([self = shared_from_this()](const ErrorCode&) {});
    closeAfter(kHalfClosed);
    if (isHalfClosed) close();
    isHalfClosed = true;
  }

  void close() {
    timer.cancel();
    client.close();
    home.close();
  }

  RelayStream client;
  RelayStream home;
  asio::steady_timer timer;
  Direction toClient;
  Direction toHome;
  std::string arrived;
  MemoryBudget::Share kept;
  const std::function<void()> onEnd;
  bool isHalfClosed = false;
  bool isEnding = false;
};

}  // namespace

void askHome(asio::io_context& loop, const PeerAddress& address, std::shared_ptr<asio::ssl::context> tls,
             std::string head, Duration timeout, std::function<void(HomeReply)> done) {
  const auto begun = std::chrono::steady_clock::now();
  connectTo(
      loop, address, std::move(tls), timeout,
      [head = std::move(head), timeout, begun, done = std::move(done)](std::optional<RelayStream> connected) mutable {
        if (!connected) return done({});
        const Duration left = timeout - (std::chrono::steady_clock::now() - begun);
        std::make_shared<AskedHome>(std::move(*connected), std::move(head), std::move(done))->start(left);
      });
}

std::shared_ptr<Tunnel> Tunnel::start(RelayStream client, RelayStream home, std::string arrived,
                                      const MemoryBudget& budget, std::function<void()> onEnd) {
  auto tunnel =
      std::make_shared<CopyingTunnel>(std::move(client), std::move(home), std::move(arrived), budget, std::move(onEnd));
  tunnel->begin();
  return tunnel;
}

}  // namespace quillard::relayserver
