// One paired computer as this phone knows it: joins the owners of its list, decisions, suppressions, history and
// connection, each of which has a state of its own. Sessions share nothing but the environment.

import { say } from "../language/say";
import { ComputerClock, type ClockStamp, type Moment } from "./computerClock";
import { ComputerLog } from "./computerLog";
import { DecisionDelivery } from "./decisionDelivery";
import { harmless } from "./decisionLog";
import { trim } from "./bounded";
import type { Environment } from "./environment";
import { given } from "./given";
import { createGrantLock, type GrantLock, type SharedLock } from "./grantLock";
import {
  readClock,
  readMessage,
  readPromptList,
  readResultCommand,
  readState,
  readSuppressionCommand,
  type IncomingMessage,
  type OtherPhone,
  type ReportedPrompt,
  type Result,
  type SuppressionCommand,
} from "./messages";
import type { Computer, Instant, Pause, Prompt } from "./model";
import { NewPhones } from "./newPhones";
import { NotesWriter } from "./notesWriter";
import { OutcomeHistory, type OutcomeSubject } from "./outcomeHistory";
import { PromptList } from "./promptList";
import { RelayConnection } from "./relayConnection";
import type { LogExcerpt } from "./reports";
import { SealedChannel } from "./sealedChannel";
import { SessionAlerts } from "./sessionAlerts";
import type { PairingKeys, PairingNotes, StoredPairing } from "./store";
import { deliverSuppressions, type SuppressionDelivery } from "./suppressionDelivery";
import { SuppressionList } from "./suppressionList";
import { newUuid } from "./uuid";

type Snapshot = Extract<IncomingMessage, { type: "snapshot" }>;

