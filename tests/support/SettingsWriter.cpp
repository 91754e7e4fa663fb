// settings_writer FOLDER: changes the settings there as fast as it can, until it is killed.

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>
#include <variant>

#include <QtCore/QCoreApplication>

#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/qt/QtExecutors.h"

namespace {

class StandardError final : public quillard::platform::Console {
 public:
  void writeLine(std::string_view line) override { std::fprintf(stderr, "%.*s\n", int(line.size()), line.data()); }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const QCoreApplication application(argc, argv);
  quillard::qt::QtExecutors executors;
  StandardError console;
  quillard::xdg::FileUserDefaults settings(argv[1], executors, console);
  const auto last = settings.object("first");
  double number = last ? std::get<double>(*last) : 0;
  settings.set("ballast", std::string(50'000, 'x'));  // So that a write takes a while.
  std::puts("writing");
  std::fflush(stdout);
  while (true) {
    number += 1;
    settings.set("first", number);
    settings.set("second", number);
    std::this_thread::sleep_for(std::chrono::microseconds(50));  // Or the writing itself would hardly get its turn.
  }
}
