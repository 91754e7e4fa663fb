#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "contract/support/TestAuthority.h"
#include "foundation/StrictJson.h"
#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {

// The strict push service of push-service/service.mjs, over TLS, on a free port of this machine.
class PushServiceProgram {
 public:
  // `isQuiet`: `request` says nothing, which has to be read otherwise.
  explicit PushServiceProgram(const CertificateOptions& certificate = {}, bool isQuiet = false) {
    auto environment = presentEnvironment();
    if (isQuiet) environment.emplace_back("QUILLARD_PUSH_SERVICE_QUIET=1");
    const auto identity = issuer.issue(certificate);
    write("certificate", identity.certificate);
    write("key", identity.key);
    write("authority", issuer.certificate());
    process = std::make_unique<ChildProcess>(
        ChildProcess::Start{.command = {"node", QUILLARD_PUSH_SERVICE, file("certificate"), file("key"), file("vapid")},
                            .environment = environment});
    port = static_cast<std::uint16_t>(std::stoul(process->readLine().value_or("0")));
  }

  // What subscriptions are made with, for it to compare.
  void setKey(const std::string& key) const { write("vapid", key); }
  // `answer`: see the script. Two names are two phones.
  [[nodiscard]] std::string endpoint(const std::string& answer, const std::string& name = "secret-endpoint") const {
    return "https://" + host() + "/" + answer + "/" + name;
  }
  [[nodiscard]] std::string host() const { return "127.0.0.1:" + std::to_string(port); }
  // For the relay: to trust it, and to post to it.
  [[nodiscard]] std::vector<std::string> options() const {
    return {"--push-contact",  "mailto:operator@relay.example", "--push-hosts", host(), "--push-authority",
            file("authority"), "--push-private-addresses"};
  }
  // The next request, once it is there.
  Json request() const {
    const auto line = process->readLine();
    return line ? Json::parse(*line) : Json();
  }

 private:
  [[nodiscard]] std::string file(const std::string& name) const { return folder.path() + "/" + name; }
  void write(const std::string& name, const std::string& text) const { std::ofstream(file(name)) << text; }

  const TemporaryFolder folder;
  const TestAuthority issuer;
  std::unique_ptr<ChildProcess> process;
  std::uint16_t port = 0;
};

}  // namespace quillard::test
