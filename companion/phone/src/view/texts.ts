// What the page says, as functions of what it knows. Everything that a person reads about states is here, so that it can
// be read, and tested, in one place.
import type {
  Computer,
  Decision,
  Instant,
  Outcome,
  Pause,
  Prompt,
  PromptButton,
  Suppression,
} from "../core/model";
import { visibleName, visibleText } from "../core/visibleText";

const kMinute = 60;
const kHour = 60 * kMinute;
const kDay = 24 * kHour;

function secondsBetween(then: Instant, now: Instant): number {
  // Clocks of two machines are never quite the same: what lies ahead is "now".
  return Math.max(0, Math.floor((now - then) / 1000));
}

function counted(count: number, unit: string): string {
  return `${count} ${unit}${count === 1 ? "" : "s"}`;
}

/** "now", "12 s", "3 min", "2 h", "5 d": for the eye. */
export function shortAge(then: Instant, now: Instant): string {
  const seconds = secondsBetween(then, now);
  if (seconds < 5) return "now";
  if (seconds < kMinute) return `${seconds} s`;
  if (seconds < kHour) return `${Math.floor(seconds / kMinute)} min`;
  if (seconds < kDay) return `${Math.floor(seconds / kHour)} h`;
  return `${Math.floor(seconds / kDay)} d`;
}

/** "just now", "3 minutes ago": for sentences, and for the ear. */
export function longAge(then: Instant, now: Instant): string {
  const seconds = secondsBetween(then, now);
  if (seconds < 5) return "just now";
  if (seconds < kMinute) return `${counted(seconds, "second")} ago`;
  if (seconds < kHour) return `${counted(Math.floor(seconds / kMinute), "minute")} ago`;
  if (seconds < kDay) return `${counted(Math.floor(seconds / kHour), "hour")} ago`;
  return `${counted(Math.floor(seconds / kDay), "day")} ago`;
}

/** "4 s ago", "just now". */
export function ago(then: Instant, now: Instant): string {
  const age = shortAge(then, now);
  return age === "now" ? "just now" : `${age} ago`;
}

export function quoted(text: string): string {
  return `“${visibleText(text)}”`;
}

/** `computers`: all of them. */
export function headline(waiting: number, computers: readonly Computer[]): string {
  if (waiting === 1) return "1 prompt waits";
  if (waiting > 1) return `${waiting} prompts wait`;
  if (!computers.every(isUpToDate)) return "Not up to date";
  if (computers.some((computer) => computer.pause)) return "Paused";
  return computers.some(({ accessibilityTrusted }) => accessibilityTrusted === false)
    ? "Prompts are not seen"
    : "Nothing waits";
}

function sameDay(one: Date, other: Date): boolean {
  return one.toDateString() === other.toDateString();
}

/** "18:30", "tomorrow 09:00", "Tue 09:00", by this phone's calendar. */
function clockText(moment: Instant, now: Instant): string {
  const date = new Date(moment);
  const time = date.toLocaleTimeString("en-GB", { hour: "2-digit", minute: "2-digit" });
  const today = new Date(now);
  if (sameDay(date, today)) return time;
  const tomorrow = new Date(today.getFullYear(), today.getMonth(), today.getDate() + 1);
  if (sameDay(date, tomorrow)) return `tomorrow ${time}`;
  return `${date.toLocaleDateString("en-GB", { weekday: "short" })} ${time}`;
}

/** Its end may have passed by this phone's clock: then the computer has not said so yet. */
export function pauseText(pause: Pause, now: Instant): string {
  const { until } = pause;
  return until === undefined || until <= now
    ? "Paused at the computer"
    : `Paused at the computer until ${clockText(until, now)}`;
}

const week = 7 * 86_400_000;

/** How long a kind of prompt is not shown. */
export function suppressionText({ until, endsWithRun }: Suppression, now: Instant): string {
  if (endsWithRun) return "Until Quillard restarts there";
  if (until === undefined) return "Until you show it again";
  // Of the days of the week each is unambiguous for six.
  const isNear = until - now < 0.85 * week;
  return `Until ${isNear ? clockText(until, now) : new Date(until).toLocaleDateString("en-GB")}`;
}

/** For the ear: what has come in. */
export function newPromptsText(prompts: readonly Prompt[]): string {
  const named = prompts
    .slice(0, 3)
    .map(({ appName, windowTitle }) => `${visibleText(appName)}: ${titleOf(windowTitle)}`);
  const more = prompts.length - named.length;
  return `New: ${named.join(". ")}${more > 0 ? `. And ${more} more` : ""}.`;
}

