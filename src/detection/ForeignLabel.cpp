#include "detection/ForeignLabel.h"

#include <algorithm>

#include "click/semantics/DialogButtonSemantics.h"
#include "foundation/ShownText.h"

namespace quillard {
namespace {

namespace semantics = DialogButtonSemantics;

using platform::SourceText;

// A meaning with fewer messages than this part of the leading one's is a chance hit.
constexpr int kSmallestPart = 4;
constexpr std::size_t kMostTextsOfLine = 8;

struct Meaning {
  const SourceText* source = nullptr;
  LabelSense sense = LabelSense::unknown;
};

bool isRefusing(LabelSense sense) { return sense == LabelSense::safeDismissal || sense == LabelSense::otherDismissal; }

bool anyOf(const std::vector<Meaning>& meanings, bool (*fits)(LabelSense)) {
  return std::any_of(meanings.begin(), meanings.end(), [&](const Meaning& meaning) { return fits(meaning.sense); });
}

// Absent among no meanings.
const Meaning* leading(const std::vector<Meaning>& meanings, bool (*fits)(LabelSense)) {
  const Meaning* found = nullptr;
  for (const auto& meaning : meanings) {
    if (fits(meaning.sense) && (!found || meaning.source->count > found->source->count)) found = &meaning;
  }
  return found;
}

// Nothing else that the rules know is called like this, and safe dismissals lead among what is protected.
bool isSafelyDismissing(const std::vector<Meaning>& meanings) {
  int safe = 0;
  int other = 0;
  for (const auto& [source, sense] : meanings) {
    if (sense == LabelSense::safeDismissal) {
      safe += source->protectedCount;
    } else if (sense == LabelSense::unknown) {
      other = std::max(other, source->protectedCount);
    } else {
      return false;
    }
  }
  return safe > other;
}

}  // namespace

LabelSense senseOf(const LabelMeaning& meaning, std::string_view label) {
  switch (meaning.kindOf(label)) {
    case LabelKind::safeDismissal:
      return LabelSense::safeDismissal;
    case LabelKind::dismissal:
      return LabelSense::otherDismissal;
    case LabelKind::action:
      return LabelSense::grant;
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
  const JudgedLabel asItStands{text::withoutMarks(shown), false};
  std::vector<Meaning> meanings;
  for (const auto& source : sources) meanings.push_back({&source, senseOf(source.text)});
  const bool isGranting = anyOf(meanings, [](LabelSense sense) { return sense == LabelSense::grant; });
  if (meanings.empty() || (isGranting && anyOf(meanings, isRefusing))) return asItStands;
  const auto* const first = leading(meanings, [](LabelSense) { return true; });
  const auto* const known = leading(meanings, [](LabelSense sense) { return sense != LabelSense::unknown; });
  const bool isChance = !known || known->source->count * kSmallestPart < first->source->count;
  if (isChance) return {first->source->text, false};
  return {known->source->text, known->sense == LabelSense::safeDismissal && isSafelyDismissing(meanings)};
}

std::string judgedLine(const std::string& shown, const std::vector<SourceText>& sources) {
  std::string judged = text::withoutMarks(shown);
  const auto count = std::min(sources.size(), kMostTextsOfLine);
  for (std::size_t i = 0; i < count; ++i) judged += " " + sources[i].text;
  return judged;
}

}  // namespace quillard
