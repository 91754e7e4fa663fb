// Whether and how this phone is woken while its page is closed: asks the person's leave by way of the browser, keeps one
// subscription of the browser's push service for all computers, and has each computer and its relay told of it.
//
// Only a phone that has a computer needs it, so it is a part of the page of its own.

import type { ComputerSession } from "./computerSession";
import { dismiss } from "./dismissal";
import type { DeviceChange, Environment, PushDoor } from "./environment";
import type { AlertProblem, PhoneAlerts } from "./model";
import { readPushData, type PushData } from "./pushText";
import type { AlertOffer } from "./sessionAlerts";
import type { StoredAlerts } from "./store";
import { readWorkerMessage, type PageAnswer, type WorkerMessage } from "./workerMessages";

/** A browser's `subscribe` may never answer. Milliseconds. */
export const subscribeTimeout = 20_000;
/** A page that is hidden for as long counts as asleep. */
export const asleepAfter = 10_000;
/** The worker does not wait for a page any longer, and goes its own way. */
export const pageAnswerTimeout = 2000;
/** After the relay could not be asked, or could not keep the subscription. */
const retryAfter = 60_000;
/** A notification may be there before the list that has its prompt. */
const newFor = 10_000;
/** Changes come in flocks. */
const closingDelay = 1000;
/** A subscription that the push service or the relay does not take is made anew this often in one visit. */
const mostRenewals = 3;

/** The phone that these alerts are for. */
export interface AlertsHost {
  sessions(): readonly ComputerSession[];
  /** `state()` has changed. */
  changed(): void;
  /** `listener`: called after each change of any computer. The returned function ends it. */
  onChange(listener: () => void): () => void;
  /** What is stored of that pairing takes the place of what is known of it, and it connects anew. */
  reload(pairingID: string): Promise<void>;
}

class AlertError extends Error {
  constructor(readonly problem: AlertProblem) {
    super(problem);
  }
}

export class PushAlerts {
  private offer: AlertOffer | undefined;
  private isBusy = false;
  private problem: AlertProblem | undefined;
  /** Whether the next visit will know what a person chose in this one. */
  private isStored = true;
  private renewals = 0;
  /** Of the newest subscription that was sealed in this visit. */
  private sequence = 0;
  /** Names the newest attempt: what an older one still brings is ignored. */
  private attempts = 0;
  private cancelRetry: () => void = () => {};
  private cancelAsleep: () => void = () => {};
  private cancelClosing: (() => void) | undefined;
  private readonly endings: (() => void)[] = [];
  private readonly offered = new WeakSet<ComputerSession>();

  constructor(
    private readonly environment: Environment,
    private readonly door: PushDoor,
    private readonly host: AlertsHost,
    private stored: StoredAlerts | undefined,
  ) {}

  /** Follows the page and the worker, and subscribes anew where a person wants that. Called once. */
  start(): void {
    this.endings.push(
      this.environment.deviceStatus.onChange((what) => this.deviceChanged(what)),
      this.door.onMessage((message, reply) => this.take(message, reply)),
      this.host.onChange(() => this.closeSoon()),
    );
    if (this.stored?.isWanted) void this.renew(false);
    this.host.changed();
  }

  /** For good. */
  stop(): void {
    this.attempts += 1;
    this.cancelRetry();
    this.cancelAsleep();
    this.cancelClosing?.();
    for (const end of this.endings.splice(0)) end();
  }

  state(): PhoneAlerts {
    const { stored, isBusy } = this;
    const problem = this.problem ?? (this.isStored ? undefined : "notStored");
    return {
      support: this.support(),
      ...(stored && { isWanted: stored.isWanted }),
      shows: stored?.shows ?? "prompt",
      isBusy,
      ...(problem !== undefined && { problem }),
    };
  }

  /** Right after a touch, since some browsers ask the person only then. */
  async choose(isWanted: boolean): Promise<void> {
    if (!isWanted) return this.switchOff();
    if (this.isBusy) return;
    this.isBusy = true;
    this.problem = undefined;
    // Nothing is waited for before the question.
    const asked = this.door.permission() === "granted" ? undefined : this.door.ask();
    this.host.changed();
    // A question that stays open is as good as none: who answers it later chooses anew.
    const permission = asked && (await this.inTime(asked).catch(() => this.door.permission()));
    this.isBusy = false;
    // Who closed the question has not decided yet.
    if (permission === "default") return this.host.changed();
    await this.store(true, this.state().shows);
    if (permission === "denied") return this.host.changed();
    this.renewals = 0;
    await this.renew(false);
  }

  async chooseContent(shows: PhoneAlerts["shows"]): Promise<void> {
    await this.store(this.stored?.isWanted === true, shows);
    if (this.offer) this.handOver({ ...this.offer, shows });
    this.host.changed();
  }

  /** A computer that has just been paired, or read from the store, gets what the others have. */
  sessionAdded(session: ComputerSession): void {
    if (this.offer) this.handOverTo(session, this.offer);
    else if (this.stored?.isWanted && !this.isBusy) void this.renew(false);
  }

