// What the page says, as functions of what it knows. Everything that a person reads about states is here, so that it can
// be read, and tested, in one place.
import { say } from "../language/say";
import type { Dismissal } from "../core/dismissal";
import type {
  AlertProblem,
  Computer,
  ComputerAlerts,
  Decision,
  Instant,
  Outcome,
  Pause,
  PhoneAlerts,
  Prompt,
  PromptButton,
  Suppression,
} from "../core/model";
import { visibleName, visibleText } from "../core/visibleText";

/** Of dates and times. */
const locale = say("en-GB");

const kMinute = 60;
const kHour = 60 * kMinute;
const kDay = 24 * kHour;

function secondsBetween(then: Instant, now: Instant): number {
  // Clocks of two machines are never quite the same: what lies ahead is "now".
  return Math.max(0, Math.floor((now - then) / 1000));
}

/** "now", "12 s", "3 min", "2 h", "5 d": for the eye. */
export function shortAge(then: Instant, now: Instant): string {
  const seconds = secondsBetween(then, now);
  if (seconds < 5) return say("now");
  if (seconds < kMinute) return say("%1 s", seconds);
  if (seconds < kHour) return say("%1 min", Math.floor(seconds / kMinute));
  if (seconds < kDay) return say("%1 h", Math.floor(seconds / kHour));
  return say("%1 d", Math.floor(seconds / kDay));
}

/** "just now", "3 minutes ago": for sentences, and for the ear. */
export function longAge(then: Instant, now: Instant): string {
  const seconds = secondsBetween(then, now);
  if (seconds < 5) return say("just now");
  if (seconds < kMinute) return say("%1 seconds ago", seconds);
  const minutes = Math.floor(seconds / kMinute);
  if (minutes < 60) return minutes === 1 ? say("1 minute ago") : say("%1 minutes ago", minutes);
  const hours = Math.floor(seconds / kHour);
  if (hours < 24) return hours === 1 ? say("1 hour ago") : say("%1 hours ago", hours);
  const days = Math.floor(seconds / kDay);
  return days === 1 ? say("1 day ago") : say("%1 days ago", days);
}

/** "4 s ago", "just now". */
export function ago(then: Instant, now: Instant): string {
  const age = shortAge(then, now);
  return age === say("now") ? say("just now") : say("%1 ago", age);
}

export function quoted(text: string): string {
  return say("“%1”", visibleText(text));
}

/** `computers`: all of them. */
export function headline(waiting: number, computers: readonly Computer[]): string {
  if (waiting === 1) return say("1 prompt waits");
  if (waiting > 1) return say("%1 prompts wait", waiting);
  if (!computers.every(isUpToDate)) return say("Not up to date");
  if (computers.some((computer) => computer.pause)) return say("Paused");
  return computers.some(({ accessibilityTrusted }) => accessibilityTrusted === false)
    ? say("Prompts are not seen")
    : say("Nothing waits");
}

function sameDay(one: Date, other: Date): boolean {
  return one.toDateString() === other.toDateString();
}

/** "18:30", "tomorrow 09:00", "Tue 09:00", by this phone's calendar. */
function clockText(moment: Instant, now: Instant): string {
  const date = new Date(moment);
  const time = date.toLocaleTimeString(locale, { hour: "2-digit", minute: "2-digit" });
  const today = new Date(now);
  if (sameDay(date, today)) return time;
  const tomorrow = new Date(today.getFullYear(), today.getMonth(), today.getDate() + 1);
  if (sameDay(date, tomorrow)) return say("tomorrow %1", time);
  return `${date.toLocaleDateString(locale, { weekday: "short" })} ${time}`;
}

/** Its end may have passed by this phone's clock: then the computer has not said so yet. */
export function pauseText(pause: Pause, now: Instant): string {
  const { until } = pause;
  return until === undefined || until <= now
    ? say("Paused at the computer")
    : say("Paused at the computer until %1", clockText(until, now));
}

const week = 7 * 86_400_000;

/** How long a kind of prompt is not shown. */
export function suppressionText({ until, endsWithRun }: Suppression, now: Instant): string {
  if (endsWithRun) return say("Until Quillard restarts there");
  if (until === undefined) return say("Until you show it again");
  // Of the days of the week each is unambiguous for six.
  const isNear = until - now < 0.85 * week;
  return say("Until %1", isNear ? clockText(until, now) : new Date(until).toLocaleDateString(locale));
}

