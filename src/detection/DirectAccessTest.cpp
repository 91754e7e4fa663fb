#include <gtest/gtest.h>

#include "detection/DirectAccess.h"

namespace quillard {
namespace {

constexpr const char* kSecret =
    "This dialog asks for a password or keychain access. Use TeamViewer, AnyDesk, Screen Sharing, or physical access "
    "so Quillard never handles secrets. You can still deny it remotely.";
constexpr const char* kSettings =
    "Approving this requires changing macOS settings. Use TeamViewer, AnyDesk, Screen Sharing, or physical access to "
    "approve it. You can still deny it remotely.";

TEST(DirectAccess, IsRequiredWhereASecretIsAskedFor) {
  for (const auto* words : {"Enter your password.", "PASSWORD", "the Keychain", "an access\n key", "login  keychain"}) {
    EXPECT_EQ(directAccessRequiredReason("", {words}, {"OK"}), kSecret) << words;
    EXPECT_EQ(directAccessRequiredReason(words, {}, {"OK"}), kSecret) << words;
  }
}

TEST(DirectAccess, IsRequiredWhereSettingsWouldChange) {
  for (const auto* words :
       {"Open System Settings.", "Privacy & Security", "privacy and security", "Accessibility Settings"}) {
    EXPECT_EQ(directAccessRequiredReason("", {words}, {"OK"}), kSettings) << words;
  }
  for (const auto* label : {"Open System Settings", "OPEN  SETTINGS "}) {
    EXPECT_EQ(directAccessRequiredReason("", {}, {"Deny", label}), kSettings) << label;
  }
}

TEST(DirectAccess, HasASentenceForWhatCannotBeRead) {
  EXPECT_EQ(unreadableTextReason(),
            "Part of this dialog's text cannot be read, so it may ask for a password. Use TeamViewer, AnyDesk, Screen "
            "Sharing, or physical access to approve it. You can still deny it remotely.");
}

TEST(DirectAccess, NamesTheSecretWhereBothApply) {
  EXPECT_EQ(directAccessRequiredReason("System Settings", {"wants your password"}, {"Open Settings"}), kSecret);
}

TEST(DirectAccess, FindsWordsAcrossTitleAndLines) {
  EXPECT_EQ(directAccessRequiredReason("Access", {"key needed"}, {}), kSecret);
}

TEST(DirectAccess, IsNotRequiredOtherwise) {
  EXPECT_EQ(directAccessRequiredReason("Erase?", {"Are you sure?"}, {"Erase", "Settings", "Password"}), std::nullopt)
      << "labels count for opening settings only";
  EXPECT_EQ(directAccessRequiredReason("", {}, {}), std::nullopt);
}

}  // namespace
}  // namespace quillard