const mostPressedElsewhere = 200;
const otherPhoneName = "another phone";
const unknownPrompt = { appName: say("A prompt that this phone has not seen"), windowTitle: "" } as const;

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
  private ended: PairingNotes["ended"];

  private readonly list = new PromptList();
  private readonly clock = new ComputerClock();
  private readonly log: ComputerLog;
  private readonly history: OutcomeHistory;
  private readonly newPhones = new NewPhones();
  private readonly suppressions: SuppressionList;
  private readonly delivery: SuppressionDelivery;
  private readonly lock: GrantLock;
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
    lock: SharedLock,
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
    const shared = {
      environment,
      channel: this.channel,
      isConnected: () => this.isConnected(),
      send: (text: string) => this.connection.send(text),
      save: () => this.writer.save(),
      changed,
    };
    this.alerts = new SessionAlerts({ ...shared, deviceID: keys.deviceID, computerName: () => this.name });
    this.delivery = deliverSuppressions(this.suppressions, shared);
    this.decisions = new DecisionDelivery(notes.decisions, {
      ...shared,
      clock: this.clock,
      settled: (record) => this.history.addDecision(record),
    });
    this.lock = createGrantLock({
      lock,
      list: this.list,
      grant: (approvalID, buttonLabel) => {
        const prompt = this.prompt(approvalID);
        if (prompt) this.decisions.decide(prompt, buttonLabel, true);
      },
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
    this.lock.forget();
    this.delivery.stop();
    this.decisions.stop();
    this.connection.stop();
  }

  computer(): Computer {
    const { accessibilityTrusted, isUnreadable, leftOut } = this.list;
    const { problem } = this.writer;
    const { brokenAt } = this.log;
    // What a computer asks that has unpaired this phone, nobody here can answer.
    const prompts = this.ended === undefined ? this.prompts() : undefined;
    const newPhones = this.newPhones.others(this.keys.deviceID, this.environment.now());
    return given<Computer>({
      pairingID: this.keys.pairingID,
      name: this.name,
      pairedAt: this.keys.pairedAt,
      relay: this.connection.state,
      isComputerConnected: this.isComputerConnected,
      lastReceivedAt: this.lastReceivedAt,
      accessibilityTrusted,
      prompts,
      promptsLeftOut: leftOut || undefined,
      pause: this.pause,
      lock: this.lock.state(),
      newPhones: newPhones.length > 0 ? newPhones : undefined,
      hasUnreadableSnapshot: isUnreadable,
      outcomes: this.history.all(),
      suppressions: this.suppressions.all(),
      alerts: this.alerts.state(),
      logBrokenAt: brokenAt,
      storageProblem: problem,
    });
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
    const lock = button.kind === "dismiss" ? undefined : this.lock.state();
    if (lock === "missing") return;
    if (lock === "asked") {
      void this.lock.open(approvalID, buttonLabel);
    } else {
      this.lock.forget(approvalID);
      this.decisions.decide(prompt, buttonLabel, false, at);
    }
  }

  /** Nothing happens without a connection: the computer tells of the phone for as long as it is there. */
  removePhone(id: string): Promise<void> {
    return this.delivery.sendOnce({ action: "removePhone", suppressionID: id });
  }

  /** As `removePhone`. */
  testAlert(): Promise<void> {
    const { deviceID } = this.keys;
    const command = { action: "testPush", suppressionID: newUuid(this.environment.crypto), deviceID };
    return this.delivery.sendOnce(command);
  }

  /** The prompt leaves the list immediately; the history names it once that is stored. */
  suppress(approvalID: string): void {
    const prompt = this.prompt(approvalID);
    if (!prompt) return;
    const { suppressionID } = prompt;
    const subject = this.subjectOf(prompt);
    this.suppressions.add(suppressionID, prompt, subject.at);
    void this.delivery.add({ action: "suppress", approvalID, suppressionID, lasts: 0 }, () =>
      this.history.addSuppressed(subject),
    );
  }

  /** As `PhoneActions.suppressFor`. */
  suppressFor(suppressionID: string, seconds: number): void {
    const known = this.suppressions.find(suppressionID);
    if (!known) return;
    const now = this.environment.now();
    this.suppressions.add(suppressionID, known, now, seconds > 0 ? now + seconds * 1000 : undefined);
    void this.delivery.add({ action: "suppress", suppressionID, lasts: seconds });
  }

  unsuppress(suppressionID: string): void {
    if (!this.suppressions.has(suppressionID)) return;
    this.suppressions.remove(suppressionID);
    void this.delivery.add({ action: "unsuppress", suppressionID });
  }

  // The list that a person sees.

  private prompts(): Prompt[] | undefined {
    return this.list.prompts
      ?.filter((prompt) => !this.suppressions.has(prompt.suppressionID))
      .map((prompt) => {
        const decision = this.decisions.on(prompt.id);
        const unlocking = this.lock.on(prompt.id);
        if (!decision && !unlocking) return prompt;
        return given<Prompt>({ ...prompt, decision, unlocking });
      });
  }

  private prompt(approvalID: string): Prompt | undefined {
    return this.prompts()?.find((prompt) => prompt.id === approvalID);
  }

  // The relay.

  private isConnected(): boolean {
    return this.connection.state.kind === "connected";
  }

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
    this.delivery.resume();
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
    this.lock.require(state?.wantsLock === true);
    const gone = this.list.replace(prompts, snapshot.accessibilityTrusted, leftOut);
    for (const prompt of gone) this.promptGone(prompt);
    this.changed();
    if (gone.length > 0 || state?.suppressions) await this.writer.save();
  }

  private async takeMeeting(box: string, receivedAt: Moment): Promise<void> {
    const { clock, newPhones, suppressions, log, sentAlerts } = readClock(await this.channel.open(box));
    if (this.isStopped) return;
    this.clock.learn(clock, receivedAt);
    if (this.newPhones.learn(newPhones, clock)) this.changed();
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
      const isOwn = entry.event === "outcome" && this.decisions.knows(entry.decisionID ?? "");
      if (entry.at >= this.keys.pairedAt && !isOwn) this.history.addLogged(entry, otherPhoneName);
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
    const names = this.list.namesOf(result.approvalID) ?? unknownPrompt;
    const name = isOwn ? undefined : result.decidedBy || phone?.deviceName || otherPhoneName;
    this.history.addResult({ key: decisionID, ...names, at: this.environment.now() }, result, name);
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
    else if (isConnected) for (const pending of doubtful) void this.delivery.send(pending);
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

  private subjectOf({ id, appName, windowTitle }: ReportedPrompt): OutcomeSubject {
    const key = newUuid(this.environment.crypto);
    return { key, approvalID: id, at: this.environment.now(), appName, windowTitle };
  }

  // What is stored.

  private notes(): PairingNotes {
    return given<PairingNotes>({
      name: this.newName ?? this.name,
      outcomes: this.history.all(),
      suppressions: this.suppressions.all(),
      pendingSuppressions: this.suppressions.open(),
      decisions: this.decisions.records(),
      usedNonces: this.channel.usedNonces(),
      ended: this.ended,
      log: this.log.state,
    });
  }
}
