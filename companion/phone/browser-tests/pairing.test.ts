import { chromium } from "@playwright/test";
import type { Browser, Page } from "@playwright/test";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { sampleApproval } from "../src/core/testing";
import { kChromium } from "./support/chromium";
import { desktopPicture, emptyPicture, writeFilm } from "./support/codePicture";
import { agree, card, expect, pairByText, test } from "./support/fixtures";

test("a phone that knows no computer says what this is, and offers three ways to pair", async ({
  page,
  relay,
}) => {
  await page.goto(relay.url);
  await expect(page.getByRole("heading", { name: "Answer your computer from here" })).toBeVisible();
  for (const name of ["Scan the code", "Choose a picture of the code", "Paste the code’s text"]) {
    await expect(page.getByRole("button", { name })).toBeVisible();
  }
});

test("pairs by the code's text, and shows what waits", async ({ page, relay, computer }) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await expect(card(page)).toBeVisible();
  await expect(page).toHaveTitle("(1) Quillard");
});

test("pairs by a screenshot of the computer's whole screen", async ({ page, relay, computer }) => {
  await page.goto(relay.url);
  const choosing = page.waitForEvent("filechooser");
  await page.getByRole("button", { name: "Choose a picture of the code" }).tap();
  const buffer = desktopPicture(computer.pairingText);
  await (await choosing).setFiles({ name: "screen.png", mimeType: "image/png", buffer });
  await agree(page, "Studio");
  await expect(page.getByText(/^Connected/)).toBeVisible();
});

test("says that a picture holds no code, and that a file is no picture", async ({ page, relay }) => {
  await page.goto(relay.url);
  const input = page.getByLabel("Picture of the code");
  await input.setInputFiles({ name: "empty.png", mimeType: "image/png", buffer: emptyPicture() });
  await expect(page.getByRole("alert")).toContainText("No code was found in this picture");
  await input.setInputFiles({ name: "text.png", mimeType: "image/png", buffer: Buffer.from("no picture") });
  await expect(page.getByRole("alert")).toContainText("no picture that the browser can show");
});

/** A browser whose camera sees what `film` holds when the camera is switched on; launched at its first use. */
const camera = {
  folder: "",
  browser: undefined as Promise<Browser> | undefined,
  get film() {
    return join(this.folder, "code.y4m");
  },
  launch(): Promise<Browser> {
    this.folder = mkdtempSync(join(tmpdir(), "quillard-page-test-"));
    const args = [
      ...(kChromium.args ?? []),
      "--use-fake-device-for-media-stream",
      "--use-fake-ui-for-media-stream",
      `--use-file-for-fake-video-capture=${this.film}`,
    ];
    return chromium.launch({ ...kChromium, args });
  },
};

test.afterAll(async () => {
  if (!camera.browser) return;
  await (await camera.browser).close();
  rmSync(camera.folder, { recursive: true, force: true });
});

/** A page whose camera sees a desktop with the code of `text`. */
async function withCamera(text: string, use: (page: Page) => Promise<void>): Promise<void> {
  const browser = await (camera.browser ??= camera.launch());
  writeFilm(camera.film, text);
  const page = await browser.newPage({ viewport: { width: 390, height: 844 } });
  try {
    await page.addInitScript(() => {
      const media = navigator.mediaDevices;
      const open = media.getUserMedia.bind(media);
      const streams: MediaStream[] = [];
      Object.assign(window, { streams });
      media.getUserMedia = async (constraints) => {
        const stream = await open(constraints);
        streams.push(stream);
        return stream;
      };
    });
    await use(page);
  } finally {
    await page.close();
  }
}

/** Whether each camera that was ever opened is still running, in order. */
function cameras(page: Page): Promise<string[]> {
  return page.evaluate(() =>
    (Reflect.get(window, "streams") as MediaStream[]).flatMap((stream) =>
      stream.getTracks().map((track) => track.readyState),
    ),
  );
}

/** As when the person goes to another program, and comes back. */
async function turn(page: Page, state: "hidden" | "visible"): Promise<void> {
  await page.evaluate((visibilityState) => {
    Object.defineProperty(document, "visibilityState", { configurable: true, get: () => visibilityState });
    document.dispatchEvent(new Event("visibilitychange"));
  }, state);
}

