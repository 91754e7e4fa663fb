#include <map>

#include <gtest/gtest.h>

#include "platform/linux/storage/SessionBusAddress.h"
#include "platform/linux/storage/XdgFolders.h"

namespace quillard::xdg {
namespace {

class FakeEnvironment final : public platform::Environment {
 public:
  explicit FakeEnvironment(std::map<std::string, std::string, std::less<>> values) : values(std::move(values)) {}
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  std::map<std::string, std::string, std::less<>> values;
};

FakeEnvironment with(std::map<std::string, std::string, std::less<>> values) {
  return FakeEnvironment(std::move(values));
}

TEST(XdgFolders, FollowTheUsersSettingsAndElseTheConvention) {
  const auto set = with({{"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}, {"HOME", "/h"}});
  EXPECT_EQ(dataFolder(set), "/d/quillard");
  EXPECT_EQ(configurationFolder(set), "/c/quillard");
  const auto homeOnly = with({{"HOME", "/h"}});
  EXPECT_EQ(dataFolder(homeOnly), "/h/.local/share/quillard");
  EXPECT_EQ(configurationFolder(homeOnly), "/h/.config/quillard");
}

TEST(XdgFolders, PassOverSettingsThatAreNotAbsolute) {
  const auto relative = with({{"XDG_DATA_HOME", "d"}, {"XDG_CONFIG_HOME", ""}, {"HOME", "/h"}});
  EXPECT_EQ(dataFolder(relative), "/h/.local/share/quillard");
  EXPECT_EQ(configurationFolder(relative), "/h/.config/quillard");
}

TEST(XdgFolders, FindTheHomeOfTheAccountWithoutAnyVariable) {
  const auto found = dataFolder(with({}));
  ASSERT_TRUE(found.has_value());
  EXPECT_TRUE(found->starts_with('/')) << *found;
  EXPECT_TRUE(found->ends_with("/.local/share/quillard")) << *found;
}

TEST(SessionBusAddress, IsWhatTheSessionSaysAndNothingWithoutASession) {
  EXPECT_EQ(sessionBusAddress(with({{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/x"}})), "unix:path=/x");
  EXPECT_EQ(sessionBusAddress(with({{"DBUS_SESSION_BUS_ADDRESS", ""}})), std::nullopt);
  EXPECT_EQ(sessionBusAddress(with({{"XDG_RUNTIME_DIR", "/nowhere"}})), std::nullopt);
  EXPECT_EQ(sessionBusAddress(with({{"XDG_RUNTIME_DIR", "relative"}})), std::nullopt);
  EXPECT_EQ(sessionBusAddress(with({})), std::nullopt);
  EXPECT_EQ(systemBusAddress(with({{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/x"}})), "unix:path=/x");
  EXPECT_EQ(systemBusAddress(with({})), "unix:path=/var/run/dbus/system_bus_socket");
}

}  // namespace
}  // namespace quillard::xdg
