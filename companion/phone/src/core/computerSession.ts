// One paired computer as this phone knows it: joins the owners of its list, decisions, suppressions, history and
// connection, each of which has a state of its own. Sessions share nothing but the environment.

import { say } from "../language/say";
import { ComputerClock, type ClockStamp, type Moment } from "./computerClock";
import { ComputerLog } from "./computerLog";
import { DecisionDelivery } from "./decisionDelivery";
import { harmless } from "./decisionLog";
import { trim } from "./bounded";
import type { Environment } from "./environment";
import {
  readClock,
  readMessage,
  readPromptList,
  readResultCommand,
  readState,
  readSuppressionCommand,
  resultStatuses,
  suppressionMessage,
  type IncomingMessage,
  type OtherPhone,
  type ReportedPrompt,
  type Result,
  type SuppressionCommand,
} from "./messages";
import type { Computer, Instant, NewPhone, Pause, Prompt } from "./model";
import { NotesWriter } from "./notesWriter";
import { OutcomeHistory, type OutcomeSubject } from "./outcomeHistory";
import { PromptList } from "./promptList";
import { RelayConnection } from "./relayConnection";
import type { LogEntry, LogExcerpt } from "./reports";
import { SealedChannel } from "./sealedChannel";
import { SessionAlerts } from "./sessionAlerts";
import type { PairingKeys, PairingNotes, PendingSuppression, StoredPairing } from "./store";
import { SuppressionList } from "./suppressionList";
import { newUuid } from "./uuid";

type Snapshot = Extract<IncomingMessage, { type: "snapshot" }>;

const mostPressedElsewhere = 200;
const newPhoneTime = 24 * 3600_000;
const otherPhoneName = "another phone";
const unknownPrompt = { appName: say("A prompt that this phone has not seen"), windowTitle: "" } as const;

/** This phone's own lock, as the computers of one phone share it. */
export interface SharedLock {
  isThere(): boolean;
  /** By a person, for all grants. */
  isChosen(): boolean;
  /** Asks for it. Rejects with an Error whose message is for people. */
  open(): Promise<void>;
}

export class ComputerSession {
  readonly keys: PairingKeys;
  readonly alerts: SessionAlerts;

  private name: string;
  /** Being stored: not shown yet, and part of every write meanwhile. */
  private newName: string | undefined;
  private isComputerConnected: boolean | undefined;
  private computerConnection: number | undefined;
  private lastReceivedAt: Instant | undefined;
  private pause: Pause | undefined;
  private wantsLock = false;
  /** The grant that waits for this phone's lock, or that it did not let through. */
  private unlocking:
    { readonly approvalID: string; readonly shown: NonNullable<Prompt["unlocking"]> } | undefined;
  /** As told last, at that time of the computer. */
  private newPhones: readonly NewPhone[] = [];
  private newPhonesToldAt: ClockStamp | undefined;
  private ended: PairingNotes["ended"];

  private readonly list = new PromptList();
  private readonly clock = new ComputerClock();
  private readonly log: ComputerLog;
  private readonly history: OutcomeHistory;
  private readonly suppressions: SuppressionList;
  private readonly decisions: DecisionDelivery;
  private readonly channel: SealedChannel;
  private readonly writer: NotesWriter;
  private readonly connection: RelayConnection;
  /** Prompts of which another phone may have pressed a button. */
  private readonly pressedElsewhere = new Set<string>();
  private inbox: Promise<void> = Promise.resolve();
  private isStopped = false;

