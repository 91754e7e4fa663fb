#include <string>

#include <gtest/gtest.h>

#include "agent/SettingsChange.h"
#include "agent/configuration/Tunables.h"
#include "platform/simulated/SimulatedUserDefaults.h"
#include "relay/UserRelay.h"

namespace quillard {
namespace {

using platform::simulated::SimulatedUserDefaults;

TEST(SettingsChange, OfATunableIsKeptAndTakenBack) {
  SimulatedUserDefaults settings;
  EXPECT_EQ(apply({"event-scan-debounce", "0.5"}, settings), std::nullopt);
  EXPECT_EQ(settings.object("quillard.settings.event-scan-debounce"), platform::UserDefaultsValue{std::string("0.5")});
  EXPECT_EQ(apply({"event-scan-debounce", std::nullopt}, settings), std::nullopt);
  EXPECT_TRUE(settings.keys().empty());
}

TEST(SettingsChange, OfTheRelayIsKeptAndTakenBack) {
  SimulatedUserDefaults settings;
  EXPECT_EQ(apply({"relay", "relay.example"}, settings), std::nullopt);
  EXPECT_EQ(UserRelay::stored(settings), "wss://relay.example/ws");
  EXPECT_EQ(apply({"relay", std::nullopt}, settings), std::nullopt);
  EXPECT_TRUE(settings.keys().empty());
}

TEST(SettingsChange, ThatCannotBeKeptSaysWhyAndChangesNothing) {
  SimulatedUserDefaults settings;
  EXPECT_EQ(apply({"event-scan-debounce", "soon"}, settings),
            "event-scan-debounce is a number of seconds greater than 0.");
  EXPECT_EQ(apply({"dialog-diagnostics", "2"}, settings), "dialog-diagnostics is on or off.");
  EXPECT_EQ(apply({"relay-authority", "authority.pem"}, settings),
            "relay-authority is the full path of a file: it begins with /.");
  EXPECT_EQ(apply({"relay", "ws://relay.example"}, settings),
            "Only wss and https addresses can be used, or ws and http of this computer itself.");
  EXPECT_EQ(apply({"colour\x1b[2J", "red"}, settings),
            "There is no setting colour?[2J: \"quillard settings\" lists them.");
  EXPECT_TRUE(settings.keys().empty());
}

}  // namespace
}  // namespace quillard
