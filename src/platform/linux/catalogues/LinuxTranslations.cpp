#include "platform/linux/catalogues/LinuxTranslations.h"

#include <algorithm>
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
  auto found = findMapped(process, wanted.texts(), isMapped);
  if (!isMapped && found.isComplete) {
    found = findLikely(process, languageOf(process, request.processIdentifier, *startTime), wanted.texts());
  }
  remember(request.processIdentifier, *startTime, wanted.texts(), found);
  auto texts = wanted.answer(found.meanings);
  texts.isComplete = found.isComplete;
  return texts;
}

LinuxTranslations::Found LinuxTranslations::findMapped(const ProcessFolder& process,
                                                       const std::vector<WantedText>& wanted, bool& isMapped) {
  Found nothing{.meanings = std::vector<Meanings>(wanted.size())};
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
  return find(open, wanted);
}

LinuxTranslations::Found LinuxTranslations::findLikely(const ProcessFolder& process, const ProgramLanguage& language,
                                                       const std::vector<WantedText>& wanted) {
  const ProgramTraits program{.name = process.shortName(), .toolkit = language.toolkit, .language = language.locale};
  const auto paths = likelyCatalogues(program, options.shareFolder);
  // On this computer, as this program sees it.
  const LocalMounts mounts(ProcessFolder::ofThisProcess(options.processes).mounts().text.value_or(""));
  auto found = find(openCatalogues(paths, Folder::systemRoot(), mounts, options.protectingUser), wanted);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i].isLine || !found.meanings[i].empty()) continue;
    for (const auto label : knownLabels(language.locale, wanted[i].text)) {
      found.meanings[i][std::string(label)] = {.text = std::string(label), .count = 1};
    }
  }
  return found;
}

LinuxTranslations::Found LinuxTranslations::find(const OpenCatalogues& open, const std::vector<WantedText>& wanted) {
  Found all{.meanings = std::vector<Meanings>(wanted.size()), .isComplete = !open.couldNotLook};
  const MutexLock lock(mutex);
  for (const auto& catalogue : open.catalogues) {
    const auto found = search.find(catalogue, wanted);
    if (!found) all.isComplete = false;
    for (std::size_t i = 0; found && i < wanted.size(); ++i) {
      for (const auto& [source, count] : (*found)[i]) {
        auto& text = all.meanings[i][source];
        text.text = source;
        text.count += count;
        if (catalogue.isProtected()) text.protectedCount += count;
      }
    }
  }
  return all;
}

ProgramLanguage LinuxTranslations::languageOf(const ProcessFolder& process, std::int32_t processIdentifier,
                                              std::uint64_t startTime) {
  {
    const MutexLock lock(mutex);
    const auto& language = known(processIdentifier, startTime).language;
    if (language) return *language;
  }
  auto language = options.languageOf ? options.languageOf(processIdentifier) : std::nullopt;
  const bool isAnswered = language.has_value();
  if (!language) language.emplace();
  if (language->locale.empty()) language->locale = process.locale();
  if (language->locale.empty()) language->locale = options.ownLocale;
  if (isAnswered) {
    const MutexLock lock(mutex);
    known(processIdentifier, startTime).language = language;
  }
  return *language;
}

LinuxTranslations::KnownProcess& LinuxTranslations::known(std::int32_t processIdentifier, std::uint64_t startTime) {
  if (!processes.contains(processIdentifier) && processes.size() >= kMostProcesses) {
    processes.erase(std::min_element(processes.begin(), processes.end(),
                                     [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; }));
  }
  auto& process = processes[processIdentifier];
  if (process.startTime != startTime) process = KnownProcess{.startTime = startTime};
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
    if (process.meanings.size() >= kMostTextsOfProcess) process.meanings.clear();
    process.meanings[key] = meanings;
  }
}

int LinuxTranslations::readCount() const {
  const MutexLock lock(mutex);
  return search.readCount();
}

}  // namespace quillard::catalogues
