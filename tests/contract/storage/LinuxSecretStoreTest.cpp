// The two places that keep secrets on Linux: the common contract, and how the Secret Service says no.

#include <chrono>
#include <cstdlib>

#include "contract/storage/SecretStoreContract.h"
#include "platform/linux/storage/SecretServiceStore.h"
#include "support/PrivateSecretService.h"

namespace quillard::test {
namespace {

using platform::SecretPlace;
using platform::SecretStatusCode;
using xdg::SecretServiceStore;
using namespace std::chrono_literals;

constexpr auto kFirst = SecretPlace::dataProtectionKeychain;
constexpr std::string_view kService = "com.quillard.agent";
constexpr std::string_view kAccount = "installation-secrets-v1";
constexpr std::string_view kPrompter = "org.gnome.keyring.SystemPrompter";

// The session of the test becomes the session of this process.
class ProcessEnvironment final : public platform::Environment {
 public:
  explicit ProcessEnvironment(const PrivateSecretService& session) {
    setenv("DBUS_SESSION_BUS_ADDRESS", session.busAddress().c_str(), 1);
  }
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    const char* const found = std::getenv(std::string(name).c_str());
    return found ? std::optional<std::string>(found) : std::nullopt;
  }
};

class NoEnvironment final : public platform::Environment {
 public:
  [[nodiscard]] std::optional<std::string> value(std::string_view) const override { return std::nullopt; }
};

class LinuxBinding final : public SecretStoreBinding {
 public:
  LinuxBinding() { session.startUnlocked(); }
  platform::SecretStore& store() override { return first; }
  platform::SecretStore& reopen() override {
    session.killService();
    session.startUnlocked();
    return next.emplace(environment, session.folder("data/quillard"));
  }

 private:
  PrivateSecretService session;
  const ProcessEnvironment environment{session};
  SecretServiceStore first{environment, session.folder("data/quillard")};
  std::optional<SecretServiceStore> next;
};

std::unique_ptr<SecretStoreBinding> makeLinux() { return std::make_unique<LinuxBinding>(); }

// Every operation on the first place.
std::vector<SecretStatusCode> allStatuses(SecretServiceStore& store) {
  return {store.copyMatching(kFirst, kService, kAccount).status.code,
          store.add(kFirst, kService, kAccount, Secret("new")).code,
          store.update(kFirst, kService, kAccount, Secret("new")).code, store.remove(kFirst, kService, kAccount).code};
}

class SecretService : public testing::Test {
 protected:
  SecretServiceStore makeStore() { return SecretServiceStore(environment, session.folder("data/quillard")); }
  void keepOneItem() {
    session.startUnlocked();
    auto store = makeStore();
    ASSERT_EQ(store.add(kFirst, kService, kAccount, Secret("precious")).code, SecretStatusCode::success);
    session.killService();
  }
  PrivateSecretService session;
  const ProcessEnvironment environment{session};
};

TEST_F(SecretService, LockedIsNotMissingAndNeverAsks) {
  keepOneItem();
  session.startLocked();
  auto store = makeStore();
  const auto start = std::chrono::steady_clock::now();
  const SecretStatusCode locked = SecretStatusCode::interactionNotAllowed;
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).status.code, locked);
  EXPECT_EQ(store.copyMatching(kFirst, kService, "never stored").status.code, locked);
  EXPECT_EQ(store.add(kFirst, kService, "new", Secret("x")).code, locked);
  EXPECT_EQ(store.update(kFirst, kService, kAccount, Secret("x")).code, locked);
  EXPECT_EQ(store.remove(kFirst, kService, kAccount).code, locked);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
  EXPECT_FALSE(session.isNameOwned(std::string(kPrompter)));

  session.killService();
  session.startUnlocked();
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).data.text(), "precious");
}

TEST_F(SecretService, WithoutADefaultKeyringThePlaceCannotBeUsed) {
  session.startLocked();  // Of a user who has no keyring yet: making one would ask for a password.
  auto store = makeStore();
  EXPECT_EQ(allStatuses(store), std::vector(4, SecretStatusCode::missingEntitlement));
  EXPECT_FALSE(session.isNameOwned(std::string(kPrompter)));
}

TEST_F(SecretService, AbsentFromTheBusThePlaceCannotBeUsed) {
  auto store = makeStore();
  EXPECT_EQ(allStatuses(store), std::vector(4, SecretStatusCode::missingEntitlement));
}

TEST_F(SecretService, WithoutABusThePlaceCannotBeUsed) {
  session.killBus();
  auto store = makeStore();
  EXPECT_EQ(allStatuses(store), std::vector(4, SecretStatusCode::missingEntitlement));
  const NoEnvironment nothing;
  SecretServiceStore outsideASession(nothing, session.folder("data/quillard"));
  EXPECT_EQ(allStatuses(outsideASession), std::vector(4, SecretStatusCode::missingEntitlement));
}

TEST_F(SecretService, KilledInMidUseIsMissedAndFoundAgain) {
  keepOneItem();
  session.startUnlocked();
  auto store = makeStore();
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).data.text(), "precious");
  session.killService();
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).status.code, SecretStatusCode::missingEntitlement);
  session.startUnlocked();
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).data.text(), "precious");
}

TEST_F(SecretService, TheFileIsThereThoughTheServiceIsNot) {
  auto store = makeStore();
  constexpr auto kSecond = SecretPlace::fileKeychain;
  EXPECT_EQ(store.add(kSecond, kService, kAccount, Secret("in the file")).code, SecretStatusCode::success);
  EXPECT_EQ(store.copyMatching(kSecond, kService, kAccount).data.text(), "in the file");
  EXPECT_EQ(store.copyMatching(kFirst, kService, kAccount).status.code, SecretStatusCode::missingEntitlement);
}

// A service that has stopped in the middle of something.
TEST_F(SecretService, ThatDoesNotAnswerCostsNoMoreThanTheTimeOut) {
  keepOneItem();
  session.startUnlocked();
  session.pauseService();
  SecretServiceStore store(environment, session.folder("data/quillard"), 100ms);
  const auto start = std::chrono::steady_clock::now();
  const auto reading = store.copyMatching(kFirst, kService, kAccount);
  EXPECT_EQ(reading.status.code, SecretStatusCode::other);
  EXPECT_EQ(reading.status.text, "The Secret Service did not answer in time.");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST(SecretServiceStore, WaitsFiveSecondsUnlessAskedOtherwise) { EXPECT_EQ(SecretServiceStore::kTimeout, Seconds{5}); }

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, SecretStoreContract,
                         testing::Values(SecretStoreCase{"SecretService", kFirst, makeLinux},
                                         SecretStoreCase{"File", SecretPlace::fileKeychain, makeLinux}),
                         [](const auto& given) { return given.param.name; });

}  // namespace quillard::test
