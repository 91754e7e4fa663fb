#include <map>
#include <string>

#include <gtest/gtest.h>

#include "contract/desktop/WindowSourceContract.h"
#include "desktop/DesktopKinds.h"
#include "desktop/LoopWaiting.h"
#include "desktop/PrivateDesktop.h"
#include "desktop/X11Binding.h"
#include "platform/linux/windows/WindowSource.h"
#include "platform/qt/QtExecutors.h"
#include "support/FakeDesktopWindows.h"

namespace quillard::test {
namespace {

class FakeSourceBinding final : public WindowSourceBinding {
 public:
  desktop::DesktopWindows& windows() override { return fake; }
  desktop::WindowChanges& changes() override { return fake; }
  std::int32_t open(const std::string& title) override {
    (void)fake.open(++processes, title);
    return processes;
  }
  void kill(std::int32_t process) override { fake.remove(process); }
  void lose() override { fake.lose(); }
  bool eventually(const std::function<bool()>& condition) override { return condition(); }

 private:
  FakeDesktopWindows fake;
  std::int32_t processes = 1000;
};

// The source that the agent chooses by the variables of such a session.
class DesktopSourceBinding final : public WindowSourceBinding {
 public:
  explicit DesktopSourceBinding(DesktopKind kind) : privateDesktop({.kind = kind}) {
    for (const auto& variable : privateDesktop.environment()) {
      const auto end = variable.find('=');
      variables.values[variable.substr(0, end)] = variable.substr(end + 1);
    }
    source = desktop::makeWindowSource(variables, executors.mainThread());
  }

  desktop::DesktopWindows& windows() override { return *source.windows; }
  desktop::WindowChanges& changes() override { return *source.changes; }
  std::int32_t open(const std::string& title) override {
    auto program = privateDesktop.launch("zenity", {"--info", "--title=" + title, "--text=Something has happened."});
    const auto process = program.pid();
    programs.emplace(process, std::move(program));
    return process;
  }
  void kill(std::int32_t process) override { programs.at(process).kill(); }
  void lose() override {
    if (isWayland(privateDesktop.kind())) return privateDesktop.compositor().kill();
    privateDesktop.killDisplay();
  }
  bool eventually(const std::function<bool()>& condition) override { return waitInLoop(condition); }

 private:
  PrivateDesktop privateDesktop;
  DesktopEnvironment variables;
  qt::QtExecutors executors;
  std::map<std::int32_t, DesktopProgram> programs;
  desktop::WindowSource source;
};

WindowSourceCase on(DesktopKind kind) {
  return {.name = privatedesktop::nameOf(kind),
          .make = [kind] { return std::make_unique<DesktopSourceBinding>(kind); },
          .whyMissing = [kind] { return privatedesktop::missingFor(kind).value_or(""); }};
}

std::string nameOfSource(const testing::TestParamInfo<WindowSourceCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Fake, WindowSourceContract,
                         testing::Values(WindowSourceCase{
                             .name = "Fake", .make = [] { return std::make_unique<FakeSourceBinding>(); }}),
                         nameOfSource);
INSTANTIATE_TEST_SUITE_P(Small, WindowSourceContract,
                         testing::Values(on(DesktopKind::openbox), on(DesktopKind::xfwm4), on(DesktopKind::marco),
                                         on(DesktopKind::sway)),
                         nameOfSource);
INSTANTIATE_TEST_SUITE_P(Large, WindowSourceContract, testing::Values(on(DesktopKind::kwin)), nameOfSource);

}  // namespace
}  // namespace quillard::test
