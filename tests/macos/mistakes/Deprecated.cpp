// Rejected: first deprecated in macOS 11.0
#include <Security/Security.h>

CFStringRef deprecated() { return kSecUseAuthenticationUI; }
