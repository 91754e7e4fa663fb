import type { Instant } from "./model";
import type { PairingNotes, Store, StoredAlerts, StoredLock, StoredPairing, StoredPhone } from "./store";

/** Keeps everything until the program ends. */
export class MemoryStore implements Store {
  private deviceName: string | undefined;
  private lock: StoredLock | undefined;
  private alerts: StoredAlerts | undefined;
  private readonly alertTimes = new Map<string, Instant>();
  private readonly pairings = new Map<string, StoredPairing>();

  load(): Promise<StoredPhone> {
    const pairings = [...this.pairings.values()];
    const { deviceName, lock, alerts } = this;
    return Promise.resolve({
      ...(alerts && { alerts }),
      ...(this.alertTimes.size > 0 && { alertTimes: new Map(this.alertTimes) }),
      ...(deviceName !== undefined && { deviceName }),
      ...(lock && { lock }),
      pairings,
    });
  }

  add(pairing: StoredPairing): Promise<void> {
    this.pairings.set(pairing.pairingID, pairing);
    return Promise.resolve();
  }

  saveNotes(pairingID: string, notes: PairingNotes): Promise<void> {
    const pairing = this.pairings.get(pairingID);
    if (pairing) this.pairings.set(pairingID, { ...pairing, notes });
    return Promise.resolve();
  }

  saveDeviceName(name: string): Promise<void> {
    this.deviceName = name;
    return Promise.resolve();
  }

  saveLock(lock: StoredLock | undefined): Promise<void> {
    this.lock = lock;
    return Promise.resolve();
  }

  changeAlerts(change: (kept: StoredAlerts | undefined) => StoredAlerts): Promise<void> {
    this.alerts = change(this.alerts);
    return Promise.resolve();
  }

  saveAlertTime(pairingID: string, at: Instant): Promise<void> {
    if (this.pairings.has(pairingID)) this.alertTimes.set(pairingID, at);
    return Promise.resolve();
  }

  remove(pairingID: string): Promise<void> {
    this.pairings.delete(pairingID);
    this.alertTimes.delete(pairingID);
    return Promise.resolve();
  }
}
