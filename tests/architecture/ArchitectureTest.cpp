#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The tree shows the design, and this keeps it true: arrows run down only, and the core touches the outside world
// through src/platform/*.h alone.
namespace {

namespace fs = std::filesystem;

using Modules = std::set<std::string>;

// What each module may include besides itself. A module is a folder, or a few files of one that others stand on by
// themselves; the longest name that fits a path says which module the path belongs to.
const std::map<std::string, Modules>& arrows() {
  static const Modules core{"platform", "foundation", "approvals", "agent/AgentConfiguration",
                            "click/DialogButtonSemantics"};
  static const auto with = [](Modules modules, const Modules& more) {
    modules.insert(more.begin(), more.end());
    return modules;
  };
  static const Modules binding{"platform", "foundation", "recording"};
  static const std::map<std::string, Modules> arrows{
      {"platform", {}},
      {"foundation", {"platform"}},
      {"recording", {"platform", "foundation"}},
      {"platform/simulated", binding},
      {"platform/qt", binding},
      {"platform/posix", binding},
      {"platform/linux", with(binding, {"platform/posix", "platform/qt"})},
      {"platform/macos", with(binding, {"platform/posix", "platform/qt"})},
      {"agent/AgentConfiguration", {"platform", "foundation"}},
      {"click/DialogButtonSemantics", {"foundation"}},
      {"approvals", {"platform", "foundation"}},
      {"detection", core},
      {"click", with(core, {"detection"})},
      {"relay", core},
      {"system", {"platform", "foundation"}},
      {"status", with(core, {"relay", "system"})},
      {"agent", with(core, {"detection", "click", "relay", "status", "system", "recording"})},
      {"app", with(core, {"detection", "click", "relay", "status", "system", "recording", "agent", "platform/simulated",
                          "platform/posix", "platform/qt", "platform/linux", "platform/macos"})},
  };
  return arrows;
}

std::optional<std::string> moduleOf(const std::string& path) {
  std::optional<std::string> best;
  for (const auto& [module, allowed] : arrows()) {
    const bool fits = path.rfind(module + "/", 0) == 0 || path.rfind(module + ".", 0) == 0;
    if (fits && (!best || module.size() > best->size())) best = module;
  }
  return best;
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

// The core, and the headers that it is written against: not the bindings, not the entry point.
bool isPure(const std::string& path) {
  const auto module = moduleOf(path);
  return module && *module != "app" && module->rfind("platform/", 0) != 0;
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

TEST(Architecture, EveryFileBelongsToAModule) {
  for (const auto& source : sources()) EXPECT_TRUE(moduleOf(source.path).has_value()) << source.path;
}

TEST(Architecture, IncludesRunDownOnly) {
  for (const auto& source : sources()) {
    const auto from = moduleOf(source.path);
    if (!from) continue;
    for (const auto& line : source.lines) {
      const auto included = includedPath(line, '"', '"');
      if (!included) continue;
      const auto to = moduleOf(*included);
      ASSERT_TRUE(to.has_value()) << source.path << " includes \"" << *included << "\" by a path not below src/";
      EXPECT_TRUE(*to == *from || arrows().at(*from).contains(*to))
          << source.path << " (" << *from << ") may not include " << *included << " (" << *to << ")";
    }
  }
}

TEST(Architecture, TheArrowsHaveNoCycle) {
  std::set<std::string> settled;
  for (bool grows = true; grows;) {
    grows = false;
    for (const auto& [module, needs] : arrows()) {
      const bool ready =
          std::all_of(needs.begin(), needs.end(), [&](const auto& need) { return settled.contains(need); });
      if (ready && settled.insert(module).second) grows = true;
    }
  }
  EXPECT_EQ(settled.size(), arrows().size());
}

TEST(Architecture, TheCoreIncludesNoHeaderOfTheSystemOrOfToolkits) {
  static const std::set<std::string> harmless{
      "nlohmann/json.hpp", "nlohmann/json_fwd.hpp", "utf8proc.h",       "openssl/core_names.h",
      "openssl/evp.h",     "openssl/params.h",      "openssl/crypto.h", "openssl/rand.h",
      "openssl/sha.h",     "openssl/err.h",         "qrcodegen.hpp",    "qrcodegencpp/QrCode.hpp"};
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

// All but the binding for the other system, and what chooses between the two.
bool isBuiltOnAMac(const std::string& path) {
  return path.rfind("platform/linux/", 0) != 0 && path.rfind("app/", 0) != 0 && path != "platform/qt/ThreadTraits.cpp";
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
    const bool isBinding = source.path.rfind("platform/macos/", 0) == 0;
    if (!isBinding || source.path.rfind("platform/macos/objc/", 0) == 0) continue;
    EXPECT_NE(fs::path(source.path).extension(), ".mm") << source.path;
    for (const auto& line : source.lines) {
      for (const auto& word : other) EXPECT_EQ(line.find(word), std::string::npos) << source.path << ": " << line;
    }
  }
}

}  // namespace
