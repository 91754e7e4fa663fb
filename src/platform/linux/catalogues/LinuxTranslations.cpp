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

// No label, line or prompt is larger; what lies beyond is not looked up.
constexpr std::size_t kLongestText = 1024;
constexpr std::size_t kMostTexts = 128;
constexpr std::size_t kMostProcesses = 64;
constexpr std::size_t kMostTextsOfProcess = 128;
constexpr std::chrono::seconds kSilence{10};  // After which a program that did not answer is asked again.
constexpr std::size_t kMostBytesOfProcess = 256 * std::size_t{1024};  // Of meanings.

// The texts of a request as they are looked up. A text of several lines is looked up as a whole and line by line.
class Wanted {
 public:
  explicit Wanted(const TranslationRequest& request) {
    for (const auto& label : request.labels) labelPlaces.push_back({place(label, false)});
    for (const auto& line : request.lines) linePlaces.push_back(placesOfLine(line));
  }

  [[nodiscard]] const std::vector<WantedText>& texts() const { return wanted; }

  template <class Meanings>
  [[nodiscard]] SourceTexts answer(const std::vector<Meanings>& meanings) const {
    SourceTexts texts;
    for (const auto& places : labelPlaces) texts.labels.push_back(at(places, meanings));
    for (const auto& places : linePlaces) texts.lines.push_back(at(places, meanings));
    return texts;
  }

 private:
  using Place = std::optional<std::size_t>;  // Among the wanted texts. Absent: not looked up.

  Place place(std::string_view shown, bool isLine) {
    if (shown.size() > kLongestText || wanted.size() >= kMostTexts) return std::nullopt;
    WantedText text{comparable(shown), isLine};
    if (text.text.empty()) return std::nullopt;
    const auto known = std::find(wanted.begin(), wanted.end(), text);
    if (known != wanted.end()) return static_cast<std::size_t>(known - wanted.begin());
    wanted.push_back(std::move(text));
    return wanted.size() - 1;
  }

  std::vector<Place> placesOfLine(std::string_view shown) {
    std::vector<Place> places{place(shown, true)};
    while (shown.find('\n') != std::string_view::npos) {
      places.push_back(place(shown.substr(0, shown.find('\n')), true));
      shown.remove_prefix(shown.find('\n') + 1);
      if (shown.find('\n') == std::string_view::npos) places.push_back(place(shown, true));
    }
    return places;
  }

  // Those that most messages have first.
  template <class Meanings>
  [[nodiscard]] static std::vector<SourceText> at(const std::vector<Place>& places,
                                                  const std::vector<Meanings>& meanings) {
    std::vector<SourceText> texts;
    for (const auto& place : places) {
      if (!place) continue;
      for (const auto& [source, text] : meanings[*place]) texts.push_back(text);
    }
    std::stable_sort(texts.begin(), texts.end(), [](const auto& a, const auto& b) { return a.count > b.count; });
    return texts;
  }

  std::vector<WantedText> wanted;
  std::vector<std::vector<Place>> labelPlaces;
  std::vector<std::vector<Place>> linePlaces;
};

}  // namespace

std::optional<SourceTexts> LinuxTranslations::sourceTexts(const TranslationRequest& request) {
  const Wanted wanted(request);
  const ProcessFolder process(options.processes, request.processIdentifier);
  const auto startTime = process.startTime();
  if (!startTime) {  // It has ended.
    auto nothing = wanted.answer(std::vector<Meanings>(wanted.texts().size()));
    nothing.isComplete = false;
    return nothing;
  }
  bool isMapped = false;
  Order order{wanted.texts(), budgetOf(request.processIdentifier, *startTime)};
  auto found = findMapped(process, order, isMapped);
  if (!isMapped && found.isComplete) {
    bool isAnswered = false;
    const auto language = languageOf(process, request.processIdentifier, *startTime, isAnswered);
    found = findLikely(process, language, order);
    if (!isAnswered) found.isComplete = false;
  }
  charge(request.processIdentifier, *startTime, order.budget);
  remember(request.processIdentifier, *startTime, wanted.texts(), found);
  auto texts = wanted.answer(found.meanings);
  texts.isComplete = found.isComplete;
  texts.isCutOff = found.isCutOff;
  return texts;
}

