#include "detection/DialogScanWorker.h"

#include <utility>

namespace quillard {

DialogScanWorker::DialogScanWorker(DialogDetector& detector, platform::Executors& executors)
    : detector(detector),
      mainThread(executors.mainThread()),
      queue(executors.makeSerialQueue("quillard.dialog-scan-worker", platform::QualityOfService::utility)) {}

void DialogScanWorker::scan(Completion completion) {
  queue->post([&detector = detector, &mainThread = mainThread, completion = std::move(completion)] {
    mainThread.post([completion, outcome = detector.scan()] { completion(outcome); });
  });
}

}  // namespace quillard