  /** `changed` is called after every change of `computer()`. */
  constructor(
    stored: StoredPairing,
    private readonly environment: Environment,
    deviceName: () => string,
    private readonly lock: SharedLock,
    private readonly changed: () => void,
  ) {
    const { notes, ...keys } = stored;
    this.keys = keys;
    this.name = notes.name;
    this.ended = notes.ended;
    this.log = new ComputerLog(notes.log);
    this.history = new OutcomeHistory(notes.outcomes);
    this.suppressions = new SuppressionList(notes.suppressions, notes.pendingSuppressions);
    this.channel = new SealedChannel(environment.crypto, keys.key, notes.usedNonces);
    this.writer = new NotesWriter(environment.store, keys.pairingID, () => this.notes(), changed);
    this.connection = new RelayConnection({ ...keys, deviceName }, environment, {
      stateChanged: () => this.relayChanged(),
      connected: () => this.sendEverythingOpen(),
      disconnected: () => this.disconnected(),
      message: (text) => this.received(text),
    });
    const toRelay = {
      isConnected: () => this.connection.state.kind === "connected",
      send: (text: string) => this.connection.send(text),
    };
    this.alerts = new SessionAlerts({
      ...toRelay,
      deviceID: keys.deviceID,
      channel: this.channel,
      computerName: () => this.name,
      changed,
    });
    this.decisions = new DecisionDelivery(notes.decisions, {
      environment,
      clock: this.clock,
      channel: this.channel,
      ...toRelay,
      save: () => this.writer.save(),
      settled: (record) => this.history.addDecision(record),
      changed,
    });
  }

  start(): void {
    this.decisions.expire();
    this.connection.start(this.ended);
  }

  /** For good; nothing is stored from here on. */
  stop(): void {
    this.isStopped = true;
    this.writer.stop();
    this.decisions.stop();
    this.connection.stop();
  }

  computer(): Computer {
    const { isComputerConnected, lastReceivedAt, pause } = this;
    const { accessibilityTrusted, isUnreadable, leftOut } = this.list;
    const { problem } = this.writer;
    const { brokenAt } = this.log;
    // What a computer asks that has unpaired this phone, nobody here can answer.
    const prompts = this.ended === undefined ? this.prompts() : undefined;
    const newPhones = this.newPhonesNow();
    const lock = this.wantedLock();
    const alerts = this.alerts.state();
    return {
      pairingID: this.keys.pairingID,
      name: this.name,
      pairedAt: this.keys.pairedAt,
      relay: this.connection.state,
      ...(isComputerConnected !== undefined && { isComputerConnected }),
      ...(lastReceivedAt !== undefined && { lastReceivedAt }),
      ...(accessibilityTrusted !== undefined && { accessibilityTrusted }),
      ...(prompts !== undefined && { prompts }),
      ...(leftOut > 0 && { promptsLeftOut: leftOut }),
      ...(pause !== undefined && { pause }),
      ...(lock && { lock }),
      ...(newPhones.length > 0 && { newPhones }),
      hasUnreadableSnapshot: isUnreadable,
      outcomes: this.history.all(),
      suppressions: this.suppressions.all(),
      ...(alerts && { alerts }),
      ...(brokenAt !== undefined && { logBrokenAt: brokenAt }),
      ...(problem !== undefined && { storageProblem: problem }),
    };
  }

  /** The new name is shown once it is stored. Rejects with an Error for people, and keeps the old one. */
  async rename(name: string): Promise<void> {
    this.newName = name;
    try {
      await this.writer.write();
      this.name = name;
    } finally {
      if (this.newName === name) this.newName = undefined;
    }
    this.alerts.computerRenamed();
    this.changed();
  }

  /** The relay is sent the phone's name when it joins. */
  deviceRenamed(): void {
    this.connection.reconnect();
  }

  connectNow(): void {
    this.connection.connectNow();
  }

  /** Resolves once all that has come is taken and stored. */
  settle(): Promise<void> {
    return this.inbox;
  }

  /** `at`: when a person chose it. Absent: now. Nothing happens where the prompt, the button or the time does not allow it. */
  decide(approvalID: string, buttonLabel: string, at?: Moment): void {
    const prompt = this.prompt(approvalID);
    const button = prompt?.buttons.find((candidate) => candidate.label === buttonLabel);
    if (!prompt || !button) return;
    const lock = button.kind === "dismiss" ? undefined : this.wantedLock();
    if (lock === "missing") return;
    if (lock === "asked") {
      void this.unlockAndDecide(prompt, buttonLabel);
    } else {
      if (this.unlocking?.approvalID === approvalID) this.unlocking = undefined;
      this.decisions.decide(prompt, buttonLabel, false, at);
    }
  }

