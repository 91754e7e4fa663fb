#pragma once

namespace quillard::desktop {

// Gives back what a busy moment has taken and an idle one does not need: free heap, and the pages of this program and
// its libraries that were not written to. Those are the disk's anyway, and come back from its cache, a few dozen at a
// time, when they are needed again; most of them served the start alone. Some milliseconds. Any thread.
void trimMemory();

// From now on one heap serves all threads: by itself each has its own, with its own gaps, which for a dozen that are
// idle most of the time comes to some 300 KiB. And each block of 128 KiB and more has pages of its own, which go when
// it does: by itself the heap gives such a block a place among the small ones once one as large has been freed, as a
// window's picture is, and then keeps as much as two of them for later. Before other threads start.
void keepHeapSmall();

}  // namespace quillard::desktop
