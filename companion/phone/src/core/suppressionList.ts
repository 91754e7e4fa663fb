import type { Instant, Suppression } from "./model";
import type { PromptNames } from "./promptList";
import type { PendingSuppression } from "./store";

const mostKept = 500;

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
  add(suppressionID: string, { appName, windowTitle }: PromptNames, at: Instant): void {
    this.remove(suppressionID);
    this.suppressions = [{ suppressionID, at, appName, windowTitle }, ...this.suppressions].slice(
      0,
      mostKept,
    );
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
