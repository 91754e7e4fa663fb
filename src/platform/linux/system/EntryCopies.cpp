#include "platform/linux/system/EntryCopies.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "foundation/UserTexts.h"
#include "platform/linux/storage/XdgFolders.h"
#include "platform/linux/system/DesktopEntry.h"
#include "platform/linux/system/ReadableEntry.h"
#include "platform/linux/system/SmallFile.h"

namespace quillard::desktop {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestEntry = 256 * 1024;

std::string nameIn(const std::string& contents, const std::string& otherwise) {
  const auto values = DesktopEntry::mainGroup(contents);
  const auto name = values.find("Name");
  return name == values.end() || name->second.empty() ? otherwise : DesktopEntry::unescaped(name->second);
}

// Under a name that nothing has, whole or not at all. Absent on success.
std::optional<std::string> makeFile(const std::string& path, const std::string& contents) {
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  const std::string draft = path + ".quillard-new";
  if (!error) {
    if (auto problem = replaceSmallFile(draft, contents))
      return UserTexts{}("The file %1 cannot be made: %2.", {path, *problem});
    fs::create_hard_link(draft, path, error);  // Unlike a new name for the draft, it takes no other file's place.
    std::error_code ignored;
    fs::remove(draft, ignored);
  }
  if (!error) return std::nullopt;
  return UserTexts{}("The file %1 cannot be made: %2.", {path, error.message()});
}

}  // namespace

EntryCopies::EntryCopies(const platform::Environment& environment, proc::DesktopEntries& entries)
    : environment(environment), entries(entries) {}

std::string EntryCopies::ownFolder() const {
  const auto own = xdg::dataFolder(environment);
  return own ? (fs::path(*own).parent_path() / "applications").string() : "";
}

std::optional<std::string> EntryCopies::contentsOfOwn(const std::string& path) const {
  std::error_code error;
  const auto place = ownFolder() + "/" + path;
  if (!fs::exists(fs::symlink_status(place, error))) return std::nullopt;
  return smallFileText(place, kLargestEntry).value_or("");
}

std::optional<StartOffer> EntryCopies::offerFor(const std::string& program, const std::vector<std::string>& arguments) {
  const auto starter = ownFolder().empty() ? std::nullopt : entries.starterOf(program, arguments);
  if (!starter) return std::nullopt;
  StartOffer offer{.entry = starter->entry.id, .name = starter->entry.name};
  const auto own = contentsOfOwn(starter->path);
  if (own) {
    offer.isChanged = ReadableEntry::isCopy(*own);
    return offer.isChanged ? std::optional(offer) : std::nullopt;
  }
  const auto contents = smallFileText(starter->folder + "/" + starter->path, kLargestEntry);
  return contents && ReadableEntry::copyOf(*contents, offer.entry) ? std::optional(offer) : std::nullopt;
}

std::vector<EntryCopies::Copy> EntryCopies::copies() const {
  std::vector<Copy> found;
  if (ownFolder().empty()) return found;
  std::error_code error;
  std::size_t seen = 0;
  const auto options = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator file(ownFolder(), options, error), end; !error && file != end;
       file.increment(error)) {
    if (++seen > proc::DesktopEntries::kMostEntries) break;
    if (file.depth() >= proc::DesktopEntries::kDeepestFolder) file.disable_recursion_pending();
    if (file->path().extension() != proc::DesktopEntries::kSuffix) continue;
    const auto contents = smallFileText(file->path(), kLargestEntry);
    if (!contents || !ReadableEntry::isCopy(*contents)) continue;
    const auto id = proc::DesktopEntries::idOf(file->path().lexically_relative(ownFolder()).generic_string());
    found.push_back({.start = {.entry = id, .name = nameIn(*contents, id)}, .path = file->path()});
  }
  std::sort(found.begin(), found.end(), [](const Copy& a, const Copy& b) {
    return std::pair(a.start.name, a.start.entry) < std::pair(b.start.name, b.start.entry);
  });
  return found;
}

std::vector<platform::ReadableStart> EntryCopies::changed() {
  std::vector<platform::ReadableStart> starts;
  for (auto& copy : copies()) starts.push_back(std::move(copy.start));
  return starts;
}

std::optional<std::string> EntryCopies::change(const std::string& entry) {
  if (ownFolder().empty()) return UserTexts{}("This user has no home folder.");
  const auto file = entries.file(entry);
  if (!file) return UserTexts{}("There is no entry %1 in the menu.", {entry});
  if (const auto own = contentsOfOwn(file->path)) {
    if (ReadableEntry::isCopy(*own)) return std::nullopt;
    return UserTexts{}("You have an entry of your own for %1, which stays as it is: %2. Add %3 to its line Exec.",
                       {file->entry.name, ownFolder() + "/" + file->path, ReadableEntry::kSwitch});
  }
  const auto contents = smallFileText(file->folder + "/" + file->path, kLargestEntry);
  const auto copy = contents ? ReadableEntry::copyOf(*contents, file->entry.id) : std::nullopt;
  if (!copy) return UserTexts{}("The entry of %1 cannot be changed safely.", {file->entry.name});
  auto problem = makeFile(ownFolder() + "/" + file->path, *copy);
  entries.forget();
  return problem;
}

std::optional<std::string> EntryCopies::undo(const std::string& entry) {
  for (const auto& copy : copies()) {
    if (copy.start.entry != entry) continue;
    if (!ReadableEntry::isUnchangedCopy(smallFileText(copy.path, kLargestEntry).value_or(""), copy.start.entry)) {
      return UserTexts{}(
          "The file %1 is not as it was made, and stays as it is. Take %2 and the line %3 out of it, or delete it.",
          {copy.path, ReadableEntry::kSwitch, ReadableEntry::kMark});
    }
    std::error_code error;
    fs::remove(copy.path, error);
    entries.forget();
    if (error) return UserTexts{}("The file %1 cannot be deleted: %2.", {copy.path, error.message()});
  }
  return std::nullopt;
}

}  // namespace quillard::desktop