LinuxTranslations::Found LinuxTranslations::findMapped(const ProcessFolder& process, Order& order, bool& isMapped) {
  Found nothing{.meanings = std::vector<Meanings>(order.wanted.size())};
  const auto maps = process.maps();
  if (!maps.text) {
    nothing.isComplete = maps.isForbidden;  // What can never be looked at is not missing this time.
    return nothing;
  }
  const auto paths = mappedCatalogues(*maps.text);
  if (paths.empty()) return nothing;
  const auto mounts = process.mounts();
  const auto root = Folder::rootOf(process.folder());
  if (!mounts.text || !root.isOpen()) {
    nothing.isComplete = mounts.isForbidden;
    return nothing;
  }
  const auto open = openCatalogues(paths, root, LocalMounts(*mounts.text), options.protectingUser);
  isMapped = !open.catalogues.empty();
  return find(open, order);
}

LinuxTranslations::Found LinuxTranslations::findLikely(const ProcessFolder& process, const ProgramLanguage& language,
                                                       Order& order) {
  const auto& wanted = order.wanted;
  const ProgramTraits program{.name = process.shortName(), .toolkit = language.toolkit, .language = language.locale};
  const auto paths = likelyCatalogues(program, options.shareFolder);
  // On this computer, as this program sees it.
  const LocalMounts mounts(ProcessFolder::ofThisProcess(options.processes).mounts().text.value_or(""));
  auto found = find(openCatalogues(paths, Folder::systemRoot(), mounts, options.protectingUser), order);
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
  Found all{.meanings = std::vector<Meanings>(count), .isComplete = !open.couldNotLook};
  for (const auto& catalogue : open.catalogues) {
    const auto found = search.find(catalogue, order.wanted, order.budget);
    if (!found) all.isComplete = false;
    for (std::size_t i = 0; found && i < count; ++i) {
      const auto& [counts, isCutOff] = (*found)[i];
      if (isCutOff) all.isCutOff = true;
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
  if (!options.now) return WorkBudget(options.work);
  const Instant now = options.now();
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  const double earned =
      std::max(Seconds(now - process.workCountedAt).count(), 0.0) * static_cast<double>(options.workPerSecond);
  const auto missing = static_cast<double>(options.work - process.work);
  process.work = earned >= missing ? options.work : process.work + static_cast<std::size_t>(earned);
  process.workCountedAt = now;
  return WorkBudget(process.work);
}

void LinuxTranslations::charge(std::int32_t processIdentifier, std::uint64_t startTime, const WorkBudget& budget) {
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  process.work -= std::min(process.work, budget.spent());
}

std::optional<ProgramLanguage> LinuxTranslations::toldLanguage(std::int32_t processIdentifier,
                                                               std::uint64_t startTime) {
  const auto now = options.now ? std::optional(options.now()) : std::nullopt;
  {
    const MutexLock lock(mutex);
    const auto& process = known(processIdentifier, startTime);
    if (process.language) return process.language;
    if (now && process.unansweredAt && *now - *process.unansweredAt < kSilence) return std::nullopt;
  }
  auto language = options.languageOf ? options.languageOf(processIdentifier) : ProgramLanguage{};
  const MutexLock lock(mutex);
  auto& process = known(processIdentifier, startTime);
  process.language = language;
  if (!language) process.unansweredAt = now;
  return language;
}

ProgramLanguage LinuxTranslations::languageOf(const ProcessFolder& process, std::int32_t processIdentifier,
                                              std::uint64_t startTime, bool& isAnswered) {
  const auto told = toldLanguage(processIdentifier, startTime);
  isAnswered = told.has_value();
  auto language = told.value_or(ProgramLanguage{});
  if (language.locale.empty()) language.locale = process.locale();
  if (language.locale.empty()) language.locale = options.ownLocale;
  return language;
}

LinuxTranslations::KnownProcess& LinuxTranslations::known(std::int32_t processIdentifier, std::uint64_t startTime) {
  if (!processes.contains(processIdentifier) && processes.size() >= kMostProcesses) {
    processes.erase(std::min_element(processes.begin(), processes.end(),
                                     [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
  }
  const auto [place, isNew] = processes.try_emplace(processIdentifier);
  auto& process = place->second;
  if (isNew || process.startTime != startTime) {
    process = KnownProcess{.startTime = startTime, .work = options.work, .workCountedAt = Instant{}};
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
