// What a page keeps, in the browser's IndexedDB. Nothing of it is in localStorage, cookies or addresses.
//
// The key that opens what travels is kept as a non-extractable CryptoKey: whatever runs in this page can use it, and can
// never read or send it. The relay's token cannot be such a key, since it has to be sent as text. So it is kept sealed
// under a second non-extractable key of this browser's own, made at the first pairing: what is copied out of the
// database's files or exported from its tables is of no use without that key, and the text exists in memory only.

import { say } from "../language/say";
import { Fields } from "./decoding";
import type { CryptoTools } from "./environment";
import { notesFrom, textOfNotes } from "./notes";
import { newStorageKey, open, seal } from "./sealing";
import type { Instant } from "./model";
import type { PairingNotes, Store, StoredAlerts, StoredLock, StoredPairing, StoredPhone } from "./store";

const databaseName = "quillard";
const schemaVersion = 1;
const pairingsTable = "pairings";
const phoneTable = "phone";
const storageKeyName = "storageKey";
const deviceNameName = "deviceName";
const lockName = "lock";
const alertsName = "alerts";
const alertTimesName = "alertTimes";
const unreadable = say(
  "What this browser keeps about your computers cannot be read. Remove this page's data in the browser's settings, and pair again.",
);

function isKey(value: unknown): value is CryptoKey {
  return Object.prototype.toString.call(value) === "[object CryptoKey]";
}

/** Words for a person, and what the browser said. */
function problem(words: string, error: unknown): Error {
  const detail = error instanceof Error || error instanceof DOMException ? error.message : "";
  return new Error(detail === "" ? words : `${words} (${detail})`);
}

export class IndexedDBStore implements Store {
  private database: Promise<IDBDatabase> | undefined;

  /** `factory`: absent where the browser has none. `persist`: asks that nothing be thrown away when space is short. */
  constructor(
    private readonly crypto: CryptoTools,
    private readonly factory: IDBFactory | undefined,
    private readonly persist: () => Promise<unknown>,
  ) {}

  async load(): Promise<StoredPhone> {
    const [rows, name, storageKey, lock, alerts, alertTimes] = await this.read([
      (transaction) => transaction.objectStore(pairingsTable).getAll(),
      (transaction) => transaction.objectStore(phoneTable).get(deviceNameName),
      (transaction) => transaction.objectStore(phoneTable).get(storageKeyName),
      (transaction) => transaction.objectStore(phoneTable).get(lockName),
      (transaction) => transaction.objectStore(phoneTable).get(alertsName),
      (transaction) => transaction.objectStore(phoneTable).get(alertTimesName),
    ]);
    if (!Array.isArray(rows)) throw new Error(unreadable);
    const read = rows.map((row: unknown) => this.pairingFrom(row, storageKey));
    const pairings = (await Promise.all(read)).sort((one, other) => one.pairedAt - other.pairedAt);
    const times = alertTimesFrom(alertTimes);
    return {
      ...(typeof name === "string" && { deviceName: name }),
      ...(lock !== undefined && { lock: lockFrom(lock) }),
      ...alertsFrom(alerts),
      ...(times.size > 0 && { alertTimes: times }),
      pairings,
    };
  }

  async add(pairing: StoredPairing): Promise<void> {
    // Not waited for: some browsers ask the person, some never answer.
    void this.persist().catch(() => {});
    const { token, notes, ...row } = pairing;
    const sealedToken = (await seal(this.crypto, await this.storageKey(), token)).ciphertext;
    await this.write((transaction) => {
      transaction.objectStore(pairingsTable).put({ ...row, sealedToken, notes: textOfNotes(notes) });
    });
  }

  async saveNotes(pairingID: string, notes: PairingNotes): Promise<void> {
    await this.write((transaction) => {
      const table = transaction.objectStore(pairingsTable);
      const request: IDBRequest<unknown> = table.get(pairingID);
      request.onsuccess = () => {
        if (typeof request.result !== "object" || request.result === null) return;
        table.put({ ...request.result, notes: textOfNotes(notes) });
      };
    });
  }

  async saveDeviceName(name: string): Promise<void> {
    await this.write((transaction) => {
      transaction.objectStore(phoneTable).put(name, deviceNameName);
    });
  }

  async saveLock(lock: StoredLock | undefined): Promise<void> {
    await this.write((transaction) => {
      const table = transaction.objectStore(phoneTable);
      if (lock) table.put({ ...lock }, lockName);
      else table.delete(lockName);
    });
  }

  async changeAlerts(change: (kept: StoredAlerts | undefined) => StoredAlerts): Promise<void> {
    await this.write((transaction) => {
      const table = transaction.objectStore(phoneTable);
      const request: IDBRequest<unknown> = table.get(alertsName);
      request.onsuccess = () => table.put(change(alertsFrom(request.result).alerts), alertsName);
    });
  }

  async saveAlertTime(pairingID: string, at: Instant): Promise<void> {
    await this.write((transaction) => {
      const pairing = transaction.objectStore(pairingsTable).get(pairingID);
      pairing.onsuccess = () => {
        if (pairing.result !== undefined) changeAlertTimes(transaction, (times) => times.set(pairingID, at));
      };
    });
  }

  async remove(pairingID: string): Promise<void> {
    await this.write((transaction) => {
      changeAlertTimes(transaction, (times) => times.delete(pairingID));
      transaction.objectStore(pairingsTable).delete(pairingID);
    });
  }

