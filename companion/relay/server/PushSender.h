#pragma once

#include <functional>
#include <memory>
#include <string>

#include <boost/asio/io_context.hpp>

#include "companion/relay/push/PushLimits.h"
#include "companion/relay/push/PushTransport.h"
#include "companion/relay/server/NameLookup.h"

namespace quillard::relayserver {

// Posts to push services over TLS, on the thread of the event loop. A host's name is looked up once for a connection,
// and the connection goes to an address that was checked: nobody can name one address for the check and another one
// after it. Certificates and host names are verified, redirects are not followed, and of an answer its status and
// "Retry-After" count. Connections are used again.
class PushSender final : public PushTransport {
 public:
  struct Options {
    std::string authority;                // A file with the certificates to trust, PEM; empty: the system's.
    bool allowsPrivateAddresses = false;  // For tests, and for push services of one's own beside the relay.
    NameLookup::Resolve resolve = NameLookup::resolveBySystem;
  };
  // `loop` and `limits` outlive it. Throws std::runtime_error that says what it cannot use.
  PushSender(boost::asio::io_context& loop, const PushLimits& limits, const Options& options);
  // What is under way is not called back, and nothing is waited for.
  ~PushSender() override;

  void post(PushRequest request, std::function<void(PushReply)> done) override;
  // Closes connections that were not used for long. To be called every few seconds.
  void tick();

 private:
  struct Pool;
  class Attempt;
  const std::shared_ptr<Pool> pool;
};

}  // namespace quillard::relayserver
