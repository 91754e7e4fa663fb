import { elapsed, type ClockStamp, type ComputerClock, type Moment } from "./computerClock";
import { DecisionLog, isOpen, type DecisionRecord } from "./decisionLog";
import { trim } from "./bounded";
import type { Environment } from "./environment";
import { requestMessage, type Result } from "./messages";
import type { Decision, Prompt } from "./model";
import type { SealedChannel } from "./sealedChannel";
import { newUuid } from "./uuid";

export interface DecisionDeliveryDependencies {
  readonly environment: Pick<Environment, "now" | "monotonicNow" | "after" | "crypto">;
  readonly clock: ComputerClock;
  readonly channel: SealedChannel;
  isConnected(): boolean;
  /** False: nothing went out. */
  send(text: string): boolean;
  /** Never rejects. */
  save(): Promise<unknown>;
  /** The relay, the computer or the end of its minute settled it. */
  settled(record: DecisionRecord): void;
  changed(): void;
}

/** A decision of this visit. */
interface Tap {
  readonly at: Moment;
  /** What the newest box says about when that was. Absent: the computer does not ask for it. */
  readonly sealedAs?: ClockStamp;
  readonly isAskedAgain: boolean;
  /** This phone's own lock was asked for. */
  readonly isUnlocked: boolean;
}

/** The computer may think a decision too late because a stamp was long on its way. Then it is worth a second try. */
const worthAskingAgain = 20_000;
/** Far more than can be open. */
const mostTaps = 200;

/**
 * The decisions that are made here: gives each its identity, seals it once, sends that same box as long as it is open and
 * young enough, and ends it when its minute is over. What is known of each stands in the `DecisionLog`.
 *
 * The box says when the decision was made, on the computer's clock. Where the computer finds it too late although it was
 * made just now, it is sealed once more with what is known by then, under the same name: the computer did nothing about
 * the first box, and acts on one name once.
 */
export class DecisionDelivery {
  private readonly log: DecisionLog;
  private cancelTimer: () => void = () => {};
  private readonly taps = new Map<string, Tap>();
  private isStopped = false;

  /** `records`: of earlier visits, newest last. */
  constructor(
    records: readonly DecisionRecord[],
    private readonly dependencies: DecisionDeliveryDependencies,
  ) {
    this.log = new DecisionLog(records, dependencies.environment.now());
  }

  stop(): void {
    this.isStopped = true;
    this.cancelTimer();
  }

  /** To be stored. Newest last. */
  records(): readonly DecisionRecord[] {
    return this.log.all();
  }

  /** Whether this phone made it, as far as it remembers. */
  knows(decisionID: string): boolean {
    return this.log.find(decisionID) !== undefined;
  }

  /** The newest decision on a prompt, for as long as it concerns it. */
  on(approvalID: string): Decision | undefined {
    return this.log.on(approvalID, this.now());
  }

  mayHavePressed(approvalID: string): boolean {
    return this.log.mayHavePressed(approvalID);
  }

  promptGone(approvalID: string): void {
    this.log.promptGone(approvalID);
  }

  /** `at`: when a person chose it. Nothing happens where the prompt, the button or an earlier decision does not allow it. */
  decide(prompt: Prompt, buttonLabel: string, isUnlocked = false, at = this.moment()): void {
    const now = this.now();
    const button = prompt.buttons.find((candidate) => candidate.label === buttonLabel);
    if (!button || button.isDisabled || !this.log.mayDecide(prompt.id, now)) return;
    if (prompt.requiresDirectAccess && button.kind !== "dismiss") return;
    const decisionID = newUuid(this.dependencies.environment.crypto);
    const { id: approvalID, appName, windowTitle } = prompt;
    const made = { decisionID, approvalID, buttonLabel, decidedAt: at.wall, appName, windowTitle } as const;
    this.log.add({ ...made, status: "sending", mayHaveArrived: false });
    this.taps.set(decisionID, { at, isAskedAgain: false, isUnlocked });
    trim(this.taps, mostTaps);
    this.schedule();
    this.dependencies.changed();
    void this.sealAndSend(decisionID);
  }

