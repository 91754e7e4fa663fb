#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "platform/desktop/Translations.h"
#include "platform/linux/catalogues/CatalogueSearch.h"
#include "platform/linux/catalogues/ProcessFolder.h"

namespace quillard::catalogues {

// What a program says of itself over the accessibility bus. Empty: it does not say.
struct ProgramLanguage {
  std::string locale;
  std::string toolkit;
};

struct TranslationOptions {
  std::string processes = "/proc";
  std::string shareFolder = "/usr/share";
  // Whose files no program of this user can write. Where the agent itself runs as that user, it tells nothing.
  std::uint32_t protectingUser = 0;
  std::string ownLocale;  // Of this program: the last resort. Empty: none.
  // May wait for the program, and is called with nothing locked. Empty, or an absent answer: not known.
  std::function<std::optional<ProgramLanguage>(std::int32_t)> languageOf;
};

// Looks texts up in the message catalogues of the program that shows them: gettext's, Qt's and Chromium's. Which ones
// these are, and with them the language and the version, the kernel tells: a program maps a catalogue into its memory
// when it first uses it. Files in a container are found through the process's root folder. Files that another program
// or computer serves are left alone (LocalMounts).
//
// Where nothing is mapped, or the process lets nobody look, the catalogues that such a program usually has are taken,
// by its name, its toolkit and its language; and for labels that these do not hold, a small table of our own, which is
// never protected.
//
// What was found in a catalogue is kept by the file's identity. What was found for a process is kept as long as it
// lives, so that an upgrade under a prompt does not take the prompt away. docs/linux.md says what a request costs.
class LinuxTranslations final : public platform::Translations {
 public:
  explicit LinuxTranslations(TranslationOptions options) : options(std::move(options)) {}

  [[nodiscard]] std::optional<platform::SourceTexts> sourceTexts(const platform::TranslationRequest& request) override;

  // How many times a catalogue has been read from beginning to end.
  [[nodiscard]] int readCount() const;

 private:
  using Meanings = std::map<std::string, platform::SourceText>;  // By source text.

  struct KnownProcess {
    std::uint64_t startTime = 0;
    std::optional<ProgramLanguage> language;
    std::map<std::string, Meanings> meanings;  // By comparable text.
    std::uint64_t lastUse = 0;
  };
  struct Found {
    std::vector<Meanings> meanings;  // One for each wanted text.
    bool isComplete = true;
  };

  [[nodiscard]] Found findMapped(const ProcessFolder& process, const std::vector<WantedText>& wanted, bool& isMapped);
  [[nodiscard]] Found findLikely(const ProcessFolder& process, const ProgramLanguage& language,
                                 const std::vector<WantedText>& wanted);
  [[nodiscard]] Found find(const OpenCatalogues& open, const std::vector<WantedText>& wanted);
  [[nodiscard]] ProgramLanguage languageOf(const ProcessFolder& process, std::int32_t processIdentifier,
                                           std::uint64_t startTime);
  // Adds what the process had before, and keeps what it has now.
  void remember(std::int32_t processIdentifier, std::uint64_t startTime, const std::vector<WantedText>& wanted,
                Found& found);
  [[nodiscard]] KnownProcess& known(std::int32_t processIdentifier, std::uint64_t startTime) QUILLARD_REQUIRES(mutex);

  const TranslationOptions options;
  mutable Mutex mutex;
  CatalogueSearch search QUILLARD_GUARDED_BY(mutex);
  std::map<std::int32_t, KnownProcess> processes QUILLARD_GUARDED_BY(mutex);
  std::uint64_t uses QUILLARD_GUARDED_BY(mutex) = 0;
};

}  // namespace quillard::catalogues