  /** Before its pairing is forgotten. */
  async sessionLeaves(session: ComputerSession): Promise<void> {
    session.alerts.takeBack();
    await this.closeWhere(({ pairingID }) => pairingID === session.keys.pairingID);
    if (this.host.sessions().some((other) => other !== session)) return;
    this.offer = undefined;
    await this.unsubscribe();
  }

  /** The subscription is made, or found, and every computer told of it. Never rejects. */
  async renew(isAnew: boolean): Promise<void> {
    this.cancelRetry();
    if (this.support() !== "available" || this.door.permission() !== "granted") return this.host.changed();
    this.attempts += 1;
    const attempt = this.attempts;
    this.isBusy = true;
    this.host.changed();
    let problem: AlertProblem | undefined;
    let offer: AlertOffer | undefined;
    try {
      offer = await this.subscribed(isAnew);
    } catch (error) {
      problem = error instanceof AlertError ? error.problem : "serviceRefused";
    }
    if (attempt !== this.attempts) return;
    this.isBusy = false;
    this.problem = problem;
    if (problem === "relayUnreachable" || problem === "serviceSilent") this.retryLater();
    if (offer && this.stored?.isWanted) this.handOver(offer);
    this.host.changed();
  }

  private support(): PhoneAlerts["support"] {
    const support = this.door.support();
    return support === "available" && this.door.permission() === "denied" ? "blocked" : support;
  }

  private async subscribed(isAnew: boolean): Promise<AlertOffer | undefined> {
    const relayKey = await this.relayKey();
    if (relayKey === undefined) return undefined;
    const keys = await this.inTime(this.door.subscribe(relayKey, isAnew));
    const { page, language } = this.door;
    const sequence = () => this.nextSequence();
    return { ...keys, relayKey, shows: this.state().shows, page, language, sequence };
  }

  /** Of the first computer whose relay answers: a page has one relay. Absent: there is no computer. */
  private async relayKey(): Promise<string | undefined> {
    let problem: AlertProblem | undefined;
    for (const { keys } of this.host.sessions()) {
      const place = `${keys.backendURL}/api/pairings/${encodeURIComponent(keys.pairingID)}/push-key`;
      const url = `${place}?deviceID=${encodeURIComponent(keys.deviceID)}`;
      const answer = await this.environment.httpGet(url, keys.token).catch(() => undefined);
      const key = answer?.status === 200 ? keyFrom(answer.text) : undefined;
      if (key !== undefined) return key;
      if (answer?.status === 404) problem = "relayWakesNone";
      else problem ??= "relayUnreachable";
    }
    if (problem !== undefined) throw new AlertError(problem);
    return undefined;
  }

  private inTime<Value>(work: Promise<Value>): Promise<Value> {
    return new Promise((resolve, reject) => {
      const cancel = this.environment.after(subscribeTimeout, () => reject(new AlertError("serviceSilent")));
      work.then(resolve, () => reject(new AlertError("serviceRefused"))).finally(cancel);
    });
  }

  private handOver(offer: AlertOffer): void {
    this.offer = offer;
    for (const session of this.host.sessions()) this.handOverTo(session, offer);
  }

  private handOverTo(session: ComputerSession, offer: AlertOffer): void {
    if (!this.offered.has(session)) {
      this.offered.add(session);
      session.alerts.onReport((reason) => this.relayReported(reason));
    }
    session.alerts.offer(offer);
  }

  private relayReported(reason: string | undefined): void {
    const before = this.problem;
    if (reason === undefined) this.problem = undefined;
    else if (reason === "notNow") this.retryLater();
    else if (reason === "endpointNotAllowed") this.problem = "serviceNotAllowed";
    else if (reason !== "unsubscribed") this.subscribeAnew();
    if (before !== this.problem) this.host.changed();
  }

  /** Where that does not help, the next visit tries again. */
  private subscribeAnew(): void {
    if (this.isBusy) return;
    if (this.renewals >= mostRenewals) {
      this.problem = "serviceRefused";
      return;
    }
    this.renewals += 1;
    void this.renew(true);
  }

  private retryLater(): void {
    this.cancelRetry();
    this.cancelRetry = this.environment.after(retryAfter, () => void this.renew(false));
  }

  private async switchOff(): Promise<void> {
    this.attempts += 1;
    this.cancelRetry();
    this.isBusy = false;
    this.problem = undefined;
    this.offer = undefined;
    await this.store(false, this.state().shows);
    for (const session of this.host.sessions()) session.alerts.takeBack();
    this.host.changed();
    await this.unsubscribe();
  }

  /** A push service that cannot be reached now learns of it from the relay's next push, which nothing takes. */
  private async unsubscribe(): Promise<void> {
    await this.inTime(this.door.unsubscribe()).catch(() => undefined);
  }

  private async store(isWanted: boolean, shows: PhoneAlerts["shows"]): Promise<void> {
    const { sequence } = this;
    this.stored = { isWanted, shows, sequence };
    try {
      await this.environment.store.changeAlerts((kept) => ({ sequence, ...kept, isWanted, shows }));
      this.isStored = true;
    } catch {
      this.isStored = false;
    }
  }

