#include "fuzz/catalogues/CatalogueFuzz.h"
#include "platform/linux/catalogues/QtCatalogue.h"

using namespace quillard;

// Whatever a file holds, its messages are within it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::FuzzedMessages messages(size);
  catalogues::readQtCatalogue(fuzz::textOf(data, size), messages.visitor());
  messages.finish();
  return 0;
}
