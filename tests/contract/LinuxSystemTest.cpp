// The contracts of everything but the desktop, the network and secrets, against what the agent runs on under Linux:
// Qt's threads and timers, the process itself, files, and a notification server on a bus of the test's own.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <thread>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "contract/process/CalendarContract.h"
#include "contract/process/ConsoleContract.h"
#include "contract/process/EnvironmentContract.h"
#include "contract/process/LocalSocketsContract.h"
#include "contract/process/LockFilesContract.h"
#include "contract/process/RandomContract.h"
#include "contract/process/TimeContract.h"
#include "contract/shell/LoginServiceContract.h"
#include "contract/shell/ReadableStartsContract.h"
#include "contract/shell/UserNotificationsContract.h"
#include "contract/storage/AppendOnlyFileContract.h"
#include "contract/storage/UserDefaultsContract.h"
#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/linux/system/AutostartEntry.h"
#include "platform/linux/system/DesktopNotifications.h"
#include "platform/linux/system/EntryCopies.h"
#include "platform/linux/system/FileLocks.h"
#include "platform/linux/system/RuntimeFolder.h"
#include "platform/linux/system/SocketPeer.h"
#include "platform/linux/system/SystemRandom.h"
#include "platform/posix/PrivateLogFile.h"
#include "platform/posix/ProcessEnvironment.h"
#include "platform/posix/StandardOutput.h"
#include "platform/posix/SystemCalendar.h"
#include "platform/qt/QtExecutors.h"
#include "platform/qt/QtLocalSockets.h"
#include "platform/qt/SystemClock.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "private-desktop/FileContents.h"
#include "support/ChildProcess.h"
#include "support/NotificationServer.h"
#include "support/TemporaryFolder.h"

namespace quillard::test {
namespace {

using namespace std::chrono_literals;

// Runs the loop of the main thread until `condition` holds, at the longest five seconds.
bool eventuallyInLoop(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + 5s;
  while (!condition() && std::chrono::steady_clock::now() < end) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 5);
    QCoreApplication::sendPostedEvents();
  }
  return condition();
}

class QtTimeBinding final : public TimeBinding {
 public:
  QtTimeBinding() { ticking.start(1ms); }
  platform::Executors& executors() override { return qtExecutors; }
  platform::Clock& clock() override { return systemClock; }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyInLoop(condition); }

 private:
  QTimer ticking;  // Keeps the loop from waiting without an end for an event that a failing test never brings.
  qt::SystemClock systemClock;
  qt::QtExecutors qtExecutors;
};

std::unique_ptr<TimeBinding> makeTime() { return std::make_unique<QtTimeBinding>(); }

// ---- Process

// Variables of this process, as they were when this ends.
class Variables {
 public:
  Variables() = default;
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;
  ~Variables() {
    for (const auto& [name, value] : former) put(name, value);
  }
  void put(const std::string& name, const std::optional<std::string>& value) {
    const char* const before = std::getenv(name.c_str());
    former.emplace(name, before ? std::optional<std::string>(before) : std::nullopt);
    value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  }

 private:
  std::map<std::string, std::optional<std::string>> former;
};

// Rules of zones as the system reads them, so that no table of zones needs to be installed.
const char* ruleOf(TestZone zone) {
  switch (zone) {
    case TestZone::utc:
      return "UTC0";
    case TestZone::twoHoursEast:
      return "EET-2";
    case TestZone::nineHoursEast:
      return "<+09>-9";
    case TestZone::fourteenHoursEast:
      return "<+14>-14";
    case TestZone::centralEurope:
      return "CET-1CEST,M3.5.0,M10.5.0/3";
    case TestZone::changingAtMidnight:
      return "<-04>4<-03>,M9.1.0/0,M4.1.0/0";
    case TestZone::halfAnHour:
      return "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";
  }
  return "";
}

