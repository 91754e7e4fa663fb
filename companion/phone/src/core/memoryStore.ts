import type { PairingNotes, Store, StoredLock, StoredPairing, StoredPhone } from "./store";

/** Keeps everything until the program ends. */
export class MemoryStore implements Store {
  private deviceName: string | undefined;
  private lock: StoredLock | undefined;
  private readonly pairings = new Map<string, StoredPairing>();

  load(): Promise<StoredPhone> {
    const pairings = [...this.pairings.values()];
    const { deviceName, lock } = this;
    return Promise.resolve({
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

  remove(pairingID: string): Promise<void> {
    this.pairings.delete(pairingID);
    return Promise.resolve();
  }
}
