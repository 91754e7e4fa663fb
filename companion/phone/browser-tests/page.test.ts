// The page as such: whether everybody can use it, whether it can be installed, and what it opens without a network.
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join } from "node:path";
import type { Page } from "@playwright/test";
import type { AxeResults } from "axe-core";
import { sampleApproval } from "../src/core/testing";
import { brokenWords } from "./support/brokenWords";
import { expect, kRelayIsGone, pairByText, test } from "./support/fixtures";
import { kPage } from "./support/RelayProcess";

const axe = createRequire(import.meta.url).resolve("axe-core/axe.min.js");

async function mistakes(page: Page): Promise<string[]> {
  // By the browser's own door: the page's policy allows no script of others.
  await page.addScriptTag({ path: axe }).catch(() => undefined);
  const results = await page.evaluate(async () => {
    const tool: { run(options: object): Promise<AxeResults> } = Reflect.get(window, "axe");
    return tool.run({ runOnly: ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "best-practice"] });
  });
  return results.violations.map((one) => `${one.id}: ${one.nodes.map((node) => node.html).join(" ")}`);
}

for (const colorScheme of ["light", "dark"] as const) {
  test.describe(`in ${colorScheme} colours`, () => {
    // The policy is tested everywhere else; here a checking tool has to get in.
    test.use({ colorScheme, bypassCSP: true });

    test("its pages have names, roles and contrasts for everybody", async ({ page, relay, computer }) => {
      await page.goto(relay.url);
      await expect(page.getByRole("heading", { level: 1 })).toBeVisible();
      expect(await mistakes(page)).toEqual([]);
      const asks = {
        requiresDirectAccess: true,
        directAccessReason: "It asks for a password.",
        windowTitle: "Unlock",
      };
      await computer.show([sampleApproval(1), sampleApproval(2, asks)]);
      await pairByText(page, relay, computer);
      await expect(page.getByRole("article")).toHaveCount(2);
      expect(await mistakes(page)).toEqual([]);
      await page.getByRole("link", { name: /^Studio/ }).tap();
      await expect(page.getByLabel("Name")).toBeVisible();
      expect(await mistakes(page)).toEqual([]);
      await page.getByRole("link", { name: /History/ }).tap();
      await expect(page.getByRole("heading", { name: "History" })).toBeVisible();
      expect(await mistakes(page)).toEqual([]);
      computer.disconnect();
      await page.goto(relay.url);
      await expect(page.getByText("Studio is not connected")).toBeVisible();
      expect(await mistakes(page)).toEqual([]);
    });
  });
}

for (const width of [320, 390]) {
  test(`at twice the text size no word is broken, on a phone of ${width} px`, async ({
    page,
    relay,
    computer,
  }) => {
    await page.setViewportSize({ width, height: 568 });
    await page.goto(relay.url);
    const enlarge = () => page.evaluate(() => (document.documentElement.style.fontSize = "34px"));
    await enlarge();
    await expect(page.getByRole("heading", { level: 1 })).toBeVisible();
    expect(await page.evaluate(brokenWords)).toEqual([]);
    await computer.show([sampleApproval(1), sampleApproval(2, { requiresDirectAccess: true })]);
    await pairByText(page, relay, computer);
    await enlarge();
    await expect(page.getByRole("article")).toHaveCount(2);
    expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBeLessThanOrEqual(width);
    expect(await page.evaluate(brokenWords)).toEqual([]);
    await page.getByRole("link", { name: /Studio/ }).tap();
    await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
    expect(await page.evaluate(brokenWords)).toEqual([]);
  });
}

test("it can be installed", async ({ page, relay }) => {
  await page.goto(relay.url);
  const manifest = await (await page.request.get(`${relay.url}/manifest.webmanifest`)).json();
  expect(manifest).toMatchObject({ name: "Quillard", display: "standalone", start_url: "/" });
  for (const { src } of [...manifest.icons, { src: "/apple-touch-icon.png" }]) {
    expect((await page.request.get(`${relay.url}${src}`)).status(), src).toBe(200);
  }
});

test.describe("with a relay of its own", () => {
  test.use({ ownRelay: true });

  test("it opens without the relay, and stores nothing of what was sent", async ({
    page,
    relay,
    computer,
    watch,
  }) => {
    watch.expected.push(kRelayIsGone);
    await computer.show([sampleApproval(1)]);
    await pairByText(page, relay, computer);
    await page.evaluate(async () => navigator.serviceWorker.ready);
    await expect.poll(() => page.evaluate(() => navigator.serviceWorker.controller !== null)).toBe(true);
    const kept = await page.evaluate(async () => {
      const paths: string[] = [];
      for (const name of await caches.keys()) {
        for (const request of await (await caches.open(name)).keys())
          paths.push(new URL(request.url).pathname);
      }
      return paths;
    });
    expect(kept).toContain("/");
    expect(kept.filter((path) => /^\/(api|ws|healthz)/.test(path))).toEqual([]);
    await relay.kill();
    await page.reload();
    await expect(page.getByRole("heading", { name: "Studio", exact: true })).toBeVisible();
    await expect(page.getByText("The relay cannot be reached")).toBeVisible();
  });

  test("a new version is offered, and taken when the person agrees", async ({ page, relay, watch }) => {
    watch.expected.push(kRelayIsGone);
    const folder = mkdtempSync(join(tmpdir(), "quillard-page-test-"));
    try {
      relay.page = join(folder, "page");
      cpSync(kPage, relay.page, { recursive: true });
      await relay.kill();
      await relay.start();
      await page.goto(relay.url);
      await expect.poll(() => page.evaluate(() => navigator.serviceWorker.controller !== null)).toBe(true);
      await expect(page.getByText("A new version is ready")).toBeHidden();
      const before = await page.evaluate(() => caches.keys());

      const worker = join(relay.page, "sw.js");
      writeFileSync(
        worker,
        readFileSync(worker, "utf8").replace(/kPageVersion="[^"]*"/, 'kPageVersion="newer"'),
      );
      await relay.kill();
      await relay.start();
      await page.evaluate(async () => void (await (await navigator.serviceWorker.ready).update()));
      await expect(page.getByText("A new version is ready")).toBeVisible();
      const reloaded = page.waitForEvent("load");
      await page.getByRole("button", { name: "Reload" }).tap();
      await reloaded;
      await expect(page.getByRole("heading", { level: 1 })).toBeVisible();
      const after = await page.evaluate(() => caches.keys());
      expect([before, after]).toEqual([[expect.stringMatching(/^quillard-page-/)], ["quillard-page-newer"]]);
    } finally {
      rmSync(folder, { recursive: true, force: true });
    }
  });
});

test("its policy lets no foreign script or frame in", async ({ page, relay }) => {
  const answer = await page.goto(relay.url);
  const policy = answer?.headers()["content-security-policy"] ?? "";
  for (const part of [
    "default-src 'none'",
    "script-src 'self'",
    "connect-src 'self'",
    "frame-ancestors 'none'",
  ]) {
    expect(policy).toContain(part);
  }
  expect(policy).not.toContain("unsafe");
});
