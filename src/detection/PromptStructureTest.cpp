#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "detection/PromptStructure.h"
#include "platform/linux/supplement/LinuxPromptSupplement.h"

namespace quillard {
namespace {

using Labels = std::vector<std::string>;

DialogPromptEvidence dialog(Labels labels, std::vector<std::string> lines = {"It is so."}) {
  DialogPromptEvidence evidence;
  evidence.role = "AXWindow";
  evidence.subrole = "AXDialog";
  evidence.isModal = true;
  evidence.title = "Something";
  evidence.messageLines = std::move(lines);
  evidence.buttonLabels = std::move(labels);
  return evidence;
}

DialogPromptEvidence alert(Labels labels, std::vector<std::string> lines = {"It is so."}) {
  auto evidence = dialog(std::move(labels), std::move(lines));
  evidence.structure.isAlert = true;
  return evidence;
}

DialogPromptEvidence window(Labels labels, std::vector<std::string> lines = {"It is so."}) {
  auto evidence = dialog(std::move(labels), std::move(lines));
  evidence.subrole = "AXStandardWindow";
  evidence.isModal = false;
  return evidence;
}

DialogPromptEvidence ofService(DialogPromptEvidence evidence) {
  evidence.isKnownPromptService = true;
  return evidence;
}

DialogPromptEvidence with(DialogPromptEvidence evidence, int WindowStructure::*part, int count = 1) {
  evidence.structure.*part += count;
  return evidence;
}

DialogPromptEvidence titled(DialogPromptEvidence evidence, const std::string& title) {
  evidence.title = title;
  return evidence;
}

std::string signOf(const DialogPromptEvidence& evidence) {
  return PromptStructure::judge(evidence, linuxPromptSupplement()).sign;
}

bool isPrompt(const DialogPromptEvidence& evidence) {
  const auto verdict = DialogPromptClassifier::classify(evidence, linuxPromptSupplement());
  EXPECT_EQ(verdict.accepted, !verdict.rejectionReason);
  return verdict.accepted;
}

const Labels kChoice{"Frobnicate", "Cancel"};
constexpr auto kField = &WindowStructure::textFields;
constexpr auto kSecret = &WindowStructure::secureFields;
constexpr auto kList = &WindowStructure::lists;

TEST(PromptStructure, TakesAKnownWayOutBesideSomethingToDecideForAQuestion) {
  for (const auto& labels : std::vector<Labels>{{"Frobnicate", "Cancel"},
                                                {"Cancel", "Share"},
                                                {"Deny Access", "Grant Access"},
                                                {"Skip", "Recover", "Discard", "Quit"},
                                                {"A", "B", "C", "D", "Not Now"},
                                                {"Skip", "Cancel"}}) {
    EXPECT_EQ(signOf(dialog(labels)), "question") << labels.front();
  }
}

TEST(PromptStructure, TakesAnAlertWithAChoiceForOneWhateverItSays) {
  EXPECT_EQ(signOf(alert({"Frobnicate", "Grok"})), "alert-with-a-choice");
  EXPECT_EQ(signOf(dialog({"Frobnicate", "Grok"})), "no-sign") << "no way out of it is known";
}

TEST(PromptStructure, FindsNothingToDecideWhereButtonsOnlyTakeNotice) {
  for (const auto& labels :
       std::vector<Labels>{{"OK"}, {"Close"}, {"OK", "Help"}, {"Details", "Close"}, {"Got it"}, {"Cancel"}}) {
    EXPECT_EQ(signOf(dialog(labels, {"Your password was changed."})), "nothing-to-decide") << labels.front();
    EXPECT_EQ(signOf(alert(labels, {"Are you sure?"})), "nothing-to-decide") << labels.front();
  }
}

TEST(PromptStructure, TakesASingleButtonThatDoesSomethingForAPrompt) {
  EXPECT_EQ(signOf(dialog({"Restart"})), "single-action");
  EXPECT_EQ(signOf(dialog({"Restart Now"}, {"Restart now to install the updates."})), "single-action-by-words");
  EXPECT_EQ(signOf(dialog({"Frobnicate"})), "single-button");
}

TEST(PromptStructure, TakesAFormForNone) {
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), kField)), "form-with-fields");
  EXPECT_EQ(signOf(with(alert({"OK", "Cancel"}, {"Your name?"}), kField)), "form-with-fields");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::comboBoxes)), "form-with-choices");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::adjusters)), "form-with-choices");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::radioButtons, 2)), "form-with-choices");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::checkBoxes, 3)), "form-with-choices");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), kList)), "list");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::progressBars)), "progress");
  EXPECT_EQ(signOf(dialog({"OK", "Apply", "Cancel"})), "labels-of-a-form");
  EXPECT_EQ(signOf(dialog({"< Back", "Next >", "Cancel"})), "labels-of-a-form");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::tabGroups)), "dialog-with-chrome");
  EXPECT_EQ(signOf(titled(dialog({"OK", "Cancel"}), "Configure — Kate")), "settings");
}

