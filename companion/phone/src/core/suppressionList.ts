import type { Instant, Suppression } from "./model";
import type { PromptNames } from "./promptList";
import type { PendingSuppression } from "./store";

const mostKept = 500;
/** So long may the computer's word be older than what was asked of it. Milliseconds. */
const settling = 5000;

/**
 * The kinds of prompts that this phone does not show, and what the computer has not been notified of yet. A change takes
 * effect here immediately; its command stays pending until the relay has handed it to the computer.
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
    const added = { suppressionID, at, appName, windowTitle, ...(until !== undefined && { until }) };
    this.suppressions = [added, ...this.suppressions].slice(0, mostKept);
  }

  find(suppressionID: string): Suppression | undefined {
    return this.suppressions.find((suppression) => suppression.suppressionID === suppressionID);
  }

  /** What the computer says takes the place of all, but for what was just asked of it from here. */
  report(kinds: readonly Suppression[], now: Instant): void {
    const asked = new Map(this.commands.map(({ suppressionID, action }) => [suppressionID, action]));
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

  /** Oldest first. */
  pending(): readonly PendingSuppression[] {
    return this.commands;
  }

  /** Of two commands about the same kind of prompt the newer counts. */
  enqueue(command: PendingSuppression): void {
    const others = this.commands.filter((old) => old.suppressionID !== command.suppressionID);
    this.commands = [...others, command].slice(-mostKept);
  }

  /** Whether that command is still to be sent. */
  isPending(decisionID: string): boolean {
    return this.commands.some((command) => command.decisionID === decisionID);
  }

  delivered(decisionID: string): void {
    this.commands = this.commands.filter((command) => command.decisionID !== decisionID);
  }
}