/** For the ear: what has come in. */
export function newPromptsText(prompts: readonly Prompt[]): string {
  const named = prompts
    .slice(0, 3)
    .map(({ appName, windowTitle }) => `${visibleText(appName)}: ${titleOf(windowTitle)}`);
  const more = prompts.length - named.length;
  const all = named.join(". ");
  return more > 0 ? say("New: %1. And %2 more.", all, more) : say("New: %1.", all);
}

export type Tone = "good" | "warn" | "quiet";

export interface ToneText {
  readonly tone: Tone;
  readonly text: string;
}

/** One line on a computer: whether what the page shows of it is true now. */
export function connectionText(computer: Computer, now: Instant): ToneText {
  const { relay, lastReceivedAt } = computer;
  const lastReceived =
    lastReceivedAt === undefined ? say("never heard") : say("heard %1", ago(lastReceivedAt, now));
  switch (relay.kind) {
    case "connecting":
      return {
        tone: "quiet",
        text: lastReceivedAt === undefined ? say("Connecting…") : say("Connecting, %1", lastReceived),
      };
    case "waiting":
      return { tone: "warn", text: say("No relay, %1", lastReceived) };
    case "offline":
      return { tone: "warn", text: say("Offline, %1", lastReceived) };
    case "takenOver":
      return { tone: "warn", text: say("Open in another tab") };
    case "revoked":
    case "removed":
    case "refused":
      return { tone: "warn", text: say("Not paired any more") };
    case "connected":
      break;
  }
  if (computer.isComputerConnected === undefined) return { tone: "quiet", text: say("Connecting…") };
  if (!computer.isComputerConnected) return { tone: "warn", text: say("Not connected, %1", lastReceived) };
  return {
    tone: "good",
    text:
      lastReceivedAt === undefined ? say("Connected") : say("Connected, heard %1", ago(lastReceivedAt, now)),
  };
}

/** Whether a decision made now would reach the computer. */
export function isReachable(computer: Computer): boolean {
  return computer.relay.kind === "connected" && computer.isComputerConnected === true;
}

/** Whether the list can be taken as what is on the computer's screen now. */
export function isUpToDate(computer: Computer): boolean {
  return isReachable(computer) && computer.prompts !== undefined && !computer.hasUnreadableSnapshot;
}

export interface Notice {
  readonly tone: Tone;
  readonly title: string;
  readonly detail: string;
  readonly action?: "tryNow" | "useHere" | "pairAgain";
  readonly isPause?: true;
}

function connectionNotice(computer: Computer, now: Instant): Notice | undefined {
  const name = computer.name;
  switch (computer.relay.kind) {
    case "offline":
      return {
        tone: "warn",
        title: say("This phone is offline"),
        detail: say("It goes on by itself when there is a network."),
      };
    case "waiting": {
      const left = Math.max(1, Math.ceil((computer.relay.nextAttemptAt - now) / 1000));
      return {
        tone: "warn",
        title: say("The relay cannot be reached"),
        detail: computer.relay.nextAttemptAt <= now ? say("Trying again…") : say("Next try in %1 s.", left),
        action: "tryNow",
      };
    }
    case "takenOver":
      return {
        tone: "quiet",
        title: say("Quillard is open in another tab"),
        detail: say("Only one tab of a browser talks to the computer at a time."),
        action: "useHere",
      };
    case "revoked":
      return {
        tone: "warn",
        title: say("%1 unpaired its phones", name),
        detail: say("To answer its prompts again, pair this phone with its new code."),
        action: "pairAgain",
      };
    case "removed":
      return {
        tone: "warn",
        title: say("%1 removed this phone", name),
        detail: say("To answer its prompts again, pair this phone with a new code."),
        action: "pairAgain",
      };
    case "refused":
      return {
        tone: "warn",
        title: say("The relay does not know this pairing"),
        detail: say("It may have been set up anew. Pair this phone with %1 again.", name),
        action: "pairAgain",
      };
    case "connecting":
    case "connected":
      return undefined;
  }
}

