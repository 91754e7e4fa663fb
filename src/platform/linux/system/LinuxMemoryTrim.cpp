#include "platform/linux/system/LinuxMemoryTrim.h"

#include <cstddef>
#include <cstdint>

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

namespace quillard::desktop {
namespace {

// Only what is mapped for reading alone: what is written to when a library is loaded, and read-only from then on, lies
// in segments that the library calls writable.
bool isAsOnDisk(const ElfW(Phdr) & segment) {
  return segment.p_type == PT_LOAD && (segment.p_flags & PF_W) == 0 && segment.p_filesz == segment.p_memsz;
}

int trimLibrary(dl_phdr_info* library, std::size_t, void* pageSize) {
  const auto page = *static_cast<const std::uintptr_t*>(pageSize);
  for (int i = 0; i < library->dlpi_phnum; ++i) {
    const auto& segment = library->dlpi_phdr[i];
    if (!isAsOnDisk(segment)) continue;
    const auto begin = library->dlpi_addr + segment.p_vaddr;
    const auto firstPage = begin / page * page;
    ::madvise(reinterpret_cast<void*>(firstPage), begin + segment.p_memsz - firstPage, MADV_DONTNEED);
  }
  return 0;
}

}  // namespace

void trimMemory() {
  ::malloc_trim(0);
  auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  ::dl_iterate_phdr(&trimLibrary, &pageSize);
}

void keepHeapSmall() {
  constexpr int kLargeBlock = 128 * 1024;
  ::mallopt(M_MMAP_THRESHOLD, kLargeBlock);
  ::mallopt(M_TRIM_THRESHOLD, kLargeBlock);
  ::mallopt(M_ARENA_MAX, 1);
}

}  // namespace quillard::desktop
