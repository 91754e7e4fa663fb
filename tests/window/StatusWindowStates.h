#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "relay/QRCodeRenderer.h"
#include "status/MacStatusSnapshot.h"
#include "status/StatusTexts.h"
#include "status/StatusWindowContents.h"
#include "status/view/StatusWindowView.h"

namespace quillard::test {

struct StatusWindowState {
  std::string name;
  MacStatusSnapshot snapshot;
  StatusWindowContent content;
};

// As long as a real pairing code's text.
inline const LazyBitmap& sampleCode() {
  static const std::string text = R"({"type":"sample","version":1,"address":"https:\/\/relay.example.org",)" +
                                  std::string(R"("filler":")") + std::string(190, 'x') + R"("})";
  static const LazyBitmap code{
      [] { return QRCodeRenderer::image(std::vector<std::uint8_t>(text.begin(), text.end()), 1).value(); }, 10};
  return code;
}

inline MacStatusSnapshot pairedSnapshot(const std::string& phone = "Ann's iPhone") {
  MacStatusSnapshot snapshot{.installedInApplications = true,
                             .accessibilityTrusted = true,
                             .loginItemStatus = {.state = LoginItemState::enabled, .reason = {}},
                             .relayConfigured = true,
                             .relayConnected = true,
                             .phoneConnected = true,
                             .phoneCount = 1};
  snapshot.connectedPhones = {{.deviceID = "1", .deviceName = phone, .platform = {}, .connected = true}};
  snapshot.pairingImage = sampleCode();
  return snapshot;
}

inline MacStatusSnapshot unpairedSnapshot() {
  auto snapshot = pairedSnapshot();
  snapshot.phoneConnected = false;
  snapshot.phoneCount = 0;
  snapshot.connectedPhones.clear();
  return snapshot;
}

inline StatusWindowState state(std::string name, MacStatusSnapshot snapshot) {
  if (!snapshot.accessibilityTrusted) snapshot.pairingImage.reset();
  snapshot.pairingCaption = snapshot.pairingRevoked
                                ? StatusTexts::revokedPairingCaption(false, snapshot.texts)
                                : StatusTexts::pairingCaption(snapshot.accessibilityTrusted,
                                                              snapshot.pairingImage.has_value(), snapshot.texts);
  auto content = statusWindowContent(snapshot);
  return {.name = std::move(name), .snapshot = std::move(snapshot), .content = std::move(content)};
}

// A computer that is no Mac names its relay, and where the phone's page is.
inline void putOnComputer(MacStatusSnapshot& snapshot, Language language) {
  static const std::string address = "https://relay.example";
  static const Bitmap code =
      QRCodeRenderer::image(std::vector<std::uint8_t>(address.begin(), address.end()), 4).value();
  snapshot.texts = {Machine::computer, language};
  if (!snapshot.relay) snapshot.relay = RelayChoice{"wss://relay.example/ws", RelayOrigin::user};
  if (!snapshot.relayConfigured) snapshot.relay = RelayChoice{};
  snapshot.pageAddress = address;
  snapshot.pageImage = code;
}

// What people meet, in the order in which they meet it.
inline std::vector<StatusWindowState> statusWindowStates() {
  auto notInstalled = unpairedSnapshot();
  notInstalled.installedInApplications = notInstalled.accessibilityTrusted = notInstalled.relayConnected = false;
  notInstalled.loginItemStatus.state = LoginItemState::disabled;
  auto untrusted = unpairedSnapshot();
  untrusted.accessibilityTrusted = false;
  untrusted.loginItemStatus.state = LoginItemState::requiresApproval;
  auto connecting = unpairedSnapshot();
  connecting.relayConnected = false;
  auto revoked = connecting;
  revoked.pairingRevoked = true;
  revoked.pairingImage.reset();
  auto unconfigured = connecting;
  unconfigured.relayConfigured = false;
  unconfigured.pairingImage.reset();
  unconfigured.loginItemStatus =
      LoginItemStatus::unavailable(catalogued("macOS returned an unknown Login Items status."));
  auto paused = pairedSnapshot();
  paused.notificationPause.pausesIndefinitely = true;
  auto update = pairedSnapshot();
  update.updateAvailability = {.isUpdateAvailable = true, .displayVersion = "2.1"};
  auto phones = pairedSnapshot();
  phones.isPairingCodeUsed = phones.canPairAnother = true;
  phones.phones = {
      {.pairing = 1, .name = "Ann's iPhone", .sinceSeconds = Seconds{5e6}, .decisions = 12, .isConnected = true},
      {.pairing = 2, .name = "Tablet in the kitchen", .sinceSeconds = Seconds{9e5}, .heardSeconds = Seconds{8000}},
      {.pairing = 2, .name = "Phone", .sinceSeconds = Seconds{70}, .isConnected = true, .isUnexpected = true}};
  auto offered = phones;
  offered.isPairingOffered = true;
  offered.offeredPairingImage = sampleCode();
  auto unreadable = pairedSnapshot();
  unreadable.programs.unreadable = {
      {1, "Chromium Web Browser", "Start it with --force-renderer-accessibility.", "chromium"},
      {2, "Chat", "Start it with --force-renderer-accessibility.", "chat"},
      {3, "Old Editor", "Install the package libatk-adaptor, and start it again with GTK_MODULES=gail:atk-bridge.",
       ""}};
  unreadable.programs.changed = {{"notes", "Notes"}};
  auto mended = pairedSnapshot();
  mended.programs.changed = {{"chat", "Chat"}, {"chromium", "Chromium Web Browser"}};
  auto asked = phones;
  asked.phones.resize(1);
  asked.questions = {{.program = "backup",
                      .question = "Delete the old backups?",
                      .lines = {"Asked by /usr/bin/backup, process 4242, in /srv", "214 GB on tank/backup"},
                      .labels = {"Delete", "Cancel"}}};
  auto withoutRelay = unconfigured;
  withoutRelay.loginItemStatus = {.state = LoginItemState::enabled, .reason = {}};
  withoutRelay.relay = RelayChoice{};
  auto withRelay = asked;
  withRelay.relay = RelayChoice{"wss://relay.example/ws", RelayOrigin::user};
  auto muted = pairedSnapshot();
  muted.muted = {{.program = "Backup", .title = "Keep a copy?", .remaining = Seconds{6.5 * 86400}},
                 {.program = "Notes", .title = "Rate Notes"}};
  auto untrustedAndAsked = withRelay;  // Prompts cannot be seen, and programs ask all the same.
  untrustedAndAsked.accessibilityTrusted = false;
  return {state("not-installed", notInstalled),
          state("untrusted", untrusted),
          state("connecting", connecting),
          state("not-configured", unconfigured),
          state("ready-to-scan", unpairedSnapshot()),
          state("paired", pairedSnapshot()),
          state("paused", paused),
          state("update-available", update),
          state("revoked", revoked),
          state("phones", phones),
          state("pairing-another", offered),
          state("asked", asked),
          state("unreadable-programs", unreadable),
          state("mended-programs", mended),
          state("relay-not-set", withoutRelay),
          state("relay-and-question", withRelay),
          state("muted", muted),
          state("untrusted-and-asked", untrustedAndAsked)};
}

// The same on a computer that is no Mac, in its user's language.
inline std::vector<StatusWindowState> statusWindowStatesOn(Language language) {
  std::vector<StatusWindowState> states;
  for (auto& one : statusWindowStates()) {
    putOnComputer(one.snapshot, language);
    states.push_back(state((language == Language::german ? "german-" : "computer-") + one.name, one.snapshot));
  }
  return states;
}

// On a Mac, and on a computer in each language.
inline std::vector<StatusWindowState> allStatusWindowStates() {
  auto all = statusWindowStates();
  for (const auto language : {Language::english, Language::german}) {
    for (auto& one : statusWindowStatesOn(language)) all.push_back(std::move(one));
  }
  return all;
}

// Words as long as other languages have them, and names without a blank to break at.
inline StatusWindowContent withLongTexts(StatusWindowContent content) {
  const std::string words = " Benachrichtigungsunterbrechungseinstellungen und Bedienungshilfenberechtigungsverwaltung";
  for (std::string* text : {&content.headline, &content.detail, &content.pillText, &content.pairingTitle,
                            &content.pairingStatus, &content.pairingCaption}) {
    *text += words;
  }
  content.pairingDetail = std::string(120, 'W') + " can receive approval alerts from this Mac.";
  for (auto* row : {&content.installLocation, &content.accessibility, &content.loginItem, &content.update,
                    &content.notificationPause}) {
    row->title += words;
    row->status += words;
    row->detail += words + words;
    row->primaryButton = ButtonContent{"Systemeinstellungen für Bedienungshilfen jetzt öffnen"};
    row->secondaryButton = ButtonContent{"Benachrichtigungsunterbrechungseinstellungen…"};
  }
  content.pairingActionButton = ButtonContent{"Bedienungshilfenberechtigungsverwaltung öffnen"};
  content.unpairPhoneButton = ButtonContent{"Kopplung mit diesem Telefon vollständig aufheben"};
  return content;
}

}  // namespace quillard::test
