#include "companion/relay/server/WebSocketConnection.h"

#include <optional>
#include <string_view>

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/websocket/stream.hpp>

#include "companion/relay/server/OutgoingQueue.h"
#include "companion/relay/server/RelayCluster.h"

namespace quillard::relayserver {
namespace {

namespace beast = boost::beast;
namespace websocket = beast::websocket;

// How long the answer to a handshake may take to be sent, and how long a peer has to answer a close message.
constexpr std::chrono::seconds kHandshakeTimeout{10};
constexpr std::chrono::seconds kCloseTimeout{5};
// What a connection keeps of its buffer between messages, until it is next pinged.
constexpr std::size_t kKeptBuffer = 16 * 1024;
constexpr std::size_t kLargestPart = 64 * 1024;

// One agent or phone. States: answering the handshake -> open -> closing -> gone. The operations under
// way own it.
class WebSocketConnection final : public RelayPeer, public std::enable_shared_from_this<WebSocketConnection> {
 public:
  WebSocketConnection(RelayStream stream, const ConnectionDependencies& dependencies)
      : dependencies(dependencies),
        socket(std::move(stream)),
        outgoing(dependencies.limits.queuedBytes, dependencies.limits.queuedMessages),
        unfinished(dependencies.memory) {
    ++dependencies.unfinished.webSockets;
  }
  WebSocketConnection(const WebSocketConnection&) = delete;
  WebSocketConnection& operator=(const WebSocketConnection&) = delete;
  ~WebSocketConnection() override { --dependencies.unfinished.webSockets; }

  void start(const HttpRequestMessage& request, const Admission& admission) {
    socket.set_option(websocket::stream_base::timeout{kHandshakeTimeout, websocket::stream_base::none(), false});
    socket.read_message_max(dependencies.limits.messageBytes);
    socket.auto_fragment(false);
    socket.text(true);
    socket.set_option(websocket::stream_base::decorator([offers = admission.offersProtocol](auto& response) {
      if (offers) response.set(beast::http::field::sec_websocket_protocol, kSubprotocol);
    }));
    // A ping is answered by the library itself: whoever has to wait for that is not read any more, below it.
    socket.next_layer().setOnBytes([this](std::size_t bytes) {
      const auto when = now().instant;
      hold(this->dependencies.rooms.didReceiveBytes(*this, bytes, when), when);
    });
    socket.control_callback([this](websocket::frame_type kind, const auto&) {
      if (kind == websocket::frame_type::close) return;
      const auto when = now().instant;
      hold(this->dependencies.rooms.didReceiveControl(*this, when), when);
    });
    // Joins before the answer is sent, so that the same place cannot be granted twice meanwhile.
    if (dependencies.cluster) who = std::make_unique<const PeerIntroduction>(admission.who);
    dependencies.rooms.join(shared_from_this(), admission.who, admission.from, now().instant);
    ++dependencies.metrics.answers[101];
    socket.async_accept(request, [self = shared_from_this()](const ErrorCode& error) { self->didAccept(error); });
  }

  Sending send(const MessageText& text, std::uint64_t number) override {
    if (!outgoing.push(text, number)) return Sending::refused;
    writeNext();
    return Sending::underWay;
  }

  void ping() override {
    if (state != State::open || isPinging) return;
    // No message is under way: what the last one took is not needed.
    if (buffer.size() == 0) buffer.shrink_to_fit();
    isPinging = true;
    socket.async_ping({}, [self = shared_from_this()](const ErrorCode&) { self->isPinging = false; });
  }

  void close(CloseCode code) override {
    if (state == State::closing) return;
    dropWaiting();
    closeCode = code;
    if (state == State::open) sendClose();
  }

  void abort() override {
    state = State::closing;
    dropWaiting();
    unfinished.resize(0);
    if (nextRead) nextRead->cancel();
    socket.next_layer().close();
  }

  [[nodiscard]] std::size_t heldBytes() const override { return unfinished.bytes() + outgoing.ownBytes(); }

 private:
  enum class State { answering, open, closing };

  [[nodiscard]] Moment now() const { return dependencies.now(); }

  void didAccept(const ErrorCode& error) {
    if (error || state == State::closing) return end();
    state = State::open;
    if (closeCode) return sendClose();
    writeNext();
    read();
  }

  // A read that is under way ends first; then the close itself reads on, until it is answered.
  void sendClose() {
    state = State::closing;
    if (nextRead) nextRead->cancel();
    socket.next_layer().releaseReads();  // The answer has to be read.
    timeout = std::make_unique<boost::asio::steady_timer>(socket.get_executor(), kCloseTimeout);
    timeout->async_wait([weak = weak_from_this()](const ErrorCode& error) {
      const auto self = weak.lock();
      if (self && !error) self->socket.next_layer().close();
    });
    socket.async_close(websocket::close_reason(static_cast<std::uint16_t>(*closeCode)),
                       [self = shared_from_this()](const ErrorCode&) { self->end(); });
  }