test("pairs by camera, and lets the camera go", async ({ relay, computer }) => {
  await withCamera(computer.pairingText, async (page) => {
    await page.goto(relay.url);
    await page.getByRole("button", { name: "Scan the code" }).click();
    await agree(page, "Studio");
    expect(await cameras(page)).toEqual(["ended"]);
  });
});

test("says what is wrong with a code in front of the camera, and runs it only while it is visible", async ({
  relay,
}) => {
  await withCamera("https://example.org/", async (page) => {
    await page.goto(relay.url);
    await page.getByRole("button", { name: "Scan the code" }).click();
    await expect(page.getByRole("status")).toContainText("not a Quillard pairing code");
    await turn(page, "hidden");
    await expect.poll(() => cameras(page)).toEqual(["ended"]);
    await turn(page, "visible");
    await expect.poll(() => cameras(page)).toEqual(["ended", "live"]);
    await page.getByRole("button", { name: "Cancel" }).click();
    await expect.poll(() => cameras(page)).toEqual(["ended", "ended"]);
  });
});

test("says that there is no camera, and leaves the other ways", async ({ page, relay }) => {
  await page.goto(relay.url);
  await page.getByRole("button", { name: "Scan the code" }).tap();
  await expect(page.getByRole("alert")).toContainText(/camera/);
  await expect(page.getByRole("button", { name: "Choose a picture of the code" })).toBeVisible();
});

test("says what is wrong with a text that is no code", async ({ page, relay }) => {
  await page.goto(relay.url);
  await page.getByRole("button", { name: "Paste the code’s text" }).tap();
  await page.getByLabel("The code’s text").fill("https://example.org/");
  await page.getByRole("button", { name: "Continue" }).tap();
  await expect(page.getByRole("alert")).toContainText("not a Quillard pairing code");
});

test("links to the page of another relay instead of talking to it", async ({ page, relay, computer }) => {
  await page.goto(relay.url);
  await page.getByRole("button", { name: "Paste the code’s text" }).tap();
  await page.getByLabel("The code’s text").fill(computer.pairingTextOf("https://other.example:8443"));
  await page.getByRole("button", { name: "Continue" }).tap();
  const link = page.getByRole("link", { name: "Open other.example:8443" });
  await expect(link).toHaveAttribute("href", "https://other.example:8443/");
});

test("knows a computer that it is paired with already", async ({ page, relay, computer }) => {
  await pairByText(page, relay, computer);
  await page.getByRole("link", { name: "Pair another computer" }).tap();
  await page.getByRole("button", { name: "Paste the code’s text" }).tap();
  await page.getByLabel("The code’s text").fill(computer.pairingText);
  await page.getByRole("button", { name: "Continue" }).tap();
  await expect(page.getByText("Studio is paired already")).toBeVisible();
});

test("keeps its keys so that nothing can read them, and nothing elsewhere", async ({
  page,
  relay,
  computer,
}) => {
  await pairByText(page, relay, computer);
  const secrets = /[0-9a-f]{64}/;
  const kept = await page.evaluate(async () => {
    const found: unknown[] = [];
    const keys: boolean[] = [];
    const collect = (value: unknown): void => {
      if (value instanceof CryptoKey) keys.push(value.extractable);
      else if (typeof value === "string") found.push(value);
      else if (typeof value === "object" && value !== null && !(value instanceof ArrayBuffer)) {
        Object.values(value).forEach(collect);
      }
    };
    for (const { name } of await indexedDB.databases()) {
      const database = await new Promise<IDBDatabase>((resolve, reject) => {
        const opening = indexedDB.open(name ?? "");
        opening.onsuccess = () => resolve(opening.result);
        opening.onerror = () => reject(opening.error);
      });
      for (const store of database.objectStoreNames) {
        const all = await new Promise<unknown[]>((resolve, reject) => {
          const reading = database.transaction(store).objectStore(store).getAll();
          reading.onsuccess = () => resolve(reading.result);
          reading.onerror = () => reject(reading.error);
        });
        collect(all);
      }
      database.close();
    }
    return { texts: JSON.stringify(found), keys, local: localStorage.length, session: sessionStorage.length };
  });
  expect(kept.keys.length).toBeGreaterThan(0);
  expect(kept.keys).not.toContain(true);
  expect(kept.texts).not.toMatch(secrets);
  expect([kept.local, kept.session]).toEqual([0, 0]);
});