TEST(PromptStructure, ABoxToTickMakesNoForm) {
  EXPECT_TRUE(isPrompt(with(dialog(kChoice), &WindowStructure::checkBoxes, 2)));
  EXPECT_TRUE(isPrompt(with(dialog(kChoice), &WindowStructure::radioButtons)));
}

TEST(PromptStructure, TakesAListForPartOfAQuestionThatIsAskedInSoManyWords) {
  const std::vector<std::string> unsaved{"There are 2 documents with unsaved changes."};
  EXPECT_EQ(signOf(with(dialog({"Cancel", "Save"}, unsaved), kList)), "question");
  EXPECT_EQ(signOf(with(dialog({"Cancel", "Open"}, {"Which one?"}), kList)), "list");
  EXPECT_EQ(signOf(with(alert({"Cancel", "Unmount"}), kList)), "question");
  auto tree = with(dialog({"Discard", "Start"}, {"Start the recovery process."}), kList);
  tree.hasNavigationChrome = true;
  EXPECT_EQ(signOf(tree), "choice-by-words") << "a tree in a dialog is a list";
}

TEST(PromptStructure, TakesAConflictForAPromptAlthoughANameCanBeTyped) {
  const std::vector<std::string> conflict{"The file already exists."};
  EXPECT_EQ(signOf(with(dialog({"Rename", "Overwrite", "Cancel"}, conflict), kField)), "conflict");
  EXPECT_EQ(signOf(with(dialog({"Rename", "Overwrite", "Cancel"}, conflict), kField, 2)), "form-with-fields");
}

TEST(PromptStructure, TakesAnOfferToKeepASecretForAPrompt) {
  const auto offer = dialog({"Save", "Never"}, {"Save password for example.org?"});
  EXPECT_EQ(signOf(with(with(offer, kField), &WindowStructure::comboBoxes)), "offer-to-keep-a-secret");
  EXPECT_EQ(signOf(with(with(offer, kField, 3), &WindowStructure::comboBoxes)), "form-with-fields");
}

TEST(PromptStructure, TakesATextToReadForNoneUnlessItIsAnswered) {
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), &WindowStructure::documents)), "text-to-read");
  EXPECT_EQ(signOf(with(dialog({"Accept", "Decline"}), &WindowStructure::documents)), "question");
  EXPECT_EQ(
      signOf(with(dialog({"OK", "Cancel"}, {"Do you agree to the license agreement?"}), &WindowStructure::documents)),
      "question");
}

TEST(PromptStructure, TakesAQuestionAboutATextThatItShowsForAPrompt) {
  EXPECT_EQ(signOf(with(dialog({"Paste", "Cancel"}, {"Pasting this text may be dangerous."}), kField)), "question");
  EXPECT_EQ(signOf(with(dialog({"Paste", "Cancel"}, {"Pasting this text may be dangerous."}), kField, 2)),
            "form-with-fields");
}

TEST(PromptStructure, NeverTakesAChooserForAPrompt) {
  auto chooser = dialog({"Save", "Cancel"}, {"Do you want to replace it?"});
  chooser.structure.isChooser = true;
  EXPECT_EQ(signOf(chooser), "chooser");
  EXPECT_EQ(signOf(ofService(chooser)), "chooser");
}

TEST(PromptStructure, TakesAFieldForASecretForAPromptUnlessItIsAForm) {
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), kSecret)), "secret");
  EXPECT_EQ(signOf(with(with(dialog({"Connect", "Cancel"}), kSecret), kField, 2)), "secret") << "user and domain";
  EXPECT_EQ(signOf(with(with(dialog({"OK", "Cancel"}), kSecret), kField, 3)), "form-with-fields");
  EXPECT_EQ(signOf(with(dialog({"OK", "Cancel"}), kSecret, 2)), "form-with-fields") << "a new password is set";
  EXPECT_EQ(signOf(with(window({"OK", "Cancel"}), kSecret)), "window-for-a-secret");
  auto main = with(window({"OK", "Cancel"}), kSecret);
  main.structure.menuBars = 1;
  EXPECT_EQ(signOf(main), "window-with-chrome");
}

TEST(PromptStructure, TakesTheQuestionsOfServicesButNotTheirChoosers) {
  EXPECT_EQ(signOf(ofService(dialog({"Frobnicate", "Grok"}))), "service");
  EXPECT_EQ(signOf(ofService(with(dialog({"OK", "Cancel"}), kSecret, 2))), "service");
  EXPECT_EQ(signOf(ofService(with(dialog({"OK", "Cancel"}), kField))), "service");
  EXPECT_EQ(signOf(ofService(dialog({"Cancel"}))), "service") << "a passkey to be typed on the other device";
  EXPECT_EQ(signOf(ofService(with(dialog({"Open", "Cancel"}), kList))), "chooser-of-a-service");
  EXPECT_EQ(signOf(ofService(with(dialog({"Print", "Cancel"}), &WindowStructure::tabGroups))), "chooser-of-a-service");
  EXPECT_EQ(signOf(ofService(with(dialog({"Share", "Cancel"}, {"It wants to share your screen."}), kList))), "service");
  EXPECT_EQ(signOf(ofService(dialog({"OK"}))), "nothing-to-decide");
  EXPECT_EQ(signOf(ofService(window({"Allow", "Deny"}))), "window-of-a-service");
}

