#include <gtest/gtest.h>

#include "status/AppBrand.h"
#include "status/StatusRows.h"
#include "support/StatusConditions.h"

namespace quillard {
namespace {

using test::expectTable;
using Rows = std::vector<test::Row<StatusRowContent>>;

const Tint kGreen{AppBrand::green};
const Tint kAmber{AppBrand::amber};
const Tint kSecondary{std::nullopt};
const std::optional<ButtonContent> kNone;

std::optional<ButtonContent> button(const char* title) { return ButtonContent{.title = title, .isEnabled = true}; }

TEST(StatusRows, InstallLocationLeadsToTheFolderAndUrgesAMove) {
  expectTable<StatusRowContent>(Rows{{"I",
                                      {"folder", kGreen, "Applications Folder", "Installed",
                                       "Running from Applications.", kNone, button("Open Folder")}},
                                     {"i",
                                      {"folder", kAmber, "Applications Folder", "Move", "Move app, then reopen.",
                                       button("Move…"), button("Open Folder")}}},
                                StatusRows::installLocationRow);
}

TEST(StatusRows, AccessibilityWaitsForTheMove) {
  const std::string symbol = "accessibility";
  const std::string title = "Accessibility";
  expectTable<StatusRowContent>(
      Rows{{"i", {symbol, kSecondary, title, "Waiting", "Move app first.", kNone, kNone}},
           {"It",
            {symbol, kAmber, title, "Required", "Allow Accessibility to detect dialogs.", button("Open Settings"),
             kNone}},
           {"IT",
            {symbol, kGreen, title, "Allowed", "Can detect dialogs and press approved buttons.", kNone,
             button("Open Settings")}}},
      StatusRows::accessibilityRow);
}

TEST(StatusRows, AccessibilitySaysWhatTheNewestScanCouldNotRead) {
  using platform::DesktopReadFailure;
  const std::vector<std::pair<ScanProblem, std::string>> table{
      {{.failure = DesktopReadFailure::notPermitted}, "Accessibility does not answer. Looking again."},
      {{.failure = DesktopReadFailure::accessibilityService}, "Accessibility does not answer. Looking again."},
      {{.failure = DesktopReadFailure::applicationList}, "Cannot tell which apps run. Looking again."},
      {{.failure = DesktopReadFailure::windowServer, .unreadProgramCount = 2},
       "The display does not answer. Looking again."},
      {{.unreadProgramCount = 1}, "1 app does not answer. Its dialogs may be missed."},
      {{.unreadProgramCount = 3}, "3 apps do not answer. Their dialogs may be missed."}};
  MacStatusSnapshot snapshot{.installedInApplications = true, .accessibilityTrusted = true};
  for (const auto& [problem, detail] : table) {
    snapshot.scanProblem = problem;
    EXPECT_EQ(StatusRows::accessibilityRow(snapshot),
              (StatusRowContent{"accessibility", kAmber, "Accessibility", "Not Answering", detail, kNone,
                                button("Open Settings")}));
  }
  snapshot.accessibilityTrusted = false;
  EXPECT_EQ(StatusRows::accessibilityRow(snapshot).status, "Required") << "The permission comes first.";
}

StatusRowContent loginRow(const LoginItemStatus& status, bool isInstalled) {
  return StatusRows::loginItemRow({.installedInApplications = isInstalled, .loginItemStatus = status});
}

TEST(StatusRows, LoginItemTellsItsStatus) {
  const std::string symbol = "power";
  const std::string title = "Open at Login";
  const auto settings = button("Open Settings");
  for (const bool isInstalled : {false, true}) {
    EXPECT_EQ(
        loginRow({LoginItemState::enabled, ""}, isInstalled),
        (StatusRowContent{symbol, kGreen, title, "Enabled", "Opens automatically when you sign in.", kNone, settings}));
    EXPECT_EQ(loginRow({LoginItemState::disabled, ""}, isInstalled),
              (StatusRowContent{symbol, kAmber, title, "Off", "Enable after-reboot startup.",
                                isInstalled ? button("Enable") : kNone, settings}))
        << "what is about to be moved is not registered";
    EXPECT_EQ(loginRow({LoginItemState::requiresApproval, ""}, isInstalled),
              (StatusRowContent{symbol, kAmber, title, "Needs Approval", "Approve Quillard in Login Items.", kNone,
                                settings}));
    EXPECT_EQ(loginRow(LoginItemStatus::unavailable("The reason."), isInstalled),
              (StatusRowContent{symbol, kAmber, title, "Unavailable", "The reason.", kNone, kNone}));
  }
}

TEST(StatusRows, UpdateHasAButtonOnlyWhileAVersionIsAvailable) {
  EXPECT_EQ(StatusRows::updateRow({}),
            (StatusRowContent{"arrow.clockwise.circle", kSecondary, "Updates", "Ready", "", kNone, kNone}));
  EXPECT_EQ(StatusRows::updateRow({.updateAvailability = {true, "2.1"}}),
            (StatusRowContent{"arrow.down.circle", kAmber, "Update Available", "Version 2.1",
                              "Install when ready to relaunch.", button("Install…"), kNone}));
}

TEST(StatusRows, NotificationPauseOffersWhatUndoesItsState) {
  const auto isRow = [](const StatusRowContent& row) {
    return row.symbol + "|" + row.status + "|" + row.primaryButton->title + "|" + row.secondaryButton->title + "|" +
           (row.tint == kGreen   ? "green"
            : row.tint == kAmber ? "amber"
                                 : "secondary");
  };
  const std::string paused = "bell.slash|Paused|Resume|Options…|amber";
  const std::string on = "bell|On|Pause 2h|Options…|green";
  const std::string waiting = "bell|Waiting|Pause 2h|Options…|secondary";
  expectTable<std::string>(
      {{"X", paused},
       {"xU", paused},
       {"xuITCRP", on},
       {"xui", waiting},
       {"xuIt", waiting},
       {"xuITc", waiting},
       {"xuITCr", waiting},
       {"xuITCRp", waiting}},
      [&](const MacStatusSnapshot& snapshot) { return isRow(StatusRows::notificationPauseRow(snapshot)); });
  EXPECT_EQ(StatusRows::notificationPauseRow({}).title, "iPhone Alerts");
  EXPECT_EQ(StatusRows::notificationPauseRow({}).detail, "Move to Applications first.");
}

TEST(StatusRows, AlertsAreOnForAPhoneThatSleepsAndCanBeWoken) {
  MacStatusSnapshot snapshot{.texts = {Machine::computer, Language::english},
                             .installedInApplications = true,
                             .accessibilityTrusted = true,
                             .relayConfigured = true,
                             .relayConnected = true};
  EXPECT_EQ(StatusRows::notificationPauseRow(snapshot).status, "Waiting");
  EXPECT_EQ(StatusRows::notificationPauseRow(snapshot).detail, "Pair a phone to receive alerts.");
  snapshot.wakeablePhones = 1;
  EXPECT_EQ(StatusRows::notificationPauseRow(snapshot).status, "On");
  EXPECT_EQ(StatusRows::notificationPauseRow(snapshot).detail, "Pause while you answer prompts here.");
  snapshot.texts = {Machine::mac, Language::english};
  EXPECT_EQ(StatusRows::notificationPauseRow(snapshot).detail, "Pair an iPhone to receive alerts.");
}

TEST(StatusRows, SayWhenAPromptWaitsThatNoPhoneWasToldOf) {
  const MacStatusSnapshot snapshot{
      .installedInApplications = true, .accessibilityTrusted = true, .isNobodyReached = true};
  const auto row = StatusRows::notificationPauseRow(snapshot);
  EXPECT_EQ(row.status, "Nobody Reached");
  EXPECT_EQ(row.detail, "A prompt waits, and no phone was told: none shows its page, and none could be woken.");
  EXPECT_EQ(row.primaryButton->title, "Pause 2h");
}

TEST(StatusRows, WhatAProgramAsksStandsThereWhileItWaits) {
  EXPECT_EQ(StatusRows::questionRow({}), std::nullopt);
  MacStatusSnapshot snapshot;
  snapshot.questions = {
      {.program = "bash", .question = "Delete?\x1b", .lines = {"Asked by /bin/bash", "214\n GB"}, .labels = {"Yes"}}};
  EXPECT_EQ(StatusRows::questionRow(snapshot),
            (StatusRowContent{"exclamationmark", kAmber, "Delete??", "bash asks", "Asked by /bin/bash\n214? GB",
                              button("Answer…"), kNone}));
  snapshot.questions.push_back({.program = "job"});
  snapshot.questions[0].lines.assign(200, std::string(1000, 'x'));
  const auto row = StatusRows::questionRow(snapshot).value();
  EXPECT_EQ(row.status, "2 questions wait");
  EXPECT_LT(row.detail.size(), 2600U) << "what is long is cut";
  EXPECT_TRUE(row.detail.ends_with("\nMore of it is in: quillard answer"));
}

TEST(StatusRows, TheRelayIsNamedWithWhoNamesIt) {
  EXPECT_EQ(StatusRows::relayRow({}), std::nullopt);
  MacStatusSnapshot snapshot{.relay = RelayChoice{}};
  EXPECT_EQ(StatusRows::relayRow(snapshot),
            (StatusRowContent{"network", kAmber, "Relay", "Not Set",
                              "The relay carries prompts from this computer to your phone. Set its address to pair a "
                              "phone.",
                              button("Set Relay…"), kNone}));
  snapshot.relay = RelayChoice{"wss://relay.example/ws", RelayOrigin::user};
  EXPECT_EQ(StatusRows::relayRow(snapshot)->status, "Cannot Be Used");
  snapshot.relayConfigured = true;
  EXPECT_EQ(StatusRows::relayRow(snapshot)->status, "Not Connected");
  snapshot.relayConnected = true;
  EXPECT_EQ(StatusRows::relayRow(snapshot), (StatusRowContent{"network", kGreen, "Relay", "Connected",
                                                              "wss://relay.example/ws", kNone, button("Change…")}));
}

TEST(StatusRows, ARelayThatComesBeforeTheUsersIsNotOfferedToBeChanged) {
  for (const auto& [origin, sentence] :
       {std::pair{RelayOrigin::environment, "Named by QUILLARD_RELAY_URL in this session."},
        std::pair{RelayOrigin::bundle, "It came with Quillard."}}) {
    const auto row = StatusRows::relayRow({.relay = RelayChoice{"wss://relay.example/ws", origin}}).value();
    EXPECT_EQ(row.detail, std::string("wss://relay.example/ws\n") + sentence);
    EXPECT_EQ(row.primaryButton, std::nullopt);
    EXPECT_EQ(row.secondaryButton, std::nullopt);
  }
}

platform::UnreadableProgram unreadable(const char* name, const char* remedy, const char* entry = "") {
  return {.processIdentifier = 1, .name = name, .remedy = remedy, .startEntry = entry};
}

TEST(StatusRows, ProgramsAreNotMentionedWhileAllCanBeRead) { EXPECT_EQ(StatusRows::programsRow({}), std::nullopt); }

TEST(StatusRows, ProgramsThatCannotBeReadAreCountedAndNamedWithWhatMendsThem) {
  MacStatusSnapshot snapshot;
  snapshot.programs.unreadable = {unreadable("Chat", "Start it so.", "chat")};
  EXPECT_EQ(StatusRows::programsRow(snapshot),
            (StatusRowContent{"eye.slash", kAmber, "Programs", "1 program cannot be read",
                              "Their prompts are not seen. Chat: Start it so.", button("Make Readable…"), kNone}));
  snapshot.programs.unreadable = {unreadable("Chat", "Start it so."), unreadable("Browser", "Start it so."),
                                  unreadable("Browser", "Start it so."), unreadable("xterm", "")};
  EXPECT_EQ(
      StatusRows::programsRow(snapshot),
      (StatusRowContent{"eye.slash", kAmber, "Programs", "3 programs cannot be read",
                        "Their prompts are not seen. Browser, Chat: Start it so. Start the others anew: some look "
                        "only then whether accessibility is on.",
                        kNone, kNone}));
}

TEST(StatusRows, ProgramsThatWereMendedCanBeUndone) {
  MacStatusSnapshot snapshot;
  snapshot.programs.changed = {{"browser", "Browser"}, {"chat", "Chat"}};
  EXPECT_EQ(
      StatusRows::programsRow(snapshot),
      (StatusRowContent{"eye", kGreen, "Programs", "Readable",
                        "From the menu these start so that they can be read: Browser, Chat.", kNone, button("Undo…")}));
  snapshot.programs.problem = "It was changed since.";
  EXPECT_EQ(StatusRows::programsRow(snapshot)->detail, "It was changed since.");
}

TEST(StatusRows, SayWhatMendsProgramsInTheLanguageOfTheUser) {
  MacStatusSnapshot snapshot;
  snapshot.texts = {Machine::computer, Language::german};
  snapshot.programs.unreadable = {unreadable("Chat", "Start it with --force-renderer-accessibility."),
                                  unreadable("an unknown program", "")};
  EXPECT_EQ(StatusRows::programsRow(snapshot)->detail,
            "Ihre Rückfragen werden nicht erkannt. Chat: Starten Sie es mit --force-renderer-accessibility. Starten "
            "Sie die anderen neu: Manche prüfen nur dann, ob die Bedienungshilfen an sind.");
  snapshot.programs.unreadable = {unreadable("an unknown program", "Start it with --force-renderer-accessibility.")};
  EXPECT_EQ(StatusRows::programsRow(snapshot)->detail,
            "Ihre Rückfragen werden nicht erkannt. ein unbekanntes Programm: Starten Sie es mit "
            "--force-renderer-accessibility.");
  snapshot.programs.problem = "There is no entry chat in the menu.";
  EXPECT_EQ(StatusRows::programsRow(snapshot)->detail, "Im Menü gibt es keinen Eintrag chat.");
}

TEST(StatusRows, NamesOfProgramsStayInOneLine) {
  MacStatusSnapshot snapshot;
  snapshot.programs.unreadable = {unreadable("A\nB\x1B[31m", "Start it so.")};
  const auto detail = StatusRows::programsRow(snapshot)->detail;
  EXPECT_EQ(detail.find_first_of("\n\x1B"), std::string::npos) << detail;
}

TEST(StatusRows, SayWhatIsMutedOnlyWhileSomethingIs) {
  MacStatusSnapshot snapshot;
  EXPECT_EQ(StatusRows::mutedRow(snapshot), std::nullopt);
  snapshot.muted = {{.program = "Installer", .title = "Install?", .remaining = Seconds{7 * 86400.0}}};
  const auto row = StatusRows::mutedRow(snapshot).value();
  EXPECT_EQ(row.status, "1 Kind");
  EXPECT_EQ(row.detail, "They wait here, and are not sent to phones: Installer: Install? (7 days).");
  EXPECT_EQ(row.primaryButton->title, "Undo…");
  EXPECT_EQ(row.secondaryButton->title, "How Long…");
  snapshot.muted.push_back({.program = "", .title = "\u202ex"});
  EXPECT_EQ(StatusRows::mutedRow(snapshot)->status, "2 Kinds");
  EXPECT_TRUE(StatusRows::mutedName(snapshot.muted[1]).starts_with("?: ")) << "Nothing moves other text about.";
}

TEST(StatusRows, RoundWhatIsLeftOfAMuteUp) {
  const auto name = [](double seconds) {
    return StatusRows::mutedName({.program = "A", .title = "B", .remaining = Seconds{seconds}});
  };
  EXPECT_EQ(name(86401), "A: B (2 days)");
  EXPECT_EQ(name(86400), "A: B (24 hours)");
  EXPECT_EQ(name(61), "A: B (2 minutes)");
  EXPECT_EQ(name(60), "A: B (1 minute)");
  EXPECT_EQ(name(0), "A: B (1 minute)");
}

}  // namespace
}  // namespace quillard