  /** A relay could go on giving a computer what was sealed earlier, which the computer knows by this. */
  private async nextSequence(): Promise<number> {
    const { environment, stored } = this;
    let next = 0;
    // The time, so that it counts up where nothing can be kept, too; a clock may be set back.
    const count = (last = 0) =>
      (next = this.sequence = Math.max(environment.now(), last + 1, this.sequence + 1));
    const none = { isWanted: true, shows: this.state().shows };
    await environment.store
      .changeAlerts((kept) => ({ ...none, ...stored, ...kept, sequence: count(kept?.sequence) }))
      .catch(() => count());
    return next;
  }

  // The page sleeps and wakes.

  private deviceChanged(what: DeviceChange): void {
    if (what === "online" || what === "offline") return;
    this.cancelAsleep();
    if (what === "hidden") {
      this.cancelAsleep = this.environment.after(asleepAfter, () => this.setAsleep(true));
      return;
    }
    this.setAsleep(what === "frozen");
    if (what === "visible") this.closeSoon();
  }

  private setAsleep(isAsleep: boolean): void {
    for (const session of this.host.sessions()) session.alerts.setAsleep(isAsleep);
  }

  // The worker.

  private take(value: unknown, reply: (answer: PageAnswer) => void): void {
    const message = readWorkerMessage(value);
    switch (message?.quillard) {
      case "dismiss":
        return void this.dismiss(message, reply);
      case "show":
        return this.door.goTo(message.approvalID);
      case "received":
        return this.session(message.pairingID)?.alerts.received(message.at);
      case "released":
        return void this.host.reload(message.pairingID);
      case "subscriptionChanged":
        return void this.renew(false);
      case undefined:
        return;
    }
  }

  /** A page that slept through it must not do later what the worker has done meanwhile. */
  private async dismiss(
    { pairingID, approvalID, label, at }: Extract<WorkerMessage, { quillard: "dismiss" }>,
    reply: (answer: PageAnswer) => void,
  ): Promise<void> {
    const { now, monotonicNow, after } = this.environment;
    const age = Math.max(0, now() - at);
    const session = this.session(pairingID);
    if (!session || age >= pageAnswerTimeout / 2) return;
    // Another tab has the connection.
    if (session.computer().relay.kind === "takenOver") return;
    reply({ quillard: "taken" });
    session.connectNow();
    const dismissal = await dismiss(
      {
        computer: () => session.computer(),
        decide: (id, button, moment) => session.decide(id, button, moment),
        onChange: (listener) => this.host.onChange(listener),
      },
      { approvalID, label, at: { monotonic: monotonicNow() - age, wall: at } },
      after,
    );
    reply({ quillard: "ended", dismissal, computerName: session.computer().name });
  }

  private session(pairingID: string): ComputerSession | undefined {
    return this.host.sessions().find(({ keys }) => keys.pairingID === pairingID);
  }

  // What was answered needs no notification any more.

  private closeSoon(delay = closingDelay): void {
    this.cancelClosing ??= this.environment.after(delay, () => {
      this.cancelClosing = undefined;
      void this.closeAnswered();
    });
  }

  private async closeAnswered(): Promise<void> {
    const lists = new Map<string, ReadonlySet<string>>();
    for (const session of this.host.sessions()) {
      const waiting = waitingThere(session);
      if (waiting) lists.set(session.keys.pairingID, waiting);
    }
    if (lists.size === 0) return;
    const now = this.environment.now();
    await this.closeWhere(({ pairingID, approvalID, shownAt = 0 }) => {
      const waiting = lists.get(pairingID);
      if (now >= shownAt && now - shownAt < newFor) {
        this.closeSoon(newFor);
        return false;
      }
      // What speaks of several is true as long as any wait.
      return (
        waiting !== undefined && (approvalID === undefined ? waiting.size === 0 : !waiting.has(approvalID))
      );
    });
  }

  private async closeWhere(isOver: (data: PushData) => boolean): Promise<void> {
    for (const notification of await this.door.shown().catch(() => [])) {
      const data = readPushData(notification.data);
      if (data && data.kind !== "test" && isOver(data)) notification.close();
    }
  }
}

/** Which prompts wait at a computer. Absent: that is not known, or not all of it. */
export function waitingThere(session: Pick<ComputerSession, "computer">): ReadonlySet<string> | undefined {
  const { relay, isComputerConnected, hasUnreadableSnapshot, prompts, pause, promptsLeftOut, ...computer } =
    session.computer();
  const isLive = relay.kind === "connected" && isComputerConnected === true && !hasUnreadableSnapshot;
  const isWhole = promptsLeftOut === undefined && computer.accessibilityTrusted !== false && !pause;
  return isLive && isWhole && prompts ? new Set(prompts.map(({ id }) => id)) : undefined;
}

/** 65 bytes in base64url without padding: an uncompressed point. */
function keyFrom(text: string | undefined): string | undefined {
  try {
    const { key } = Object(JSON.parse(text ?? "")) as { key?: unknown };
    return typeof key === "string" && /^B[A-Za-z0-9_-]{86}$/.test(key) ? key : undefined;
  } catch {
    return undefined;
  }
}
