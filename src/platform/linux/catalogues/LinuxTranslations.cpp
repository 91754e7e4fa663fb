#include "platform/linux/catalogues/LinuxTranslations.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "platform/linux/catalogues/ComparableText.h"
#include "platform/linux/catalogues/KnownLabels.h"
#include "platform/linux/catalogues/LikelyCatalogues.h"
#include "platform/linux/catalogues/LocalMounts.h"
#include "platform/linux/catalogues/MappedCatalogues.h"

namespace quillard::catalogues {

using platform::SourceText;
using platform::SourceTexts;
using platform::TranslationRequest;

namespace {

// Hardly a label, line or prompt is larger; what lies beyond is not looked up, and the answer says so.
constexpr std::size_t kLongestText = 1024;
constexpr std::size_t kMostTexts = 128;
constexpr std::size_t kMostProcesses = 64;
constexpr std::size_t kMostTextsOfProcess = 128;
constexpr std::size_t kMostSilent = 1024;     // Of processes that did not answer.
constexpr std::chrono::seconds kSilence{10};  // After which a program that did not answer is asked again.
constexpr std::size_t kMostBytesOfProcess = 256 * std::size_t{1024};  // Of meanings.

// Numbers and signs alone mean nothing, and are in every catalogue.
bool mayBeTranslated(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte >= 0x80;
  });
}

// The texts of a request as they are looked up. A text of several lines is looked up as a whole and line by line.
class Wanted {
 public:
  explicit Wanted(const TranslationRequest& request) {
    for (const auto& label : request.labels) {
      labelPlaces.emplace_back();
      place(label, false, labelPlaces.back());
    }
    for (const auto& line : request.lines) linePlaces.push_back(placesOfLine(line));
  }

  [[nodiscard]] const std::vector<WantedText>& texts() const { return wanted; }

  // `cutOff`: of each wanted text, whether it may mean more than is in `meanings`.
  template <class Meanings>
  [[nodiscard]] SourceTexts answer(const std::vector<Meanings>& meanings, const std::vector<bool>& cutOff) const {
    SourceTexts texts;
    for (const auto& places : labelPlaces) {
      texts.labels.push_back(at(places, meanings));
      texts.areLabelsCutOff.push_back(isCutOff(places, cutOff));
      if (texts.areLabelsCutOff.back()) texts.isCutOff = true;
    }
    for (const auto& places : linePlaces) {
      texts.lines.push_back(at(places, meanings));
      if (isCutOff(places, cutOff)) texts.isCutOff = true;
    }
    return texts;
  }

 private:
  // Where the parts of one text are among the wanted ones.
  struct Places {
    std::vector<std::size_t> indices;
    bool isCutOff = false;  // Some part is not looked up.
  };

  void place(std::string_view shown, bool isLine, Places& places) {
    if (shown.size() > kLongestText) {
      places.isCutOff = true;
      return;
    }
    WantedText text{comparable(shown), isLine};
    if (isLine) text.text = mayBeTranslated(text.text) ? withoutNumbers(text.text) : "";
    if (text.text.empty()) return;
    const auto known = std::find(wanted.begin(), wanted.end(), text);
    if (known == wanted.end() && wanted.size() >= kMostTexts) {
      places.isCutOff = true;
      return;
    }
    places.indices.push_back(static_cast<std::size_t>(known - wanted.begin()));
    if (known == wanted.end()) wanted.push_back(std::move(text));
  }

  Places placesOfLine(std::string_view shown) {
    Places places;
    place(shown, true, places);
    while (shown.find('\n') != std::string_view::npos) {
      place(shown.substr(0, shown.find('\n')), true, places);
      shown.remove_prefix(shown.find('\n') + 1);
      if (shown.find('\n') == std::string_view::npos) place(shown, true, places);
    }
    return places;
  }

  [[nodiscard]] static bool isCutOff(const Places& places, const std::vector<bool>& cutOff) {
    return places.isCutOff ||
           std::any_of(places.indices.begin(), places.indices.end(), [&](std::size_t index) { return cutOff[index]; });
  }

  // Those that most messages have first.
  template <class Meanings>
  [[nodiscard]] static std::vector<SourceText> at(const Places& places, const std::vector<Meanings>& meanings) {
    std::vector<SourceText> texts;
    for (const auto index : places.indices) {
      for (const auto& [source, text] : meanings[index]) texts.push_back(text);
    }
    std::stable_sort(texts.begin(), texts.end(), [](const auto& a, const auto& b) { return a.count > b.count; });
    return texts;
  }

