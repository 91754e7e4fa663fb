#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The tree shows the design, and this keeps it true: folders, libraries and arrows are one picture. Arrows are declared
// where CMake links libraries, and nowhere else; the core touches the outside world through the headers of src/platform
// alone.
namespace {

namespace fs = std::filesystem;

// A folder below src/ that is a library of its own, or a program.
struct Module {
  std::string target;
  std::set<std::string> links;  // Targets of other modules.
};

// By folder, as CMake wrote them down: see quillard_list_module.
const std::map<std::string, Module>& modules() {
  static const std::map<std::string, Module> modules = [] {
    std::map<std::string, Module> read;
    std::ifstream file{QUILLARD_MODULES};
    for (std::string line; std::getline(file, line);) {
      std::istringstream fields{line};
      std::string folder;
      Module module;
      std::getline(fields, folder, '\t');
      std::getline(fields, module.target, '\t');
      for (std::string link; std::getline(fields, link, '\t');) module.links.insert(link);
      EXPECT_TRUE(read.emplace(folder, module).second) << folder << " is two libraries.";
    }
    return read;
  }();
  return modules;
}

// The longest folder that fits a path says which module it belongs to.
std::optional<std::string> moduleOf(const std::string& path) {
  std::optional<std::string> best;
  for (const auto& [folder, module] : modules()) {
    if (path.rfind(folder + "/", 0) == 0 && (!best || folder.size() > best->size())) best = folder;
  }
  return best;
}

std::optional<std::string> folderOf(const std::string& target) {
  for (const auto& [folder, module] : modules()) {
    if (module.target == target) return folder;
  }
  return std::nullopt;
}

struct Source {
  std::string path;  // Below src/.
  std::vector<std::string> lines;
};

bool isTest(const std::string& path) { return path.find("Test.") != std::string::npos; }

// Everything below src/ but the tests, which may stand on anything.
const std::vector<Source>& sources() {
  static const std::vector<Source> sources = [] {
    std::vector<Source> found;
    for (const auto& entry : fs::recursive_directory_iterator(QUILLARD_SOURCES)) {
      const auto extension = entry.path().extension();
      if (extension != ".h" && extension != ".cpp" && extension != ".mm") continue;
      Source source{fs::relative(entry.path(), QUILLARD_SOURCES).generic_string(), {}};
      if (isTest(source.path)) continue;
      std::ifstream file{entry.path()};
      for (std::string line; std::getline(file, line);) source.lines.push_back(line);
      found.push_back(std::move(source));
    }
    return found;
  }();
  return sources;
}

std::optional<std::string> includedPath(const std::string& line, char open, char close) {
  std::istringstream words{line};
  std::string directive;
  std::string name;
  words >> directive >> name;
  if (directive != "#include" || name.size() < 3 || name.front() != open || name.back() != close) return std::nullopt;
  return name.substr(1, name.size() - 2);
}

bool isBelow(const std::string& folder, const std::string& above) {
  return folder == above || folder.rfind(above + "/", 0) == 0;
}

bool isBinding(const std::string& folder) { return folder.rfind("platform/", 0) == 0; }

// The core, and the headers that it is written against: not the bindings, not the program.
bool isPureFolder(const std::string& folder) { return !isBelow(folder, "app") && !isBinding(folder); }

bool isPure(const std::string& path) {
  const auto module = moduleOf(path);
  return module && isPureFolder(*module);
}

void expectNoLineMatching(const char* pattern, const char* why) {
  const std::regex expression{pattern};
  for (const auto& source : sources()) {
    if (!isPure(source.path) || source.path == "foundation/BrokenPromise.h") continue;
    for (std::size_t i = 0; i < source.lines.size(); ++i) {
      EXPECT_FALSE(std::regex_search(source.lines[i], expression))
          << source.path << ":" << i + 1 << ": " << source.lines[i] << "\n"
          << why;
    }
  }
}

TEST(Architecture, HasSourcesToLookAt) {
  EXPECT_GT(sources().size(), 50U);
  EXPECT_TRUE(
      std::any_of(sources().begin(), sources().end(), [](const Source& source) { return isPure(source.path); }));
}

TEST(Architecture, EveryFileBelongsToALibrary) {
  for (const auto& source : sources()) EXPECT_TRUE(moduleOf(source.path).has_value()) << source.path;
}

TEST(Architecture, EveryLibraryIsOneFolderWithSources) {
  std::set<std::string> targets;
  for (const auto& [folder, module] : modules()) {
    EXPECT_TRUE(targets.insert(module.target).second) << module.target << " is two folders.";
    EXPECT_TRUE(std::any_of(sources().begin(), sources().end(), [&folder = folder](const Source& source) {
      return moduleOf(source.path) == folder;
    })) << folder;
    for (const auto& link : module.links) EXPECT_TRUE(folderOf(link).has_value()) << folder << " links " << link;
  }
}

// Both ways: what is included is linked by that name, and what is linked is included somewhere.
TEST(Architecture, TheArrowsAreWhatTheSourcesInclude) {
  std::map<std::string, std::set<std::string>> used;
  for (const auto& source : sources()) {
    const auto from = moduleOf(source.path);
    if (!from) continue;
    for (const auto& line : source.lines) {
      const auto included = includedPath(line, '"', '"');
      if (!included) continue;
      const auto to = moduleOf(*included);
      ASSERT_TRUE(to.has_value()) << source.path << " includes \"" << *included << "\" by a path not below src/";
      if (*to == *from) continue;
      const auto& target = modules().at(*to).target;
      EXPECT_TRUE(modules().at(*from).links.contains(target))
          << source.path << " includes " << *included << ", but " << modules().at(*from).target << " does not link "
          << target;
      used[*from].insert(target);
    }
  }
  for (const auto& [folder, module] : modules()) {
    for (const auto& link : module.links) {
      EXPECT_TRUE(used[folder].contains(link)) << module.target << " links " << link << ", and includes nothing of it";
    }
  }
}

TEST(Architecture, TheArrowsHaveNoCycle) {
  std::set<std::string> settled;
  for (bool grows = true; grows;) {
    grows = false;
    for (const auto& [folder, module] : modules()) {
      const bool isReady = std::all_of(module.links.begin(), module.links.end(),
                                       [&](const auto& link) { return settled.contains(link); });
      if (isReady && settled.insert(module.target).second) grows = true;
    }
  }
  EXPECT_EQ(settled.size(), modules().size());
}

TEST(Architecture, TheCoreStandsOnNoBindingAndOnlyEntryPointsNameTheirOwn) {
  for (const auto& [folder, module] : modules()) {
    for (const auto& link : module.links) {
      const auto to = folderOf(link).value_or("");
      EXPECT_TRUE(!isPureFolder(folder) || isPureFolder(to)) << folder << " stands on " << to;
      EXPECT_TRUE(to != "platform/linux" || folder == "app/linux") << folder << " names the binding to Linux.";
      EXPECT_TRUE(to != "platform/macos" || folder == "app/macos") << folder << " names the binding to macOS.";
      EXPECT_NE(to, "platform/simulated") << folder << " stands on the simulated world.";
    }
  }
}

TEST(Architecture, TheCoreIncludesNoHeaderOfTheSystemOrOfToolkits) {
  static const std::set<std::string> harmless{
      "nlohmann/json.hpp", "nlohmann/json_fwd.hpp", "utf8proc.h",       "openssl/core_names.h",
      "openssl/evp.h",     "openssl/params.h",      "openssl/crypto.h", "openssl/rand.h",
      "openssl/sha.h",     "openssl/err.h",         "openssl/ec.h",     "openssl/hmac.h",
      "openssl/kdf.h",     "openssl/obj_mac.h",     "qrcodegen.hpp",    "qrcodegencpp/QrCode.hpp"};
  // Standard headers that bring threads, clocks, files, consoles or chance of their own.
  static const std::set<std::string> worldly{"thread", "future",  "condition_variable", "iostream",  "fstream",
                                             "random", "ctime",   "filesystem",         "csignal",   "semaphore",
                                             "latch",  "barrier", "stop_token",         "syncstream"};
  for (const auto& source : sources()) {
    if (!isPure(source.path)) continue;
    for (const auto& line : source.lines) {
      const auto header = includedPath(line, '<', '>');
      if (!header) continue;
      const bool isStandard = header->find('.') == std::string::npos && header->find('/') == std::string::npos;
      const bool isToolkit =
          isStandard && header->size() > 1 && std::isupper(static_cast<unsigned char>(header->front()));
      EXPECT_TRUE(isStandard ? !worldly.contains(*header) && !isToolkit : harmless.contains(*header))
          << source.path << " includes <" << *header << ">";
    }
  }
}

TEST(Architecture, TheCoreHasNoThreadClockChanceEnvironmentOrConsoleOfItsOwn) {
  expectNoLineMatching(R"(\b(std::)?(jthread|thread|async)\s*[({])", "Work is given to platform executors.");
  expectNoLineMatching(R"(_clock::now|\btime\(nullptr\)|gettimeofday|\busleep\b|sleep_for)",
                       "Time is platform::Clock.");
  expectNoLineMatching(R"(random_device|\brand\(\)|getentropy|RAND_bytes)", "Chance is platform::Random.");
  expectNoLineMatching(R"(\bgetenv\b|\benviron\b)", "The environment is platform::Environment.");
  expectNoLineMatching(R"(std::(cout|cerr|clog)\b|[^n]printf\(|\bfputs\(|\bputs\()", "Lines go to platform::Console.");
}

TEST(Architecture, TheCoreKnowsNoOperatingSystem) {
  expectNoLineMatching(R"(__linux__|__APPLE__|_WIN32|__unix__|TARGET_OS_)", "Bindings differ, the core does not.");
}

// What the code of a line names, with the namespaces that it says. "::pipe2" is "pipe2".
std::vector<std::string> namesIn(const std::string& line) {
  const std::string code = line.substr(0, line.find("//"));
  std::vector<std::string> names;
  std::string name;
  for (const char character : code + ' ') {
    if (std::isalnum(static_cast<unsigned char>(character)) || character == '_' || character == ':') {
      name += character;
      continue;
    }
    const auto start = name.find_first_not_of(':');
    if (start != std::string::npos) names.push_back(name.substr(start));
    name.clear();
  }
  return names;
}

// All but what is for the other system, and the file that chooses between the two.
bool isBuiltOnAMac(const std::string& path) {
  return path.rfind("platform/linux/", 0) != 0 && path.rfind("app/linux/", 0) != 0 &&
         path != "platform/qt/ThreadTraits.cpp";
}

// GCC takes these; the macOS toolchain of the oldest system that we build for does not.
TEST(Architecture, NothingThatIsBuiltOnAMacUsesWhatItsToolchainRejects) {
  static const std::set<std::string> headers{
      "format",     "expected",      "syncstream",    "stop_token",    "generator",     "mdspan",
      "print",      "stacktrace",    "sys/epoll.h",   "sys/eventfd.h", "sys/prctl.h",   "sys/signalfd.h",
      "sys/auxv.h", "sys/inotify.h", "sys/timerfd.h", "sys/random.h",  "linux/limits.h"};
  static const std::set<std::string> names{"std::format",
                                           "std::vformat",
                                           "std::expected",
                                           "std::jthread",
                                           "std::stop_token",
                                           "std::stop_source",
                                           "pipe2",
                                           "std::osyncstream",
                                           "accept4",
                                           "SOCK_CLOEXEC",
                                           "SOCK_NONBLOCK",
                                           "epoll_create1",
                                           "eventfd",
                                           "signalfd",
                                           "timerfd_create",
                                           "MSG_NOSIGNAL",
                                           "getrandom",
                                           "getauxval",
                                           "prctl",
                                           "memfd_create",
                                           "O_PATH",
                                           "O_TMPFILE",
                                           "execvpe",
                                           "secure_getenv",
                                           "std::chrono::zoned_time",
                                           "std::chrono::current_zone",
                                           "std::chrono::locate_zone",
                                           "pthread_setname_np"};
  for (const auto& source : sources()) {
    if (!isBuiltOnAMac(source.path)) continue;
    for (const auto& line : source.lines) {
      const auto header = includedPath(line, '<', '>');
      EXPECT_FALSE(header && headers.contains(*header)) << source.path << ": " << line;
      for (const auto& name : namesIn(line)) EXPECT_FALSE(names.contains(name)) << source.path << ": " << line;
    }
  }
  // Of whole numbers it is there; of doubles it is not, and a line does not say which it is.
  expectNoLineMatching(R"(std::from_chars\b)", "Not in every standard library that this is built with.");
}

// The C functions of the system are checked and run elsewhere; what needs its other language is not, so it stays apart.
TEST(Architecture, TheBindingForMacsTalksToItsOtherLanguageInOneFolderOnly) {
  static const std::vector<std::string> other{"#import", "@interface", "@implementation", "objc_msgSend",
                                              "<objc/",  "<AppKit/",   "<Foundation/"};
  for (const auto& source : sources()) {
    if (!isBelow(source.path, "platform/macos") || source.path.rfind("platform/macos/objc/", 0) == 0) continue;
    EXPECT_NE(fs::path(source.path).extension(), ".mm") << source.path;
    for (const auto& line : source.lines) {
      for (const auto& word : other) EXPECT_EQ(line.find(word), std::string::npos) << source.path << ": " << line;
    }
  }
}

// ./run compiles the sources of a folder together as well, and has no tests: what a list says below the place where a
// folder without tests ends is not said to it.
TEST(Architecture, WhatIsCompiledAloneIsSoWithoutTheTestsToo) {
  static const std::regex list{R"(quillard_compile_alone\(([^)]*)\))"};
  static const std::regex name{R"([\w/]+\.cpp)"};
  const auto end = std::string{"if(NOT QUILLARD_TESTS)\n  return()"};
  int read = 0;
  for (const auto& entry : fs::recursive_directory_iterator(QUILLARD_SOURCES)) {
    if (entry.path().filename() != "CMakeLists.txt") continue;
    std::stringstream text;
    text << std::ifstream{entry.path()}.rdbuf();
    const std::string all = text.str();
    read += static_cast<int>(std::distance(std::sregex_iterator(all.begin(), all.end(), list), {}));
    const auto at = all.find(end);
    if (at == std::string::npos) continue;
    const std::string rest = all.substr(at);
    for (std::sregex_iterator each(rest.begin(), rest.end(), list), none; each != none; ++each) {
      const std::string names = (*each)[1];
      for (std::sregex_iterator one(names.begin(), names.end(), name); one != none; ++one) {
        EXPECT_TRUE(one->str().ends_with("Test.cpp")) << entry.path() << ": " << one->str();
      }
    }
  }
  EXPECT_GT(read, 5) << "The lists are looked for where they are.";
}

}  // namespace
