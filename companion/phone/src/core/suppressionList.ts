import { given } from "./given";
import type { Instant, Suppression } from "./model";
import type { PromptNames } from "./promptList";
import type { PendingSuppression } from "./store";

const mostKept = 500;
/** So long may the computer's word be older than what was asked of it. Milliseconds. */
const settling = 5000;
/** So long may a relay take a dead connection of the computer for a good one. Milliseconds. */
const inDoubt = 90_000;
/** How far the end of a mute may be from where this phone expects it. Milliseconds. */
const endTolerance = 120_000;

/**
 * The kinds of prompts that this phone does not show, and what the computer may not know yet. A change takes effect here
 * immediately. States of its command: pending -> written to a connection of the computer -> known there, when the computer
 * says so or has kept that connection for as long as it can be in doubt; and back to pending when that connection ends
 * before.
 */
export class SuppressionList {
  private suppressions: readonly Suppression[];
  private commands: readonly PendingSuppression[];

  constructor(suppressions: readonly Suppression[], pending: readonly PendingSuppression[]) {
    this.suppressions = suppressions;
    this.commands = pending;
  }

  /** Newest first. Another object after each change. */
  all(): readonly Suppression[] {
    return this.suppressions;
  }

  has(suppressionID: string): boolean {
    return this.suppressions.some((suppression) => suppression.suppressionID === suppressionID);
  }

  /** Moves to the front where it is suppressed already. */
  add(suppressionID: string, { appName, windowTitle }: PromptNames, at: Instant, until?: Instant): void {
    this.remove(suppressionID);
    const added = given<Suppression>({ suppressionID, at, appName, windowTitle, until });
    this.suppressions = [added, ...this.suppressions].slice(0, mostKept);
  }

  find(suppressionID: string): Suppression | undefined {
    return this.suppressions.find((suppression) => suppression.suppressionID === suppressionID);
  }

  /** What the computer says takes the place of all, but for what was just asked of it from here. */
  report(kinds: readonly Suppression[], now: Instant): void {
    this.commands = this.commands.filter((command) => !isKnown(command, kinds));
    const asked = new Map(this.pending().map(({ suppressionID, action }) => [suppressionID, action]));
    const own = this.suppressions.filter(
      ({ suppressionID, at }) =>
        asked.get(suppressionID) === "suppress" ||
        (at <= now && now - at < settling && !asked.has(suppressionID)),
    );
    const others = kinds.filter(
      ({ suppressionID }) =>
        asked.get(suppressionID) !== "unsuppress" && !own.some((one) => one.suppressionID === suppressionID),
    );
    this.suppressions = [...own, ...others.map((kind) => this.named(kind))].slice(0, mostKept);
  }

  /** With the names that this phone knows, where the computer has none. */
  private named(kind: Suppression): Suppression {
    const known = kind.appName === "" && kind.windowTitle === "" ? this.find(kind.suppressionID) : undefined;
    return known ? { ...kind, appName: known.appName, windowTitle: known.windowTitle } : kind;
  }

  remove(suppressionID: string): void {
    this.suppressions = this.suppressions.filter(
      (suppression) => suppression.suppressionID !== suppressionID,
    );
  }

  /** To be stored: those that are pending or in doubt. Oldest first. */
  open(): readonly PendingSuppression[] {
    return this.commands;
  }

  /** To be sent. Oldest first. */
  pending(): readonly PendingSuppression[] {
    return this.commands.filter(({ writtenAt }) => writtenAt === undefined);
  }

  /** Of two commands about the same kind of prompt the newer counts. */
  enqueue(command: PendingSuppression): void {
    const others = this.commands.filter((old) => old.suppressionID !== command.suppressionID);
    this.commands = [...others, command].slice(-mostKept);
  }

  /** Whether that command is still to be sent. */
  isPending(decisionID: string): boolean {
    return this.pending().some((command) => command.decisionID === decisionID);
  }

  /** The relay has written it to the computer's connection of this number. */
  written(decisionID: string, now: Instant, connection: number | undefined): void {
    this.commands = this.commands.map((command) =>
      command.decisionID === decisionID
        ? given<PendingSuppression>({
            ...command,
            writtenAt: now,
            writtenTo: connection ?? command.writtenTo,
          })
        : command,
    );
  }

  /**
   * Which connection the computer has now: `undefined` where the relay does not say, `"none"` where there is none. What an
   * earlier one took lately may never have arrived, and is pending again. Gives that.
   */
  connectionIs(connection: number | "none" | undefined, now: Instant): readonly PendingSuppression[] {
    const again: PendingSuppression[] = [];
    this.commands = this.commands.flatMap((command) => {
      const { writtenAt, writtenTo, ...others } = command;
      if (writtenAt === undefined) return [command];
      if (now < writtenAt || now - writtenAt >= inDoubt) return [];
      if (!hasEnded(writtenTo, connection)) return [command];
      again.push(others);
      return [others];
    });
    return again;
  }

  /** Another phone has asked for something else about this kind since. */
  overruled(suppressionID: string): void {
    this.commands = this.commands.filter(
      (command) => command.suppressionID !== suppressionID || command.writtenAt === undefined,
    );
  }
}

function hasEnded(writtenTo: number | undefined, connection: number | "none" | undefined): boolean {
  if (connection === "none") return true;
  return writtenTo !== undefined && connection !== undefined && writtenTo !== connection;
}

/** Whether what the computer says is muted shows that a written command has arrived. */
function isKnown(
  { action, suppressionID, lasts, writtenAt }: PendingSuppression,
  kinds: readonly Suppression[],
): boolean {
  if (writtenAt === undefined) return false;
  const kind = kinds.find((candidate) => candidate.suppressionID === suppressionID);
  if (action === "unsuppress") return kind === undefined;
  if (!kind || lasts === undefined) return kind !== undefined;
  if (lasts === 0) return kind.until === undefined;
  return kind.until !== undefined && Math.abs(kind.until - (writtenAt + lasts * 1000)) < endTolerance;
}
