#include <map>

#include "contract/desktop/DesktopContract.h"
#include "desktop/DesktopKinds.h"
#include "desktop/LinuxDesktopBinding.h"
#include "desktop/SharedDesktop.h"

// The real desktop: programs of the three toolkits, on an X server of the test's own; and on every other kind of
// desktop those that differ there.
namespace quillard::test {
namespace {

template <const char* kSample>
std::unique_ptr<DesktopBinding> makeLinux() {
  return std::make_unique<LinuxDesktopBinding>(kSample);
}

constexpr char kGtk3[] = "gtk3_prompt";
constexpr char kGtk4[] = "gtk4_prompt";
constexpr char kQt[] = "qt_prompt";

QUILLARD_DESKTOP_CONTRACT(Linux,
                          testing::Values(DesktopCase{"Gtk3", &makeLinux<kGtk3>},
                                          DesktopCase{"Gtk4", &makeLinux<kGtk4>}, DesktopCase{"Qt", &makeLinux<kQt>}));

// One desktop of each kind for all tests of this process.
class SharedDesktops final : public testing::Environment {
 public:
  [[nodiscard]] PrivateDesktop& get(DesktopKind kind) {
    return desktops.try_emplace(kind, PrivateDesktop::Options{.kind = kind}).first->second.get();
  }
  void TearDown() override { desktops.clear(); }

 private:
  std::map<DesktopKind, SharedDesktop> desktops;
};

SharedDesktops& sharedDesktops() {
  static auto* const shared = static_cast<SharedDesktops*>(testing::AddGlobalTestEnvironment(new SharedDesktops));
  return *shared;
}

DesktopCase on(DesktopKind kind, const std::string& toolkit, const char* sample) {
  return {.name = privatedesktop::nameOf(kind) + "_" + toolkit,
          .make = [kind, sample] { return std::make_unique<LinuxDesktopBinding>(sample, sharedDesktops().get(kind)); },
          .whyMissing = [kind] { return privatedesktop::missingFor(kind); }};
}

QUILLARD_DESKTOP_CONTRACT(Small,
                          testing::Values(on(DesktopKind::xfwm4, "Gtk3", kGtk3), on(DesktopKind::marco, "Gtk3", kGtk3),
                                          on(DesktopKind::sway, "Gtk3", kGtk3), on(DesktopKind::sway, "Gtk4", kGtk4),
                                          on(DesktopKind::sway, "Qt", kQt)));
QUILLARD_DESKTOP_CONTRACT(Large,
                          testing::Values(on(DesktopKind::weston, "Gtk3", kGtk3), on(DesktopKind::kwin, "Gtk3", kGtk3),
                                          on(DesktopKind::kwin, "Gtk4", kGtk4), on(DesktopKind::kwin, "Qt", kQt),
                                          on(DesktopKind::gnome, "Gtk3", kGtk3), on(DesktopKind::gnome, "Gtk4", kGtk4),
                                          on(DesktopKind::gnome, "Qt", kQt)));

}  // namespace
}  // namespace quillard::test
