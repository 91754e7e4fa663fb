// The page in each engine that phones have, as far as there is one here, against the real relay and a played computer:
//   QUILLARD_ENGINE         chromium, firefox or webkit
//   QUILLARD_RELAY_PROGRAM  the program quillard-relay
// What Chromium alone can show (touches that scroll, a camera, the size of text, the network switched off) is in
// browser-tests.
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { afterEach, beforeEach, expect, test } from "vitest";
import { FakeAgent } from "../browser-tests/support/FakeAgent";
import { RelayProcess, kPage } from "../browser-tests/support/RelayProcess";
import { brokenWords } from "../browser-tests/support/brokenWords";
import { desktopPicture } from "../browser-tests/support/codePicture";
import { sampleApproval, sampleID } from "../src/core/testing";
import type { Browser } from "./support/Engine";
import { PhonePage, eventually } from "./support/PhonePage";
import { engineOfTest } from "./support/engines";

const engine = await engineOfTest();
let folder: string;
let relay: RelayProcess;
let computer: FakeAgent;
let browser: Browser;
let page: PhonePage;

beforeEach(async () => {
  folder = mkdtempSync(join(tmpdir(), "quillard-engine-test-"));
  relay = new RelayProcess();
  await relay.start();
  computer = new FakeAgent(relay.url);
  await computer.connect();
  browser = await engine.launch(join(folder, "browser"));
  page = new PhonePage(await browser.newTab());
});

afterEach(async () => {
  const problems = await page.problems().catch((error: unknown) => [String(error)]);
  await browser.close();
  computer.disconnect();
  await relay.dispose();
  // Processes of an engine write for some moments after its window has gone.
  await eventually("The folder of the browser is removed.", async () => {
    rmSync(folder, { recursive: true, force: true });
    return true;
  });
  // Said by engines of a relay that is gone.
  expect(
    problems.filter((problem) => !/WebSocket|Failed to load|Load failed|NetworkError/.test(problem)),
  ).toEqual([]);
});

const card = (title = "Erase disk?") => page.card(title);
const connected = () => page.see(/Connected/);
const workerIsReady = () =>
  page.tab.run<boolean>(
    "await navigator.serviceWorker.ready; return navigator.serviceWorker.controller !== null;",
  );
const isReloaded = (key: string) => page.tab.run<boolean>(`return window[args[0]] === undefined;`, key);

test("a first visit offers three ways to pair, and no update", async () => {
  await page.tab.open(relay.url);
  await page.find("heading", "Answer your computer from here");
  for (const name of ["Scan the code", "Choose a picture of the code", "Paste the code’s text"]) {
    await page.find("button", name);
  }
  await eventually("the worker has the page", workerIsReady);
  await page.tab.run("await new Promise((resolve) => setTimeout(resolve, 300));");
  expect(await page.shows("A new version is ready")).toBe(false);
});

test("a dismissal is one tap, and its outcome is shown", async () => {
  await computer.show([sampleApproval(1)]);
  await page.pair(relay.url, computer.pairingText);
  await card().press("button", "Cancel");
  const request = await computer.request();
  expect(request).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel" });
  await computer.answer(request, "accepted");
  await computer.show([]);
  await card().statusIs("“Cancel” pressed from here");
});

test("a grant is a hold: a tap does nothing, and says so", async () => {
  await computer.show([sampleApproval(1)]);
  await page.pair(relay.url, computer.pairingText);
  await card().press("button", /^Allow/);
  await card().statusIs("Something is lost. Keep holding the button to confirm: Allow");
  expect(computer.hasMessages).toBe(false);
  await page.tab.hold(await card().find("button", /^Allow/), () => card().statusIs(/Sending|is with/));
  expect((await computer.request()).buttonLabel).toBe("Allow");
});

for (const key of ["Enter", "Space"] as const) {
  test(`a keyboard reaches everything, and grants by ${key} and ${key}`, async () => {
    await computer.show([sampleApproval(1)]);
    await page.pair(relay.url, computer.pairingText);
    await card().find("button", /^Allow/);
    const focused = () =>
      page.tab.run<string>("return document.activeElement?.textContent?.replace(/\\s+/g, ' ').trim() ?? '';");
    for (let steps = 0; !/^Allow/.test(await focused()) && steps < 40; ++steps) await page.tab.key("Tab");
    expect(await focused()).toMatch(/^Allow/);
    await page.tab.key(key);
    await card().statusIs("Something is lost. Hold, or activate again, to confirm: Allow");
    expect(computer.hasMessages).toBe(false);
    await page.tab.key(key);
    expect((await computer.request()).buttonLabel).toBe("Allow");
  });
}

test("a prompt that requires direct access can only be dismissed", async () => {
  const asks = { requiresDirectAccess: true, directAccessReason: "It asks for a password." };
  await computer.show([sampleApproval(1, asks)]);
  await page.pair(relay.url, computer.pairingText);
  await page.see("It asks for a password.");
  expect(await card().all("button", /^Allow/)).toEqual([]);
  await card().press("button", "Cancel");
  expect((await computer.request()).buttonLabel).toBe("Cancel");
});

test("a kind of prompt is muted, listed, and shown again", async () => {
  await computer.show([sampleApproval(1)]);
  await page.pair(relay.url, computer.pairingText);
  await card().press("button", "Don’t show this again");
  expect(await computer.nextMessage()).toMatchObject({ type: "approval.suppress" });
  await computer.show([]);
  await page.press("link", /^Studio/);
  await page.press("link", /Not shown any more/);
  await page.press("button", "Show again: Erase disk?");
  expect(await computer.nextMessage()).toMatchObject({ type: "approval.unsuppress" });
  await page.see("Every prompt of Studio is shown.");
});

