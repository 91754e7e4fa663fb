import { DecisionLog, type DecisionRecord } from "./decisionLog";
import type { Environment } from "./environment";
import { requestMessage, type Result } from "./messages";
import type { Decision, Prompt } from "./model";
import type { SealedChannel } from "./sealedChannel";
import { newUuid } from "./uuid";

export interface DecisionDeliveryDependencies {
  readonly environment: Pick<Environment, "now" | "after" | "crypto">;
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

/**
 * The decisions that are made here: gives each its identity, sends it as long as it is open and young enough, and ends
 * it when its minute is over. What is known of each stands in the `DecisionLog`.
 */
export class DecisionDelivery {
  private readonly log: DecisionLog;
  private cancelTimer: () => void = () => {};
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

  /** Nothing happens where the prompt, the button or an earlier decision does not allow it. */
  decide(prompt: Prompt, buttonLabel: string): void {
    const now = this.now();
    const button = prompt.buttons.find((candidate) => candidate.label === buttonLabel);
    if (!button || !this.log.mayDecide(prompt.id, now)) return;
    if (prompt.requiresDirectAccess && button.kind !== "dismiss") return;
    const decisionID = newUuid(this.dependencies.environment.crypto);
    const { id: approvalID, appName, windowTitle } = prompt;
    const made = { decisionID, approvalID, buttonLabel, decidedAt: now, appName, windowTitle } as const;
    this.log.add({ ...made, status: "sending", mayHaveArrived: false });
    this.schedule();
    this.dependencies.changed();
    // Stored first: should the page be closed right now, the next visit asks what became of it.
    void this.dependencies.save().then(() => this.send(decisionID));
  }

  /** Sends what is open. Timers stand still while a phone sleeps: what grew too old meanwhile is not pressed now. */
  resume(): void {
    this.expire();
    for (const decision of this.log.open()) void this.send(decision.decisionID);
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

  private async send(decisionID: string): Promise<void> {
    const decision = this.log.find(decisionID);
    if (!decision || !this.dependencies.isConnected()) return;
    const { approvalID, buttonLabel } = decision;
    // Sealed anew each time: the computer opens a box once. What cannot be sealed stays open until its minute is over.
    const payload = await this.dependencies.channel.seal({ approvalID, buttonLabel });
    const now = this.now();
    if (!payload || this.isStopped || !this.log.mayAsk(decisionID, now)) return;
    if (this.dependencies.send(requestMessage(decisionID, payload, now))) this.log.handedOver(decisionID);
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