  /** Nothing happens without a connection: the computer tells of the phone for as long as it is there. */
  removePhone(id: string): Promise<void> {
    return this.sendCommand({ action: "removePhone", suppressionID: id });
  }

  /** As `removePhone`. */
  testAlert(): Promise<void> {
    const { deviceID } = this.keys;
    const command = { action: "testPush", suppressionID: newUuid(this.environment.crypto), deviceID };
    return this.sendCommand(command);
  }

  /** A relay passes on the kinds of messages that it knows; which command it is stands in the box. */
  private async sendCommand(command: Readonly<Record<"action" | "suppressionID", string>>): Promise<void> {
    const payload = await this.channel.seal(command);
    if (!payload || this.isStopped || this.connection.state.kind !== "connected") return;
    const decisionID = newUuid(this.environment.crypto);
    this.connection.send(suppressionMessage("suppress", decisionID, payload, this.environment.now()));
  }

  /** The prompt leaves the list immediately; the history names it once that is stored. */
  suppress(approvalID: string): void {
    const prompt = this.prompt(approvalID);
    if (!prompt) return;
    const { suppressionID } = prompt;
    const subject = this.subjectOf(prompt);
    this.suppressions.add(suppressionID, prompt, subject.at);
    void this.storeAndSend({ action: "suppress", approvalID, suppressionID, lasts: 0 }, () =>
      this.history.addSuppressed(subject),
    );
  }

  /** As `PhoneActions.suppressFor`. */
  suppressFor(suppressionID: string, seconds: number): void {
    const known = this.suppressions.find(suppressionID);
    if (!known) return;
    const now = this.environment.now();
    this.suppressions.add(suppressionID, known, now, seconds > 0 ? now + seconds * 1000 : undefined);
    void this.storeAndSend({ action: "suppress", suppressionID, lasts: seconds });
  }

  unsuppress(suppressionID: string): void {
    if (!this.suppressions.has(suppressionID)) return;
    this.suppressions.remove(suppressionID);
    void this.storeAndSend({ action: "unsuppress", suppressionID });
  }

  // This phone's lock.

  private wantedLock(): Computer["lock"] {
    if (this.lock.isThere()) return this.wantsLock || this.lock.isChosen() ? "asked" : undefined;
    return this.wantsLock || this.lock.isChosen() ? "missing" : undefined;
  }

  /** What is granted is what stood there before the lock was asked for: a prompt that changed meanwhile is shown again. */
  private async unlockAndDecide(prompt: Prompt, buttonLabel: string): Promise<void> {
    const { id: approvalID } = prompt;
    if (this.unlocking && this.unlocking.shown.problem === undefined) return;
    const waiting = { approvalID, shown: { buttonLabel } };
    this.unlocking = waiting;
    const before = this.subjectTextOf(approvalID);
    this.changed();
    let problem: string | undefined;
    try {
      await this.lock.open();
      if (this.subjectTextOf(approvalID) !== before)
        problem = say("The prompt has changed meanwhile. Nothing was sent.");
    } catch (error) {
      problem =
        error instanceof Error ? error.message : say("This phone’s lock did not answer. Nothing was sent.");
    }
    if (this.unlocking !== waiting || this.isStopped) return;
    this.unlocking = problem === undefined ? undefined : { approvalID, shown: { buttonLabel, problem } };
    const now = this.prompt(approvalID);
    if (problem === undefined && now) this.decisions.decide(now, buttonLabel, true);
    this.changed();
  }

  /** Absent: it is gone. */
  private subjectTextOf(approvalID: string): string | undefined {
    const prompt = this.list.find(approvalID);
    return prompt && JSON.stringify(prompt);
  }

  // Phones that joined unexpectedly.

  private newPhonesNow(): readonly NewPhone[] {
    const now = this.environment.now();
    return this.newPhones.filter(
      ({ deviceID, since }) => deviceID !== this.keys.deviceID && now - since < newPhoneTime,
    );
  }