test("a reload and a restart of the browser keep the pairing, with keys that cannot be read", async () => {
  await page.pair(relay.url, computer.pairingText);
  await connected();
  await page.tab.reload();
  await page.find("heading", "Studio");
  const keys = await page.tab.run<{ extractable: boolean; error: string }[]>(`
    const keys = [];
    const collect = (value) => {
      if (value instanceof CryptoKey) keys.push(value);
      else if (typeof value === "object" && value !== null && !(value instanceof ArrayBuffer)) Object.values(value).forEach(collect);
    };
    const done = (request) => new Promise((resolve, reject) => {
      request.onsuccess = () => resolve(request.result);
      request.onerror = () => reject(request.error);
    });
    for (const { name } of await indexedDB.databases()) {
      const database = await done(indexedDB.open(name));
      for (const store of database.objectStoreNames) collect(await done(database.transaction(store).objectStore(store).getAll()));
      database.close();
    }
    return Promise.all(keys.map(async (key) => ({
      extractable: key.extractable,
      error: await crypto.subtle.exportKey("raw", key).then(() => "none", (error) => error.name),
    })));`);
  expect(keys.length).toBeGreaterThan(0);
  for (const key of keys) expect(key).toEqual({ extractable: false, error: "InvalidAccessError" });

  await browser.close();
  browser = await engine.launch(join(folder, "browser"));
  page = new PhonePage(await browser.newTab());
  await page.tab.open(relay.url);
  await page.find("heading", "Studio");
  await computer.show([sampleApproval(1)]);
  await card().find("button", "Cancel");
});

test("only one tab has the connection, and it can be taken back", async () => {
  await page.pair(relay.url, computer.pairingText);
  await connected();
  const second = new PhonePage(await browser.newTab());
  await second.tab.open(relay.url);
  await second.see(/Connected/);
  await page.tab.bringToFront();
  await page.see("Quillard is open in another tab");
  await page.press("button", "Use it here");
  await connected();
  await second.tab.bringToFront();
  await second.see("Quillard is open in another tab");
});

test("a relay that is restarted is said, waited for, and used again", async () => {
  await computer.show([sampleApproval(1)]);
  await page.pair(relay.url, computer.pairingText);
  await card().find("button", "Cancel");
  await relay.kill();
  await page.see("The relay cannot be reached");
  await relay.start();
  await computer.connect();
  await computer.show([sampleApproval(1)]);
  await card().pressUntil("button", "Cancel", async () => computer.hasMessages);
  expect((await computer.request()).buttonLabel).toBe("Cancel");
});

test("the page opens without the relay", async () => {
  await page.pair(relay.url, computer.pairingText);
  await eventually("the worker has the page", workerIsReady);
  await relay.kill();
  await page.tab.reload();
  await page.find("heading", "Studio");
  await page.see("The relay cannot be reached");
});

test("a new version is offered, and taken when the person agrees", async () => {
  relay.page = join(folder, "page");
  cpSync(kPage, relay.page, { recursive: true });
  await relay.kill();
  await relay.start();
  await page.tab.open(relay.url);
  await eventually("the worker has the page", workerIsReady);
  const worker = join(relay.page, "sw.js");
  writeFileSync(worker, readFileSync(worker, "utf8").replace(/kPageVersion="[^"]*"/, 'kPageVersion="newer"'));
  await relay.kill();
  await relay.start();
  await page.tab.run("await (await navigator.serviceWorker.ready).update();");
  await page.see("A new version is ready");
  await page.tab.run("window.olderDocument = true;");
  await page.pressUntil("button", "Reload", () => isReloaded("olderDocument"));
  await page.find("heading", "Answer your computer from here");
  await eventually(
    "the newer files alone are kept",
    async () => (await page.tab.run<string[]>("return caches.keys();")).join() === "quillard-page-newer",
  );
});

test("pairs by a screenshot of the computer's whole screen", async () => {
  const picture = join(folder, "screen.png");
  writeFileSync(picture, desktopPicture(computer.pairingText));
  await page.tab.open(relay.url);
  await page.find("button", "Choose a picture of the code");
  await page.tab.choose(picture);
  await page.agree();
  await connected();
});

test("says that there is no camera, and leaves the other ways", async () => {
  await page.tab.open(relay.url);
  await page.press("button", "Scan the code");
  await eventually("an alert about the camera", async () =>
    (await page.all("alert")).some(({ text }) => /camera/.test(text)),
  );
  await page.find("button", "Choose a picture of the code");
});

for (const width of [320, 390]) {
  test(`at twice the text size no word is broken at ${width} px`, async () => {
    await page.tab.resize(width, 844);
    await computer.show([sampleApproval(1), sampleApproval(2, { requiresDirectAccess: true })]);
    await page.pair(relay.url, computer.pairingText);
    await page.tab.run('document.documentElement.style.fontSize = "34px";');
    await eventually("two prompts", async () => (await page.all("article")).length === 2);
    expect(await page.tab.run<number>("return innerWidth;")).toBe(width);
    expect(await page.tab.run<string[]>(`return (${brokenWords.toString()})();`)).toEqual([]);
    expect(await page.tab.run<number>("return document.documentElement.scrollWidth;")).toBeLessThanOrEqual(
      width,
    );
  });
}
