// Rejected: undeclared selector 'orderFrontAboutPanell:'
#import <AppKit/AppKit.h>

NSMenuItem* aboutItem() {
  return [[NSMenuItem alloc] initWithTitle:@"About" action:@selector(orderFrontAboutPanell:) keyEquivalent:@""];
}
