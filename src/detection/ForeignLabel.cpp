#include "detection/ForeignLabel.h"

#include <algorithm>
#include <utility>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/ShownText.h"
#include "foundation/Text.h"

namespace quillard {
namespace {

namespace semantics = DialogButtonSemantics;

using platform::SourceText;

// A meaning with fewer messages than this part of the leading one's is a chance hit.
constexpr int kSmallestPart = 4;
// Of a line.
constexpr std::size_t kMostProtectedTexts = 64;
constexpr std::size_t kMostOtherTexts = 8;

struct Meaning {
  const SourceText* source = nullptr;
  LabelSense sense = LabelSense::unknown;
};

// An Undo takes back and grants nothing, and is one word with Cancel in French and others: it speaks neither for nor
// against a refusal.
bool isUndo(std::string_view text) { return text::normalized(text) == "undo"; }

// Other programs call a Cancel like one of these, and none of them grants anything.
bool grantsNothing(std::string_view label) {
  const auto plain = LabelMeaning::comparable(label);
  return plain == "stop" || plain == "print" || plain == "undo";
}

bool isRefusing(LabelSense sense) { return sense == LabelSense::safeDismissal || sense == LabelSense::otherDismissal; }

bool anyOf(const std::vector<Meaning>& meanings, bool (*fits)(LabelSense)) {
  return std::any_of(meanings.begin(), meanings.end(), [&](const Meaning& meaning) { return fits(meaning.sense); });
}

// How much a press may do.
int reachOf(LabelSense sense) {
  switch (sense) {
    case LabelSense::grant:
      return 5;
    case LabelSense::action:
      return 4;
    case LabelSense::otherDismissal:
      return 3;
    case LabelSense::unknown:
      return 2;
    case LabelSense::neutral:
      return 1;
    case LabelSense::safeDismissal:
      break;
  }
  return 0;
}

// Absent among no meanings.
const Meaning* leading(const std::vector<Meaning>& meanings, bool (*fits)(LabelSense)) {
  const auto rank = [](const Meaning& meaning) { return std::pair{meaning.source->count, reachOf(meaning.sense)}; };
  const Meaning* found = nullptr;
  for (const auto& meaning : meanings) {
    if (fits(meaning.sense) && (!found || rank(meaning) > rank(*found))) found = &meaning;
  }
  return found;
}

// Nothing that grants is called like this, and most of what is protected are safe dismissals.
bool isSafelyDismissing(const std::vector<Meaning>& meanings) {
  int safe = 0;
  int other = 0;
  for (const auto& [source, sense] : meanings) {
    if (sense == LabelSense::grant) return false;
    (sense == LabelSense::safeDismissal ? safe : other) += source->protectedCount;
  }
  return safe > other;
}

std::string textsBeside(const Meaning& chosen, const std::vector<Meaning>& meanings) {
  std::string texts;
  for (const auto& meaning : meanings) {
    if (meaning.source == chosen.source) continue;
    texts += (texts.empty() ? "" : " ") + meaning.source->text;
  }
  return texts;
}

// Without an Undo beside others.
std::vector<Meaning> meaningsOf(const std::vector<SourceText>& sources, const LabelSenseOf& senseOf) {
  std::vector<Meaning> meanings;
  for (const auto& source : sources) meanings.push_back({&source, senseOf(source.text)});
  const auto isOnlyUndo = [](const Meaning& meaning) { return isUndo(meaning.source->text); };
  if (!std::all_of(meanings.begin(), meanings.end(), isOnlyUndo)) std::erase_if(meanings, isOnlyUndo);
  return meanings;
}

// Without chance hits, but for those that grant: these count however few they are.
std::vector<Meaning> withoutChanceHits(std::vector<Meaning> meanings) {
  const auto* const first = leading(meanings, [](LabelSense) { return true; });
  const int most = first ? first->source->count : 0;
  std::erase_if(meanings, [&](const Meaning& meaning) {
    return meaning.sense != LabelSense::grant && meaning.source->count * kSmallestPart < most;
  });
  return meanings;
}

JudgedLabel judgedByAll(std::string_view shown, const std::vector<SourceText>& sources, const LabelSenseOf& senseOf) {
  const JudgedLabel asItStands{.text = text::withoutMarks(shown)};
  const auto all = meaningsOf(sources, senseOf);
  const auto meanings = withoutChanceHits(all);
  const bool does =
      anyOf(meanings, [](LabelSense sense) { return sense == LabelSense::grant || sense == LabelSense::action; });
  const auto* const first = leading(meanings, [](LabelSense) { return true; });
  if (!first || (does && anyOf(meanings, isRefusing))) return asItStands;
  const auto* const known = leading(meanings, [](LabelSense sense) { return sense != LabelSense::unknown; });
  const bool isChance = !known || known->source->count * kSmallestPart < first->source->count;
  const auto& chosen = isChance ? *first : *known;
  return {.text = chosen.source->text,
          .isSafeDismissal = chosen.sense == LabelSense::safeDismissal && isSafelyDismissing(all),
          .alsoMeans = textsBeside(chosen, meanings)};
}

// What no program of the user can write.
std::vector<SourceText> protectedOnes(std::vector<SourceText> sources) {
  for (auto& source : sources) source.count = source.protectedCount;
  std::erase_if(sources, [](const SourceText& source) { return source.count == 0; });
  return sources;
}

}  // namespace

LabelSense senseOf(const LabelMeaning& meaning, std::string_view label) {
  switch (meaning.kindOf(label)) {
    case LabelKind::safeDismissal:
      return LabelSense::safeDismissal;
    case LabelKind::dismissal:
      return LabelSense::otherDismissal;
    case LabelKind::action:
      return grantsNothing(label) ? LabelSense::action : LabelSense::grant;
    case LabelKind::acknowledgement:
      return semantics::isConfirmAction(label) ? LabelSense::grant : LabelSense::neutral;
    case LabelKind::form:
    case LabelKind::aside:
      return LabelSense::neutral;
    case LabelKind::unknown:
      break;
  }
  return LabelSense::unknown;
}

JudgedLabel judgedLabel(std::string_view shown, const std::vector<SourceText>& sources, const LabelSenseOf& senseOf) {
  auto judged = judgedByAll(shown, sources, senseOf);
  judged.isSafeDismissal =
      judged.isSafeDismissal && judgedByAll(shown, protectedOnes(sources), senseOf).isSafeDismissal;
  return judged;
}

JudgedLine judgedLine(const std::string& shown, const std::vector<SourceText>& sources) {
  JudgedLine judged{.text = text::withoutMarks(shown)};
  for (const bool isProtected : {true, false}) {
    std::size_t left = isProtected ? kMostProtectedTexts : kMostOtherTexts;
    for (const auto& source : sources) {
      if ((source.protectedCount > 0) != isProtected) continue;
      if (left == 0) {
        judged.isWhole = false;
        break;
      }
      judged.text += " " + source.text;
      --left;
    }
  }
  return judged;
}

}  // namespace quillard
