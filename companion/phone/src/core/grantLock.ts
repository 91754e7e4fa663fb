import { say } from "../language/say";
import type { Computer, Prompt } from "./model";
import type { PromptList } from "./promptList";

/** This phone's own lock, as the computers of one phone share it. */
export interface SharedLock {
  isThere(): boolean;
  /** By a person, for all grants. */
  isChosen(): boolean;
  /** Asks for it. Rejects with an Error whose message is for people. */
  open(): Promise<void>;
}

export interface GrantLockDependencies {
  readonly lock: SharedLock;
  /** What the computer reports now. */
  readonly list: PromptList;
  /** It may be granted, where it is still there. */
  grant(approvalID: string, buttonLabel: string): void;
  changed(): void;
}

/**
 * This phone's lock before the grants for one computer. One grant waits for it at a time, and keeps why it did not let it
 * through until another one is tried.
 */
export interface GrantLock {
  /** Whether the computer refuses grants without it. At first it does not. */
  require(isWanted: boolean): void;
  /** Whether grants need it. */
  state(): Computer["lock"];
  /** Absent: this prompt does not wait for it. */
  on(approvalID: string): Prompt["unlocking"];
  /** This prompt was decided without it; absent: whatever waits is not granted any more. */
  forget(approvalID?: string): void;
  /** What is granted is what stood there before the lock was asked for: a prompt that changed meanwhile is shown again. */
  open(approvalID: string, buttonLabel: string): Promise<void>;
}

export function createGrantLock({ lock, list, grant, changed }: GrantLockDependencies): GrantLock {
  let isRequired = false;
  let unlocking:
    { readonly approvalID: string; readonly shown: NonNullable<Prompt["unlocking"]> } | undefined;
  return {
    require(isWanted) {
      isRequired = isWanted;
    },
    state() {
      if (!isRequired && !lock.isChosen()) return undefined;
      return lock.isThere() ? "asked" : "missing";
    },
    on: (approvalID) => (unlocking?.approvalID === approvalID ? unlocking.shown : undefined),
    forget(approvalID = unlocking?.approvalID) {
      if (unlocking?.approvalID === approvalID) unlocking = undefined;
    },
    async open(approvalID, buttonLabel) {
      if (unlocking && unlocking.shown.problem === undefined) return;
      const waiting = { approvalID, shown: { buttonLabel } };
      const subject = () => JSON.stringify(list.find(approvalID));
      const before = subject();
      unlocking = waiting;
      changed();
      let problem: string | undefined;
      try {
        await lock.open();
        if (subject() !== before) problem = say("The prompt has changed meanwhile. Nothing was sent.");
      } catch (error) {
        problem =
          error instanceof Error ? error.message : say("This phone’s lock did not answer. Nothing was sent.");
      }
      if (unlocking !== waiting) return;
      unlocking = problem === undefined ? undefined : { approvalID, shown: { buttonLabel, problem } };
      if (problem === undefined) grant(approvalID, buttonLabel);
      changed();
    },
  };
}
