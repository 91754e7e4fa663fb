#include "fuzz/catalogues/CatalogueFuzz.h"
#include "platform/linux/catalogues/ChromiumCatalogue.h"

using namespace quillard;

// A pack read against itself, and one half of the input against the other.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = fuzz::textOf(data, size);
  fuzz::FuzzedMessages messages(size);
  catalogues::readChromiumCatalogue(bytes, bytes, messages.visitor());
  catalogues::readChromiumCatalogue(bytes.substr(0, size / 2), bytes.substr(size / 2), messages.visitor());
  messages.finish();
  return 0;
}