  /** A relay may bring an older word later. */
  private takeNewPhones(clock: ClockStamp, newPhones: readonly NewPhone[]): void {
    const told = this.newPhonesToldAt;
    if (told?.epoch === clock.epoch && clock.time < told.time) return;
    this.newPhonesToldAt = clock;
    if (this.newPhones.length === 0 && newPhones.length === 0) return;
    this.newPhones = newPhones;
    this.changed();
  }

  // The list that a person sees.

  private prompts(): Prompt[] | undefined {
    return this.list.prompts
      ?.filter((prompt) => !this.suppressions.has(prompt.suppressionID))
      .map((prompt) => {
        const decision = this.decisions.on(prompt.id);
        const unlocking = this.unlocking?.approvalID === prompt.id ? this.unlocking.shown : undefined;
        if (!decision && !unlocking) return prompt;
        return { ...prompt, ...(decision && { decision }), ...(unlocking && { unlocking }) };
      });
  }

  private prompt(approvalID: string): Prompt | undefined {
    return this.prompts()?.find((prompt) => prompt.id === approvalID);
  }

  // The relay.

  private relayChanged(): void {
    const { kind } = this.connection.state;
    const ended = kind === "revoked" || kind === "removed" ? kind : undefined;
    // Only a connection proves that an end was none after all.
    if (ended !== this.ended && (ended !== undefined || kind === "connected")) {
      this.ended = ended;
      void this.writer.save();
    }
    this.changed();
  }

  private disconnected(): void {
    this.decisions.connectionLost();
    this.isComputerConnected = undefined;
  }

  private sendEverythingOpen(): void {
    this.alerts.connected();
    this.decisions.resume();
    for (const pending of this.suppressions.pending()) void this.sendSuppression(pending);
  }

  private received(text: string): void {
    const receivedAt = { monotonic: this.environment.monotonicNow(), wall: this.environment.now() };
    // Boxes are opened asynchronously; messages are still taken in the order in which they came.
    this.inbox = this.inbox.then(() => (this.isStopped ? undefined : this.take(text, receivedAt)));
  }

  private async take(text: string, receivedAt: Moment): Promise<void> {
    let message: IncomingMessage | undefined;
    try {
      message = readMessage(text);
      await this.handle(message, receivedAt);
    } catch {
      // What cannot be read is no message for us; but a list that cannot be read is reported.
      if (message?.type === "snapshot") this.unreadable();
    }
  }

  private async handle(message: IncomingMessage, receivedAt: Moment): Promise<void> {
    switch (message.type) {
      case "snapshot":
        return this.takeSnapshot(message, receivedAt);
      case "unreadableSnapshot":
        return this.unreadable();
      case "result":
        return this.takeResult(message.decisionID, message.box, message.phone, receivedAt);
      case "clock":
        return this.takeMeeting(message.box, receivedAt);
      case "suppression":
        return this.takeSuppression(message.box);
      case "computerStatus":
        return this.takeComputerStatus(message);
      case "receipt":
        return this.takeReceipt(message.decisionID, message.delivered, message.reason);
      case "pushSubscription":
        return this.alerts.relayReported(message.isSubscribed, message.reason);
      case "unknown":
        return;
    }
  }

  private unreadable(): void {
    this.list.markUnreadable();
    this.changed();
  }

  private async takeSnapshot(snapshot: Snapshot, receivedAt: Moment): Promise<void> {
    // The newest list comes again whenever this phone joins: having been opened before does not count against it.
    const { prompts, clock, leftOut } = readPromptList(await this.channel.open(snapshot.box));
    const { stateBox } = snapshot;
    const state = stateBox === undefined ? undefined : readState(await this.channel.open(stateBox));
    if (this.isStopped) return;
    if (state?.suppressions) this.suppressions.report(state.suppressions, this.environment.now());
    if (clock) this.clock.learn(clock, receivedAt);
    this.pause = state?.pause;
    this.wantsLock = state?.wantsLock === true;
    const gone = this.list.replace(prompts, snapshot.accessibilityTrusted, leftOut);
    for (const prompt of gone) this.promptGone(prompt);
    this.changed();
    if (gone.length > 0 || state?.suppressions) await this.writer.save();
  }