/** What stands in the way, the weightiest first. */
export function notices(computer: Computer, now: Instant): readonly Notice[] {
  const found: Notice[] = [];
  const connection = connectionNotice(computer, now);
  if (connection) found.push(connection);
  if (computer.relay.kind === "connected" && computer.isComputerConnected === false) {
    found.push({
      tone: "warn",
      title: say("%1 is not connected", computer.name),
      detail:
        computer.lastReceivedAt === undefined
          ? say("The relay has not heard of it yet. It may be switched off, asleep or without a network.")
          : say(
              "Last heard of %1. It may be switched off, asleep or without a network.",
              longAge(computer.lastReceivedAt, now),
            ),
    });
  }
  if (computer.pause) {
    found.push({
      tone: "quiet",
      title: pauseText(computer.pause, now),
      detail: say("Prompts that come up meanwhile wait at %1.", computer.name),
      isPause: true,
    });
  }
  if (computer.lock === "missing") {
    found.push({
      tone: "warn",
      title: say("Grants need this phone’s lock"),
      detail: say(
        "This browser cannot ask for a face, a finger or a code. Grant at %1; dismissing works here.",
        computer.name,
      ),
    });
  }
  if (computer.accessibilityTrusted === false) {
    found.push({
      tone: "warn",
      title: say("%1 cannot see its windows", computer.name),
      detail: say(
        "Allow Accessibility for Quillard there: its window says how. Until then only what programs ask comes here.",
      ),
    });
  }
  if (computer.hasUnreadableSnapshot) {
    found.push({
      tone: "warn",
      title: say("A list came that cannot be read"),
      detail: say("What stands below may be old. If this stays, forget this computer and pair again."),
    });
  }
  if (computer.promptsLeftOut !== undefined) {
    const isOne = computer.promptsLeftOut === 1;
    found.push({
      tone: "warn",
      title: isOne
        ? say("1 more prompt is not shown")
        : say("%1 more prompts are not shown", computer.promptsLeftOut),
      detail: isOne
        ? say("The list is too long. Look at %1 for it.", computer.name)
        : say("The list is too long. Look at %1 for them.", computer.name),
    });
  }
  if (computer.logBrokenAt !== undefined && now - computer.logBrokenAt < week) {
    found.push({
      tone: "warn",
      title: say("The log of %1 was cut or changed", computer.name),
      detail: say("Noticed %1. It may lack earlier decisions.", longAge(computer.logBrokenAt, now)),
    });
  }
  if (computer.storageProblem !== undefined) {
    found.push({
      tone: "warn",
      title: say("The last changes are not stored"),
      detail: say("They are lost when this page is closed. %1", computer.storageProblem),
    });
  }
  return found;
}

export interface DecisionText {
  readonly tone: Tone;
  readonly text: string;
  /** It is under way: something still moves. */
  readonly isBusy: boolean;
}

function withReason(sentence: string, reason: string | undefined): string {
  return reason ? `${sentence} ${visibleText(reason)}` : sentence;
}

/** What became of a decision that was made here, so far. */
export function decisionText(decision: Decision, computerName: string): DecisionText {
  const label = quoted(decision.buttonLabel);
  switch (decision.status) {
    case "sending":
      return { tone: "quiet", text: say("Sending %1…", label), isBusy: true };
    case "delivered":
      return { tone: "quiet", text: say("%1 is with %2…", label, computerName), isBusy: true };
    case "accepted":
      return { tone: "good", text: say("%1 pressed, the prompt is gone.", label), isBusy: false };
    case "failed":
      return {
        tone: "warn",
        text: withReason(say("%1 did not work.", label), decision.error),
        isBusy: false,
      };
    case "undelivered":
      return {
        tone: "warn",
        text: withReason(
          say("%1 never reached %2. Nothing was pressed.", label, computerName),
          decision.error,
        ),
        isBusy: false,
      };
    case "unanswered":
      return {
        tone: "warn",
        text: say("No answer about %1 came within a minute. It is not known whether it was pressed.", label),
        isBusy: false,
      };
    case "tooLate":
      return {
        tone: "warn",
        text: say("%1 came too late at %2. Nothing was pressed. You can decide again.", label, computerName),
        isBusy: false,
      };
    case "notFound":
      return {
        tone: "quiet",
        text: say("The prompt or its button was gone already. Nothing was pressed."),
        isBusy: false,
      };
    case "requiresDirectAccess":
      return {
        tone: "warn",
        text: say("This can only be answered at %1. Nothing was pressed.", computerName),
        isBusy: false,
      };
  }
}