TEST(PromptStructure, WantsWordsAndButtonsOfAnOrdinaryWindow) {
  EXPECT_EQ(signOf(window({"Don't Allow", "OK"}, {"It would like to access the camera."})), "window-that-asks");
  EXPECT_EQ(signOf(window({"Not Now", "Start"}, {"Start the backup now?"})), "window-that-asks");
  EXPECT_EQ(signOf(with(window({"Not Now", "Start"}, {"Start now?"}), kList)), "ordinary-window");
  EXPECT_EQ(signOf(window({"Cancel", "Frobnicate"}, {"It would like to access the camera."})), "ordinary-window");
  EXPECT_EQ(signOf(window({"Cancel", "OK"})), "ordinary-window");
  EXPECT_EQ(signOf(window({"Cancel", "OK"}, {"Are you sure?", "1", "2", "3", "4", "5", "6", "7", "8"})),
            "window-that-asks");
  EXPECT_EQ(signOf(window({"Cancel", "OK"}, {"Are you sure?", "1", "2", "3", "4", "5", "6", "7", "8", "9"})),
            "ordinary-window")
      << "that is no prompt, but much text";
  auto chrome = window({"Cancel", "OK"}, {"Are you sure?"});
  chrome.hasNavigationChrome = true;
  EXPECT_EQ(signOf(chrome), "window-with-chrome");
  EXPECT_EQ(signOf(titled(window({"Cancel", "OK"}, {"Are you sure?"}), "Wi-Fi Settings")), "window-with-chrome");
}

TEST(PromptStructure, CountsButtonsThatDecide) {
  EXPECT_EQ(signOf(dialog({})), "no-buttons");
  EXPECT_EQ(signOf(dialog(Labels(13, "OK"))), "too-many-buttons");
  EXPECT_EQ(signOf(dialog({"Cancel", "A", "B", "C", "D", "E"})), "tool-palette");
  EXPECT_EQ(signOf(dialog({"Cancel", "A", "B", "C", "D", "Help", "Details"})), "question");
  EXPECT_EQ(signOf(dialog({"A", "B", "C", "D", "No", "Yes"})), "question") << "a known choice may show six";
}

TEST(PromptStructure, AsksAQuestionWithButtonsThatAreKnown) {
  EXPECT_EQ(signOf(dialog({"Keep", "Revert"}, {"Keep the configuration?"})), "choice-by-words");
  EXPECT_EQ(signOf(dialog({"Blue", "Green"}, {"Which one?"})), "no-sign");
}

TEST(PromptStructure, LooksForPhrasesWhereAPromptWouldSayThem) {
  const std::string document(9000, 'x');
  EXPECT_EQ(signOf(dialog({"Frobnicate", "Run"}, {"Do you want to save it?", document})), "choice-by-words");
  EXPECT_EQ(signOf(dialog({"Frobnicate", "Run"}, {document, "Do you want to save it?"})), "no-sign");
}

TEST(PromptStructure, SaysOfEachVerdictWhatDecidedAndWhatWouldHaveToBeDifferent) {
  std::set<std::string> signs;
  for (const auto& evidence : {dialog(kChoice), alert({"A", "B"}), window({"OK"}), with(dialog(kChoice), kField)}) {
    const auto all = PromptStructure::allThatFit(evidence, linuxPromptSupplement());
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all.front().sign, signOf(evidence));
    for (const auto& verdict : all) {
      EXPECT_TRUE(verdict.because.ends_with('.')) << verdict.sign;
      EXPECT_TRUE(verdict.otherwise.starts_with("It would") || verdict.sign == "no-sign") << verdict.sign;
      signs.insert(verdict.sign);
    }
  }
  EXPECT_GE(signs.size(), 5U);
}

// The rules that hold everywhere are not touched by any of this.
TEST(PromptStructure, CountsForNothingWithoutASupplement) {
  auto evidence = with(alert({"OK", "Cancel"}), kField);
  evidence.structure.isChooser = true;
  auto plain = evidence;
  plain.structure = {};
  const auto expected = DialogPromptClassifier::classify(plain);
  EXPECT_EQ(DialogPromptClassifier::classify(evidence), expected);
  EXPECT_EQ(DialogPromptClassifier::classify(evidence, {}), expected);
  EXPECT_EQ(DialogPromptClassifier::classify(evidence, linuxPromptSupplement()).score, expected.score);
}

}  // namespace
}  // namespace quillard
