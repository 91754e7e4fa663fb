// The contracts of everything but the desktop and the network, against the simulated bindings.

#include <chrono>

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
#include "contract/storage/SecretStoreContract.h"
#include "contract/storage/UserDefaultsContract.h"
#include "platform/simulated/SimulatedAppendOnlyFile.h"
#include "platform/simulated/SimulatedCalendar.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedEnvironment.h"
#include "platform/simulated/SimulatedLocalSockets.h"
#include "platform/simulated/SimulatedLockFiles.h"
#include "platform/simulated/SimulatedLoginService.h"
#include "platform/simulated/SimulatedRandom.h"
#include "platform/simulated/SimulatedReadableStarts.h"
#include "platform/simulated/SimulatedSecretStore.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "platform/simulated/SimulatedUserNotifications.h"
#include "platform/simulated/VirtualTime.h"

namespace quillard::test {
namespace {

using namespace platform::simulated;
using namespace std::chrono_literals;

// Advances by a millisecond at a time, at the longest five seconds.
bool eventuallyIn(VirtualTime& time, const std::function<bool()>& condition) {
  time.runUntilIdle();
  for (int i = 0; i < 5000 && !condition(); ++i) time.advance(1ms);
  return condition();
}

class VirtualTimeBinding final : public TimeBinding {
 public:
  platform::Executors& executors() override { return time; }
  platform::Clock& clock() override { return time; }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyIn(time, condition); }

 private:
  VirtualTime time{Seed{7}};
};

std::unique_ptr<TimeBinding> makeTime() { return std::make_unique<VirtualTimeBinding>(); }

// ---- Process

// The changes of the clocks of 2026 and 2027.
SimulatedZone zoneOf(TestZone zone) {
  using std::chrono::sys_days;
  const auto day = [](int year, unsigned month, unsigned number) -> Date {
    return sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{number}};
  };
  switch (zone) {
    case TestZone::utc:
      return {};
    case TestZone::twoHoursEast:
      return {.offset = 2h};
    case TestZone::nineHoursEast:
      return {.offset = 9h};
    case TestZone::fourteenHoursEast:
      return {.offset = 14h};
    case TestZone::centralEurope:
      return {.offset = 1h,
              .changes = {{day(2026, 3, 29) + 1h, 2h},
                          {day(2026, 10, 25) + 1h, 1h},
                          {day(2027, 3, 28) + 1h, 2h},
                          {day(2027, 10, 31) + 1h, 1h}}};
    case TestZone::changingAtMidnight:
      return {.offset = -3h,
              .changes = {{day(2026, 4, 5) + 3h, -4h},
                          {day(2026, 9, 6) + 4h, -3h},
                          {day(2027, 4, 4) + 3h, -4h},
                          {day(2027, 9, 5) + 4h, -3h}}};
    case TestZone::halfAnHour:
      return {.offset = 11h,
              .changes = {{day(2026, 4, 4) + 15h, 10h + 30min},
                          {day(2026, 10, 3) + 15h + 30min, 11h},
                          {day(2027, 4, 3) + 15h, 10h + 30min},
                          {day(2027, 10, 2) + 15h + 30min, 11h}}};
  }
  return {};
}

class SimulatedCalendarBinding final : public CalendarBinding {
 public:
  const platform::Calendar& calendar() override { return simulated; }
  void moveTo(TestZone zone) override { simulated.setZone(zoneOf(zone)); }

 private:
  SimulatedCalendar simulated;
};

class SimulatedEnvironmentBinding final : public EnvironmentBinding {
 public:
  const platform::Environment& environment() override { return simulated; }
  void set(const std::string& name, const std::string& value) override { simulated.set(name, value); }
  void unset(const std::string& name) override { simulated.unset(name); }

 private:
  SimulatedEnvironment simulated;
};

class SimulatedConsoleBinding final : public ConsoleBinding {
 public:
  platform::Console& console() override { return simulated; }
  std::string written() override {
    std::string text;
    for (const auto& line : simulated.lines()) text += line + "\n";
    return text;
  }

