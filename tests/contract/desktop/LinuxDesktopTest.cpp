#include "contract/desktop/DesktopContract.h"
#include "desktop/LinuxDesktopBinding.h"

// The real desktop: programs of the three toolkits, on an X server of the test's own.
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

}  // namespace
}  // namespace quillard::test