/** A grant that waits for this phone's lock, or was stopped by it. */
export function unlockingText({ buttonLabel, problem }: NonNullable<Prompt["unlocking"]>): DecisionText {
  if (problem !== undefined) return { tone: "warn", text: problem, isBusy: false };
  return { tone: "quiet", text: say("%1 waits for this phone’s lock…", quoted(buttonLabel)), isBusy: true };
}

/** Why a grant is not to be given lightly: for the eye and the ear. */
export function cautionText(caution: NonNullable<PromptButton["caution"]>): string {
  switch (caution) {
    case "destroys":
      return say("Something is lost");
    case "lasting":
      return say("For later times, too");
    case "stranger":
      return say("Unknown identity");
  }
}

/** Whether a prompt may be decided (again), as far as its last decision goes. */
export function mayDecide(prompt: Prompt): boolean {
  const status = prompt.decision?.status;
  return status !== "sending" && status !== "delivered" && status !== "accepted";
}

/** One line of the history. */
export function outcomeText(outcome: Outcome): ToneText {
  const label = outcome.buttonLabel === undefined ? say("It") : quoted(outcome.buttonLabel);
  const who = outcome.otherPhone === undefined ? "" : say(" on %1", visibleName(outcome.otherPhone));
  switch (outcome.status) {
    case "goneByItself":
      return { tone: "quiet", text: say("Answered at the computer, or closed by itself") };
    case "suppressed":
      return {
        tone: "quiet",
        text: who === "" ? say("Not shown any more") : say("Not shown any more: chosen%1", who),
      };
    case "accepted":
      return {
        tone: "good",
        text: who === "" ? say("%1 pressed from here", label) : say("%1 pressed: chosen%2", label, who),
      };
    case "failed":
      return { tone: "warn", text: withReason(say("%1%2 did not work.", label, who), outcome.error) };
    case "undelivered":
      return { tone: "warn", text: say("%1 never reached the computer", label) };
    case "unanswered":
      return { tone: "warn", text: say("%1: no answer came, it is not known what became of it", label) };
    case "tooLate":
      return { tone: "warn", text: say("%1%2 came too late, nothing was pressed", label, who) };
    case "notFound":
      return { tone: "quiet", text: say("%1%2: the prompt was gone already", label, who) };
    case "requiresDirectAccess":
      return { tone: "warn", text: say("%1%2: can only be answered at the computer", label, who) };
    case "sending":
    case "delivered":
      return { tone: "quiet", text: say("%1%2: under way", label, who) };
  }
}

// Alerts: how this phone is woken while its page is closed.

export interface TextBlock {
  readonly title: string;
  readonly detail: string;
}

/** Asks a person for alerts, and says why. Absent: it is no use here. */
export function alertsQuestion({ support }: PhoneAlerts): TextBlock | undefined {
  switch (support) {
    case "available":
      return {
        title: say("Alerts while this page is closed"),
        detail: say(
          "A prompt waits unseen until somebody opens this page. With alerts this phone is woken for it. What they say travels sealed; the push service of your browser learns only that something waits, and when.",
        ),
      };
    case "homeScreenFirst":
      return {
        title: say("Alerts need Quillard on the home screen"),
        detail: say(
          "An iPhone wakes only pages that are there. %1 It keeps what it stores apart from this browser: pair there with a new code, then forget this computer here.",
          homeScreenWay,
        ),
      };
    case "blocked":
    case "none":
      return undefined;
  }
}

const homeScreenWay = say("Tap Share, “Add to Home Screen”, and open Quillard from there.");

/** What stands in the way of alerts that a person wants. Absent: nothing that is known. */
export function alertsNotice({ support, isWanted, problem }: PhoneAlerts): TextBlock | undefined {
  if (!isWanted) return undefined;
  if (support === "blocked")
    return {
      title: say("Alerts are blocked"),
      detail: say("This page may not show notifications. This phone’s page says how to allow them."),
    };
  if (support !== "available") return undefined;
  return problem && alertProblemText(problem);
}