class SystemCalendarBinding final : public CalendarBinding {
 public:
  SystemCalendarBinding() { moveTo(TestZone::utc); }
  const platform::Calendar& calendar() override { return systemCalendar; }
  void moveTo(TestZone zone) override { variables.put("TZ", ruleOf(zone)); }

 private:
  struct ZoneReader {
    ~ZoneReader() { ::tzset(); }
  } readsTheZoneAgainAtTheEnd;
  Variables variables;
  desktop::SystemCalendar systemCalendar;
};

class ProcessEnvironmentBinding final : public EnvironmentBinding {
 public:
  const platform::Environment& environment() override { return processEnvironment; }
  void set(const std::string& name, const std::string& value) override { variables.put(name, value); }
  void unset(const std::string& name) override { variables.put(name, std::nullopt); }

 private:
  Variables variables;
  desktop::ProcessEnvironment processEnvironment;
};

class FileConsoleBinding final : public ConsoleBinding {
 public:
  ~FileConsoleBinding() override { ::close(file); }
  platform::Console& console() override { return output; }
  std::string written() override { return privatedesktop::fileContents(path); }

 private:
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/lines";
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_APPEND, 0600);
  desktop::StandardOutput output{file};
};

std::unique_ptr<platform::Random> makeRandom() { return std::make_unique<desktop::SystemRandom>(); }
// Of a generator that gives half of what it is asked for.
std::unique_ptr<platform::Random> makeFailingRandom() {
  return std::make_unique<desktop::SystemRandom>([](std::span<std::uint8_t> bytes) {
    std::fill(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), std::uint8_t{7});
    return false;
  });
}

class FileLocksBinding final : public LockFilesBinding {
 public:
  FileLocksBinding() {
    std::filesystem::create_directory(runtimeFolder);
    std::filesystem::permissions(runtimeFolder, std::filesystem::perms::owner_all);
    environment.set("XDG_RUNTIME_DIR", runtimeFolder);
    environment.set("TMPDIR", temporary.path());
  }
  AcquiredLock acquire(const std::string& fileName) override {
    auto result = locks.acquire(fileName);
    return {result.outcome, std::move(result.lock)};
  }
  platform::LockOutcome acquireInOtherProcess(const std::string& fileName) override {
    other = std::make_unique<ChildProcess>(ChildProcess::Start{
        .command = {LOCK_HOLDER, fileName},
        .environment = {"XDG_RUNTIME_DIR=" + runtimeFolder, "TMPDIR=" + temporary.path(), "PATH=/usr/bin:/bin"},
        .input = {}});
    const auto outcome = other->readLine();
    if (outcome == "acquired") return platform::LockOutcome::acquired;
    if (outcome == "held elsewhere") return platform::LockOutcome::heldElsewhere;
    return platform::LockOutcome::unavailable;
  }
  void endOtherProcess() override { other->kill(); }
  void makeFolderUnusable() override {
    environment.set("XDG_RUNTIME_DIR", temporary.path() + "/missing");
    environment.set("TMPDIR", temporary.path() + "/missing");
  }

 private:
  const TemporaryFolder temporary;
  const std::string runtimeFolder = temporary.path() + "/run";
  platform::simulated::SimulatedEnvironment environment;
  desktop::FileLocks locks{environment};
  std::unique_ptr<ChildProcess> other;
};

class FileSocketsBinding final : public LocalSocketsBinding {
 public:
  FileSocketsBinding() {
    std::filesystem::create_directory(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    environment.set("XDG_RUNTIME_DIR", folder);
    environment.set("TMPDIR", temporary.path() + "/missing");
    ticking.start(1ms);
  }
  platform::LocalSockets& server() override { return sockets; }
  platform::LocalSockets& client() override { return sockets; }
  platform::ProcessDescription clientProcess() override { return desktop::describeProcess(::getpid()); }
  void leaveSocketBehind(const std::string& name) override {
    const int opened = desktop::openRuntimeFolder(environment).value();
    const auto socket = desktop::listenIn({opened, "/proc/self/fd/" + std::to_string(opened)}, name);
    ::close(socket.value().descriptor);
  }
  bool holds(const std::string& name) override { return std::filesystem::exists(folder + "/" + name); }
  void makeFolderUnusable() override {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all | std::filesystem::perms::others_read);
  }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyInLoop(condition); }

 private:
  QTimer ticking;
  const TemporaryFolder temporary;
  const std::string folder = temporary.path() + "/run";
  platform::simulated::SimulatedEnvironment environment;
  qt::QtExecutors executors;
  qt::QtLocalSockets sockets{desktop::localSocketTraits(environment), executors.mainThread()};
};

