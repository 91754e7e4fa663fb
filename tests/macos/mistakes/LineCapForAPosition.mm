// Rejected: assigning to 'NSCellImagePosition' from incompatible type 'NSLineCapStyle'
#import <AppKit/AppKit.h>

void place(NSButton* button) { button.imagePosition = NSLineCapStyleRound; }
