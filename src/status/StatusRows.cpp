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

constexpr const char* kOpenSettings = "Open Settings";

// Whether alerts would reach a phone if they were not paused.
bool canDeliver(const MacStatusSnapshot& snapshot) {
  return snapshot.installedInApplications && snapshot.accessibilityTrusted && snapshot.relayConfigured &&
         snapshot.relayConnected && snapshot.isPhonePresent();
}

}  // namespace

StatusRowContent installLocationRow(const MacStatusSnapshot& snapshot) {
  StatusRowContent row{
      .symbol = "folder", .title = "Applications Folder", .secondaryButton = ButtonContent{"Open Folder"}};
  if (snapshot.installedInApplications) {
    row.tint = kWell;
    row.status = "Installed";
    row.detail = "Running from Applications.";
  } else {
    row.tint = kToDo;
    row.status = "Move";
    row.detail = "Move app, then reopen.";
    row.primaryButton = ButtonContent{"Move…"};
  }
  return row;
}

StatusRowContent accessibilityRow(const MacStatusSnapshot& snapshot) {
  StatusRowContent row{.symbol = "accessibility", .title = "Accessibility"};
  if (!snapshot.installedInApplications) {
    // Without a button: a permission that is given before the move would be given to the wrong program.
    row.tint = kQuiet;
    row.status = "Waiting";
    row.detail = "Move app first.";
  } else if (!snapshot.accessibilityTrusted) {
    row.tint = kToDo;
    row.status = "Required";
    row.detail = "Allow Accessibility to detect dialogs.";
    row.primaryButton = ButtonContent{kOpenSettings};
  } else {
    const auto problem = StatusTexts::scanProblemDetail(snapshot);
    row.tint = problem ? kToDo : kWell;
    row.status = problem ? "Not Answering" : "Allowed";
    row.detail = problem.value_or("Can detect dialogs and press approved buttons.");
    row.secondaryButton = ButtonContent{kOpenSettings};
  }
  return row;
}

StatusRowContent loginItemRow(const MacStatusSnapshot& snapshot) {
  StatusRowContent row{
      .symbol = "power", .tint = kToDo, .title = "Open at Login", .secondaryButton = ButtonContent{kOpenSettings}};
  switch (snapshot.loginItemStatus.state) {
    case LoginItemState::enabled:
      row.tint = kWell;
      row.status = "Enabled";
      row.detail = "Opens automatically when you sign in.";
      break;
    case LoginItemState::disabled:
      row.status = "Off";
      row.detail = "Enable after-reboot startup.";
      // What lies elsewhere is about to be moved, and would no longer be found at login.
      if (snapshot.installedInApplications) row.primaryButton = ButtonContent{"Enable"};
      break;
    case LoginItemState::requiresApproval:
      row.status = "Needs Approval";
      row.detail = "Approve Quillard in Login Items.";
      break;
    case LoginItemState::unavailable:
      row.status = "Unavailable";
      row.detail = snapshot.loginItemStatus.reason;
      row.secondaryButton.reset();
      break;
  }
  return row;
}

StatusRowContent updateRow(const MacStatusSnapshot& snapshot) {
  const auto& update = snapshot.updateAvailability;
  if (!update.isUpdateAvailable) {
    return {.symbol = "arrow.clockwise.circle", .tint = kQuiet, .title = "Updates", .status = "Ready"};
  }
  return {.symbol = "arrow.down.circle",
          .tint = kToDo,
          .title = "Update Available",
          .status = "Version " + printableText(update.displayVersion.value_or("")),
          .detail = "Install when ready to relaunch.",
          .primaryButton = ButtonContent{"Install…"}};
}

StatusRowContent notificationPauseRow(const MacStatusSnapshot& snapshot) {
  StatusRowContent row{.symbol = "bell",
                       .tint = kQuiet,
                       .title = "iPhone Alerts",
                       .status = "Waiting",
                       .detail = StatusTexts::notificationPauseDetail(snapshot),
                       .primaryButton = ButtonContent{"Pause 2h"},
                       .secondaryButton = ButtonContent{"Options…"}};
  if (snapshot.notificationPause.isPaused()) {
    row.symbol = "bell.slash";
    row.tint = kToDo;
    row.status = "Paused";
    row.primaryButton = ButtonContent{"Resume"};
  } else if (canDeliver(snapshot)) {
    row.tint = kWell;
    row.status = "On";
  }
  return row;
}