  private async pairingFrom(row: unknown, storageKey: unknown): Promise<StoredPairing> {
    try {
      const fields = new Fields(row, "pairing");
      const key = fields.value("key");
      if (!isKey(key) || !isKey(storageKey)) throw new Error(unreadable);
      const token: unknown = JSON.parse(
        (await open(this.crypto, storageKey, fields.string("sealedToken", 1024))).text,
      );
      if (typeof token !== "string") throw new Error(unreadable);
      return {
        pairingID: fields.string("pairingID", 128),
        backendURL: fields.string("backendURL", 512),
        deviceID: fields.string("deviceID", 64),
        pairedAt: fields.number("pairedAt"),
        key,
        token,
        notes: notesFrom(fields.string("notes", 16 * 1024 * 1024)),
      };
    } catch (error) {
      throw problem(unreadable, error instanceof Error && error.message === unreadable ? undefined : error);
    }
  }

  /** Made at the first pairing. Two tabs that make one at the same time end up with the same. */
  private async storageKey(): Promise<CryptoKey> {
    const fresh = await newStorageKey(this.crypto);
    let kept: unknown = fresh;
    await this.write((transaction) => {
      const table = transaction.objectStore(phoneTable);
      const request: IDBRequest<unknown> = table.get(storageKeyName);
      request.onsuccess = () => {
        if (isKey(request.result)) kept = request.result;
        else table.put(fresh, storageKeyName);
      };
    });
    if (!isKey(kept)) throw new Error(unreadable);
    return kept;
  }

  private async read(
    requests: readonly ((transaction: IDBTransaction) => Pick<IDBRequest<unknown>, "result">)[],
  ): Promise<unknown[]> {
    const transaction = (await this.opened()).transaction([pairingsTable, phoneTable], "readonly");
    const made = requests.map((request) => request(transaction));
    await finished(transaction, say("This browser could not read what it keeps."));
    return made.map((request) => request.result);
  }

  private async write(change: (transaction: IDBTransaction) => void): Promise<void> {
    const words = say("This browser could not keep this. Is its storage full, or switched off?");
    try {
      const database = await this.opened();
      const transaction = database.transaction([pairingsTable, phoneTable], "readwrite");
      change(transaction);
      await finished(transaction, words);
    } catch (error) {
      throw error instanceof Error && error.message.startsWith(words) ? error : problem(words, error);
    }
  }

  private opened(): Promise<IDBDatabase> {
    this.database ??= this.openDatabase();
    // A failure is not kept: the next use tries again.
    this.database.catch(() => (this.database = undefined));
    return this.database;
  }

  private openDatabase(): Promise<IDBDatabase> {
    const { factory } = this;
    const none = say(
      "This browser keeps no data for this page, so it cannot keep keys. Private windows often do not.",
    );
    if (!factory) return Promise.reject(new Error(none));
    return new Promise((resolve, reject) => {
      let request: IDBOpenDBRequest;
      try {
        request = factory.open(databaseName, schemaVersion);
      } catch (error) {
        reject(problem(none, error));
        return;
      }
      request.onupgradeneeded = () => createTables(request.result);
      request.onblocked = () =>
        reject(new Error(say("Another tab holds an older version of this page. Close it, and reload.")));
      request.onerror = () => reject(openingProblem(request.error, none));
      request.onsuccess = () => {
        const database = request.result;
        const forget = () => (this.database = undefined);
        // A newer version of this page waits for this one to let go.
        database.onversionchange = () => {
          database.close();
          forget();
        };
        // Some systems take the database away while the page sleeps.
        database.onclose = forget;
        resolve(database);
      };
    });
  }
}

/** What cannot be read is as good as not chosen: the page asks again. */
function alertsFrom(value: unknown): { readonly alerts?: StoredAlerts } {
  const { isWanted, shows, sequence } = Object(value) as Partial<Record<keyof StoredAlerts, unknown>>;
  if (typeof isWanted !== "boolean") return {};
  return {
    alerts: {
      isWanted,
      shows: shows === "computer" ? "computer" : "prompt",
      sequence: Number(sequence) || 0,
    },
  };
}

/** What cannot be read of it is left out. */
function alertTimesFrom(value: unknown): Map<string, Instant> {
  const read = Object.entries(Object(value)).filter(
    (entry): entry is [string, Instant] => typeof entry[1] === "number",
  );
  return new Map(read);
}

function changeAlertTimes(transaction: IDBTransaction, change: (times: Map<string, Instant>) => void): void {
  const table = transaction.objectStore(phoneTable);
  const request: IDBRequest<unknown> = table.get(alertTimesName);
  request.onsuccess = () => {
    const times = alertTimesFrom(request.result);
    change(times);
    table.put(Object.fromEntries(times), alertTimesName);
  };
}

/** What cannot be read does not switch off what a person chose. */
function lockFrom(value: unknown): StoredLock {
  try {
    const fields = new Fields(value, "lock");
    return {
      credentialID: fields.string("credentialID", 4096),
      publicKey: fields.string("publicKey", 4096),
      algorithm: fields.integer("algorithm", -65536, 65536),
      isChosen: fields.boolean("isChosen"),
    };
  } catch (error) {
    throw problem(unreadable, error);
  }
}

function createTables(database: IDBDatabase): void {
  database.createObjectStore(pairingsTable, { keyPath: "pairingID" });
  database.createObjectStore(phoneTable);
}

function openingProblem(error: DOMException | null, words: string): Error {
  if (error?.name === "VersionError") {
    return new Error(say("This browser has data of a newer version of this page. Reload the page."));
  }
  return problem(words, error);
}

function finished(transaction: IDBTransaction, words: string): Promise<void> {
  return new Promise((resolve, reject) => {
    transaction.oncomplete = () => resolve();
    transaction.onabort = transaction.onerror = () => reject(problem(words, transaction.error));
  });
}
