#include "status/StatusRows.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "foundation/PrintableText.h"
#include "status/AppBrand.h"
#include "status/StatusTexts.h"
#include "system/UnreadableProgramTexts.h"

namespace quillard::StatusRows {

namespace {

constexpr Tint kWell{AppBrand::green};
constexpr Tint kToDo{AppBrand::amber};
constexpr Tint kQuiet{};

// What is read at a glance; the rest is in the terminal and on the phone.
constexpr std::size_t kMostLines = 8;
constexpr std::size_t kLongestLine = 300;
constexpr std::size_t kLongestQuestion = 1024;

// Whether alerts would reach a phone if they were not paused.
bool canDeliver(const MacStatusSnapshot& snapshot) {
  return snapshot.installedInApplications && snapshot.accessibilityTrusted && snapshot.relayConfigured &&
         snapshot.relayConnected &&
         (snapshot.isPhonePresent() || (snapshot.wakeablePhones > 0 && !snapshot.texts.isOfMac()));
}

}  // namespace

StatusRowContent installLocationRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  StatusRowContent row{
      .symbol = "folder", .title = say("Applications Folder"), .secondaryButton = ButtonContent{say("Open Folder")}};
  if (snapshot.installedInApplications) {
    row.tint = kWell;
    row.status = say("Installed");
    row.detail = say("Running from Applications.");
  } else {
    row.tint = kToDo;
    row.status = say("Move");
    row.detail = say("Move app, then reopen.");
    row.primaryButton = ButtonContent{say("Move…")};
  }
  return row;
}

StatusRowContent accessibilityRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  StatusRowContent row{.symbol = "accessibility", .title = say("Accessibility")};
  if (!snapshot.installedInApplications) {
    // Without a button: a permission that is given before the move would be given to the wrong program.
    row.tint = kQuiet;
    row.status = say("Waiting");
    row.detail = say("Move app first.");
  } else if (!snapshot.accessibilityTrusted) {
    row.tint = kToDo;
    row.status = say("Required");
    row.detail = say("Allow Accessibility to detect dialogs.");
    row.primaryButton = ButtonContent{say("Open Settings")};
  } else {
    const auto problem = StatusTexts::scanProblemDetail(snapshot);
    row.tint = problem ? kToDo : kWell;
    row.status = say(problem ? TextKey("Not Answering") : TextKey("Allowed"));
    row.detail = problem.value_or(say("Can detect dialogs and press approved buttons."));
    row.secondaryButton = ButtonContent{say("Open Settings")};
  }
  return row;
}

StatusRowContent loginItemRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  StatusRowContent row{.symbol = "power",
                       .tint = kToDo,
                       .title = say("Open at Login"),
                       .secondaryButton = ButtonContent{say("Open Settings")}};
  switch (snapshot.loginItemStatus.state) {
    case LoginItemState::enabled:
      row.tint = kWell;
      row.status = say("Enabled");
      row.detail = say("Opens automatically when you sign in.");
      break;
    case LoginItemState::disabled:
      row.status = say("Off");
      row.detail = say("Enable after-reboot startup.");
      // What lies elsewhere is about to be moved, and would no longer be found at login.
      if (snapshot.installedInApplications) row.primaryButton = ButtonContent{say("Enable")};
      break;
    case LoginItemState::requiresApproval:
      row.status = say("Needs Approval");
      row.detail = say("Approve Quillard in Login Items.");
      break;
    case LoginItemState::unavailable:
      row.status = say("Unavailable");
      row.detail = say.ofOther(snapshot.loginItemStatus.reason);
      row.secondaryButton.reset();
      break;
  }
  return row;
}

StatusRowContent updateRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  const auto& update = snapshot.updateAvailability;
  if (!update.isUpdateAvailable) {
    return {.symbol = "arrow.clockwise.circle", .tint = kQuiet, .title = say("Updates"), .status = say("Ready")};
  }
  return {.symbol = "arrow.down.circle",
          .tint = kToDo,
          .title = say("Update Available"),
          .status = say("Version %1", {printableText(update.displayVersion.value_or(""))}),
          .detail = say("Install when ready to relaunch."),
          .primaryButton = ButtonContent{say("Install…")}};
}

StatusRowContent notificationPauseRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  StatusRowContent row{.symbol = "bell",
                       .tint = kQuiet,
                       .title = say("iPhone Alerts"),
                       .status = say("Waiting"),
                       .detail = StatusTexts::notificationPauseDetail(snapshot),
                       .primaryButton = ButtonContent{say("Pause 2h")},
                       .secondaryButton = ButtonContent{say("Options…")}};
  if (snapshot.notificationPause.isPaused()) {
    row.symbol = "bell.slash";
    row.tint = kToDo;
    row.status = say("Paused");
    row.primaryButton = ButtonContent{say("Resume")};
  } else if (snapshot.isNobodyReached) {
    row.tint = kToDo;
    row.status = say("Nobody Reached");
    row.detail = say("A prompt waits, and no phone was told: none shows its page, and none could be woken.");
  } else if (canDeliver(snapshot)) {
    row.tint = kWell;
    row.status = say("On");
  }
  return row;
}