std::optional<StatusRowContent> questionRow(const MacStatusSnapshot& snapshot) {
  if (snapshot.questions.empty()) return std::nullopt;
  const auto& oldest = snapshot.questions.front();
  StatusRowContent row{.symbol = "exclamationmark",
                       .tint = kToDo,
                       .title = printableText(oldest.question, kLongestQuestion),
                       .status = snapshot.questions.size() == 1
                                     ? printableText(oldest.program) + " asks"
                                     : std::to_string(snapshot.questions.size()) + " questions wait",
                       .primaryButton = ButtonContent{"Answer…"}};
  std::size_t shown = 0;
  for (; shown < oldest.lines.size() && shown < kMostLines; ++shown) {
    row.detail += (shown > 0 ? "\n" : "") + printableText(oldest.lines[shown], kLongestLine);
  }
  if (shown < oldest.lines.size()) row.detail += "\nMore of it is in: quillard answer";
  return row;
}

std::optional<StatusRowContent> relayRow(const MacStatusSnapshot& snapshot) {
  if (!snapshot.relay) return std::nullopt;
  const auto& [address, origin] = *snapshot.relay;
  StatusRowContent row{.symbol = "network", .tint = kToDo, .title = "Relay"};
  if (!origin) {
    row.status = "Not Set";
    row.detail = "The relay carries prompts from this computer to your phone. Set its address to pair a phone.";
    row.primaryButton = ButtonContent{"Set Relay…"};
    return row;
  }
  row.status = "Cannot Be Used";
  if (snapshot.relayConfigured) {
    row.tint = snapshot.relayConnected ? kWell : kQuiet;
    row.status = snapshot.relayConnected ? "Connected" : "Not Connected";
  }
  row.detail = address;
  // Where something else comes first, what is set here would not be used.
  switch (*origin) {
    case RelayOrigin::environment:
      row.detail += "\nNamed by QUILLARD_RELAY_URL in this session.";
      break;
    case RelayOrigin::bundle:
      row.detail += "\nIt came with Quillard.";
      break;
    case RelayOrigin::user:
      row.secondaryButton = ButtonContent{"Change…"};
      break;
  }
  return row;
}

std::optional<StatusRowContent> programsRow(const MacStatusSnapshot& snapshot) {
  const auto& [unreadable, changed, problem] = snapshot.programs;
  if (unreadable.empty() && changed.empty()) return std::nullopt;
  StatusRowContent row{.symbol = "eye.slash", .tint = kToDo, .title = "Programs"};
  if (!unreadable.empty()) {
    row.status = UnreadableProgramTexts::count(unreadable);
    row.detail = "Their prompts are not seen. " + UnreadableProgramTexts::remedies(unreadable);
  } else {
    row.symbol = "eye";
    row.tint = kWell;
    row.status = "Readable";
    row.detail = "From the menu these start so that they can be read: ";
    for (const auto& start : changed) {
      row.detail += (&start == &changed.front() ? "" : ", ") + printableText(start.name);
    }
    row.detail += ".";
  }
  if (!problem.empty()) row.detail = problem;
  const bool isOffered = std::any_of(unreadable.begin(), unreadable.end(),
                                     [](const auto& program) { return !program.startEntry.empty(); });
  if (isOffered) row.primaryButton = ButtonContent{"Make Readable…"};
  if (!changed.empty()) row.secondaryButton = ButtonContent{"Undo…"};
  return row;
}

std::optional<StatusRowContent> mutedRow(const MacStatusSnapshot& snapshot) {
  if (snapshot.muted.empty()) return std::nullopt;
  const auto count = snapshot.muted.size();
  return StatusRowContent{.symbol = "bell.slash",
                          .tint = kToDo,
                          .title = "Muted Prompts",
                          .status = std::to_string(count) + (count == 1 ? " Kind" : " Kinds"),
                          .detail = "They wait here, and are not sent to phones: " + mutedName(snapshot.muted.front()) +
                                    (count == 1 ? "." : ", and others."),
                          .primaryButton = ButtonContent{"Undo…"}};
}

std::string mutedName(const MutedKind& kind) {
  constexpr std::pair<double, const char*> kUnits[] = {{86400.0, "days"}, {3600.0, "hours"}, {60.0, "minutes"}};
  const auto text = [](const std::string& given) { return given.empty() ? "?" : printableText(given); };
  const auto name = text(kind.program) + ": " + text(kind.title);
  if (!kind.remaining) return name;
  for (const auto& [length, noun] : kUnits) {
    const double number = kind.remaining->count() / length;
    // In the largest unit of which there are two, rounded up.
    if (number > 1)
      return name + " (" + std::to_string(static_cast<int>(std::ceil(std::min(number, 1e6)))) + " " + noun + ")";
  }
  return name + " (1 minute)";
}

}  // namespace quillard::StatusRows
