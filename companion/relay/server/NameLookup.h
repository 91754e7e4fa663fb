#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

namespace quillard::relayserver {

// Looks up the addresses of hosts by the system's resolver, which takes as long as it likes: on threads of its own, so
// that neither the loop nor the store of a cluster waits for a name that a phone has brought. One name that hangs keeps
// one thread, however many ask for it, and no end of the relay waiting.
//
// Belongs to the thread of the event loop; it starts no thread before it is asked.
class NameLookup {
 public:
  using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;
  // Waits; called on any thread, possibly on several, and possibly still after the object is gone. Empty: no address.
  using Resolve = std::function<Endpoints(const std::string& host, std::uint16_t port)>;
  static constexpr std::size_t kMostThreads = 4;

  // `loop` outlives it.
  explicit NameLookup(boost::asio::io_context& loop, Resolve resolve = resolveBySystem);
  // Waits for no look-up; nothing is called back afterwards.
  ~NameLookup();
  NameLookup(const NameLookup&) = delete;
  NameLookup& operator=(const NameLookup&) = delete;

  // `done` once, later, on the loop; with nothing where there is no address.
  void find(const std::string& host, std::uint16_t port, std::function<void(Endpoints)> done);

  static Endpoints resolveBySystem(const std::string& host, std::uint16_t port);

 private:
  using Name = std::pair<std::string, std::uint16_t>;
  using Waiting = std::map<Name, std::vector<std::function<void(Endpoints)>>>;
  struct Shared;
  static void work(const std::shared_ptr<Shared>& shared);
  static void publish(Shared& shared, const Name& name, Endpoints found);

  // Of the loop's thread alone; gone with this object, whatever the threads still bring.
  const std::shared_ptr<Waiting> waiting = std::make_shared<Waiting>();
  const std::shared_ptr<Shared> shared;
};

}  // namespace quillard::relayserver
