// One paired computer as this phone knows it: its list, what was decided about it, and what became of that. Nothing is
// shared with another computer's session but the surroundings.

import { DecisionLog, harmless, type DecisionRecord } from "./decisionLog";
import type { Environment } from "./environment";
import {
  readMessage,
  readPrompts,
  readResultCommand,
  readSuppressionCommand,
  requestMessage,
  suppressionMessage,
  type IncomingMessage,
  type OtherPhone,
  type Result,
  type ReportedPrompt,
} from "./messages";
import type { Computer, Instant, Prompt, Suppression } from "./model";
import { RelayConnection } from "./relayConnection";
import { open, seal, type SealedPayload } from "./sealing";
import { UsedNonces } from "./usedNonces";
import type { PairingKeys, PairingNotes, PendingSuppression, StoredOutcome, StoredPairing } from "./store";
import { newUuid } from "./uuid";

const mostOutcomes = 50;
const mostSuppressions = 500;
/** Prompts whose names are remembered after they went away, for results that come late. */
const mostRemembered = 200;
/** A result that comes so long after its prompt went away still explains why it went. */
const resultLag = 60_000;
const otherPhone = "Another phone";
const unknownPrompt = "A prompt that this phone has not seen";

interface PromptNames {
  readonly appName: string;
  readonly windowTitle: string;
}

export class ComputerSession {
  readonly keys: PairingKeys;

  private name: string;
  private told: readonly ReportedPrompt[] | undefined;
  private accessibilityTrusted: boolean | undefined;
  private hasUnreadableSnapshot = false;
  private isComputerConnected: boolean | undefined;
  private lastReceivedAt: Instant | undefined;
  private outcomes: readonly StoredOutcome[];
  private suppressions: readonly Suppression[];
  private pendingSuppressions: readonly PendingSuppression[];
  private ended: PairingNotes["ended"];

  private readonly book: DecisionLog;
  private readonly seen: UsedNonces;
  private readonly connection: RelayConnection;
  private readonly names = new Map<string, PromptNames>();
  /** Prompts of which another phone may have pressed a button. */
  private readonly pressedElsewhere = new Set<string>();
  private inbox: Promise<void> = Promise.resolve();
  private cancelTimer: () => void = () => {};
  private isStopped = false;

  /** `changed` is called after every change of `computer()`. */
  constructor(
    stored: StoredPairing,
    private readonly environment: Environment,
    deviceName: () => string,
    private readonly changed: () => void,
  ) {
    const { notes, ...keys } = stored;
    this.keys = keys;
    this.name = notes.name;
    this.outcomes = notes.outcomes;
    this.suppressions = notes.suppressions;
    this.pendingSuppressions = notes.pendingSuppressions;
    this.ended = notes.ended;
    this.book = new DecisionLog(notes.decisions, environment.now());
    this.seen = new UsedNonces(notes.seenNonces);
    this.connection = new RelayConnection({ ...keys, deviceName }, environment, {
      stateChanged: () => this.relayChanged(),
      connected: () => this.askEverything(),
      disconnected: () => this.disconnected(),
      message: (text) => this.received(text),
    });
  }

  start(): void {
    this.settleExpired();
    this.connection.start(this.ended);
  }

  /** For good; nothing is kept from here on. */
  stop(): void {
    this.isStopped = true;
    this.cancelTimer();
    this.connection.stop();
  }

  computer(): Computer {
    const { isComputerConnected, lastReceivedAt, accessibilityTrusted } = this;
    const prompts = this.prompts();
    return {
      pairingID: this.keys.pairingID,
      name: this.name,
      pairedAt: this.keys.pairedAt,
      relay: this.connection.state,
      ...(isComputerConnected !== undefined && { isComputerConnected }),
      ...(lastReceivedAt !== undefined && { lastReceivedAt }),
      ...(accessibilityTrusted !== undefined && { accessibilityTrusted }),
      ...(prompts !== undefined && { prompts }),
      hasUnreadableSnapshot: this.hasUnreadableSnapshot,
      outcomes: this.outcomes,
      suppressions: this.suppressions,
    };
  }

  async rename(name: string): Promise<void> {
    this.name = name;
    this.changed();
    await this.save();
  }

  /** The relay is told of the phone's name when it joins. */
  deviceRenamed(): void {
    this.connection.reconnect();
  }

  connectNow(): void {
    this.connection.connectNow();
  }

