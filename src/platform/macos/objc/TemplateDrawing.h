#pragma once

#import <AppKit/AppKit.h>

#include "values/Images.h"

namespace quillard::macos {

// The picture for the menu bar, which the system tints. For Objective-C++ only. Main thread.
[[nodiscard]] NSImage* _Nonnull templateImage(const TemplateImage& image);

}  // namespace quillard::macos
