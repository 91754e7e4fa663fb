import { harmless, type DecisionRecord } from "./decisionLog";
import { given } from "./given";
import { resultStatuses, type Result } from "./messages";
import type { Instant } from "./model";
import type { PromptNames } from "./promptList";
import type { LogEntry } from "./reports";
import type { StoredOutcome } from "./store";

const mostKept = 50;
/** A result that comes so long after its prompt went away still explains why it went. Milliseconds. */
const resultLag = 60_000;

/** What an outcome is about. */
export interface OutcomeSubject extends PromptNames {
  readonly key: string;
  readonly approvalID: string;
  readonly at: Instant;
}

/** What became of prompts and decisions: newest first, each key once, at most 50. */
export class OutcomeHistory {
  private outcomes: readonly StoredOutcome[];

  constructor(stored: readonly StoredOutcome[]) {
    this.outcomes = stored;
  }

  /** Another object after each change. */
  all(): readonly StoredOutcome[] {
    return this.outcomes;
  }

  /** Takes the place of an older outcome of that key, and of "gone by itself" where it explains why the prompt went. */
  add(outcome: StoredOutcome): void {
    const others = this.outcomes.filter((old) => old.key !== outcome.key && !explains(outcome, old));
    this.outcomes = [outcome, ...others].slice(0, mostKept);
  }

  /** What is known already stays; the rest takes its place by its time. Whether it is new. */
  insert(outcome: StoredOutcome): boolean {
    const isOfPrompt = (old: StoredOutcome) => old.approvalID === outcome.approvalID;
    const isKnown = this.outcomes.some(
      (old) => old.key === outcome.key || (isOfPrompt(old) && outcome.status === "goneByItself"),
    );
    if (isKnown) return false;
    const others = this.outcomes.filter((old) => !explains(outcome, old));
    this.outcomes = [...others, outcome].sort((one, other) => other.at - one.at).slice(0, mostKept);
    return true;
  }

  addDecision(record: DecisionRecord): void {
    this.add(
      given<StoredOutcome>({
        key: record.decisionID,
        approvalID: record.approvalID,
        at: record.settledAt ?? record.decidedAt,
        appName: record.appName,
        windowTitle: record.windowTitle,
        buttonLabel: record.buttonLabel,
        status: record.status,
        error: record.error,
      }),
    );
  }

  /** What the computer's log tells of others, which had been missed here. `phone`: for one that it does not name. */
  addLogged(entry: LogEntry, phone: string): void {
    const { approvalID, decisionID, at, appName, windowTitle, buttonLabel, error } = entry;
    if (approvalID === undefined) return;
    const about = { approvalID, at, appName, windowTitle };
    const status = resultStatuses.get(entry.status ?? "");
    if (entry.event !== "outcome") {
      this.insert({ key: `log-${entry.sequence}`, ...about, status: "goneByItself" });
    } else if (status !== undefined && decisionID !== undefined) {
      this.insert(
        given<StoredOutcome>({
          key: decisionID,
          ...about,
          status,
          buttonLabel,
          error,
          otherPhone: entry.phones?.join(", ") || phone,
        }),
      );
    }
  }

  /** `otherPhone`: absent when it was this one. */
  addResult(
    subject: Omit<OutcomeSubject, "approvalID">,
    { approvalID, buttonLabel, status, error }: Result,
    otherPhone?: string,
  ): void {
    this.add(
      given<StoredOutcome>({
        ...subject,
        approvalID,
        buttonLabel,
        status,
        error,
        otherPhone,
      }),
    );
  }

  addGoneByItself(subject: OutcomeSubject): void {
    this.add({ ...subject, status: "goneByItself" });
  }

  /** `otherPhone`: absent when it was this one. */
  addSuppressed(subject: OutcomeSubject, otherPhone?: string): void {
    this.add(given<StoredOutcome>({ ...subject, status: "suppressed", otherPhone }));
  }
}

/** Only what may have pressed a button explains that a prompt went away. */
function explains(newer: StoredOutcome, old: StoredOutcome): boolean {
  if (old.status !== "goneByItself" || old.approvalID !== newer.approvalID) return false;
  if (newer.status === "suppressed" || newer.status === "goneByItself") return false;
  return !harmless.has(newer.status) && newer.at - old.at < resultLag;
}
