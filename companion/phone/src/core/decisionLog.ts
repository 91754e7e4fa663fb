// The decisions that this phone made about one computer's prompts, and what is known of each: a pure record of events,
// with time handed in.
//
// Life of a decision: sending -> delivered -> the computer's word, or unanswered after a minute; or sending ->
// undelivered. The computer's word counts whenever it comes, after a settlement of our own as well: it is the truth.

import { given } from "./given";
import { say } from "../language/say";
import type { Decision, Instant } from "./model";
import type { Result } from "./messages";
import type { SealedPayload } from "./sealing";

/** How long a decision may be asked again, and stays open without an answer. */
export const decisionLife = 60_000;
/** A decision whose button was pressed keeps its prompt from being decided again for as long. */
const acceptedShownFor = 60_000;
const mostKept = 100;

export interface DecisionRecord extends Decision {
  readonly appName: string;
  readonly windowTitle: string;
  /** It may have reached the computer: then silence does not mean that nothing was pressed. */
  readonly mayHaveArrived: boolean;
  /** What is sent, each time the same: the computer acts on a box once. Absent: not sealed yet. */
  readonly box?: SealedPayload;
}

const open: ReadonlySet<Decision["status"]> = new Set(["sending", "delivered"]);

/** With these nothing was pressed. */
export const harmless: ReadonlySet<Decision["status"]> = new Set([
  "undelivered",
  "requiresDirectAccess",
  "tooLate",
]);

export function isOpen(decision: Decision): boolean {
  return open.has(decision.status);
}

const undeliveredReasons: ReadonlyMap<string | undefined, string> = new Map([
  ["macNotConnected", say("The computer is not connected to the relay. Nothing was pressed.")],
  ["macBusy", say("Too much waits for the computer already. Nothing was pressed.")],
]);
const neverSent = say("The relay could not be reached within a minute. Nothing was pressed.");
const refusedByRelay = say("The relay did not pass it on. Nothing was pressed.");
const noAnswer = say(
  "The computer did not answer within a minute. It is not known whether the button was pressed.",
);

export class DecisionLog {
  private readonly records = new Map<string, DecisionRecord>();
  /** Decisions on a prompt that went away since: should it come again, it is another question. */
  private readonly past = new Set<string>();
  /** How many sendings of a decision the relay has not acknowledged yet. */
  private readonly outstanding = new Map<string, number>();

  /** Records of an earlier visit; those that were open may have arrived, since their outcome was not received. */
  constructor(records: readonly DecisionRecord[], now: Instant) {
    for (const record of records) {
      // A clock that was set back since must not keep a decision open for longer than its life.
      const decidedAt = Math.min(record.decidedAt, now);
      this.records.set(record.decisionID, {
        ...record,
        decidedAt,
        mayHaveArrived: record.mayHaveArrived || isOpen(record),
      });
    }
  }

  /** Oldest first. */
  all(): readonly DecisionRecord[] {
    return [...this.records.values()];
  }

  open(): readonly DecisionRecord[] {
    return this.all().filter(isOpen);
  }

  find(decisionID: string): DecisionRecord | undefined {
    return this.records.get(decisionID);
  }

  /** The newest decision on a prompt. Absent: none, or one whose success is long past. */
  on(approvalID: string, now: Instant): DecisionRecord | undefined {
    const newest = this.all().findLast(
      (record) => record.approvalID === approvalID && (isOpen(record) || !this.past.has(record.decisionID)),
    );
    const isPast =
      newest?.status === "accepted" && now - (newest.settledAt ?? newest.decidedAt) >= acceptedShownFor;
    return isPast ? undefined : newest;
  }

  /** Not while an earlier decision is open, or has just been carried out. */
  mayDecide(approvalID: string, now: Instant): boolean {
    const newest = this.on(approvalID, now);
    return newest === undefined || (!isOpen(newest) && newest.status !== "accepted");
  }

  /** Only while it is open, and young enough: a person does not expect a press long after the tap. */
  mayAsk(decisionID: string, now: Instant): boolean {
    const record = this.records.get(decisionID);
    return record !== undefined && isOpen(record) && now - record.decidedAt < decisionLife;
  }

