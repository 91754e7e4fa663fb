// The identity of an installation over a real keyring that is locked at times, and real settings.

#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/storage/FileUserDefaults.h"
#include "platform/linux/storage/SecretServiceStore.h"
#include "platform/qt/QtExecutors.h"
#include "platform/simulated/SimulatedBundle.h"
#include "platform/simulated/SimulatedConsole.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/PairingConfiguration.h"
#include "support/PrivateSecretService.h"

namespace quillard::test {
namespace {

using platform::SecretPlace;

// The session of the test becomes the session of this process.
class SessionEnvironment final : public platform::Environment {
 public:
  explicit SessionEnvironment(const PrivateSecretService& session) {
    setenv("DBUS_SESSION_BUS_ADDRESS", session.busAddress().c_str(), 1);
  }
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    const char* const found = std::getenv(std::string(name).c_str());
    return found ? std::optional<std::string>(found) : std::nullopt;
  }
};

class IdentityInAKeyring : public testing::Test {
 protected:
  // One run of the agent, which ends with it.
  struct Run {
    explicit Run(IdentityInAKeyring& test)
        : secrets(test.environment, test.session.folder("data/quillard")),
          settings(test.session.folder("config/quillard"), test.executors, test.console),
          pairing({test.environment, test.bundle, secrets, settings, test.random, test.console}) {}
    xdg::SecretServiceStore secrets;
    xdg::FileUserDefaults settings;
    PairingConfiguration pairing;
  };

  void lock() {
    session.killService();
    session.startLocked();
  }
  void unlock() {
    session.killService();
    session.startUnlocked();
  }

  PrivateSecretService session;
  const SessionEnvironment environment{session};
  platform::simulated::SimulatedBundle bundle;
  platform::simulated::SimulatedRandom random{platform::simulated::Seed{7}};
  platform::simulated::SimulatedConsole console;
  qt::QtExecutors executors;
};

TEST_F(IdentityInAKeyring, IsTheSameWhenTheKeyringIsLockedAtTheNextStart) {
  session.startUnlocked();
  const auto made = Run(*this).pairing.installationSecrets();
  lock();
  EXPECT_EQ(Run(*this).pairing.installationSecrets(), made);
  unlock();
  EXPECT_EQ(Run(*this).pairing.installationSecrets(), made);
}

TEST_F(IdentityInAKeyring, StaysGivenUpThoughTheKeyringWasLockedThen) {
  session.startUnlocked();
  const auto before = Run(*this).pairing.installationSecrets();
  lock();
  std::optional<InstallationSecrets> after;
  {
    Run run(*this);
    ASSERT_EQ(run.pairing.installationSecrets(), before);
    run.pairing.rotateInstallationIdentity();
    after = run.pairing.installationSecrets();
  }
  EXPECT_NE(after->pairingID, before.pairingID);
  EXPECT_EQ(Run(*this).pairing.installationSecrets(), after) << "Still locked.";
  unlock();
  EXPECT_EQ(Run(*this).pairing.installationSecrets(), after);
  const auto kept = Run(*this).secrets.copyMatching(SecretPlace::dataProtectionKeychain, "com.quillard.agent",
                                                    "installation-secrets-v1");
  EXPECT_EQ(kept.data.text(), installationSecretsText(*after)->text()) << "The old one was written over.";
}

}  // namespace
}  // namespace quillard::test
