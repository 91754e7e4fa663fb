#include <cstdlib>

#include <QtCore/QCoreApplication>
#include <gtest/gtest.h>

// The main function of tests that need Qt's application object. The machine's own proxy is left out: tests talk to this
// machine alone, and those about proxies bring one.
int main(int argc, char** argv) {
  for (const char* name :
       {"http_proxy", "https_proxy", "all_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"}) {
    unsetenv(name);
  }
  const QCoreApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