  add(record: DecisionRecord): void {
    this.records.set(record.decisionID, record);
    for (const old of this.all()) {
      if (this.records.size <= mostKept) break;
      if (isOpen(old)) continue;
      this.records.delete(old.decisionID);
      this.past.delete(old.decisionID);
    }
  }

  /**
   * What was decided about it concerns it no more, should it come again; of an open decision that holds once it is
   * settled, since the computer sends the list without the prompt before it sends what became of the decision.
   */
  promptGone(approvalID: string): void {
    for (const record of this.all()) {
      if (record.approvalID === approvalID) this.past.add(record.decisionID);
    }
  }

  /** Whether a button of it may have been pressed from here, as far as is known. */
  mayHavePressed(approvalID: string): boolean {
    return this.all().some((record) => record.approvalID === approvalID && !harmless.has(record.status));
  }

  sealed(decisionID: string, box: SealedPayload): void {
    this.update(decisionID, { box });
  }

  handedOver(decisionID: string): void {
    this.outstanding.set(decisionID, (this.outstanding.get(decisionID) ?? 0) + 1);
  }

  /** What was under way when the connection broke may have arrived or not. */
  connectionLost(): void {
    for (const decisionID of this.outstanding.keys()) this.update(decisionID, { mayHaveArrived: true });
    this.outstanding.clear();
  }

  /** The relay says whether it handed the decision to the computer. Gives the record where that settled it. */
  receipt(
    decisionID: string,
    delivered: boolean,
    reason: string | undefined,
    now: Instant,
  ): DecisionRecord | undefined {
    const outstanding = this.outstanding.get(decisionID) ?? 0;
    const record = this.records.get(decisionID);
    if (outstanding === 0 || !record) return undefined;
    this.outstanding.set(decisionID, outstanding - 1);
    if (!isOpen(record)) return undefined;
    if (delivered) {
      this.update(decisionID, { mayHaveArrived: true, status: "delivered" });
      return undefined;
    }
    // An earlier sending may have been handed over: then this refusal proves nothing.
    if (record.mayHaveArrived || outstanding > 1) return undefined;
    const error = undeliveredReasons.get(reason) ?? refusedByRelay;
    return this.update(decisionID, { status: "undelivered", error, settledAt: now });
  }

  /** Absent: nothing like it was asked by this decision, so the result is about something else. */
  result(decisionID: string, result: Result, now: Instant): DecisionRecord | undefined {
    const record = this.records.get(decisionID);
    if (!record || record.approvalID !== result.approvalID || record.buttonLabel !== result.buttonLabel) {
      return undefined;
    }
    const settledAt = isOpen(record) ? now : (record.settledAt ?? now);
    const settled = given<DecisionRecord>({
      ...record,
      status: result.status,
      mayHaveArrived: true,
      settledAt,
      error: result.error,
    });
    this.records.set(decisionID, settled);
    return settled;
  }

  /** Those whose minute is over; each of them once. */
  expire(now: Instant): DecisionRecord[] {
    return this.open()
      .filter((record) => now - record.decidedAt >= decisionLife)
      .map((record) => {
        const mayHaveArrived = record.mayHaveArrived || (this.outstanding.get(record.decisionID) ?? 0) > 0;
        const end = mayHaveArrived
          ? ({ status: "unanswered", error: noAnswer } as const)
          : ({ status: "undelivered", error: neverSent } as const);
        return this.update(record.decisionID, { ...end, mayHaveArrived, settledAt: now }) ?? record;
      });
  }

  /** When something will change by itself. Absent: nothing will. */
  nextChange(now: Instant): Instant | undefined {
    const times = this.all().flatMap((record) => {
      if (isOpen(record)) return [record.decidedAt + decisionLife];
      const end = (record.settledAt ?? record.decidedAt) + acceptedShownFor;
      return record.status === "accepted" && end > now ? [end] : [];
    });
    return times.length === 0 ? undefined : Math.min(...times);
  }

  private update(decisionID: string, change: Partial<DecisionRecord>): DecisionRecord | undefined {
    const record = this.records.get(decisionID);
    if (!record) return undefined;
    const changed = { ...record, ...change };
    this.records.set(decisionID, changed);
    return changed;
  }
}
