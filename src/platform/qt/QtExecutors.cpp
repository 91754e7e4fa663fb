#include "platform/qt/QtExecutors.h"

#include "platform/qt/SerialQueue.h"

namespace quillard::qt {

std::unique_ptr<platform::SerialExecutor> QtExecutors::makeSerialQueue(std::string_view label,
                                                                       platform::QualityOfService quality) {
  return std::make_unique<SerialQueue>(label, quality);
}

}  // namespace quillard::qt
