#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace quillard::catalogues {

// One state of one file: a package that is upgraded puts another file in its place, and whoever writes into a file
// changes the time, which no program can set.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::int64_t size = 0;
  std::int64_t changedSeconds = 0;
  std::int64_t changedNanoseconds = 0;

  auto operator<=>(const FileIdentity&) const = default;
};

// A folder below which files are opened. One thread.
class Folder {
 public:
  // The root folder of a process, `processFolder` being its folder in /proc: what is in a container is found there.
  // Absent from `isOpen` when it may not be read.
  [[nodiscard]] static Folder rootOf(const std::string& processFolder);
  [[nodiscard]] static Folder systemRoot();
  Folder(Folder&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
  Folder& operator=(Folder&&) = delete;
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder();

  [[nodiscard]] bool isOpen() const { return descriptor >= 0; }
  // The kernel serves it from a disk of this computer. Asks whoever else serves it for nothing, so it never waits; what
  // lies on no disk, such as in memory, is not told apart from those.
  [[nodiscard]] bool isOnDisk() const;
  [[nodiscard]] int get() const { return descriptor; }

 private:
  explicit Folder(int descriptor) : descriptor(descriptor) {}

  int descriptor;
};

// A catalogue's file, open for reading. One thread.
class CatalogueFile {
 public:
  struct Opened;

  // `path`: absolute, below `root`; no link on the way is followed. `protectingUser`: whose files no program of this
  // user can write.
  [[nodiscard]] static Opened open(const Folder& root, const std::string& path, std::uint32_t protectingUser);
  CatalogueFile(CatalogueFile&& other) noexcept
      : descriptor(std::exchange(other.descriptor, -1)), identified(other.identified), isSafe(other.isSafe) {}
  CatalogueFile& operator=(CatalogueFile&&) = delete;
  CatalogueFile(const CatalogueFile&) = delete;
  CatalogueFile& operator=(const CatalogueFile&) = delete;
  ~CatalogueFile();

  [[nodiscard]] const FileIdentity& identity() const { return identified; }
  // It belongs to the protecting user, and no other user may write it.
  [[nodiscard]] bool isProtected() const { return isSafe; }
  // All of it. Absent: it could not be read.
  [[nodiscard]] std::optional<std::string> read() const;

 private:
  CatalogueFile(int descriptor, const FileIdentity& identity, bool isSafe)
      : descriptor(descriptor), identified(identity), isSafe(isSafe) {}

  int descriptor;
  FileIdentity identified;
  bool isSafe;
};

struct CatalogueFile::Opened {
  std::optional<CatalogueFile> file;  // Absent: there is none, it is no plain file, too large, or may not be read.
  bool couldNotLook = false;          // This computer was short of something; it may be there.
  bool isTooLarge = false;            // It is there, and is not read.
};

}  // namespace quillard::catalogues
