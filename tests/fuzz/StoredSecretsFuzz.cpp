#include "fuzz/FuzzTarget.h"
#include "relay/InstallationSecrets.h"

using namespace quillard;
using fuzz::require;

// What reads as secrets is written, and reads again as the same.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto secrets = readInstallationSecrets({data, size});
  if (!secrets) return 0;
  (void)secrets->isUsable();
  const auto text = installationSecretsText(*secrets);
  require(text.has_value(), "What was read can be written.");
  require(readInstallationSecrets(text->view()) == secrets, "What was written reads as the same.");
  return 0;
}
