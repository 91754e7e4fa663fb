import { webcrypto } from "node:crypto";
import { IDBFactory } from "fake-indexeddb";
import { beforeEach, describe, expect, it } from "vitest";
import { IndexedDBStore } from "./indexedDBStore";
import { keyFrom, open, seal } from "./sealing";
import type { PairingNotes, StoredAlerts, StoredPairing } from "./store";
import { sampleID } from "./testing";

const token = "0123456789abcdef".repeat(4);
const notes: PairingNotes = {
  name: "Ana’s Mac",
  outcomes: [
    {
      key: "D1",
      approvalID: sampleID(1),
      at: 5,
      appName: "Disk Tool",
      windowTitle: "",
      status: "failed",
      buttonLabel: "Allow",
      error: "Why",
      otherPhone: "Bo",
    },
    { key: "G1", approvalID: sampleID(2), at: 6, appName: "A", windowTitle: "B", status: "goneByItself" },
  ],
  suppressions: [{ suppressionID: sampleID(3), at: 7, appName: "A", windowTitle: "B" }],
  pendingSuppressions: [
    { decisionID: "D2", action: "suppress", approvalID: sampleID(2), suppressionID: sampleID(3) },
    { decisionID: "D3", action: "unsuppress", suppressionID: sampleID(4), writtenAt: 8, writtenTo: 2 },
  ],
  decisions: [
    {
      decisionID: "D1",
      approvalID: sampleID(1),
      buttonLabel: "Allow",
      status: "failed",
      error: "Why",
      decidedAt: 4,
      settledAt: 5,
      appName: "Disk Tool",
      windowTitle: "",
      mayHaveArrived: true,
      box: { version: 1, nonce: "AAAA", ciphertext: "AAAABBBB" },
    },
  ],
  usedNonces: ["AAAA"],
  ended: "removed",
};

async function pairing(pairingID: string, pairedAt: number): Promise<StoredPairing> {
  const key = await keyFrom(webcrypto, "secret");
  return { pairingID, backendURL: "https://relay.example", deviceID: "DEVICE", pairedAt, key, token, notes };
}

let factory: IDBFactory;
let asked: number;
const store = () =>
  new IndexedDBStore(webcrypto, factory, () => {
    asked += 1;
    return Promise.reject(new Error("Not here."));
  });

async function raw(): Promise<{ readonly rows: unknown[]; readonly storageKey: unknown }> {
  const database = await new Promise<IDBDatabase>((resolve, reject) => {
    const request = factory.open("quillard", 1);
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(new Error("It does not open."));
  });
  const transaction = database.transaction(["pairings", "phone"]);
  const rows = transaction.objectStore("pairings").getAll();
  const storageKey = transaction.objectStore("phone").get("storageKey");
  await new Promise((resolve) => (transaction.oncomplete = resolve));
  database.close();
  return { rows: rows.result, storageKey: storageKey.result };
}

async function change(pairingID: string, members: Readonly<Record<string, unknown>>): Promise<void> {
  await new Promise<void>((resolve) => {
    const request = factory.open("quillard", 1);
    request.onsuccess = () => {
      const transaction = request.result.transaction(["pairings"], "readwrite");
      const table = transaction.objectStore("pairings");
      const old = table.get(pairingID);
      old.onsuccess = () => table.put({ ...old.result, ...members });
      transaction.oncomplete = () => {
        request.result.close();
        resolve();
      };
    };
  });
}

async function putInPhone(name: string, value: unknown): Promise<void> {
  await new Promise<void>((resolve) => {
    const request = factory.open("quillard", 1);
    request.onsuccess = () => {
      const transaction = request.result.transaction(["phone"], "readwrite");
      transaction.objectStore("phone").put(value, name);
      transaction.oncomplete = () => {
        request.result.close();
        resolve();
      };
    };
  });
}

beforeEach(() => {
  factory = new IDBFactory();
  asked = 0;
});