  // The first byte of a message, so that a connection on which nothing comes keeps no buffer; then the rest, part by
  // part: what a message announces to be as a whole takes no memory before it is there.
  void read() {
    if (buffer.size() > 0) return readOn();
    socket.async_read_some(boost::asio::buffer(&firstByte, 1),
                           [self = shared_from_this()](const ErrorCode& error, std::size_t bytes) {
                             if (!error && bytes > 0) self->keepFirstByte();
                             self->didRead(error, bytes);
                           });
  }

  void readOn() {
    socket.async_read_some(
        buffer, kLargestPart,
        [self = shared_from_this()](const ErrorCode& error, std::size_t bytes) { self->didRead(error, bytes); });
  }

  void keepFirstByte() {
    *static_cast<char*>(buffer.prepare(1).data()) = firstByte;
    buffer.commit(1);
  }

  void didRead(const ErrorCode& error, std::size_t bytes) {
    if (error) return end();
    if (state == State::closing) return;  // What still comes is dropped by the close that is under way.
    if (socket.is_message_done()) return take();
    unfinished.resize(buffer.capacity());
    readAfter(dependencies.rooms.didReceivePart(*this, bytes, now().instant));
  }

  void readAfter(Duration wait) {
    if (state == State::closing) return;
    if (wait == Duration::zero()) return read();
    if (!nextRead) nextRead = std::make_unique<boost::asio::steady_timer>(socket.get_executor());
    nextRead->expires_after(wait);
    nextRead->async_wait([self = shared_from_this()](const ErrorCode&) {
      if (self->state != State::closing) self->read();
    });
  }

  void hold(Duration wait, Instant when) {
    if (wait > Duration::zero()) socket.next_layer().holdReads(when + wait);
  }

  [[nodiscard]] std::string_view message() const {
    const auto bytes = buffer.cdata();
    return {static_cast<const char*>(bytes.data()), bytes.size()};
  }

  void take() {
    if (!dependencies.cluster) return takeNow();
    // Of one that is gone, nothing is taken.
    const auto again = [self = shared_from_this()] {
      if (self->state != State::closing) self->take();
    };
    const auto resume = [self = shared_from_this()] { self->takeNow(); };
    if (!dependencies.cluster->admission().holds(*who, message(), again, resume)) takeNow();
  }

  void takeNow() {
    const Duration wait = dependencies.rooms.take(*this, message(), now());
    buffer.consume(buffer.size());
    if (buffer.capacity() > kKeptBuffer) buffer.shrink_to_fit();
    unfinished.resize(0);
    readAfter(wait);
  }

  void writeNext() {
    if (state != State::open || isWriting || outgoing.isEmpty()) return;
    isWriting = true;
    // The queue holds the text until it is sent.
    socket.async_write(boost::asio::buffer(*outgoing.front()),
                       [self = shared_from_this()](const ErrorCode& error, std::size_t) { self->didWrite(error); });
  }

  // An error: not all of it went out, so the other end has no whole message.
  void didWrite(const ErrorCode& error) {
    isWriting = false;
    const auto entry = outgoing.pop();
    if (!error) writeNext();
    if (entry.number == 0) return;
    if (error) return dependencies.rooms.didDrop(entry.number, entry.text, now().instant);
    dependencies.rooms.didWrite(entry.number, now().instant);
  }

  // The rooms are in the middle of something: they are told afterwards.
  void dropWaiting() {
    auto dropped = outgoing.clear(isWriting);
    if (dropped.empty()) return;
    boost::asio::post(socket.get_executor(), [self = shared_from_this(), dropped = std::move(dropped)] {
      for (const auto& entry : dropped) self->dependencies.rooms.didDrop(entry.number, entry.text, self->now().instant);
    });
  }

  void end() {
    dependencies.rooms.leave(*this, now().instant);
    if (state == State::closing && closeCode) return;  // The close message is under way, or done.
    state = State::closing;
    dropWaiting();
    unfinished.resize(0);
  }

  const ConnectionDependencies& dependencies;
  websocket::stream<RelayStream, false> socket;  // Ciphertext does not compress.
  // Made when they are first needed. For the close message, which may be stuck behind one that is not read;
  std::unique_ptr<boost::asio::steady_timer> timeout;
  std::unique_ptr<boost::asio::steady_timer> nextRead;  // and for messages that have to be paid for first.
  OutgoingQueue outgoing;
  MemoryBudget::Share unfinished;
  beast::flat_buffer buffer;  // Of the message that is under way.
  char firstByte = 0;
  std::unique_ptr<const PeerIntroduction> who;  // In a cluster.
  State state = State::answering;
  bool isWriting = false;
  bool isPinging = false;
  std::optional<CloseCode> closeCode;
};

}  // namespace

void startWebSocket(RelayStream stream, const HttpRequestMessage& request, const Admission& admission,
                    const ConnectionDependencies& dependencies) {
  std::make_shared<WebSocketConnection>(std::move(stream), dependencies)->start(request, admission);
}

}  // namespace quillard::relayserver