  /** Nothing happens where the prompt, the button or the moment does not allow it. */
  decide(approvalID: string, buttonLabel: string): void {
    const now = this.environment.now();
    const prompt = this.prompts()?.find((candidate) => candidate.id === approvalID);
    const button = prompt?.buttons.find((candidate) => candidate.label === buttonLabel);
    if (!prompt || !button || !this.book.mayDecide(approvalID, now)) return;
    if (prompt.requiresDirectAccess && button.kind !== "dismiss") return;
    const decisionID = newUuid(this.environment.crypto);
    const { appName, windowTitle } = prompt;
    const made = { decisionID, approvalID, buttonLabel, decidedAt: now, appName, windowTitle } as const;
    this.book.add({ ...made, status: "sending", mayHaveArrived: false });
    this.schedule();
    this.changed();
    // Kept first: should the page be closed at this very moment, the next visit asks what became of it.
    void this.save().then(() => this.ask(decisionID));
  }

  suppress(approvalID: string): void {
    const prompt = this.prompts()?.find((candidate) => candidate.id === approvalID);
    if (!prompt) return;
    this.mute(prompt.suppressionID, prompt);
    this.recordSuppressed(prompt, undefined);
    this.queueSuppression({ action: "suppress", approvalID, suppressionID: prompt.suppressionID });
  }

  unsuppress(suppressionID: string): void {
    if (!this.suppressions.some((suppression) => suppression.suppressionID === suppressionID)) return;
    this.unmute(suppressionID);
    this.queueSuppression({ action: "unsuppress", suppressionID });
  }

  // The list that a person sees.

  private prompts(): Prompt[] | undefined {
    const now = this.environment.now();
    return this.told
      ?.filter((prompt) => !this.isMuted(prompt.suppressionID))
      .map((prompt) => {
        const decision = this.book.on(prompt.id, now);
        return decision ? { ...prompt, decision } : prompt;
      });
  }

  private isMuted(suppressionID: string): boolean {
    return this.suppressions.some((suppression) => suppression.suppressionID === suppressionID);
  }

  // The relay.

  private relayChanged(): void {
    const { kind } = this.connection.state;
    const ended = kind === "revoked" || kind === "removed" ? kind : undefined;
    // Only a connection proves that an end was none after all.
    if (ended !== this.ended && (ended !== undefined || kind === "connected")) {
      this.ended = ended;
      void this.save();
    }
    this.changed();
  }

  private disconnected(): void {
    this.book.connectionLost();
    this.isComputerConnected = undefined;
  }

  private askEverything(): void {
    // Timers stand still while a phone sleeps: what grew too old meanwhile must not be pressed now.
    this.settleExpired();
    for (const decision of this.book.open()) void this.ask(decision.decisionID);
    for (const pending of this.pendingSuppressions) void this.sendSuppression(pending);
  }

  private received(text: string): void {
    // Boxes are opened aside; what came first is still taken first.
    this.inbox = this.inbox.then(() => (this.isStopped ? undefined : this.take(text)));
  }

  private async take(text: string): Promise<void> {
    let message: IncomingMessage | undefined;
    try {
      message = readMessage(text);
      await this.handle(message);
    } catch {
      // What cannot be read is no message for us; but a list that cannot be read is said.
      if (message?.type === "snapshot") this.unreadable();
    }
  }

  private async handle(message: IncomingMessage): Promise<void> {
    switch (message.type) {
      case "snapshot":
        return this.takeSnapshot(message.box, message.accessibilityTrusted);
      case "unreadableSnapshot":
        return this.unreadable();
      case "result":
        return this.takeResult(message.decisionID, message.box, message.phone);
      case "suppression":
        return this.takeSuppression(message.box);
      case "computerStatus":
        return this.takeComputerStatus(message.isConnected, message.heardSecondsAgo);
      case "receipt":
        return this.takeReceipt(message.decisionID, message.delivered, message.reason);
      case "unknown":
        return;
    }
  }

  private unreadable(): void {
    this.hasUnreadableSnapshot = true;
    this.changed();
  }

  private async takeSnapshot(box: string, accessibilityTrusted: boolean): Promise<void> {
    // The newest list comes again whenever this phone joins: having been opened before does not count against it.
    const { text } = await open(this.environment.crypto, this.keys.key, box);
    const prompts = readPrompts(text);
    if (this.isStopped) return;
    const gone = (this.told ?? []).filter((before) => !prompts.some((prompt) => prompt.id === before.id));
    this.told = prompts;
    this.accessibilityTrusted = accessibilityTrusted;
    this.hasUnreadableSnapshot = false;
    for (const prompt of prompts) this.remember(prompt.id, prompt);
    for (const prompt of gone) this.promptGone(prompt);
    this.changed();
    if (gone.length > 0) await this.save();
  }