  std::vector<WantedText> wanted;
  std::vector<Places> labelPlaces;
  std::vector<Places> linePlaces;
};

}  // namespace

std::optional<SourceTexts> LinuxTranslations::sourceTexts(const TranslationRequest& request) {
  const Wanted wanted(request);
  const ProcessFolder process(options.processes, request.processIdentifier);
  const auto startTime = process.startTime();
  if (!startTime) {  // It has ended.
    const std::size_t count = wanted.texts().size();
    auto nothing = wanted.answer(std::vector<Meanings>(count), std::vector<bool>(count));
    nothing.isComplete = false;
    return nothing;
  }
  bool isMapped = false;
  const bool isFromMemory = request.lookup == platform::TranslationLookup::fromMemory;
  const auto budget = isFromMemory ? WorkBudget(0, options.work) : budgetOf(request.processIdentifier, *startTime);
  Order order{wanted.texts(), budget};
  auto found = findMapped(process, order, isMapped);
  if (!isMapped && found.isComplete) {
    bool isAnswered = false;
    const auto language = languageOf(process, request, *startTime, isAnswered);
    auto likely = findLikely(process, language, order);
    if (found.isAllCutOff) likely.cutOffAll();
    found = std::move(likely);
    if (!isAnswered) found.isComplete = false;
  }
  charge(request.processIdentifier, *startTime, order.budget);
  remember(request.processIdentifier, *startTime, wanted.texts(), found);
  auto texts = wanted.answer(found.meanings, found.cutOff);
  texts.isComplete = found.isComplete;
  return texts;
}

LinuxTranslations::Found LinuxTranslations::findMapped(const ProcessFolder& process, Order& order, bool& isMapped) {
  Found nothing(order.wanted.size());
  const auto maps = process.maps();
  if (!maps.text) {
    nothing.isComplete = maps.isForbidden;  // What can never be looked at is not missing this time.
    return nothing;
  }
  const auto mapped = mappedCatalogues(*maps.text);
  const bool isCutOff = maps.isCutOff || mapped.isCutOff;
  if (mapped.paths.empty()) {
    if (isCutOff) nothing.cutOffAll();
    return nothing;
  }
  const auto mounts = process.mounts();
  const auto root = Folder::rootOf(process.folder());
  if (!mounts.text || !root.isOpen()) {
    nothing.isComplete = mounts.isForbidden;
    return nothing;
  }
  const LocalMounts localMounts(*mounts.text, root.isOnDisk());
  const auto open = openCatalogues(mapped.paths, root, localMounts, options.protectingUser);
  isMapped = !open.catalogues.empty();
  auto found = find(open, order);
  if (isCutOff) found.cutOffAll();
  return found;
}

LinuxTranslations::Found LinuxTranslations::findLikely(const ProcessFolder& process, const ProgramLanguage& language,
                                                       Order& order) {
  const auto& wanted = order.wanted;
  const ProgramTraits program{.name = process.shortName(), .toolkit = language.toolkit, .language = language.locale};
  const auto paths = likelyCatalogues(program, options.shareFolder);
  // On this computer, as this program sees it.
  const auto root = Folder::systemRoot();
  const LocalMounts mounts(ProcessFolder::ofThisProcess(options.processes).mounts().text.value_or(""), root.isOnDisk());
  auto found = find(openCatalogues(paths, root, mounts, options.protectingUser), order);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i].isLine || !found.meanings[i].empty()) continue;
    for (const auto label : knownLabels(language.locale, wanted[i].text)) {
      found.meanings[i][std::string(label)] = {.text = std::string(label), .count = 1};
    }
  }
  return found;
}

LinuxTranslations::Found LinuxTranslations::find(const OpenCatalogues& open, Order& order) {
  const std::size_t count = order.wanted.size();
  Found all(count);
  all.isComplete = !open.couldNotLook;
  if (open.isCutOff) all.cutOffAll();
  for (const auto& catalogue : open.catalogues) {
    const auto found = search.find(catalogue, order.wanted, order.budget);
    if (!found) all.isComplete = false;
    for (std::size_t i = 0; found && i < count; ++i) {
      const auto& [counts, isCutOff] = (*found)[i];
      if (isCutOff) all.cutOff[i] = true;
      for (const auto& [source, messages] : counts) {
        auto& text = all.meanings[i][source];
        text.text = source;
        text.count += messages;
        if (catalogue.isProtected()) text.protectedCount += messages;
      }
    }
  }
  return all;
}

