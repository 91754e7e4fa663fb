#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/windows/WindowSource.h"

namespace quillard::desktop {
namespace {

using Variables = std::vector<std::pair<const char*, const char*>>;

class Session final : public platform::Environment {
 public:
  explicit Session(Variables variables) : variables(std::move(variables)) {}
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const override {
    for (const auto& [known, value] : variables) {
      if (known == name) return value;
    }
    return std::nullopt;
  }

 private:
  const Variables variables;
};

struct Case {
  const char* name;
  Variables variables;
  WindowSourceKind kind;
};

TEST(WindowSource, IsTheOneOfTheSession) {
  const Case cases[] = {
      {"X", {{"DISPLAY", ":0"}, {"XDG_SESSION_TYPE", "x11"}}, WindowSourceKind::xServer},
      {"KDE on X",
       {{"DISPLAY", ":0"}, {"XDG_CURRENT_DESKTOP", "KDE"}, {"XDG_RUNTIME_DIR", "/run"}},
       WindowSourceKind::xServer},
      {"sway", {{"WAYLAND_DISPLAY", "wayland-1"}, {"SWAYSOCK", "/run/sway"}}, WindowSourceKind::sway},
      {"a sway that says so",
       {{"WAYLAND_DISPLAY", "wayland-1"}, {"SWAYSOCK", "/run/sway"}, {"XDG_CURRENT_DESKTOP", "sway"}},
       WindowSourceKind::sway},
      {"a sway that is left over in the variables of GNOME",
       {{"WAYLAND_DISPLAY", "wayland-1"}, {"SWAYSOCK", "/run/sway"}, {"XDG_CURRENT_DESKTOP", "GNOME"}},
       WindowSourceKind::guestXServer},
      {"a sway that is left over in the variables of Plasma",
       {{"WAYLAND_DISPLAY", "wayland-1"},
        {"SWAYSOCK", "/run/sway"},
        {"XDG_CURRENT_DESKTOP", "KDE"},
        {"XDG_RUNTIME_DIR", "/run"}},
       WindowSourceKind::kwin},
      {"a sway that is left over in the variables of X",
       {{"DISPLAY", ":0"}, {"SWAYSOCK", "/run/sway"}},
       WindowSourceKind::xServer},
      {"Plasma",
       {{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_CURRENT_DESKTOP", "KDE"}, {"XDG_RUNTIME_DIR", "/run"}},
       WindowSourceKind::kwin},
      {"Plasma without a place for its script",
       {{"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_CURRENT_DESKTOP", "KDE"}},
       WindowSourceKind::guestXServer},
      {"GNOME",
       {{"XDG_SESSION_TYPE", "wayland"}, {"XDG_CURRENT_DESKTOP", "ubuntu:GNOME"}, {"XDG_RUNTIME_DIR", "/run"}},
       WindowSourceKind::guestXServer},
      {"weston", {{"WAYLAND_DISPLAY", "wayland-0"}}, WindowSourceKind::guestXServer},
  };
  for (const auto& each : cases) EXPECT_EQ(windowSourceKind(Session(each.variables)), each.kind) << each.name;
}

TEST(WindowSource, ProgramsAnnounceWhatNothingElseReports) {
  const auto kinds = [](const Variables& variables) { return windowEventKinds(Session(variables)); };
  EXPECT_FALSE(kinds({{"DISPLAY", ":0"}}).any()) << "The X server reports all.";
  const auto gnomeOnX = kinds({{"DISPLAY", ":0"}, {"XDG_CURRENT_DESKTOP", "GNOME"}});
  EXPECT_TRUE(gnomeOnX.shown) << "but not the shell's own dialogs";
  const auto unknown = kinds({{"WAYLAND_DISPLAY", "wayland-0"}});
  EXPECT_TRUE(unknown.created && unknown.activated && unknown.shown);
  const auto sway = kinds({{"WAYLAND_DISPLAY", "wayland-0"}, {"SWAYSOCK", "/run/sway"}});
  EXPECT_TRUE(sway.created) << "what is drawn on layers";
  EXPECT_FALSE(sway.activated || sway.shown);
}

TEST(WindowSource, WhileTheSourceKnowsNothingProgramsAnnounceTheRest) {
  const auto kinds = [](const Variables& variables) { return windowEventKindsWhileUnknown(Session(variables)); };
  const auto sway = kinds({{"WAYLAND_DISPLAY", "wayland-0"}, {"SWAYSOCK", "/run/sway"}});
  EXPECT_TRUE(sway.activated && sway.shown);
  EXPECT_FALSE(kinds({{"DISPLAY", ":0"}}).any());
  EXPECT_FALSE(kinds({{"WAYLAND_DISPLAY", "wayland-0"}}).any()) << "They do so anyway.";
}

TEST(WindowSource, ADesktopIsOneOfItsNames) {
  EXPECT_TRUE(isDesktop(Session(Variables{{"XDG_CURRENT_DESKTOP", "ubuntu:GNOME"}}), "GNOME"));
  EXPECT_FALSE(isDesktop(Session(Variables{{"XDG_CURRENT_DESKTOP", "GNOME-Flashback"}}), "GNOME"));
  EXPECT_FALSE(isDesktop(Session({}), "GNOME"));
}

}  // namespace
}  // namespace quillard::desktop