  private promptGone(prompt: ReportedPrompt): void {
    const isExplained = this.book.mayHavePressed(prompt.id) || this.pressedElsewhere.has(prompt.id);
    this.book.promptGone(prompt.id);
    // A computer that may not look at windows any more sees none, which says nothing about them.
    if (isExplained || this.isMuted(prompt.suppressionID) || this.accessibilityTrusted === false) return;
    this.record({
      key: newUuid(this.environment.crypto),
      approvalID: prompt.id,
      at: this.environment.now(),
      appName: prompt.appName,
      windowTitle: prompt.windowTitle,
      status: "goneByItself",
    });
  }

  private async takeResult(decisionID: string, box: string, phone: OtherPhone | undefined): Promise<void> {
    const opened = await open(this.environment.crypto, this.keys.key, box);
    if (this.isStopped || !this.seen.add(opened.nonce)) return;
    const result = readResultCommand(opened.text);
    const now = this.environment.now();
    this.lastReceivedAt = now;
    const record = this.book.result(decisionID, result, now);
    if (record) this.recordDecision(record);
    // A result of something else under the name of our decision settles nothing.
    else if (!this.book.find(decisionID)) this.recordOfOthers(decisionID, result, phone);
    this.schedule();
    this.changed();
    await this.save();
  }

  private recordOfOthers(decisionID: string, result: Result, phone: OtherPhone | undefined): void {
    const isOwn = phone?.deviceID === this.keys.deviceID;
    if (!isOwn && !harmless.has(result.status)) {
      this.pressedElsewhere.add(result.approvalID);
      trim(this.pressedElsewhere, mostRemembered);
    }
    this.record({
      key: decisionID,
      approvalID: result.approvalID,
      at: this.environment.now(),
      ...(this.names.get(result.approvalID) ?? { appName: unknownPrompt, windowTitle: "" }),
      buttonLabel: result.buttonLabel,
      status: result.status,
      ...(result.error !== undefined && { error: result.error }),
      ...(!isOwn && { otherPhone: phone?.deviceName || otherPhone }),
    });
  }

  private async takeSuppression(box: string): Promise<void> {
    const opened = await open(this.environment.crypto, this.keys.key, box);
    if (this.isStopped || !this.seen.add(opened.nonce)) return;
    const command = readSuppressionCommand(opened.text);
    if (command.action === "unsuppress") this.unmute(command.suppressionID);
    else this.muteForOthers(command.suppressionID, command.approvalID);
    this.changed();
    await this.save();
  }

  private muteForOthers(suppressionID: string, approvalID: string | undefined): void {
    const prompt = this.told?.find((candidate) => candidate.id === approvalID);
    const names = approvalID === undefined ? undefined : this.names.get(approvalID);
    this.mute(suppressionID, names ?? { appName: unknownPrompt, windowTitle: "" });
    if (prompt && prompt.suppressionID === suppressionID) this.recordSuppressed(prompt, otherPhone);
  }

  private takeComputerStatus(isConnected: boolean, heardSecondsAgo: number | undefined): void {
    const isBack = isConnected && this.isComputerConnected === false;
    this.isComputerConnected = isConnected;
    if (heardSecondsAgo !== undefined) this.lastReceivedAt = this.environment.now() - heardSecondsAgo * 1000;
    this.changed();
    // What came of a decision may have been said while nobody listened at the other end of its connection.
    if (isBack) this.askEverything();
  }

  private async takeReceipt(
    decisionID: string,
    delivered: boolean,
    reason: string | undefined,
  ): Promise<void> {
    const pending = this.pendingSuppressions.find((candidate) => candidate.decisionID === decisionID);
    if (pending) {
      if (!delivered) return;
      this.pendingSuppressions = this.pendingSuppressions.filter((candidate) => candidate !== pending);
      return this.save();
    }
    const settled = this.book.receipt(decisionID, delivered, reason, this.environment.now());
    if (settled) this.recordDecision(settled);
    this.schedule();
    this.changed();
    await this.save();
  }

  // Decisions.

  private async ask(decisionID: string): Promise<void> {
    const decision = this.book.find(decisionID);
    if (!decision || this.connection.state.kind !== "connected") return;
    const { approvalID, buttonLabel } = decision;
    // Sealed anew each time: the computer opens a box once.
    const payload = await this.sealed({ approvalID, buttonLabel });
    const now = this.environment.now();
    if (!payload || !this.book.mayAsk(decisionID, now) || this.isStopped) return;
    if (this.connection.send(requestMessage(decisionID, payload, now))) this.book.handedOver(decisionID);
  }

