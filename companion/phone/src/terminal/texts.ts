// What the terminal phone prints, as texts. Everything that comes from other programs goes through `visibleText`: a
// terminal obeys control characters, and they must not reach it.

import type { Computer, Instant, Outcome, Prompt } from "../core/model";
import { visibleLines, visibleName, visibleText } from "../core/visibleText";

export function quoted(text: string): string {
  return `“${visibleText(text)}”`;
}

export function titleOf(prompt: { readonly appName: string; readonly windowTitle: string }): string {
  const app = visibleText(prompt.appName);
  return prompt.windowTitle === "" ? app : `${app}: ${visibleText(prompt.windowTitle)}`;
}

export function ageText(from: Instant, now: Instant): string {
  const seconds = Math.max(0, Math.floor((now - from) / 1000));
  if (seconds < 60) return `${seconds} s ago`;
  if (seconds < 3600) return `${Math.floor(seconds / 60)} min ago`;
  return `${Math.floor(seconds / 3600)} h ago`;
}

export const sleepLine = "A terminal cannot be woken: prompts are shown here while this program runs.";

/** `numbers`: that of each button, in their order; absent: it cannot be pressed from here. */
export function promptLines(
  prompt: Prompt,
  numbers: readonly (number | undefined)[],
  now: Instant,
): string[] {
  const lines = [`* ${titleOf(prompt)}  (since ${ageText(prompt.detectedAt, now)})`];
  for (const line of prompt.messageLines.flatMap(visibleLines)) lines.push(`    ${line}`);
  if (prompt.isFallbackDetection) lines.push("    (Recognised by its looks only.)");
  if (prompt.requiresDirectAccess) {
    const why = prompt.directAccessReason ?? "This can only be granted at the computer.";
    lines.push(`    Only to be dismissed from here: ${visibleText(why)}`);
  }
  prompt.buttons.forEach((button, index) => {
    const number = numbers[index];
    const mark = button.isDisabled ? " (takes no presses)" : button.isRecommended ? " (recommended)" : "";
    lines.push(`  ${number === undefined ? "  -" : `${number}`.padStart(3)}  ${quoted(button.label)}${mark}`);
  });
  return lines;
}

/** Of a list without prompts. */
export function emptyLine({ pause }: Computer): string {
  if (!pause) return "Nothing waits.";
  if (pause.until === undefined) return "Paused at the computer: what waits there is not shown.";
  const until = new Date(pause.until).toLocaleString("en-GB", { dateStyle: "medium", timeStyle: "short" });
  return `Paused at the computer until ${until}: what waits there is not shown.`;
}

/** Absent: the list is whole. */
export function leftOutLine({ promptsLeftOut }: Computer): string | undefined {
  if (promptsLeftOut === undefined) return undefined;
  const what = promptsLeftOut === 1 ? "1 more prompt is" : `${promptsLeftOut} more prompts are`;
  return `${what} not shown: the list is too long. Look at the computer.`;
}

export function relayLine(computer: Computer): string {
  switch (computer.relay.kind) {
    case "connecting":
      return "Connecting to the relay ...";
    case "connected":
      return "Connected to the relay.";
    case "offline":
      return "This machine has no network.";
    case "waiting":
      return "The relay cannot be reached; it is tried again.";
    case "takenOver":
      return "Another connection has taken this one's place.";
    case "revoked":
      return "The computer has unpaired its phones. Pair anew.";
    case "removed":
      return "The computer has removed this phone.";
    case "refused":
      return "The relay does not know this pairing.";
  }
}

export function outcomeLine(outcome: Outcome): string {
  const what = titleOf(outcome);
  const by = outcome.otherPhone === undefined ? "" : ` by ${visibleName(outcome.otherPhone)}`;
  const why = outcome.error === undefined ? "" : ` ${visibleText(outcome.error)}`;
  const label = outcome.buttonLabel === undefined ? "" : quoted(outcome.buttonLabel);
  switch (outcome.status) {
    case "accepted":
      return `Done: ${label} was pressed${by}, and the prompt went away. (${what})`;
    case "failed":
      return `Failed: ${label} was asked for${by}.${why} (${what})`;
    case "tooLate":
      return `Too late: ${label} was asked for${by}, and nothing was pressed. (${what})`;
    case "notFound":
      return `Gone: ${label} was asked for${by}, but the prompt or its button was not there any more.${why} (${what})`;
    case "requiresDirectAccess":
      return `Not from here: ${label} was asked for${by}.${why} (${what})`;
    case "undelivered":
      return `Not delivered: ${label}.${why} (${what})`;
    case "unanswered":
      return `No answer: ${label}.${why} (${what})`;
    case "goneByItself":
      return `Gone: answered at the computer, or closed by itself. (${what})`;
    case "suppressed":
      return `Muted${by}. (${what})`;
    case "sending":
    case "delivered":
      return `Under way: ${label}. (${what})`;
  }
}