std::optional<StatusRowContent> questionRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  if (snapshot.questions.empty()) return std::nullopt;
  const auto& oldest = snapshot.questions.front();
  StatusRowContent row{.symbol = "exclamationmark",
                       .tint = kToDo,
                       .title = printableText(oldest.question, kLongestQuestion),
                       .status = snapshot.questions.size() == 1
                                     ? say("%1 asks", {printableText(oldest.program)})
                                     : say("%1 questions wait", {std::to_string(snapshot.questions.size())}),
                       .primaryButton = ButtonContent{say("Answer…")}};
  std::size_t shown = 0;
  for (; shown < oldest.lines.size() && shown < kMostLines; ++shown) {
    row.detail += (shown > 0 ? "\n" : "") + printableText(oldest.lines[shown], kLongestLine);
  }
  if (shown < oldest.lines.size()) row.detail += "\n" + say("More of it is in: quillard answer");
  return row;
}

std::optional<StatusRowContent> relayRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  if (!snapshot.relay) return std::nullopt;
  const auto& [address, origin] = *snapshot.relay;
  StatusRowContent row{.symbol = "network", .tint = kToDo, .title = say("Relay")};
  if (!origin) {
    row.status = say("Not Set");
    row.detail = say("The relay carries prompts from this computer to your phone. Set its address to pair a phone.");
    row.primaryButton = ButtonContent{say("Set Relay…")};
    return row;
  }
  row.status = say("Cannot Be Used");
  if (snapshot.relayConfigured) {
    row.tint = snapshot.relayConnected ? kWell : kQuiet;
    row.status = say(snapshot.relayConnected ? TextKey("Connected") : TextKey("Not Connected"));
  }
  row.detail = address;
  // Where something else comes first, what is set here would not be used.
  switch (*origin) {
    case RelayOrigin::environment:
      row.detail += "\n" + say("Named by QUILLARD_RELAY_URL in this session.");
      break;
    case RelayOrigin::bundle:
      row.detail += "\n" + say("It came with Quillard.");
      break;
    case RelayOrigin::user:
      row.secondaryButton = ButtonContent{say("Change…")};
      break;
  }
  return row;
}

std::optional<StatusRowContent> programsRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  const auto& [unreadable, changed, problem] = snapshot.programs;
  if (unreadable.empty() && changed.empty()) return std::nullopt;
  StatusRowContent row{.symbol = "eye.slash", .tint = kToDo, .title = say("Programs")};
  if (!unreadable.empty()) {
    row.status = UnreadableProgramTexts::count(unreadable, say);
    row.detail = say("Their prompts are not seen.") + " " + UnreadableProgramTexts::remedies(unreadable, say);
  } else {
    row.symbol = "eye";
    row.tint = kWell;
    row.status = say("Readable");
    std::string names;
    for (const auto& start : changed) names += (names.empty() ? "" : ", ") + printableText(start.name);
    row.detail = say("From the menu these start so that they can be read: %1.", {names});
  }
  if (!problem.empty()) row.detail = say.ofOther(problem);
  const bool isOffered = std::any_of(unreadable.begin(), unreadable.end(),
                                     [](const auto& program) { return !program.startEntry.empty(); });
  if (isOffered) row.primaryButton = ButtonContent{say("Make Readable…")};
  if (!changed.empty()) row.secondaryButton = ButtonContent{say("Undo…")};
  return row;
}

std::optional<StatusRowContent> mutedRow(const MacStatusSnapshot& snapshot) {
  const auto& say = snapshot.texts;
  if (snapshot.muted.empty()) return std::nullopt;
  const auto count = snapshot.muted.size();
  return StatusRowContent{
      .symbol = "bell.slash",
      .tint = kToDo,
      .title = say("Muted Prompts"),
      .status = count == 1 ? say("1 Kind") : say("%1 Kinds", {std::to_string(count)}),
      .detail = say(count == 1 ? TextKey("They wait here, and are not sent to phones: %1.")
                               : TextKey("They wait here, and are not sent to phones: %1, and others."),
                    {mutedName(snapshot.muted.front(), say)}),
      .primaryButton = ButtonContent{say("Undo…")},
      .secondaryButton = ButtonContent{say("How Long…")}};
}

std::string mutedName(const MutedKind& kind, const UserTexts& say) {
  struct Unit {
    double length;
    TextKey pattern;
  };
  static constexpr Unit kUnits[] = {{86400.0, "%1 (%2 days)"}, {3600.0, "%1 (%2 hours)"}, {60.0, "%1 (%2 minutes)"}};
  const auto text = [](const std::string& given) { return given.empty() ? "?" : printableText(given); };
  const auto name = text(kind.program) + ": " + text(kind.title);
  if (!kind.remaining) return name;
  for (const auto& [length, pattern] : kUnits) {
    const double number = kind.remaining->count() / length;
    // In the largest unit of which there are two, rounded up.
    if (number > 1) return say(pattern, {name, std::to_string(static_cast<int>(std::ceil(std::min(number, 1e6))))});
  }
  return say("%1 (1 minute)", {name});
}

}  // namespace quillard::StatusRows