  private async takeMeeting(box: string, receivedAt: Moment): Promise<void> {
    const { clock, newPhones, suppressions, log, sentAlerts } = readClock(await this.channel.open(box));
    if (this.isStopped) return;
    this.clock.learn(clock, receivedAt);
    this.takeNewPhones(clock, newPhones);
    if (sentAlerts) this.alerts.computerReported(sentAlerts);
    if (suppressions) this.suppressions.report(suppressions, this.environment.now());
    if (log) this.takeLog(log, clock);
    if (!suppressions && !log) return;
    this.changed();
    await this.writer.save();
  }

  /** What a relay held back may be an older word: then it tells nothing new. */
  private takeLog(log: LogExcerpt, toldAt: ClockStamp): void {
    if (!this.log.learn(log.head, this.environment.now(), log.entries, toldAt)) return;
    for (const entry of this.log.takeNew(log)) {
      if (entry.at >= this.keys.pairedAt) this.recordEntry(entry);
    }
  }

  private recordEntry(entry: LogEntry): void {
    const { approvalID, decisionID, at, appName, windowTitle, buttonLabel, error } = entry;
    if (approvalID === undefined) return;
    const about = { approvalID, at, appName, windowTitle };
    const status = resultStatuses.get(entry.status ?? "");
    if (entry.event !== "outcome") {
      this.history.insert({ key: `log-${entry.sequence}`, ...about, status: "goneByItself" });
    } else if (status !== undefined && decisionID !== undefined && !this.decisions.knows(decisionID)) {
      this.history.insert({
        key: decisionID,
        ...about,
        status,
        ...(buttonLabel !== undefined && { buttonLabel }),
        ...(error !== undefined && { error }),
        otherPhone: entry.phones?.join(", ") || otherPhoneName,
      });
    }
  }

  private promptGone(prompt: ReportedPrompt): void {
    const isExplained = this.decisions.mayHavePressed(prompt.id) || this.pressedElsewhere.has(prompt.id);
    this.decisions.promptGone(prompt.id);
    // The list of a computer that may not read windows any more, or that is paused, is empty, and one that is too long
    // leaves some out: none says anything about what is missing.
    const isKnown = this.list.accessibilityTrusted !== false && this.list.leftOut === 0 && !this.pause;
    if (isExplained || !isKnown || this.suppressions.has(prompt.suppressionID)) return;
    this.history.addGoneByItself(this.subjectOf(prompt));
  }

  private async takeResult(
    outerID: string,
    box: string,
    phone: OtherPhone | undefined,
    receivedAt: Moment,
  ): Promise<void> {
    const text = await this.channel.openOnce(box);
    if (this.isStopped || text === undefined) return;
    const result = readResultCommand(text);
    // Under which decision's name the relay delivers it is the relay's word only.
    const decisionID = result.decisionID ?? outerID;
    if (result.clock) this.clock.learn(result.clock, receivedAt);
    if (result.logHead) this.log.learn(result.logHead, this.environment.now(), [], result.clock);
    this.lastReceivedAt = this.environment.now();
    if (!this.decisions.result(decisionID, result)) this.recordOfOthers(decisionID, result, phone);
    this.changed();
    await this.writer.save();
  }

  private recordOfOthers(decisionID: string, result: Result, phone: OtherPhone | undefined): void {
    const isOwn = phone?.deviceID === this.keys.deviceID;
    if (!isOwn && !harmless.has(result.status)) {
      this.pressedElsewhere.add(result.approvalID);
      trim(this.pressedElsewhere, mostPressedElsewhere);
    }
    this.history.add({
      key: decisionID,
      approvalID: result.approvalID,
      at: this.environment.now(),
      ...(this.list.namesOf(result.approvalID) ?? unknownPrompt),
      buttonLabel: result.buttonLabel,
      status: result.status,
      ...(result.error !== undefined && { error: result.error }),
      ...(!isOwn && { otherPhone: result.decidedBy || phone?.deviceName || otherPhoneName }),
    });
  }