describe("What a browser keeps", () => {
  it("is nothing at first", async () => {
    expect(await store().load()).toEqual({ pairings: [] });
  });

  it("comes back after the page was closed, in the order of pairing, with keys that work", async () => {
    const first = store();
    await first.add(await pairing("b", 2));
    await first.add(await pairing("a", 3));
    await first.add(await pairing("c", 1));
    await first.saveDeviceName("Ana’s phone");
    const { deviceName, pairings } = await store().load();
    expect(deviceName).toBe("Ana’s phone");
    expect(pairings.map((kept) => kept.pairingID)).toEqual(["c", "b", "a"]);
    const kept = pairings[0];
    expect(kept).toMatchObject({ backendURL: "https://relay.example", deviceID: "DEVICE", token, notes });
    const { ciphertext } = await seal(webcrypto, await keyFrom(webcrypto, "secret"), "hello");
    expect((await open(webcrypto, kept!.key, ciphertext)).text).toBe('"hello"');
    expect(asked).toBe(3);
  });

  it("has neither the token nor the secret in readable form", async () => {
    await store().add(await pairing("a", 1));
    const { rows, storageKey } = await raw();
    expect(JSON.stringify(rows)).not.toContain(token);
    expect(JSON.stringify(rows)).not.toContain("secret");
    const keys = [Reflect.get(Object(rows[0]), "key"), storageKey];
    for (const key of keys) {
      expect(Object.prototype.toString.call(key)).toBe("[object CryptoKey]");
      expect(Reflect.get(Object(key), "extractable")).toBe(false);
    }
  });

  it("follows changes of notes, and not those of a pairing that was forgotten", async () => {
    const first = store();
    await first.add(await pairing("a", 1));
    await first.saveNotes("a", { ...notes, name: "Another" });
    expect((await store().load()).pairings[0]?.notes.name).toBe("Another");
    await first.remove("a");
    await first.saveNotes("a", notes);
    expect((await store().load()).pairings).toEqual([]);
  });

  it("works with notes that are damaged in part, and with none", async () => {
    const first = store();
    await first.add(await pairing("a", 1));
    const damaged = {
      ...notes,
      decisions: [{ status: "odd" }, notes.decisions[0]],
      seenNonces: 5,
      name: null,
    };
    await change("a", { notes: JSON.stringify(damaged) });
    expect((await store().load()).pairings[0]?.notes).toEqual({ ...notes, usedNonces: [], name: "Computer" });
    await change("a", { notes: "{" });
    expect((await store().load()).pairings[0]?.notes).toMatchObject({ name: "Computer", outcomes: [] });
  });

  it.each([
    ["key", "a text"],
    ["sealedToken", "AAAA"],
    ["sealedToken", undefined],
    ["deviceID", 5],
  ])("says in words when %s cannot be read", async (name, value) => {
    await store().add(await pairing("a", 1));
    await change("a", { [name]: value });
    await expect(store().load()).rejects.toThrow("cannot be read. Remove this page's data");
  });

  it("says in words when there is no place to keep things", async () => {
    const nowhere = new IndexedDBStore(webcrypto, undefined, () => Promise.resolve());
    await expect(nowhere.load()).rejects.toThrow("This browser keeps no data for this page");
    const throwing = new IDBFactory();
    throwing.open = () => {
      throw new Error("The operation is insecure.");
    };
    const insecure = new IndexedDBStore(webcrypto, throwing, () => Promise.resolve());
    await expect(insecure.load()).rejects.toThrow("cannot keep keys");
    await expect(insecure.load()).rejects.toThrow("The operation is insecure.");
    await expect(insecure.saveDeviceName("x")).rejects.toThrow("could not keep this");
  });

  it("of a newer version of the page is left alone", async () => {
    await new Promise<void>((resolve) => {
      const request = factory.open("quillard", 99);
      request.onsuccess = () => {
        request.result.close();
        resolve();
      };
    });
    await expect(store().load()).rejects.toThrow("data of a newer version of this page");
  });

  it("is let go of for a newer version of the page in another tab", async () => {
    await store().load();
    const opened = await new Promise<boolean>((resolve) => {
      const request = factory.open("quillard", 2);
      request.onsuccess = () => resolve(true);
      request.onblocked = () => resolve(false);
    });
    expect(opened).toBe(true);
  });

  it("is sealed under one key, even where two tabs pair at the same time", async () => {
    await Promise.all([store().add(await pairing("a", 1)), store().add(await pairing("b", 2))]);
    expect((await store().load()).pairings.map((kept) => kept.token)).toEqual([token, token]);
  });

  it("holds what was chosen about alerts, and when the last one of each pairing came", async () => {
    expect(await store().load()).not.toHaveProperty("alerts");
    await store().add(await pairing("a", 1));
    await store().add(await pairing("b", 2));
    await store().changeAlerts((before) => {
      expect(before).toBeUndefined();
      return { isWanted: true, shows: "computer", sequence: 1 };
    });
    // Of two tabs.
    const counted = (kept: StoredAlerts | undefined): StoredAlerts => ({
      isWanted: true,
      shows: "computer",
      sequence: (kept?.sequence ?? 0) + 1,
    });
    await Promise.all([store().changeAlerts(counted), store().changeAlerts(counted)]);
    for (const [pairingID, at] of [
      ["a", 5],
      ["b", 6],
      ["nobody", 7],
    ] as const)
      await store().saveAlertTime(pairingID, at);
    const kept = await store().load();
    expect(kept.alerts).toEqual({ isWanted: true, shows: "computer", sequence: 3 });
    expect(kept.alertTimes).toEqual(
      new Map([
        ["a", 5],
        ["b", 6],
      ]),
    );
    await store().remove("a");
    expect((await store().load()).alertTimes).toEqual(new Map([["b", 6]]));
  });

  it.each([5, "text", null, {}, { isWanted: "yes" }])(
    "has no choice about alerts where it cannot be read: %s",
    async (value) => {
      await store().add(await pairing("a", 1));
      await putInPhone("alerts", value);
      await putInPhone("alertTimes", value);
      const kept = await store().load();
      expect(kept.alerts).toBeUndefined();
      expect([...(kept.alertTimes ?? [])]).toEqual([]);
      await store().saveAlertTime("a", 8);
      expect((await store().load()).alertTimes?.get("a")).toBe(8);
    },
  );
});
