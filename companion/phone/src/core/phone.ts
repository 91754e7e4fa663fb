// The phone: the computers that it is paired with, and what a person can do.

import { say } from "../language/say";
import { signal, type ReadonlySignal } from "@preact/signals-core";
import { ComputerSession } from "./computerSession";
import type { SharedLock } from "./grantLock";
import type { Environment } from "./environment";
import type { PairingOffer, PairingReading, PhoneActions, PhoneAlerts, PhoneState } from "./model";
import { readPairingCode } from "./pairingCode";
import type { PushAlerts } from "./pushAlerts";
import { keyFrom } from "./sealing";
import type { StoredAlerts, StoredLock, StoredPairing } from "./store";
import { newUuid } from "./uuid";
import { visibleName } from "./visibleText";

const longestName = 64;

const drawn = /[\p{L}\p{N}\p{P}\p{S}]/u;

/**
 * Names are shown at both ends: no needless white space, at most 64 characters, nothing that moves other text about. One
 * that cannot be seen is none.
 */
export function cleanName(name: string, fallback: string): string {
  const plain = visibleName(name).replace(/\s+/gu, " ").trim();
  const short = [...plain].slice(0, longestName).join("").trim();
  return drawn.test(short) ? short : fallback;
}

export class Phone implements PhoneActions {
  /** Everything that the views draw. A change is a new object; computers that did not change stay the same ones. */
  readonly state: ReadonlySignal<PhoneState>;

  private readonly writableState;
  private readonly sessions: ComputerSession[] = [];
  private deviceName: string;
  private isLockThere = false;
  private storedLock: StoredLock | undefined;
  private storedAlerts: StoredAlerts | undefined;
  /** A part of its own, which only a phone with a computer needs. Absent: not fetched yet, or not to be had. */
  private alerts: PushAlerts | undefined;
  private isStopped = false;
  private readonly lock: SharedLock = {
    isThere: () => this.isLockThere,
    isChosen: () => this.storedLock?.isChosen === true,
    open: () => this.openLock(),
  };

  constructor(private readonly environment: Environment) {
    this.deviceName = cleanName(environment.deviceName, "Phone");
    this.writableState = signal<PhoneState>({ phase: "loading", deviceName: this.deviceName, computers: [] });
    this.state = this.writableState;
  }

  /** Reads what is kept, and connects. Never rejects: what fails is part of the state. */
  async start(): Promise<void> {
    try {
      const { deviceName, lock, alerts, alertTimes, pairings } = await this.environment.store.load();
      this.storedLock = lock;
      this.storedAlerts = alerts;
      void this.lookForLock();
      if (deviceName !== undefined) this.deviceName = cleanName(deviceName, this.deviceName);
      for (const pairing of pairings) {
        const receivedAt = alertTimes?.get(pairing.pairingID);
        const session = this.addSession(pairing);
        if (receivedAt !== undefined) session.alerts.received(receivedAt);
      }
      this.publish({ phase: "ready" });
      for (const session of this.sessions) session.start();
      void this.loadAlerts();
    } catch (error) {
      this.publish({ phase: "unavailable", problem: messageOf(error) });
    }
  }

  /** Closes every connection. What is kept stays. */
  stop(): void {
    this.isStopped = true;
    this.alerts?.stop();
    for (const session of this.sessions) session.stop();
  }

  readPairing(text: string): PairingReading {
    const isPaired = (pairingID: string) => this.session(pairingID) !== undefined;
    return readPairingCode(text, this.environment.relayOrigin, isPaired);
  }

  async pair(offer: PairingOffer, computerName: string): Promise<void> {
    const { crypto, store, relayOrigin } = this.environment;
    if (this.state.value.phase !== "ready") throw new Error(say("This phone is not ready to be paired."));
    if (this.session(offer.pairingID)) throw new Error(say("This computer is paired already."));
    if (relayOrigin !== undefined && offer.backendURL !== relayOrigin) {
      throw new Error(say("This computer uses another relay. Open the page of that relay to pair."));
    }
    const pairing: StoredPairing = {
      pairingID: offer.pairingID,
      backendURL: offer.backendURL,
      deviceID: newUuid(crypto),
      pairedAt: this.environment.now(),
      key: await keyFrom(crypto, offer.e2eSecret),
      token: offer.relaySecret,
      notes: {
        name: cleanName(computerName, "Computer"),
        outcomes: [],
        suppressions: [],
        pendingSuppressions: [],
        decisions: [],
        usedNonces: [],
      },
    };
    await store.add(pairing);
    // Meanwhile a second tap may have paired it.
    if (this.session(offer.pairingID)) return;
    const session = this.addSession(pairing);
    this.publish({});
    session.start();
    if (this.alerts) this.alerts.sessionAdded(session);
    else void this.loadAlerts();
  }

  async renameComputer(pairingID: string, name: string): Promise<void> {
    await this.session(pairingID)?.rename(cleanName(name, "Computer"));
  }

  async renameDevice(name: string): Promise<void> {
    const deviceName = cleanName(name, cleanName(this.environment.deviceName, "Phone"));
    await this.environment.store.saveDeviceName(deviceName);
    this.deviceName = deviceName;
    this.publish({});
    for (const session of this.sessions) session.deviceRenamed();
  }

  async chooseLock(isChosen: boolean): Promise<void> {
    if (isChosen === this.lock.isChosen()) return;
    await this.openLock();
    if (!this.storedLock) return;
    await this.keepLock({ ...this.storedLock, isChosen });
  }

