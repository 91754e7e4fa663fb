#include "platform/macos/objc/AutoreleasePool.h"

namespace quillard::macos {

void runInAutoreleasePool(const platform::Turn& turn) {
  @autoreleasepool {
    turn();
  }
}

}  // namespace quillard::macos
