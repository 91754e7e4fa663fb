// Rejected: cannot initialize a parameter of type 'NSApplicationActivationPolicy' with an rvalue of type 'long'
#import <AppKit/AppKit.h>

long numberOfPolicy();

void becomeAnAccessory(NSApplication* application) { [application setActivationPolicy:numberOfPolicy()]; }