WorkBudget LinuxTranslations::budgetOf(std::int32_t processIdentifier, std::uint64_t startTime) {
  if (!options.now) return {options.work, options.work};
  const Instant now = options.now();
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  process.account.earn(now, options.work, options.workPerSecond);
  allAccount.earn(now, options.workOfAll, options.workOfAllPerSecond);
  return {std::min(process.account.work, allAccount.work), std::min(options.work, options.workOfAll)};
}

void LinuxTranslations::Account::earn(Instant now, std::size_t most, std::size_t perSecond) {
  const double earned = std::max(Seconds(now - countedAt).count(), 0.0) * static_cast<double>(perSecond);
  const auto missing = static_cast<double>(most - std::min(most, work));
  work = earned >= missing ? most : work + static_cast<std::size_t>(earned);
  countedAt = now;
}

void LinuxTranslations::charge(std::int32_t processIdentifier, std::uint64_t startTime, const WorkBudget& budget) {
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  process.account.spend(budget.spent());
  allAccount.spend(budget.spent());
}

std::optional<ProgramLanguage> LinuxTranslations::reportedLanguage(std::int32_t processIdentifier,
                                                                   std::uint64_t startTime, bool mayWait) {
  const auto now = options.now ? std::optional(options.now()) : std::nullopt;
  {
    const MutexLock lock(mutex);
    const auto& process = known(processIdentifier, startTime);
    if (process.language || !mayWait) return process.language;
    if (now && !mayAsk(processIdentifier, startTime, *now)) return std::nullopt;
  }
  auto language = options.languageOf ? options.languageOf(processIdentifier) : ProgramLanguage{};
  const MutexLock lock(mutex);
  known(processIdentifier, startTime).language = language;
  if (!language && now) silentSince[{processIdentifier, startTime}] = *now;
  return language;
}

bool LinuxTranslations::mayAsk(std::int32_t processIdentifier, std::uint64_t startTime, Instant now) {
  std::erase_if(silentSince, [&](const auto& silent) { return now - silent.second >= kSilence; });
  return silentSince.size() < kMostSilent && !silentSince.contains({processIdentifier, startTime});
}

ProgramLanguage LinuxTranslations::languageOf(const ProcessFolder& process, const TranslationRequest& request,
                                              std::uint64_t startTime, bool& isAnswered) {
  const bool mayWait = request.lookup != platform::TranslationLookup::fromMemory;
  const auto reported = reportedLanguage(request.processIdentifier, startTime, mayWait);
  isAnswered = reported.has_value();
  auto language = reported.value_or(ProgramLanguage{});
  if (language.locale.empty()) language.locale = process.locale();
  if (language.locale.empty()) language.locale = options.ownLocale;
  return language;
}

LinuxTranslations::KnownProcess& LinuxTranslations::known(std::int32_t processIdentifier, std::uint64_t startTime) {
  const bool isFull = !processes.contains(processIdentifier) && processes.size() >= kMostProcesses;
  if (isFull) {
    processes.erase(std::min_element(processes.begin(), processes.end(),
                                     [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
  }
  const auto [place, isNew] = processes.try_emplace(processIdentifier);
  auto& process = place->second;
  if (isNew || process.startTime != startTime) {
    // One that was forgotten for others would else have all of its work again each time.
    process = KnownProcess{
        .startTime = startTime,
        .account = {.work = isFull ? 0 : options.work, .countedAt = options.now ? options.now() : Instant{}}};
  }
  process.lastUse = ++uses;
  return process;
}

void LinuxTranslations::remember(std::int32_t processIdentifier, std::uint64_t startTime,
                                 const std::vector<WantedText>& wanted, Found& found) {
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    auto& meanings = found.meanings[i];
    const std::string key = (wanted[i].isLine ? "l" : "b") + wanted[i].text;
    if (const auto before = process.meanings.find(key); before != process.meanings.end()) {
      for (const auto& [source, text] : before->second) meanings.emplace(source, text);
    }
    if (meanings.empty()) continue;
    if (process.meanings.size() >= kMostTextsOfProcess || process.bytes >= kMostBytesOfProcess) {
      process.meanings.clear();
      process.bytes = 0;
    }
    process.meanings[key] = meanings;
    for (const auto& [source, text] : meanings) process.bytes += 2 * source.size();
  }
}

}  // namespace quillard::catalogues
