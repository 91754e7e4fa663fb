#pragma once

#include <string>
#include <vector>

#include "detection/DialogPromptClassifier.h"
#include "platform/desktop/PromptSupplement.h"

namespace quillard {

// Judges a window by what it is made of before it is judged by its words: a way out beside something to decide, and
// nothing that has to be filled in, is a question whatever its labels say. For desktops whose programs have no common
// words (`PromptSupplement::judgesByStructure`).
//
// The rules stand in one table, and the first that fits decides. What speaks against a prompt comes first, each with
// the signs of a prompt that are stronger than it. So a window that is not understood ends as none, or as one that can
// only be denied from afar (`PromptJudge`). A pure function; any thread.
namespace PromptStructure {

struct Verdict {
  bool isPrompt = false;
  std::string sign;       // The rule's name, the same for ever: for tables and tests.
  std::string because;    // A sentence: what decided.
  std::string otherwise;  // A sentence: what would have to be different.
};

[[nodiscard]] Verdict judge(const DialogPromptEvidence& evidence, const platform::PromptSupplement& supplement);

// All rules that fit, the deciding one first: what else would have spoken for or against it.
[[nodiscard]] std::vector<Verdict> allThatFit(const DialogPromptEvidence& evidence,
                                              const platform::PromptSupplement& supplement);

}  // namespace PromptStructure

}  // namespace quillard
