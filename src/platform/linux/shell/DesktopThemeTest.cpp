#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <QtCore/QCoreApplication>
#include <gtest/gtest.h>

#include "platform/linux/shell/DesktopTheme.h"
#include "platform/linux/shell/PortalColorScheme.h"
#include "private-desktop/Waiting.h"
#include "support/TemporaryFolder.h"

namespace quillard::desktop {
namespace {

using qt::ColorScheme;

TEST(DesktopTheme, IsReadFromWhatEachDesktopSays) {
  struct Row {
    ThemeFacts facts;
    ColorScheme scheme;
  };
  const std::vector<Row> rows{
      {{}, ColorScheme::noPreference},
      {{.toolkitTheme = "Adwaita:dark"}, ColorScheme::dark},
      {{.colorScheme = "'prefer-dark'\n"}, ColorScheme::dark},
      {{.colorScheme = "'prefer-light'\n", .gtkTheme = "'Yaru-dark'\n"}, ColorScheme::light},
      {{.colorScheme = "'default'\n", .gtkTheme = "'Yaru-dark'\n"}, ColorScheme::dark},
      {{.colorScheme = "'default'\n", .gtkTheme = "'Adwaita'\n"}, ColorScheme::noPreference},
      {{.desktopColors = "[Colors:Window]\nBackgroundNormal=42,46,50\n"}, ColorScheme::dark},
      {{.desktopColors = "[Colors:Window]\nBackgroundNormal=239, 240, 241\n", .gtkTheme = "'Breeze-Dark'"},
       ColorScheme::light},
      {{.toolkitSettings = "[Settings]\ngtk-application-prefer-dark-theme = true\n"}, ColorScheme::dark},
      {{.toolkitSettings = "[Settings]\r\ngtk-theme-name=Arc-Dark\r\n"}, ColorScheme::dark},
      {{.toolkitSettings = "[Settings]\ngtk-application-prefer-dark-theme=0\n"}, ColorScheme::noPreference}};
  for (std::size_t row = 0; row < rows.size(); ++row)
    EXPECT_EQ(colorSchemeOf(rows[row].facts), rows[row].scheme) << row;
}

TEST(DesktopTheme, TakesNothingFromWhatIsBroken) {
  for (const char* const colors :
       {"[Colors:Window]", "[Colors:Window]\nBackgroundNormal", "[Colors:Window]\nBackgroundNormal=",
        "[Colors:Window]\nBackgroundNormal=1,2", "[Colors:Window]\nBackgroundNormal=1,2,256",
        "[Colors:Window]\nBackgroundNormal=-1,2,3", "[Colors:View]\nBackgroundNormal=1,2,3",
        "BackgroundNormal=1,2,3\n[Colors:Window]\n", "[Colors:Window\nBackgroundNormal=1,2,3", "=\n\n===\n[\n]"}) {
    EXPECT_EQ(colorSchemeOf({.desktopColors = colors, .toolkitSettings = colors}), ColorScheme::noPreference) << colors;
  }
}

// What a test changes of its process's environment is put back.
class ChangedVariable {
 public:
  ChangedVariable(const char* name, const std::string& value)
      : name(name), before(qgetenv(name)), wasSet(qEnvironmentVariableIsSet(name)) {
    qputenv(name, QByteArray::fromStdString(value));
  }
  ~ChangedVariable() { wasSet ? qputenv(name, before) : qunsetenv(name); }
  ChangedVariable(const ChangedVariable&) = delete;
  ChangedVariable& operator=(const ChangedVariable&) = delete;

 private:
  const char* const name;
  const QByteArray before;
  const bool wasSet;
};

TEST(DesktopTheme, IsDarkWhereOnlyTheSettingsSayItAndWithoutABus) {
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
  GTEST_SKIP() << "Under the thread sanitizer no program is asked.";
#endif
#endif
  const test::TemporaryFolder folder;
  const std::string program = folder.path() + "/gsettings";
  std::ofstream(program) << "#!/bin/sh\n[ \"$3\" = color-scheme ] && echo \"'prefer-dark'\"\n";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const ChangedVariable path("PATH", folder.path() + ":/usr/bin:/bin");
  const ChangedVariable home("HOME", folder.path());
  const ChangedVariable configuration("XDG_CONFIG_HOME", folder.path());
  const ChangedVariable theme("GTK_THEME", "");
  const ChangedVariable bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.path() + "/none");
  std::vector<ColorScheme> told;
  const PortalColorScheme scheme([&told](ColorScheme chosen) { told.push_back(chosen); });
  EXPECT_TRUE(told.empty()) << "It comes in a later turn.";
  EXPECT_TRUE(privatedesktop::waitFor([&told] {
    QCoreApplication::processEvents();
    return !told.empty();
  }));
  EXPECT_EQ(told, std::vector{ColorScheme::dark});
}

}  // namespace
}  // namespace quillard::desktop
