#include <cstdint>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "benchmarks/RatioReporter.h"
#include "platform/linux/catalogues/LinuxTranslations.h"
#include "platform/linux/catalogues/TestCatalogues.h"
#include "support/TemporaryFolder.h"

namespace quillard::catalogues {
namespace {

// This process, with a catalogue of so many messages mapped. GTK has some two thousand.
class Program {
 public:
  explicit Program(std::int64_t messages) {
    test::TestMessages all{{"_Cancel", "_Abbrechen"}};
    for (std::int64_t i = 1; i < messages; ++i) {
      const auto number = std::to_string(i);
      all.emplace_back("Case " + number + ": the file %s could not be opened",
                       "Fall " + number + ": Die Datei „%s“ konnte nicht geöffnet werden");
    }
    const std::string path = folder.path() + "/asker.mo";
    std::ofstream(path, std::ios::binary) << test::gettextCatalogue(all);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    mapped = ::mmap(nullptr, 1, PROT_READ, MAP_PRIVATE, file, 0);
    ::close(file);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() { ::munmap(mapped, 1); }

  // What the agent asks of a dialog with these words.
  static platform::TranslationRequest dialog(const std::string& line) {
    return {static_cast<std::int32_t>(::getpid()), {"Abbrechen", "Löschen"}, {"Frage", line}};
  }

  LinuxTranslations translations{{.shareFolder = "/nowhere", .ownLocale = "", .languageOf = {}}};

 private:
  quillard::test::TemporaryFolder folder;
  void* mapped = nullptr;
};

void askAgain(benchmark::State& state) {
  Program program(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(program.translations.sourceTexts(Program::dialog("Sind Sie sicher?")));
}

void askForNewTexts(benchmark::State& state) {
  Program program(state.range(0));
  std::int64_t count = 0;
  for (auto _ : state) {
    const auto line = "Fall 1: Die Datei „" + std::to_string(++count) + "“ konnte nicht geöffnet werden";
    benchmark::DoNotOptimize(program.translations.sourceTexts(Program::dialog(line)));
  }
}

BENCHMARK(askAgain)->Arg(2000)->Arg(16000)->Unit(benchmark::kMicrosecond);
BENCHMARK(askForNewTexts)->Arg(2000)->Arg(16000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quillard::catalogues

int main(int argc, char** argv) {
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{"askForNewTexts/16000", "askForNewTexts/2000", "eight times the messages: about eight times the time"},
       {"askForNewTexts/2000", "askAgain/2000", "a dialog that was read before costs far less than a new one"},
       {"askAgain/16000", "askAgain/2000", "what was read before costs the same in a catalogue of any size"}});
}