  async forget(pairingID: string): Promise<void> {
    const session = this.session(pairingID);
    if (!session) return;
    await this.environment.store.remove(pairingID);
    void this.alerts?.sessionLeaves(session);
    session.stop();
    const index = this.sessions.indexOf(session);
    if (index >= 0) this.sessions.splice(index, 1);
    this.publish({});
    // There is nothing left to grant; and who has lost what the lock was known by can begin anew.
    if (this.sessions.length === 0 && this.storedLock) await this.keepLock(undefined);
  }

  decide(pairingID: string, approvalID: string, buttonLabel: string): void {
    this.session(pairingID)?.decide(approvalID, buttonLabel);
  }

  removePhone(pairingID: string, id: string): void {
    void this.session(pairingID)?.removePhone(id);
  }

  suppress(pairingID: string, approvalID: string): void {
    this.session(pairingID)?.suppress(approvalID);
  }

  unsuppress(pairingID: string, suppressionID: string): void {
    this.session(pairingID)?.unsuppress(suppressionID);
  }

  suppressFor(pairingID: string, suppressionID: string, seconds: number): void {
    this.session(pairingID)?.suppressFor(suppressionID, seconds);
  }

  chooseAlerts(isWanted: boolean): void {
    void this.alerts?.choose(isWanted);
  }

  chooseAlertContent(shows: PhoneAlerts["shows"]): void {
    void this.alerts?.chooseContent(shows);
  }

  testAlert(pairingID: string): void {
    void this.session(pairingID)?.testAlert();
  }

  connectNow(pairingID: string): void {
    this.session(pairingID)?.connectNow();
  }

  private session(pairingID: string): ComputerSession | undefined {
    return this.sessions.find((session) => session.keys.pairingID === pairingID);
  }

  private addSession(pairing: StoredPairing): ComputerSession {
    const session = this.newSession(pairing);
    this.sessions.push(session);
    return session;
  }

  private newSession(pairing: StoredPairing): ComputerSession {
    const session: ComputerSession = new ComputerSession(
      pairing,
      this.environment,
      () => this.deviceName,
      this.lock,
      () => this.changed(session),
    );
    return session;
  }

  /** Where it cannot be fetched now, the next visit or pairing tries again. */
  private async loadAlerts(): Promise<void> {
    const { push } = this.environment;
    if (!push || this.sessions.length === 0) return;
    const parts = await Promise.all([import("./pushAlerts"), push()]).catch(() => undefined);
    if (!parts || this.alerts || this.isStopped) return;
    const [{ PushAlerts }, door] = parts;
    this.alerts = new PushAlerts(
      this.environment,
      door,
      {
        sessions: () => this.sessions,
        changed: () => this.publish({}),
        onChange: (listener) => this.onChange(listener),
        reload: (pairingID) => this.reload(pairingID),
      },
      this.storedAlerts,
    );
    this.alerts.start();
  }

  /** Not for the state as it is. */
  private onChange(listener: () => void): () => void {
    let isFirst = true;
    return this.state.subscribe(() => {
      if (!isFirst) listener();
      isFirst = false;
    });
  }

  /** The worker has had the connection of this computer, and has stored what came of it. */
  private async reload(pairingID: string): Promise<void> {
    const { pairings } = await this.environment.store.load();
    const index = this.sessions.findIndex(({ keys }) => keys.pairingID === pairingID);
    const before = this.sessions[index];
    const stored = pairings.find((pairing) => pairing.pairingID === pairingID);
    if (!before || !stored || this.isStopped) return;
    before.stop();
    const session = this.newSession(stored);
    this.sessions[index] = session;
    this.publish({});
    session.start();
    this.alerts?.sessionAdded(session);
  }

  private async lookForLock(): Promise<void> {
    const isThere = (await this.environment.lock?.isThere().catch(() => false)) === true;
    if (!isThere || this.isLockThere) return;
    this.isLockThere = true;
    this.publish({});
  }

  /** A phone that was never asked for its lock is asked to make a key for it, which asks for the lock, too. */
  private async openLock(): Promise<void> {
    const { lock } = this.environment;
    if (!lock) throw new Error(say("This browser cannot ask for this phone’s lock."));
    if (this.storedLock) return lock.check(this.storedLock);
    await this.keepLock({ ...(await lock.enrol()), isChosen: false });
  }

  private async keepLock(lock: StoredLock | undefined): Promise<void> {
    await this.environment.store.saveLock(lock);
    this.storedLock = lock;
    this.publish({});
  }

  private changed(session: ComputerSession): void {
    if (!this.sessions.includes(session)) return;
    this.publish({}, session);
  }

  /** `changedOnly`: the only session whose computer is drawn anew; absent: all are. */
  private publish(
    change: Pick<Partial<PhoneState>, "phase" | "problem">,
    changedOnly?: ComputerSession,
  ): void {
    const before = this.state.value;
    const computers = this.sessions.map((session) => {
      const kept = before.computers.find((computer) => computer.pairingID === session.keys.pairingID);
      return kept && changedOnly && session !== changedOnly ? kept : session.computer();
    });
    const alerts = this.alerts?.state();
    const isLockKnown = this.isLockThere || this.storedLock !== undefined;
    this.writableState.value = {
      ...before,
      ...change,
      deviceName: this.deviceName,
      ...(isLockKnown && { isLockChosen: this.lock.isChosen() }),
      ...(alerts && { alerts }),
      computers,
    };
  }
}

function messageOf(error: unknown): string {
  return error instanceof Error && error.message !== ""
    ? error.message
    : say("This browser cannot keep keys.");
}
