#include <cstdlib>

#include <QtGui/QFont>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyleFactory>
#include <gtest/gtest.h>

// The main function of tests that look at widgets: without a display, and with the same style and font on every
// machine. A test that runs this program again under another scale says so in QT_SCALE_FACTOR or QT_FONT_DPI.
int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  setenv("QT_FONT_DPI", "96", 0);
  for (const char* name : {"QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP"}) unsetenv(name);
  const QApplication application(argc, argv);
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QFont font{"DejaVu Sans", 10};
  font.setHintingPreference(QFont::PreferNoHinting);
  QApplication::setFont(font);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
