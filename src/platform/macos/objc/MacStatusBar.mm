#include "platform/macos/objc/MacStatusBar.h"

#include <utility>

#import <AppKit/AppKit.h>

#include "platform/macos/objc/MainThreadLink.h"
#include "platform/macos/objc/TemplateDrawing.h"
#include "platform/macos/objc/Text.h"

// What a click is sent to.
@interface QuillardStatusItemReceiver : NSObject
- (instancetype)initWithLink:(std::shared_ptr<quillard::macos::MainThreadLink>)aLink
                     onClick:(std::function<void()>)aHandler;
- (void)itemWasClicked:(id)sender;
@end

@implementation QuillardStatusItemReceiver {
  std::shared_ptr<quillard::macos::MainThreadLink> link;
  std::function<void()> onClick;
}

- (instancetype)initWithLink:(std::shared_ptr<quillard::macos::MainThreadLink>)aLink
                     onClick:(std::function<void()>)aHandler {
  self = [super init];
  if (self) {
    link = std::move(aLink);
    onClick = std::move(aHandler);
  }
  return self;
}

- (void)itemWasClicked:(id)sender {
  if (onClick) link->post(onClick);
}

@end

namespace quillard::macos {
namespace {

class MacStatusItem final : public platform::StatusItem {
 public:
  MacStatusItem(double length, platform::SerialExecutor& mainThread, std::function<void()> onClick)
      : listening(mainThread),
        receiver([[QuillardStatusItemReceiver alloc] initWithLink:listening.link() onClick:std::move(onClick)]),
        item([NSStatusBar.systemStatusBar statusItemWithLength:length]) {
    item.button.imagePosition = NSImageOnly;
    item.button.target = receiver;  // Which the button does not keep.
    item.button.action = @selector(itemWasClicked:);
  }
  ~MacStatusItem() override { [NSStatusBar.systemStatusBar removeStatusItem:item]; }

  void setLength(double points) override { item.length = points; }

  void setImage(const TemplateImage& image) override {
    @autoreleasepool {
      item.button.image = templateImage(image);
    }
  }

  // Also what VoiceOver says: there is no text in the item itself.
  void setToolTip(const std::string& text) override {
    @autoreleasepool {
      item.button.toolTip = nsText(text);
      item.button.accessibilityLabel = nsText(text);
    }
  }

 private:
  const MainThreadListening listening;
  QuillardStatusItemReceiver* const receiver;
  NSStatusItem* const item;
};

}  // namespace

std::unique_ptr<platform::StatusItem> MacStatusBar::makeStatusItem(double length, std::function<void()> onClick) {
  return std::make_unique<MacStatusItem>(length, mainThread, std::move(onClick));
}

}  // namespace quillard::macos