export type Tone = "good" | "warn" | "quiet";

export interface ToneText {
  readonly tone: Tone;
  readonly text: string;
}

/** One line on a computer: whether what the page shows of it is true now. */
export function connectionText(computer: Computer, now: Instant): ToneText {
  const { relay, lastReceivedAt } = computer;
  const lastReceived = lastReceivedAt === undefined ? "never heard" : `heard ${ago(lastReceivedAt, now)}`;
  switch (relay.kind) {
    case "connecting":
      return {
        tone: "quiet",
        text: lastReceivedAt === undefined ? "Connecting…" : `Connecting, ${lastReceived}`,
      };
    case "waiting":
      return { tone: "warn", text: `No relay, ${lastReceived}` };
    case "offline":
      return { tone: "warn", text: `Offline, ${lastReceived}` };
    case "takenOver":
      return { tone: "warn", text: "Open in another tab" };
    case "revoked":
    case "removed":
    case "refused":
      return { tone: "warn", text: "Not paired any more" };
    case "connected":
      break;
  }
  if (computer.isComputerConnected === undefined) return { tone: "quiet", text: "Connecting…" };
  if (!computer.isComputerConnected) return { tone: "warn", text: `Not connected, ${lastReceived}` };
  return {
    tone: "good",
    text: lastReceivedAt === undefined ? "Connected" : `Connected, heard ${ago(lastReceivedAt, now)}`,
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
        title: "This phone is offline",
        detail: "It goes on by itself when there is a network.",
      };
    case "waiting": {
      const left = Math.max(1, Math.ceil((computer.relay.nextAttemptAt - now) / 1000));
      return {
        tone: "warn",
        title: "The relay cannot be reached",
        detail: computer.relay.nextAttemptAt <= now ? "Trying again…" : `Next try in ${left} s.`,
        action: "tryNow",
      };
    }
    case "takenOver":
      return {
        tone: "quiet",
        title: "Quillard is open in another tab",
        detail: "Only one tab of a browser talks to the computer at a time.",
        action: "useHere",
      };
    case "revoked":
      return {
        tone: "warn",
        title: `${name} unpaired its phones`,
        detail: "To answer its prompts again, pair this phone with its new code.",
        action: "pairAgain",
      };
    case "removed":
      return {
        tone: "warn",
        title: `${name} removed this phone`,
        detail: "To answer its prompts again, pair this phone with a new code.",
        action: "pairAgain",
      };
    case "refused":
      return {
        tone: "warn",
        title: "The relay does not know this pairing",
        detail: `It may have been set up anew. Pair this phone with ${name} again.`,
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
      title: `${computer.name} is not connected`,
      detail:
        computer.lastReceivedAt === undefined
          ? "The relay has not heard of it yet. It may be switched off, asleep or without a network."
          : `Last heard of ${longAge(computer.lastReceivedAt, now)}. It may be switched off, asleep or without a network.`,
    });
  }
  if (computer.pause) {
    found.push({
      tone: "quiet",
      title: pauseText(computer.pause, now),
      detail: `Prompts that come up meanwhile wait at ${computer.name}.`,
      isPause: true,
    });
  }
  if (computer.lock === "missing") {
    found.push({
      tone: "warn",
      title: "Grants need this phone’s lock",
      detail: `This browser cannot ask for a face, a finger or a code. Grant at ${computer.name}; dismissing works here.`,
    });
  }
  if (computer.accessibilityTrusted === false) {
    found.push({
      tone: "warn",
      title: `${computer.name} cannot see its windows`,
      detail:
        "Allow Accessibility for Quillard there: its window says how. Until then only what programs ask comes here.",
    });
  }
  if (computer.hasUnreadableSnapshot) {
    found.push({
      tone: "warn",
      title: "A list came that cannot be read",
      detail: "What stands below may be old. If this stays, forget this computer and pair again.",
    });
  }
  if (computer.promptsLeftOut !== undefined) {
    const isOne = computer.promptsLeftOut === 1;
    found.push({
      tone: "warn",
      title: `${counted(computer.promptsLeftOut, "more prompt")} ${isOne ? "is" : "are"} not shown`,
      detail: `The list is too long. Look at ${computer.name} for ${isOne ? "it" : "them"}.`,
    });
  }
  if (computer.logBrokenAt !== undefined && now - computer.logBrokenAt < week) {
    found.push({
      tone: "warn",
      title: `The log of ${computer.name} was cut or changed`,
      detail: `Noticed ${longAge(computer.logBrokenAt, now)}. It may lack earlier decisions.`,
    });
  }
  if (computer.storageProblem !== undefined) {
    found.push({
      tone: "warn",
      title: "The last changes are not stored",
      detail: `They are lost when this page is closed. ${computer.storageProblem}`,
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
      return { tone: "quiet", text: `Sending ${label}…`, isBusy: true };
    case "delivered":
      return { tone: "quiet", text: `${label} is with ${computerName}…`, isBusy: true };
    case "accepted":
      return { tone: "good", text: `${label} pressed, the prompt is gone.`, isBusy: false };
    case "failed":
      return { tone: "warn", text: withReason(`${label} did not work.`, decision.error), isBusy: false };
    case "undelivered":
      return {
        tone: "warn",
        text: withReason(`${label} never reached ${computerName}. Nothing was pressed.`, decision.error),
        isBusy: false,
      };
    case "unanswered":
      return {
        tone: "warn",
        text: `No answer about ${label} came within a minute. It is not known whether it was pressed.`,
        isBusy: false,
      };
    case "tooLate":
      return {
        tone: "warn",
        text: `${label} came too late at ${computerName}. Nothing was pressed. You can decide again.`,
        isBusy: false,
      };
    case "notFound":
      return {
        tone: "quiet",
        text: `The prompt or its button was gone already. Nothing was pressed.`,
        isBusy: false,
      };
    case "requiresDirectAccess":
      return {
        tone: "warn",
        text: `This can only be answered at ${computerName}. Nothing was pressed.`,
        isBusy: false,
      };
  }
}

/** A grant that waits for this phone's lock, or was stopped by it. */
export function unlockingText({ buttonLabel, problem }: NonNullable<Prompt["unlocking"]>): DecisionText {
  if (problem !== undefined) return { tone: "warn", text: problem, isBusy: false };
  return { tone: "quiet", text: `${quoted(buttonLabel)} waits for this phone’s lock…`, isBusy: true };
}

/** Why a grant is not to be given lightly: for the eye and the ear. */
export function cautionText(caution: NonNullable<PromptButton["caution"]>): string {
  switch (caution) {
    case "destroys":
      return "Something is lost";
    case "lasting":
      return "For later times, too";
    case "stranger":
      return "Unknown identity";
  }
}

/** Whether a prompt may be decided (again), as far as its last decision goes. */
export function mayDecide(prompt: Prompt): boolean {
  const status = prompt.decision?.status;
  return status !== "sending" && status !== "delivered" && status !== "accepted";
}

/** One line of the history. */
export function outcomeText(outcome: Outcome): ToneText {
  const label = outcome.buttonLabel === undefined ? "It" : quoted(outcome.buttonLabel);
  const who = outcome.otherPhone === undefined ? "" : ` on ${visibleName(outcome.otherPhone)}`;
  switch (outcome.status) {
    case "goneByItself":
      return { tone: "quiet", text: "Answered at the computer, or closed by itself" };
    case "suppressed":
      return {
        tone: "quiet",
        text: `Not shown any more${outcome.otherPhone === undefined ? "" : `: chosen${who}`}`,
      };
    case "accepted":
      return { tone: "good", text: `${label} pressed${who === "" ? " from here" : `: chosen${who}`}` };
    case "failed":
      return { tone: "warn", text: withReason(`${label}${who} did not work.`, outcome.error) };
    case "undelivered":
      return { tone: "warn", text: `${label} never reached the computer` };
    case "unanswered":
      return { tone: "warn", text: `${label}: no answer came, it is not known what became of it` };
    case "tooLate":
      return { tone: "warn", text: `${label}${who} came too late, nothing was pressed` };
    case "notFound":
      return { tone: "quiet", text: `${label}${who}: the prompt was gone already` };
    case "requiresDirectAccess":
      return { tone: "warn", text: `${label}${who}: can only be answered at the computer` };
    case "sending":
    case "delivered":
      return { tone: "quiet", text: `${label}${who}: under way` };
  }
}

/** A title for what may have none. */
export function titleOf(windowTitle: string): string {
  return windowTitle.trim() === "" ? "A window without a title" : visibleText(windowTitle);
}