function alertProblemText(problem: AlertProblem): TextBlock {
  const title = say("Alerts do not reach this phone");
  switch (problem) {
    case "relayWakesNone":
      return { title, detail: say("This relay wakes no phones. Whoever runs it can switch that on.") };
    case "serviceNotAllowed":
      return {
        title,
        detail: say(
          "This relay does not use the push service of this browser. Whoever runs it can allow it.",
        ),
      };
    case "relayUnreachable":
      return { title, detail: say("The relay could not be asked. It is tried again.") };
    case "serviceSilent":
      return { title, detail: say("The push service of this browser did not answer. It is tried again.") };
    case "serviceRefused":
      return {
        title,
        detail: say(
          "This browser or its push service refused. Private windows often do; so do browsers without a push service.",
        ),
      };
    case "notStored":
      return {
        title: say("The choice of alerts is not stored"),
        detail: say("This browser could not keep it. It asks again when the page is opened."),
      };
  }
}

/** The state of alerts as a whole, as a heading. */
export function alertsHeading({ support, isWanted, isBusy, problem }: PhoneAlerts): string {
  if (support === "homeScreenFirst") return say("Alerts need the home screen");
  if (support === "none") return say("No alerts in this browser");
  if (!isWanted) return say("No alerts while this page is closed");
  if (support === "blocked") return say("Alerts are blocked");
  if (isBusy) return say("Switching alerts on…");
  return problem === undefined ? say("Alerts are on") : say("Alerts do not work now");
}

/** "14:02", "yesterday 14:02", "1 Mar, 14:02", by this phone's calendar. */
function pastClockText(moment: Instant, now: Instant): string {
  const date = new Date(moment);
  const time = date.toLocaleTimeString(locale, { hour: "2-digit", minute: "2-digit" });
  const today = new Date(now);
  if (sameDay(date, today)) return time;
  const yesterday = new Date(today.getFullYear(), today.getMonth(), today.getDate() - 1);
  if (sameDay(date, yesterday)) return say("yesterday %1", time);
  return `${date.toLocaleDateString(locale, { day: "numeric", month: "short" })}, ${time}`;
}

/** An alert needs some time from the push service to here. Milliseconds. */
const alertTime = 60_000;

/** How alerts of one computer fare. `alerts` absent: nothing is known. */
export function computerAlertsText(alerts: ComputerAlerts | undefined, now: Instant): ToneText {
  const { isSubscribed, receivedAt, sent } = alerts ?? {};
  const acceptedAt = sent?.acceptedAt;
  if (isSubscribed === false) return { tone: "warn", text: say("The relay cannot wake this phone now.") };
  if (sent?.status === "gone" || sent?.status === "refused")
    return { tone: "warn", text: say("The push service did not take the last alert.") };
  if (sent?.status === "unreachable")
    return { tone: "warn", text: say("The push service could not be reached for the last alert.") };
  const isMissing =
    acceptedAt !== undefined && acceptedAt > (receivedAt ?? 0) + alertTime && now > acceptedAt + alertTime;
  if (isMissing)
    return {
      tone: "warn",
      text: say("An alert was sent at %1, and has not been noticed here.", pastClockText(acceptedAt, now)),
    };
  if (receivedAt !== undefined)
    return {
      tone: "good",
      text: say("Alerts reach this phone: last one at %1", pastClockText(receivedAt, now)),
    };
  if (isSubscribed) return { tone: "quiet", text: say("Ready. None has come yet: try one.") };
  return { tone: "quiet", text: say("Not known: the relay has not said yet.") };
}

/** The choices of what stands on the lock screen. */
export const alertContents: readonly (readonly [PhoneAlerts["shows"], TextBlock])[] = [
  [
    "prompt",
    { title: say("Who asks, and what"), detail: say("“Disk Tool: Erase disk?”, and a button to dismiss it") },
  ],
  [
    "computer",
    { title: say("Only that a prompt waits"), detail: say("“A prompt waits at Studio”, and nothing else") },
  ],
];

