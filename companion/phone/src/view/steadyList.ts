// Keeps prompts in their places while a person reads and aims: what is new comes in below, and what is gone stays where it
// was for a few seconds, without buttons, and says what became of it.
import type { Instant, Prompt } from "../core/model";

export interface Slot {
  readonly prompt: Prompt;
  /** Absent: it is on the list. */
  readonly goneAt?: Instant;
}

/** How long a prompt that is gone keeps its place. */
export const kLinger = 6000;

/** Which of several prompts this is that look the same. */
export interface Alike {
  /** From 1. */
  readonly number: number;
  readonly count: number;
}

/** All that can be seen of it. */
function looks(prompt: Prompt): string {
  const buttons = prompt.buttons.map(({ label, isDisabled }) => [label, isDisabled]);
  return JSON.stringify([prompt.appName, prompt.windowTitle, prompt.messageLines, buttons]);
}

/** Absent: it is gone, or the only one of its looks. */
export function alikeOf(slot: Slot, slots: readonly Slot[]): Alike | undefined {
  if (slot.goneAt !== undefined) return undefined;
  const mine = looks(slot.prompt);
  const alike = slots.filter((one) => one.goneAt === undefined && looks(one.prompt) === mine);
  return alike.length < 2 ? undefined : { number: alike.indexOf(slot) + 1, count: alike.length };
}

function slotOf(slot: Slot, byID: ReadonlyMap<string, Prompt>, now: Instant): Slot {
  const prompt = byID.get(slot.prompt.id);
  if (prompt) return slot.prompt === prompt && slot.goneAt === undefined ? slot : { prompt };
  return slot.goneAt === undefined ? { prompt: slot.prompt, goneAt: now } : slot;
}

/** The next arrangement. `mayMove`: no finger is down, so places may be given up. */
export function arrange(
  slots: readonly Slot[],
  prompts: readonly Prompt[],
  now: Instant,
  mayMove: boolean,
): readonly Slot[] {
  const byID = new Map(prompts.map((prompt) => [prompt.id, prompt]));
  const known = new Set(slots.map((slot) => slot.prompt.id));
  const kept = slots
    .map((slot) => slotOf(slot, byID, now))
    .filter((slot) => slot.goneAt === undefined || !mayMove || now - slot.goneAt < kLinger);
  return [...kept, ...prompts.filter((prompt) => !known.has(prompt.id)).map((prompt) => ({ prompt }))];
}
