// terminating_program [--stuck]: says when it is up, runs until it is told to end, and says so. Stuck, it never comes
// to an end by itself.

#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>

#include <QtCore/QCoreApplication>

#include "platform/qt/TerminationSignals.h"

int main(int argc, char** argv) {
  const QCoreApplication loop(argc, argv);
  const bool isStuck = argc > 1 && std::string_view(argv[1]) == "--stuck";
  const quillard::qt::TerminationSignals termination([isStuck] {
    std::puts("will terminate");
    std::fflush(stdout);
    if (isStuck) std::this_thread::sleep_for(std::chrono::hours(1));  // Longer than anybody waits.
    QCoreApplication::exit(0);
  });
  std::puts("up");
  std::fflush(stdout);
  const int code = QCoreApplication::exec();
  std::puts("ended");
  return code;
}
