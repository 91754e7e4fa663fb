#pragma once

#include <algorithm>
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
#include "platform/linux/catalogues/WorkBudget.h"
#include "values/Time.h"

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
  // May wait for the program, and is called with nothing locked. Empty: not known. An absent answer: the program did
  // not answer. Then it is not asked again for ten seconds by `now`, and what its texts mean is not known as a whole.
  std::function<std::optional<ProgramLanguage>(std::int32_t)> languageOf;

  // The monotonic clock, by which a process gets back what its requests have cost. Empty: it has all of it each time.
  std::function<Instant()> now{};
  // What the requests about one process may cost, in bytes that are read or compared: in a burst, and for each second
  // on average. The catalogues of a program take 2 to 8 MiB, all of one language of a rich installation some 16.
  std::size_t work = std::size_t{16} * 1024 * 1024;
  std::size_t workPerSecond = std::size_t{8} * 1024 * 1024;
  // The same of all processes together: a program can be many.
  std::size_t workOfAll = std::size_t{32} * 1024 * 1024;
  std::size_t workOfAllPerSecond = std::size_t{16} * 1024 * 1024;
  CatalogueSearch::FileReader readFile{};  // Empty: from the disk.
};

// Looks texts up in the message catalogues of the program that shows them: gettext's, Qt's and Chromium's. Which ones
// these are, and with them the language and the version, the kernel tells: a program maps a catalogue into its memory
// when it first uses it. Files in a container are found through the process's root folder. Files that another program
// or computer serves are left alone (LocalMounts).
//
// Where nothing is mapped, or the process may not be read, the catalogues that such a program usually has are taken,
// by its name, its toolkit and its language; and for labels that these do not hold, a small table of our own, which is
// never protected.
//
// What was found in a catalogue is kept by the file's identity. What was found for a process is kept as long as it
// lives, so that an upgrade under a prompt does not take the prompt away. docs/linux.md says what a request costs.
//
// A program can map catalogues that are made to cost much. So what is spent on one process has a bound, beyond which
// its texts are unknown (`SourceTexts::isComplete`), which is not the same as without a meaning; what was found until
// then is kept, and the next request goes on from there. Nothing is locked while catalogues are read and searched: no
// request waits for another one.
class LinuxTranslations final : public platform::Translations {
 public:
  explicit LinuxTranslations(TranslationOptions given) : options(std::move(given)), search(options.readFile) {}

  [[nodiscard]] std::optional<platform::SourceTexts> sourceTexts(const platform::TranslationRequest& request) override;

  // How many times a catalogue has been read from beginning to end.
  [[nodiscard]] int readCount() const { return search.readCount(); }

 private:
  using Meanings = std::map<std::string, platform::SourceText>;  // By source text.

  // What requests may cost.
  struct Account {
    std::size_t work = 0;  // That is left, as of this time.
    Instant countedAt{};

    // What the time since has brought, up to `most`.
    void earn(Instant now, std::size_t most, std::size_t perSecond);
    void spend(std::size_t spent) { work -= std::min(work, spent); }
  };
  struct KnownProcess {
    std::uint64_t startTime = 0;
    std::optional<ProgramLanguage> language;
    std::map<std::string, Meanings> meanings;  // By comparable text.
    std::size_t bytes = 0;                     // Of these.
    Account account;
    std::uint64_t lastUse = 0;
  };
  struct Found {
    explicit Found(std::size_t count) : meanings(count), cutOff(count) {}
    void cutOffAll() {
      isAllCutOff = true;
      cutOff.assign(cutOff.size(), true);
    }

    std::vector<Meanings> meanings;  // One for each wanted text.
    std::vector<bool> cutOff;        // The same: whether it may mean more, which is not looked at.
    bool isComplete = true;
    bool isAllCutOff = false;  // Some catalogue is not looked at.
  };
  // What is looked for, and what that may cost.
  struct Order {
    const std::vector<WantedText>& wanted;
    WorkBudget budget;
  };

  [[nodiscard]] Found findMapped(const ProcessFolder& process, Order& order, bool& isMapped);
  [[nodiscard]] Found findLikely(const ProcessFolder& process, const ProgramLanguage& language, Order& order);
  [[nodiscard]] Found find(const OpenCatalogues& open, Order& order);
  // What requests about the process may cost now. Two at a time may both spend it.
  [[nodiscard]] WorkBudget budgetOf(std::int32_t processIdentifier, std::uint64_t startTime);
  void charge(std::int32_t processIdentifier, std::uint64_t startTime, const WorkBudget& budget);
  // What the program says, and where it is silent, what the process and this program were started with.
  [[nodiscard]] ProgramLanguage languageOf(const ProcessFolder& process, const platform::TranslationRequest& request,
                                           std::uint64_t startTime, bool& isAnswered);
  // Absent: the program did not answer, now or a while ago, or was not asked yet and may not be waited for.
  [[nodiscard]] std::optional<ProgramLanguage> reportedLanguage(std::int32_t processIdentifier, std::uint64_t startTime,
                                                                bool mayWait);
  [[nodiscard]] bool mayAsk(std::int32_t processIdentifier, std::uint64_t startTime, Instant now)
      QUILLARD_REQUIRES(mutex);
  // Adds what the process had before, and keeps what it has now.
  void remember(std::int32_t processIdentifier, std::uint64_t startTime, const std::vector<WantedText>& wanted,
                Found& found);
  [[nodiscard]] KnownProcess& known(std::int32_t processIdentifier, std::uint64_t startTime) QUILLARD_REQUIRES(mutex);

  const TranslationOptions options;
  CatalogueSearch search;
  Mutex mutex;
  std::map<std::int32_t, KnownProcess> processes QUILLARD_GUARDED_BY(mutex);
  std::uint64_t uses QUILLARD_GUARDED_BY(mutex) = 0;
  Account allAccount QUILLARD_GUARDED_BY(mutex){.work = options.workOfAll, .countedAt = {}};
  // By process and start time: since when it has not told its language. Kept beside the processes, so that none is
  // asked again because others came.
  std::map<std::pair<std::int32_t, std::uint64_t>, Instant> silentSince QUILLARD_GUARDED_BY(mutex);
};

}  // namespace quillard::catalogues
