#include "fuzz/FuzzTarget.h"
#include "platform/linux/catalogues/LikelyCatalogues.h"
#include "platform/linux/catalogues/LocalMounts.h"
#include "platform/linux/catalogues/MappedCatalogues.h"

using namespace quillard;
using fuzz::require;

// What the kernel says of a process's files holds names that any program chose.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto list = fuzz::textOf(data, size);
  const catalogues::LocalMounts mounts(list);
  const auto mapped = catalogues::mappedCatalogues(list).paths;
  require(mapped.size() <= catalogues::kMostCatalogues, "There is a bound.");
  for (const auto& catalogue : mapped) {
    require(catalogue.path.starts_with('/'), "A path is whole.");
    (void)mounts.contains(catalogue.path);
  }
  (void)mounts.contains(list);
  const catalogues::ProgramTraits program{std::string(list), "", std::string(list)};
  for (const auto& catalogue : catalogues::likelyCatalogues(program, "/usr/share")) {
    require(catalogue.path.starts_with("/usr/share/") && catalogue.path.find("/../") == std::string::npos,
            "No name leads out of the folder.");
  }
  return 0;
}
