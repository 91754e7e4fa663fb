// terminating_program [--stuck]: says when it is up, runs until it is told to end, and says so. Stuck, it never comes
// to an end by itself.

#include <cstdio>
#include <string_view>

#include <QtCore/QCoreApplication>
#include <unistd.h>

#include "platform/qt/QtApplication.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/TerminationSignals.h"

int main(int argc, char** argv) {
  const QCoreApplication loop(argc, argv);
  quillard::qt::QtExecutors executors;
  quillard::qt::QtApplication application(executors.mainThread());
  const bool isStuck = argc > 1 && std::string_view(argv[1]) == "--stuck";
  application.setOnWillTerminate([isStuck] {
    std::puts("will terminate");
    std::fflush(stdout);
    while (isStuck) ::pause();
  });
  const quillard::qt::TerminationSignals termination([&application] { application.terminate(); });
  std::puts("up");
  std::fflush(stdout);
  const int code = QCoreApplication::exec();
  std::puts("ended");
  return code;
}
