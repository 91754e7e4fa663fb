#pragma once

namespace quillard::desktop {

// Gives back what a busy moment has taken and an idle one does not need: free heap, and the pages of this program and
// its libraries that were not written to. Those are the disk's anyway, and come back from its cache, a few dozen at a
// time, when they are needed again; most of them served the start alone. Some milliseconds. Any thread.
void trimMemory();

}  // namespace quillard::desktop