// ---- Storage

class FileUserDefaultsBinding final : public UserDefaultsBinding {
 public:
  ~FileUserDefaultsBinding() override { EXPECT_TRUE(console.lines().empty()) << console.lines().front(); }
  platform::UserDefaults& defaults() override { return *file; }
  void reopen() override {
    file.reset();
    file.emplace(folder.path() + "/quillard", executors, console);
  }
  std::unique_ptr<platform::UserDefaults> openAnother() override {
    return std::make_unique<xdg::FileUserDefaults>(folder.path() + "/quillard", executors, console);
  }
  // A folder stands where the new file would be written.
  void setDiskFull(bool isFull) override {
    const std::string obstacle = folder.path() + "/quillard/settings.json.new";
    isFull ? (void)std::filesystem::create_directories(obstacle) : (void)std::filesystem::remove(obstacle);
  }

 private:
  const TemporaryFolder folder;
  qt::QtExecutors executors;
  platform::simulated::SimulatedConsole console;
  std::optional<xdg::FileUserDefaults> file{std::in_place, folder.path() + "/quillard", executors, console};
};

// Nothing may become longer than it is.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited{bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before); }

 private:
  rlimit before{};
};

class PrivateLogFileBinding final : public AppendOnlyFileBinding {
 public:
  platform::AppendOnlyFile& file() override { return privateFile; }
  void meddle(const std::optional<std::string>& contents) override {
    const std::filesystem::path path = folder.path() + "/quillard/log";
    if (!contents) {
      std::filesystem::remove(path);
      return;
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << *contents;
  }
  std::string aside(const std::string& name) override {
    return privatedesktop::fileContents(folder.path() + "/quillard/" + name);
  }
  // Two bytes more are written, and have to go again.
  void forbidWriting() override { limit.emplace(std::filesystem::file_size(folder.path() + "/quillard/log") + 2); }

 private:
  const TemporaryFolder folder;
  desktop::PrivateLogFile privateFile{folder.path() + "/quillard", "log"};
  std::optional<FileSizeLimit> limit;
};

// ---- Shell

class AutostartBinding final : public LoginServiceBinding {
 public:
  AutostartBinding() { environment.set("XDG_CONFIG_HOME", configuration.path()); }
  platform::LoginService& service() override { return entry.emplace(environment, "/opt/Quillard.app/quillard"); }
  void switchOff() override { std::ofstream(path(), std::ios::app) << "X-GNOME-Autostart-enabled=false\n"; }
  void switchOn() override {
    auto text = privatedesktop::fileContents(path());
    text.replace(text.find("enabled=false"), 13, "enabled=true");
    std::ofstream(path(), std::ios::trunc) << text;
  }
  void breakRegistration() override {
    std::ofstream(configuration.path() + "/autostart") << "A file in the place of the folder.";
  }

 private:
  [[nodiscard]] std::string path() const { return configuration.path() + "/autostart/com.quillard.agent.desktop"; }