 private:
  SimulatedConsole simulated;
};

std::unique_ptr<platform::Random> makeRandom() { return std::make_unique<SimulatedRandom>(Seed{7}); }
std::unique_ptr<platform::Random> makeFailingRandom() {
  auto random = std::make_unique<SimulatedRandom>(Seed{7});
  random->failNextFills(1'000'000);
  return random;
}

class SimulatedLocksBinding final : public LockFilesBinding {
 public:
  AcquiredLock acquire(const std::string& fileName) override {
    auto result = own.acquire(fileName);
    return {result.outcome, std::move(result.lock)};
  }
  platform::LockOutcome acquireInOtherProcess(const std::string& fileName) override {
    if (!other) other.emplace(folder);
    otherLocks.push_back(other->acquire(fileName));
    return otherLocks.back().outcome;
  }
  void endOtherProcess() override { other.reset(); }
  void makeFolderUnusable() override { folder.setUnavailable(true); }

 private:
  SimulatedLockFolder folder;
  SimulatedLockFiles own{folder};
  std::optional<SimulatedLockFiles> other;
  std::vector<platform::LockResult> otherLocks;  // A process that ends releases none of them itself.
};

class SimulatedLocalSocketsBinding final : public LocalSocketsBinding {
 public:
  platform::LocalSockets& server() override { return own; }
  platform::LocalSockets& client() override { return other; }
  platform::ProcessDescription clientProcess() override { return process(2, "asker"); }
  void leaveSocketBehind(const std::string& name) override {
    SimulatedLocalSockets ended(folder, time.mainThread(), {.process = process(3, "ended")});
    left = ended.listen(name, [](auto) {});
    ended.endProcess();
  }
  bool holds(const std::string& name) override { return folder.holds(name); }
  void makeFolderUnusable() override { folder.setUnusable(true); }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyIn(time, condition); }

 private:
  static platform::ProcessDescription process(std::int32_t number, const std::string& name) {
    return {.processIdentifier = number, .executable = "/usr/bin/" + name, .programName = name, .workingFolder = "/"};
  }

  VirtualTime time{Seed{7}};
  SimulatedSocketFolder folder;
  SimulatedLocalSockets own{folder, time.mainThread(), {.process = process(1, "agent")}};
  SimulatedLocalSockets other{folder, time.mainThread(), {.process = process(2, "asker")}};
  std::unique_ptr<platform::LocalListener> left;
};

// ---- Storage

class SimulatedUserDefaultsBinding final : public UserDefaultsBinding {
 public:
  platform::UserDefaults& defaults() override { return simulated; }
  void reopen() override { EXPECT_EQ(simulated.synchronize(), std::nullopt); }  // It outlives the runs of the program.
  std::unique_ptr<platform::UserDefaults> openAnother() override { return simulated.openedByAnother(); }
  void setDiskFull(bool isFull) override { simulated.setDiskFull(isFull); }

 private:
  SimulatedUserDefaults simulated;
};

class SimulatedAppendOnlyFileBinding final : public AppendOnlyFileBinding {
 public:
  platform::AppendOnlyFile& file() override { return simulated; }
  void meddle(const std::optional<std::string>& contents) override { simulated.setContents(contents); }
  std::string aside(const std::string& name) override {
    return simulated.asides().at(static_cast<std::size_t>(std::stoi(name.substr(name.rfind('-') + 1)) - 1));
  }
  void forbidWriting() override { simulated.failWith(platform::FileCode::noSpace); }

 private:
  SimulatedAppendOnlyFile simulated;
};

class SimulatedSecretBinding final : public SecretStoreBinding {
 public:
  platform::SecretStore& store() override { return simulated; }
  platform::SecretStore& reopen() override { return simulated; }  // It outlives the runs of the program.

 private:
  SimulatedSecretStore simulated;
};