  private async takeSuppression(box: string): Promise<void> {
    const text = await this.channel.openOnce(box);
    if (this.isStopped || text === undefined) return;
    const command = readSuppressionCommand(text);
    this.suppressions.overruled(command.suppressionID);
    if (command.action === "unsuppress") this.suppressions.remove(command.suppressionID);
    else this.suppressForOthers(command);
    this.changed();
    await this.writer.save();
  }

  private suppressForOthers({ suppressionID, approvalID, lasts = 0 }: SuppressionCommand): void {
    const prompt = approvalID === undefined ? undefined : this.list.find(approvalID);
    const names = approvalID === undefined ? undefined : this.list.namesOf(approvalID);
    const now = this.environment.now();
    const known = names ?? this.suppressions.find(suppressionID) ?? unknownPrompt;
    this.suppressions.add(suppressionID, known, now, lasts > 0 ? now + lasts * 1000 : undefined);
    if (prompt?.suppressionID === suppressionID)
      this.history.addSuppressed(this.subjectOf(prompt), otherPhoneName);
  }

  private takeComputerStatus(status: Extract<IncomingMessage, { type: "computerStatus" }>): void {
    const { isConnected, connection, heardSecondsAgo } = status;
    const wasAway = this.isComputerConnected === false;
    // The relay may still have taken the earlier connection for a good one, and lost in it what it was given.
    const isAnother = this.isComputerConnected === true && connection !== this.computerConnection;
    const isBack = isConnected && (wasAway || isAnother);
    this.isComputerConnected = isConnected;
    this.computerConnection = connection;
    if (heardSecondsAgo !== undefined) this.lastReceivedAt = this.environment.now() - heardSecondsAgo * 1000;
    const doubtful = this.suppressions.connectionIs(
      isConnected ? connection : "none",
      this.environment.now(),
    );
    this.changed();
    // The outcome of a decision may have been sent while this phone was not connected.
    if (isBack) this.sendEverythingOpen();
    else if (isConnected) for (const pending of doubtful) void this.sendSuppression(pending);
    if (doubtful.length > 0) void this.writer.save();
  }

  private async takeReceipt(
    decisionID: string,
    delivered: boolean,
    reason: string | undefined,
  ): Promise<void> {
    if (this.suppressions.isPending(decisionID)) {
      if (!delivered) return;
      this.suppressions.written(decisionID, this.environment.now(), this.computerConnection);
    } else {
      this.decisions.receipt(decisionID, delivered, reason);
      this.changed();
    }
    await this.writer.save();
  }

  // Suppressions.

  /** `stored`: what is recorded once the change is stored. Sent in any case, until the computer is known to have it. */
  private async storeAndSend(
    command: Omit<PendingSuppression, "decisionID">,
    stored?: () => void,
  ): Promise<void> {
    const pending = { ...command, decisionID: newUuid(this.environment.crypto) };
    this.suppressions.enqueue(pending);
    this.changed();
    const isStored = await this.writer.save();
    if (isStored && stored && !this.isStopped) {
      stored();
      this.changed();
      await this.writer.save();
    }
    await this.sendSuppression(pending);
  }

  private async sendSuppression(pending: PendingSuppression): Promise<void> {
    if (this.connection.state.kind !== "connected") return;
    const { decisionID, writtenAt: _, writtenTo: __, ...command } = pending;
    const payload = await this.channel.seal(command);
    if (!payload || !this.suppressions.isPending(decisionID) || this.isStopped) return;
    this.connection.send(suppressionMessage(command.action, decisionID, payload, this.environment.now()));
  }

  private subjectOf({ id, appName, windowTitle }: ReportedPrompt): OutcomeSubject {
    const key = newUuid(this.environment.crypto);
    return { key, approvalID: id, at: this.environment.now(), appName, windowTitle };
  }

  // What is stored.

  private notes(): PairingNotes {
    const log = this.log.state;
    return {
      name: this.newName ?? this.name,
      outcomes: this.history.all(),
      suppressions: this.suppressions.all(),
      pendingSuppressions: this.suppressions.open(),
      decisions: this.decisions.records(),
      usedNonces: this.channel.usedNonces(),
      ...(this.ended !== undefined && { ended: this.ended }),
      ...(log !== undefined && { log }),
    };
  }
}
