#include "support/PrivateSecretService.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <thread>

#include <gio/gio.h>
#include <signal.h>
#include <sys/stat.h>

#include "private-desktop/BusConfiguration.h"

namespace quillard::test {
namespace {

constexpr const char* kServiceName = "org.freedesktop.secrets";

void waitFor(const char* what, const std::function<bool()>& isSo) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error(std::string("Not in time: ") + what);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace

PrivateSecretService::PrivateSecretService() {
  const std::string file = folder("bus.conf");
  std::ofstream(file) << privatedesktop::busConfiguration(folder("bus"));
  for (const char* name : {"run", "data", "config", "cache"}) ::mkdir(folder(name).c_str(), 0700);
  bus = std::make_unique<ChildProcess>(ChildProcess::Start{
      .command = {"dbus-daemon", "--config-file=" + file, "--nofork", "--nopidfile", "--print-address=1"},
      .environment = environment()});
  address = bus->readLine().value_or("");
  if (address.empty()) throw std::runtime_error("No bus: is dbus-daemon installed?");
}

std::vector<std::string> PrivateSecretService::environment() const {
  const char* const path = std::getenv("PATH");
  std::vector<std::string> variables{"HOME=" + home.path(),
                                     "XDG_RUNTIME_DIR=" + folder("run"),
                                     "XDG_DATA_HOME=" + folder("data"),
                                     "XDG_CONFIG_HOME=" + folder("config"),
                                     "XDG_CACHE_HOME=" + folder("cache"),
                                     "LC_ALL=C.UTF-8",
                                     std::string("PATH=") + (path ? path : "/usr/bin:/bin")};
  if (!address.empty()) variables.push_back("DBUS_SESSION_BUS_ADDRESS=" + address);
  return variables;
}

void PrivateSecretService::startUnlocked() { start(true); }

void PrivateSecretService::startLocked() { start(false); }

void PrivateSecretService::start(bool isUnlocked) {
  ChildProcess::Start how{.command = {"gnome-keyring-daemon", "--foreground", "--components=secrets",
                                      "--control-directory=" + folder("run/keyring")},
                          .environment = environment()};
  if (isUnlocked) {
    how.command.emplace_back("--unlock");
    how.input = "a password of the test\n";
  }
  service = std::make_unique<ChildProcess>(how);
  waitFor("the Secret Service", [this] { return isNameOwned(kServiceName); });
}

void PrivateSecretService::killService() {
  service.reset();
  waitFor("the end of the Secret Service", [this] { return !isNameOwned(kServiceName); });
}

void PrivateSecretService::pauseService() const { ::kill(service->id(), SIGSTOP); }

void PrivateSecretService::killBus() { bus.reset(); }

bool PrivateSecretService::isNameOwned(const std::string& name) const {
  constexpr auto kFlags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  GDBusConnection* const connection =
      g_dbus_connection_new_for_address_sync(address.c_str(), kFlags, nullptr, nullptr, nullptr);
  if (!connection) return false;
  GVariant* const reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
      g_variant_new("(s)", name.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
  gboolean isOwned = FALSE;
  if (reply) {
    g_variant_get(reply, "(b)", &isOwned);
    g_variant_unref(reply);
  }
  g_dbus_connection_close_sync(connection, nullptr, nullptr);
  g_object_unref(connection);
  return isOwned != FALSE;
}

}  // namespace quillard::test
