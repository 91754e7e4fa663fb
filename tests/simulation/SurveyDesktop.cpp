#include "simulation/SurveyDesktop.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace quillard::samples {
namespace {

using platform::simulated::ApplicationHandle;
using platform::simulated::DialogSpec;
using platform::simulated::ElementSpec;
using platform::simulated::SimulatedDesktop;
using platform::simulated::SimulatedWorld;

ElementSpec text(std::string value) {
  return {.role = "AXStaticText", .value = std::move(value), .frame = Rect{10, 10, 200, 16}};
}
ElementSpec button(std::string title) {
  return {.role = "AXButton", .title = std::move(title), .frame = Rect{10, 200, 80, 24}};
}

std::vector<ElementSpec> buttons(int count) {
  std::vector<ElementSpec> buttons;
  for (int i = 0; i < count; ++i) buttons.push_back(button("Tool " + std::to_string(i)));
  return buttons;
}

ElementSpec window(std::string title, std::vector<ElementSpec> children, std::string subrole = "AXStandardWindow") {
  return {
      .role = "AXWindow", .subrole = std::move(subrole), .title = std::move(title), .children = std::move(children)};
}

// Each makes one window that is no prompt, the n-th of its kind.
const std::array<std::function<ElementSpec(int)>, 8> kOrdinaryWindows{
    [](int n) {
      auto children = buttons(9);
      children.push_back({.role = "AXToolbar", .children = buttons(4)});
      children.push_back(text("Delete me later, and discard this line."));
      return window("Document " + std::to_string(n), children);
    },
    [](int n) {
      return window("Browser " + std::to_string(n), {{.role = "AXTabGroup"}, text("Page"), button("OK")});
    },
    [](int n) {
      return window("Network " + std::to_string(n) + " Settings",
                    {text("Ask for permission"), button("OK"), button("Cancel")});
    },
    [](int) {
      return window("Preferences", {text("Save changes automatically"), button("Cancel"), button("Save")});
    },
    [](int n) { return window("Palette " + std::to_string(n), buttons(15)); },
    [](int n) {
      return window("Transfer " + std::to_string(n), {text("Copying 3 of 7"), button("Stop")}, "AXDialog");
    },
    [](int n) { return window("Chooser " + std::to_string(n), buttons(8), "AXDialog"); },
    [](int n) {
      return window("Notes " + std::to_string(n), {text("Groceries"), button("OK"), button("Cancel")});
    },
};

// Each opens one prompt and gives its title.
using PromptMaker = std::function<std::string(SimulatedDesktop&, ApplicationHandle)>;

std::string openDialog(SimulatedDesktop& desktop, ApplicationHandle application, const DialogSpec& dialog) {
  desktop.open(application, dialog);
  return dialog.title;
}

const std::array<PromptMaker, 5> kPrompts{
    [](SimulatedDesktop& desktop, ApplicationHandle application) {
      return openDialog(desktop, application,
                        {.title = "Erase disk?", .lines = {"This cannot be undone."}, .buttons = {"Cancel", "Erase"}});
    },
    [](SimulatedDesktop& desktop, ApplicationHandle application) {
      return openDialog(desktop, application,
                        {.title = "Camera", .lines = {"Chat wants the camera."}, .buttons = {"Don’t Allow", "Allow"}});
    },
    [](SimulatedDesktop& desktop, ApplicationHandle application) {
      const auto document = desktop.addWindow(application, window("Draft", {{.role = "AXToolbar"}, text("Dear all,")}));
      DialogSpec sheet{
          .title = "Save?", .lines = {"Do you want to save?"}, .buttons = {"Don't Save", "Cancel", "Save"}};
      desktop.openSheet(document, sheet);
      return sheet.title;
    },
    [](SimulatedDesktop& desktop, ApplicationHandle application) {
      const std::string title = "Updater";
      desktop.addWindow(application,
                        window(title, {text("Version 7 is ready to install."), button("Later"), button("Install")}));
      return title;
    },
    [](SimulatedDesktop& desktop, ApplicationHandle application) {
      return openDialog(desktop, application,
                        {.title = "Unlock",
                         .buttons = {"Cancel", "OK"},
                         .extra = {{.role = "AXTextField", .subrole = "AXSecureTextField"}}});
    },
};

}  // namespace

SurveyDesktop::SurveyDesktop(SimulatedWorld& world) {
  auto& desktop = world.desktop();
  const auto chance = [&world](int below) { return world.random().identityBytes()[0] % below; };
  std::vector<ApplicationHandle> running;
  for (; applications < kApplications; ++applications) {
    running.push_back(desktop.launch({.name = "Application " + std::to_string(applications)}));
  }
  for (const auto& openPrompt : kPrompts) {
    promptTitles.push_back(openPrompt(desktop, running[static_cast<std::size_t>(chance(kApplications))]));
    ++windows;
  }
  for (; windows < kWindows; ++windows) {
    const auto& ordinary = kOrdinaryWindows[static_cast<std::size_t>(windows) % kOrdinaryWindows.size()];
    auto spec = ordinary(windows);
    spec.frame = Rect{chance(200) * 5.0, chance(200) * 3.0, 400, 300};
    desktop.addWindow(running[static_cast<std::size_t>(windows % kApplications)], spec);
  }
  std::sort(promptTitles.begin(), promptTitles.end());
}

}  // namespace quillard::samples