  /** Absent: it could not be sealed, which leaves the decision open until its time is over. */
  private async sealed(value: unknown): Promise<SealedPayload | undefined> {
    try {
      const payload = await seal(this.environment.crypto, this.keys.key, value);
      // Our own box must not come back to us as somebody else's.
      this.seen.add(payload.nonce);
      return payload;
    } catch {
      return undefined;
    }
  }

  private settleExpired(): void {
    const expired = this.book.expire(this.environment.now());
    for (const record of expired) this.recordDecision(record);
    this.schedule();
    this.changed();
    if (expired.length > 0) void this.save();
  }

  private schedule(): void {
    this.cancelTimer();
    const now = this.environment.now();
    const next = this.book.nextChange(now);
    if (next === undefined || this.isStopped) return;
    this.cancelTimer = this.environment.after(Math.max(next - now, 0), () => this.settleExpired());
  }

  private recordDecision(record: DecisionRecord): void {
    this.record({
      key: record.decisionID,
      approvalID: record.approvalID,
      at: record.settledAt ?? record.decidedAt,
      appName: record.appName,
      windowTitle: record.windowTitle,
      buttonLabel: record.buttonLabel,
      status: record.status,
      ...(record.error !== undefined && { error: record.error }),
    });
  }

  // Outcomes.

  private record(outcome: StoredOutcome): void {
    const isExplained = (old: StoredOutcome) =>
      old.status === "goneByItself" &&
      old.approvalID === outcome.approvalID &&
      !harmless.has(
        outcome.status === "suppressed" || outcome.status === "goneByItself" ? "undelivered" : outcome.status,
      ) &&
      outcome.at - old.at < resultLag;
    const others = this.outcomes.filter((old) => old.key !== outcome.key && !isExplained(old));
    this.outcomes = [outcome, ...others].slice(0, mostOutcomes);
  }

  private recordSuppressed(prompt: ReportedPrompt, by: string | undefined): void {
    this.record({
      key: newUuid(this.environment.crypto),
      approvalID: prompt.id,
      at: this.environment.now(),
      appName: prompt.appName,
      windowTitle: prompt.windowTitle,
      status: "suppressed",
      ...(by !== undefined && { otherPhone: by }),
    });
  }

  private remember(approvalID: string, { appName, windowTitle }: PromptNames): void {
    this.names.delete(approvalID);
    this.names.set(approvalID, { appName, windowTitle });
    trim(this.names, mostRemembered);
  }

  // Suppressions.

  private mute(suppressionID: string, { appName, windowTitle }: PromptNames): void {
    const others = this.suppressions.filter((suppression) => suppression.suppressionID !== suppressionID);
    const added = { suppressionID, at: this.environment.now(), appName, windowTitle };
    this.suppressions = [added, ...others].slice(0, mostSuppressions);
  }

  private unmute(suppressionID: string): void {
    this.suppressions = this.suppressions.filter(
      (suppression) => suppression.suppressionID !== suppressionID,
    );
  }

  /** Said until the relay has handed it to the computer; of two about the same kind of prompt the newer counts. */
  private queueSuppression(command: Omit<PendingSuppression, "decisionID">): void {
    const pending = { ...command, decisionID: newUuid(this.environment.crypto) };
    const others = this.pendingSuppressions.filter((old) => old.suppressionID !== command.suppressionID);
    this.pendingSuppressions = [...others, pending].slice(-mostSuppressions);
    this.changed();
    void this.save().then(() => this.sendSuppression(pending));
  }

  private async sendSuppression(pending: PendingSuppression): Promise<void> {
    if (this.connection.state.kind !== "connected") return;
    const { decisionID, ...command } = pending;
    const payload = await this.sealed(command);
    const isStillPending = this.pendingSuppressions.includes(pending);
    if (!payload || !isStillPending || this.isStopped) return;
    this.connection.send(suppressionMessage(command.action, decisionID, payload, this.environment.now()));
  }

  // What is kept.

  /** Never rejects: a phone that cannot write goes on with what it has in mind, and asks anew after the next start. */
  private async save(): Promise<void> {
    if (this.isStopped) return;
    const { name, outcomes, suppressions, pendingSuppressions, ended } = this;
    const notes: PairingNotes = {
      name,
      outcomes,
      suppressions,
      pendingSuppressions,
      decisions: this.book.all(),
      seenNonces: this.seen.all(),
      ...(ended !== undefined && { ended }),
    };
    try {
      await this.environment.store.saveNotes(this.keys.pairingID, notes);
    } catch {
      // See above.
    }
  }
}

/** Forgets the oldest beyond `most`. */
function trim(collection: Map<string, unknown> | Set<string>, most: number): void {
  for (const oldest of collection.keys()) {
    if (collection.size <= most) return;
    collection.delete(oldest);
  }
}
