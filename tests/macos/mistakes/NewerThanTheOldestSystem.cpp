// Rejected: is only available on macOS 14.0 or newer
#include <CoreFoundation/CoreFoundation.h>

void onlyNewSystemsHaveThis() QUILLARD_SINCE(14.0);

void callIt() { onlyNewSystemsHaveThis(); }
