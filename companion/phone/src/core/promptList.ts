import { trim } from "./bounded";
import type { ReportedPrompt } from "./messages";

/** Prompts whose names are remembered after they went away, for results that come late. */
const mostRemembered = 200;

export interface PromptNames {
  readonly appName: string;
  readonly windowTitle: string;
}

/**
 * The newest list of prompts that the computer sent, and the names of those that it sent before.
 *
 * none -> current -> unreadable (the last good list stays) -> current ...
 */
export class PromptList {
  private list: readonly ReportedPrompt[] | undefined;
  private missing = 0;
  private trusted: boolean | undefined;
  private unreadable = false;
  private readonly names = new Map<string, PromptNames>();

  /** In the computer's order. Absent: no list yet. */
  get prompts(): readonly ReportedPrompt[] | undefined {
    return this.list;
  }

  /** How many prompts wait that the newest list has no room for. */
  get leftOut(): number {
    return this.missing;
  }

  /** Whether the computer may read windows at all. Absent: no list yet. */
  get accessibilityTrusted(): boolean | undefined {
    return this.trusted;
  }

  /** The newest list could not be opened or read. */
  get isUnreadable(): boolean {
    return this.unreadable;
  }

  /** `leftOut`: how many wait besides. Gives the prompts that are on the list no more. */
  replace(
    prompts: readonly ReportedPrompt[],
    accessibilityTrusted: boolean,
    leftOut = 0,
  ): readonly ReportedPrompt[] {
    const gone = (this.list ?? []).filter((before) => !prompts.some((prompt) => prompt.id === before.id));
    this.list = prompts;
    this.missing = leftOut;
    this.trusted = accessibilityTrusted;
    this.unreadable = false;
    for (const prompt of prompts) this.remember(prompt);
    return gone;
  }

  markUnreadable(): void {
    this.unreadable = true;
  }

  find(approvalID: string): ReportedPrompt | undefined {
    return this.list?.find((prompt) => prompt.id === approvalID);
  }

  /** Also of a prompt that went away. Absent: never on a list of this visit, or long gone. */
  namesOf(approvalID: string): PromptNames | undefined {
    return this.names.get(approvalID);
  }

  private remember({ id, appName, windowTitle }: ReportedPrompt): void {
    // The oldest go first, so what is still reported moves to the end.
    this.names.delete(id);
    this.names.set(id, { appName, windowTitle });
    trim(this.names, mostRemembered);
  }
}