std::unique_ptr<SecretStoreBinding> makeSecrets() { return std::make_unique<SimulatedSecretBinding>(); }

// ---- Shell

class SimulatedLoginServiceBinding final : public LoginServiceBinding {
 public:
  platform::LoginService& service() override { return simulated; }
  void switchOff() override { simulated.setStatus(platform::LoginServiceStatus::requiresApproval); }
  void switchOn() override { simulated.setStatus(platform::LoginServiceStatus::enabled); }
  void breakRegistration() override { simulated.setRegistrationError("Broken."); }

 private:
  SimulatedLoginService simulated;
};

class SimulatedReadableStartsBinding final : public ReadableStartsBinding {
 public:
  platform::ReadableStarts& starts() override { return simulated; }
  void addEntry(const std::string& entry, const std::string& name) override { simulated.addEntry(entry, name); }
  void replaceByUser(const std::string& entry) override { simulated.replaceByUser(entry); }
  void editByUser(const std::string& entry) override { simulated.editByUser(entry); }
  bool isReadable(const std::string& entry) override { return simulated.isReadable(entry); }

 private:
  SimulatedReadableStarts simulated;
};

class SimulatedUserNotificationsBinding final : public UserNotificationsBinding {
 public:
  platform::UserNotifications& notifications() override { return simulated; }
  std::vector<ShownNote> shown() override {
    std::vector<ShownNote> notes;
    for (const auto& note : simulated.shown()) notes.push_back({note.title, note.body});
    return notes;
  }
  void breakAuthorization() override { simulated.setAuthorizationError("Broken."); }
  bool eventually(const std::function<bool()>& condition) override { return eventuallyIn(time, condition); }
  bool isOnMainThread() override { return time.mainThread().isCurrent(); }

 private:
  VirtualTime time{Seed{7}};
  SimulatedUserNotifications simulated{time};
};

template <class Interface, class Binding>
std::unique_ptr<Interface> make() {
  return std::make_unique<Binding>();
}

}  // namespace

QUILLARD_TIME_CONTRACT(Simulated, makeTime);
INSTANTIATE_TEST_SUITE_P(Simulated, CalendarContract,
                         testing::Values(&make<CalendarBinding, SimulatedCalendarBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, EnvironmentContract,
                         testing::Values(&make<EnvironmentBinding, SimulatedEnvironmentBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, ConsoleContract, testing::Values(&make<ConsoleBinding, SimulatedConsoleBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, LockFilesContract, testing::Values(&make<LockFilesBinding, SimulatedLocksBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, LocalSocketsContract,
                         testing::Values(&make<LocalSocketsBinding, SimulatedLocalSocketsBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, RandomContract, testing::Values(RandomCase{makeRandom, makeFailingRandom}));
INSTANTIATE_TEST_SUITE_P(Simulated, AppendOnlyFileContract,
                         testing::Values(&make<AppendOnlyFileBinding, SimulatedAppendOnlyFileBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, UserDefaultsContract,
                         testing::Values(&make<UserDefaultsBinding, SimulatedUserDefaultsBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, SecretStoreContract,
                         testing::Values(SecretStoreCase{"First", platform::SecretPlace::dataProtectionKeychain,
                                                         makeSecrets},
                                         SecretStoreCase{"Second", platform::SecretPlace::fileKeychain, makeSecrets}),
                         [](const auto& given) { return given.param.name; });
INSTANTIATE_TEST_SUITE_P(Simulated, LoginServiceContract,
                         testing::Values(&make<LoginServiceBinding, SimulatedLoginServiceBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, ReadableStartsContract,
                         testing::Values(&make<ReadableStartsBinding, SimulatedReadableStartsBinding>));
INSTANTIATE_TEST_SUITE_P(Simulated, UserNotificationsContract,
                         testing::Values(&make<UserNotificationsBinding, SimulatedUserNotificationsBinding>));

}  // namespace quillard::test
