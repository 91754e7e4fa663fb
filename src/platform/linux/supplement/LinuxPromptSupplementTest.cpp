#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "click/semantics/DialogButtonSemantics.h"
#include "detection/LabelMeaning.h"
#include "foundation/Text.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

namespace quillard {
namespace {

using platform::SupplementList;

struct NamedList {
  std::string name;
  SupplementList list;
};

std::vector<NamedList> allLists() {
  const auto& all = linuxPromptSupplement();
  return {{"services", all.promptServices}, {"phrases", all.phrases},
          {"questions", all.questions},     {"secrets", all.secretPhrases},
          {"hazards", all.hazards},         {"settings", all.settingsTitles},
          {"safe", all.safeDismissals},     {"dismissals", all.dismissals},
          {"actions", all.actions},         {"acknowledgements", all.acknowledgements},
          {"asides", all.asides},           {"form labels", all.formLabels}};
}

template <class Visit>
void forEachText(SupplementList list, Visit visit) {
  (void)platform::anyTextOf(list, [&](std::string_view text) {
    visit(text);
    return false;
  });
}

TEST(LinuxPromptSupplement, GivesAReasonForEachGroupAndListsEachTextOnce) {
  for (const auto& each : allLists()) {
    const auto& name = each.name;
    const auto& list = each.list;
    ASSERT_FALSE(list.empty()) << name;
    for (const auto& group : list) EXPECT_TRUE(group.reason.ends_with('.')) << name << ": " << group.texts;
    std::set<std::string> known;
    forEachText(list, [&](std::string_view text) {
      EXPECT_TRUE(known.emplace(text).second) << name << " lists twice: " << text;
      EXPECT_EQ(text::normalized(text), text) << name << ": it would never be found";
      EXPECT_EQ(text.find("’"), std::string_view::npos) << "labels are compared with straight apostrophes";
    });
  }
}

TEST(LinuxPromptSupplement, HasOneMeaningForEachLabel) {
  std::set<std::string> known;
  const auto& all = linuxPromptSupplement();
  for (const auto list :
       {all.safeDismissals, all.dismissals, all.actions, all.acknowledgements, all.asides, all.formLabels}) {
    forEachText(list, [&](std::string_view text) { EXPECT_TRUE(known.emplace(text).second) << text; });
  }
}

// What may be pressed from afar on any prompt must not go along with anything, end anything or throw anything away.
TEST(LinuxPromptSupplement, CallsNothingSafeThatGrantsOrDestroys) {
  const LabelMeaning meaning{linuxPromptSupplement()};
  for (const std::string label :
       {"OK", "Yes", "Allow", "Always Allow", "Grant Access", "Share", "Trust", "Delete", "Remove", "Discard",
        "Don't Save", "Close without Saving", "Abort", "Ignore", "Quit", "Close", "Leave",
        // "This file may harm your computer", "The file system is damaged".
        "Keep File", "Keep Running", "Keep Open", "Log Out", "Unlock", "Skip", "Later", "Revert", "Stop", "End",
        "Enable Macros", "Yes, Delete", "No, delete it", "No encryption", "Don't Ask Again", "Never ask again",
        "Continue", "Retry", "Wait", "Dismiss", "Nein", ""}) {
    EXPECT_FALSE(meaning.isSafeDismissal(label)) << label;
  }
  for (const std::string label :
       {"Cancel", "CANCEL", "Deny Access", "Block", "Always Block", "Never allow", "Reject", "Not Now", "No",
        "Don’t Allow", "Disable Macros", "Keep Editing…", "Remind Me Later", "No Thanks"}) {
    EXPECT_TRUE(meaning.isSafeDismissal(label)) << label;
  }
}

TEST(LinuxPromptSupplement, ReadsLabelsAsTheirKind) {
  const LabelMeaning meaning{linuxPromptSupplement()};
  const std::vector<std::pair<std::string, LabelKind>> labels{{"Close Window", LabelKind::action},
                                                              {"Close", LabelKind::acknowledgement},
                                                              {"OK", LabelKind::acknowledgement},
                                                              {"I Agree", LabelKind::action},
                                                              {"Next >", LabelKind::form},
                                                              {"< Back", LabelKind::form},
                                                              {"Browse…", LabelKind::form},
                                                              {"Apply", LabelKind::form},
                                                              {"Help", LabelKind::aside},
                                                              {"Show Details", LabelKind::aside},
                                                              {"Skip", LabelKind::dismissal},
                                                              {"Don't Save", LabelKind::action},
                                                              {"Don’t Recover", LabelKind::dismissal},
                                                              {"Share", LabelKind::action},
                                                              {"Frobnicate", LabelKind::unknown},
                                                              {"Startle", LabelKind::unknown},
                                                              {"Abbrechen", LabelKind::unknown},
                                                              {"Enable Macros", LabelKind::action},
                                                              {"Move to Trash", LabelKind::action},
                                                              {"Yes, Replace", LabelKind::action},
                                                              {"Allow this time", LabelKind::action}};
  for (const auto& [label, kind] : labels) EXPECT_EQ(meaning.kindOf(label), kind) << label;
}

// Everything that the rules recommend anywhere, and that grants for good or where something is at stake.
TEST(LinuxPromptSupplement, KnowsTheHazardsWhereNothingIsRecommended) {
  const auto says = [](std::string_view text) {
    return saysOneOf(text::normalized(text), linuxPromptSupplement().hazards);
  };
  for (const std::string text :
       {"Always allow", "Unknown host key", "Are you sure you want to delete it?", "Remove 3 files?",
        "Discard changes?", "The file will be overwritten.", "This cannot be undone.", "Format the disk?",
        "Shut down now?", "Trust this computer?", "A user is trying to remotely view or control your desktop.",
        "example.org wants to know your location", "Allow it to send notifications?", "The certificate is not valid.",
        "Remember this decision", "Enable macros?"}) {
    EXPECT_TRUE(says(text)) << text;
  }
  for (const std::string text : {"Turn on the camera?", "It would like to access the camera.", "Let the example film?",
                                 "Start the backup now?", "Closed captions", "Information"}) {
    EXPECT_FALSE(says(text)) << text;
  }
}

}  // namespace
}  // namespace quillard
