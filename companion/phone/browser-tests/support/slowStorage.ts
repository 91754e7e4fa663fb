// A browser's storage that is as slow, or as full, as a test wants.
import type { Page } from "@playwright/test";

type State = "usual" | "held" | "full";

export interface SlowStorage {
  /** What is written from here on is not stored until `release`; a page that is left before loses it. */
  hold(): Promise<void>;
  release(): Promise<void>;
  /** What is written from here on, until the page is loaded anew, is taken back as when the storage is full. */
  fail(): Promise<void>;
}

/** To be called before the page is opened. Each time the page is loaded its storage is the usual one again. */
export async function slowStorage(page: Page): Promise<SlowStorage> {
  await page.addInitScript(() => {
    Object.assign(window, { storageState: "usual" });
    const state = () => Reflect.get(window, "storageState") as State;
    const put = IDBObjectStore.prototype.put;
    IDBObjectStore.prototype.put = function (...row) {
      const request = put.apply(this, row);
      if (state() === "full") this.transaction.abort();
      return request;
    };
    const begin = IDBDatabase.prototype.transaction;
    IDBDatabase.prototype.transaction = function (...parts) {
      const transaction = begin.apply(this, parts);
      // A transaction stays open for as long as requests are made in it.
      const stayOpen = () => {
        if (state() !== "held") return;
        transaction.objectStore(transaction.objectStoreNames[0] ?? "").count().onsuccess = stayOpen;
      };
      if (transaction.mode === "readwrite") stayOpen();
      return transaction;
    };
  });
  const set = (state: State) =>
    page.evaluate((state) => void Object.assign(window, { storageState: state }), state);
  return { hold: () => set("held"), release: () => set("usual"), fail: () => set("full") };
}