  /** Sends what is open. Timers stand still while a phone sleeps: what grew too old meanwhile is not pressed now. */
  resume(): void {
    this.expire();
    for (const decision of this.log.open()) this.send(decision.decisionID);
  }

  connectionLost(): void {
    this.log.connectionLost();
  }

  /** The relay says whether it handed the decision to the computer. */
  receipt(decisionID: string, delivered: boolean, reason: string | undefined): void {
    const settled = this.log.receipt(decisionID, delivered, reason, this.now());
    if (settled) this.dependencies.settled(settled);
    this.schedule();
  }

  /** False: this phone made no decision of that name. */
  result(decisionID: string, result: Result): boolean {
    if (result.status === "tooLate" && this.askAgain(decisionID, result)) return true;
    const record = this.log.result(decisionID, result, this.now());
    if (record) this.dependencies.settled(record);
    this.schedule();
    // A result of something else under the name of our decision settles nothing.
    return this.log.find(decisionID) !== undefined;
  }

  /** Ends those whose minute is over. */
  expire(): void {
    const expired = this.log.expire(this.now());
    for (const record of expired) this.dependencies.settled(record);
    this.schedule();
    this.dependencies.changed();
    if (expired.length > 0) void this.dependencies.save();
  }

  /** Stored before it is sent: should the page be closed right now, the next visit asks what became of it. */
  private async sealAndSend(decisionID: string): Promise<void> {
    const record = this.log.find(decisionID);
    const tap = this.taps.get(decisionID);
    if (!record || !tap) return;
    const { approvalID, buttonLabel } = record;
    const tappedAt = this.dependencies.clock.at(tap.at);
    if (tappedAt) this.taps.set(decisionID, { ...tap, sealedAs: tappedAt });
    const command = {
      approvalID,
      buttonLabel,
      decisionID,
      // JSON leaves out what is undefined.
      tappedAt,
      userVerified: tap.isUnlocked || undefined,
    };
    const box = await this.dependencies.channel.seal(command);
    // What cannot be sealed stays open until its minute is over.
    if (!box || this.isStopped) return;
    this.log.sealed(decisionID, box);
    await this.dependencies.save();
    this.send(decisionID);
  }

  private send(decisionID: string): void {
    const box = this.log.find(decisionID)?.box;
    const now = this.now();
    const mayBeSent = this.dependencies.isConnected() && !this.isStopped && this.log.mayAsk(decisionID, now);
    if (!box || !mayBeSent) return;
    if (this.dependencies.send(requestMessage(decisionID, box, now))) this.log.handedOver(decisionID);
  }

  /** False: that would change nothing, or comes too late by this phone's own clocks. */
  private askAgain(decisionID: string, { approvalID, buttonLabel }: Result): boolean {
    const record = this.log.find(decisionID);
    const tap = this.taps.get(decisionID);
    if (!record || !tap?.sealedAs || tap.isAskedAgain || !isOpen(record)) return false;
    if (record.approvalID !== approvalID || record.buttonLabel !== buttonLabel) return false;
    const { epoch, time } = tap.sealedAs;
    const better = this.dependencies.clock.at(tap.at);
    if (!better || (better.epoch === epoch && better.time <= time)) return false;
    if (elapsed(tap.at, this.moment()) >= worthAskingAgain) return false;
    this.taps.set(decisionID, { ...tap, isAskedAgain: true });
    void this.sealAndSend(decisionID);
    return true;
  }

  private moment(): Moment {
    const { environment } = this.dependencies;
    return { monotonic: environment.monotonicNow(), wall: environment.now() };
  }

  private schedule(): void {
    this.cancelTimer();
    const now = this.now();
    const next = this.log.nextChange(now);
    if (next === undefined || this.isStopped) return;
    this.cancelTimer = this.dependencies.environment.after(Math.max(next - now, 0), () => this.expire());
  }

  private now(): number {
    return this.dependencies.environment.now();
  }
}