/** What to do where alerts do not come. `platform` as computers are told of it; `userAgent`: the browser's word. */
export function alertsHelp(platform: string, userAgent: string): readonly string[] {
  const isFirefox = /Firefox|FxiOS/.test(userAgent);
  switch (platform) {
    case "iOS":
    case "iPadOS":
      return [
        say(
          "Alerts come only to Quillard on the home screen, with iOS 16.4 or later. Open it from there; it is paired there, and not in the browser.",
        ),
        say("Settings, Notifications, Quillard: allow them, on the lock screen, too."),
        say("A Focus, such as Do Not Disturb, holds them back unless Quillard is allowed there."),
      ];
    case "Android":
      return [
        isFirefox
          ? say(
              "In Firefox: the lock beside the address, Permissions, Notification. And in Android’s settings, Apps, Firefox, Notifications.",
            )
          : say(
              "In Chrome: the sign beside the address, Permissions, Notifications. And in Android’s settings, Apps, Chrome (or Quillard, where it is installed), Notifications.",
            ),
        say(
          "Where they come late: in Android’s settings, Apps, let the browser use the battery without restriction.",
        ),
        say("Do Not Disturb holds them back."),
      ];
    default:
      return [
        isFirefox
          ? say("In Firefox: the lock beside the address, and its permission for notifications.")
          : say("In the browser: the sign beside the address, and its permission for notifications."),
        say(
          "A browser on a computer receives them only while it runs; some go on in the background when their windows are closed.",
        ),
        say(
          "The system’s own settings can hold back the notifications of the browser, or of everything for a while.",
        ),
      ];
  }
}

/** What became of a prompt to which an alert has led. Absent: it is on the page. `computers`: all of them. */
export function soughtText(approvalID: string, computers: readonly Computer[]): TextBlock | undefined {
  if (computers.some(({ prompts }) => prompts?.some(({ id }) => id === approvalID))) return undefined;
  const outcome = computers.flatMap(({ outcomes }) => outcomes).find((one) => one.approvalID === approvalID);
  const gone = say("That prompt is gone");
  if (outcome)
    return { title: gone, detail: `${titleOf(outcome.windowTitle)}: ${outcomeText(outcome).text}.` };
  const dark = computers.find((computer) => !isUpToDate(computer) || saysNothingOfTheRest(computer));
  if (!dark) return { title: gone, detail: say("It was answered elsewhere, or closed by itself.") };
  const isOpening =
    dark.relay.kind === "connecting" || (dark.relay.kind === "connected" && dark.prompts === undefined);
  if (isOpening && dark.isComputerConnected !== false)
    return { title: say("Looking for that prompt…"), detail: say("Waiting for the list of %1.", dark.name) };
  return {
    title: say("It is not known whether that prompt still waits"),
    detail: isUpToDate(dark)
      ? say("%1 does not list all that waits there.", dark.name)
      : say("There is no word of %1 now.", dark.name),
  };
}

function saysNothingOfTheRest({ pause, accessibilityTrusted, promptsLeftOut }: Computer): boolean {
  return pause !== undefined || accessibilityTrusted === false || promptsLeftOut !== undefined;
}

/** Of a push that cannot be read: it has to show something all the same. */
export const unreadablePush: TextBlock = {
  title: say("Something waits at a computer"),
  detail: say("Open Quillard to see what."),
};

/** The button of a notification that leads to the page. */
export const openLabel = say("Open");

/** A notification's own button was pressed, and is on its way. */
export function dismissingText(label: string, computerName: string): string {
  return say("Sending %1 to %2…", quoted(label), visibleName(computerName));
}

/** What became of that. */
export function dismissalText(dismissal: Dismissal, computerName: string): ToneText {
  const name = visibleName(computerName);
  switch (dismissal.kind) {
    case "settled":
      return outcomeText(dismissal.outcome);
    case "gone":
      return {
        tone: "quiet",
        text: `${say("It was gone already, and nothing was pressed.")} ${dismissal.outcome ? outcomeText(dismissal.outcome).text : ""}`.trim(),
      };
    case "changed":
      return {
        tone: "warn",
        text: say("It does not offer that any more. Nothing was pressed. Open Quillard to answer."),
      };
    case "unreachable":
      return {
        tone: "warn",
        text: say("%1 could not be reached, and nothing was pressed. It may still wait.", name),
      };
    case "ended":
      return {
        tone: "warn",
        text: say("This phone is not paired with %1 any more. Nothing was pressed.", name),
      };
    case "paused":
      return { tone: "warn", text: say("Alerts are paused at %1. Nothing was pressed.", name) };
    case "unknown":
      return { tone: "warn", text: say("It is not known what became of it. Open Quillard to see.") };
  }
}

/** A title for what may have none. */
export function titleOf(windowTitle: string): string {
  return windowTitle.trim() === "" ? say("A window without a title") : visibleText(windowTitle);
}