  const TemporaryFolder configuration;
  platform::simulated::SimulatedEnvironment environment;
  std::optional<desktop::AutostartEntry> entry;
};

class EntryCopiesBinding final : public ReadableStartsBinding {
 public:
  EntryCopiesBinding() {
    environment.set("XDG_DATA_HOME", folder.path() + "/own");
    environment.set("XDG_DATA_DIRS", folder.path() + "/shared");
  }
  platform::ReadableStarts& starts() override { return copies; }
  void addEntry(const std::string& entry, const std::string& name) override {
    write("shared", entry, "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=/opt/" + entry + "/run %U\n");
  }
  void replaceByUser(const std::string& entry) override {
    write("own", entry, "[Desktop Entry]\nType=Application\nName=Mine\nExec=/opt/mine\n");
  }
  void editByUser(const std::string& entry) override {
    std::ofstream(path("own", entry), std::ios::app) << "Comment=Edited\n";
  }
  bool isReadable(const std::string& entry) override {
    const auto file = std::filesystem::exists(path("own", entry)) ? path("own", entry) : path("shared", entry);
    return privatedesktop::fileContents(file).find("/run --force-renderer-accessibility %U") != std::string::npos;
  }

 private:
  [[nodiscard]] std::string path(const std::string& place, const std::string& entry) const {
    return folder.path() + "/" + place + "/applications/" + entry + ".desktop";
  }
  void write(const std::string& place, const std::string& entry, const std::string& text) const {
    std::filesystem::create_directories(folder.path() + "/" + place + "/applications");
    std::ofstream(path(place, entry)) << text;
  }

  const TemporaryFolder folder;
  platform::simulated::SimulatedEnvironment environment;
  proc::DesktopEntries entries{environment};
  desktop::EntryCopies copies{environment, entries};
};

class BusNotificationsBinding final : public UserNotificationsBinding {
 public:
  BusNotificationsBinding() { environment.set("DBUS_SESSION_BUS_ADDRESS", bus.address()); }
  platform::UserNotifications& notifications() override {
    return notes.emplace(environment, executors.mainThread(), 300ms);
  }
  std::vector<ShownNote> shown() override {
    std::map<unsigned, ShownNote> byNumber;
    for (const auto& note : server.notes) byNumber[note.number] = {note.title, note.body};
    std::vector<ShownNote> shown;
    for (const auto& [number, note] : byNumber) shown.push_back(note);
    return shown;
  }
  void breakAuthorization() override { server.manner = NotificationServer::Manner::fails; }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyInLoop(condition); }
  bool isOnMainThread() override { return executors.mainThread().isCurrent(); }

 private:
  PrivateBus bus;
  NotificationServer server{bus};
  qt::QtExecutors executors;
  platform::simulated::SimulatedEnvironment environment;
  std::optional<desktop::DesktopNotifications> notes;
};

template <class Interface, class Binding>
std::unique_ptr<Interface> make() {
  return std::make_unique<Binding>();
}

}  // namespace

QUILLARD_TIME_CONTRACT(Linux, makeTime);
INSTANTIATE_TEST_SUITE_P(Linux, CalendarContract, testing::Values(&make<CalendarBinding, SystemCalendarBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, EnvironmentContract,
                         testing::Values(&make<EnvironmentBinding, ProcessEnvironmentBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, ConsoleContract, testing::Values(&make<ConsoleBinding, FileConsoleBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, LockFilesContract, testing::Values(&make<LockFilesBinding, FileLocksBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, LocalSocketsContract, testing::Values(&make<LocalSocketsBinding, FileSocketsBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, RandomContract, testing::Values(RandomCase{makeRandom, makeFailingRandom}));
INSTANTIATE_TEST_SUITE_P(Linux, AppendOnlyFileContract,
                         testing::Values(&make<AppendOnlyFileBinding, PrivateLogFileBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, UserDefaultsContract,
                         testing::Values(&make<UserDefaultsBinding, FileUserDefaultsBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, LoginServiceContract, testing::Values(&make<LoginServiceBinding, AutostartBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, ReadableStartsContract,
                         testing::Values(&make<ReadableStartsBinding, EntryCopiesBinding>));
INSTANTIATE_TEST_SUITE_P(Linux, UserNotificationsContract,
                         testing::Values(&make<UserNotificationsBinding, BusNotificationsBinding>));

}  // namespace quillard::test
