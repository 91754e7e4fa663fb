// The page in a browser whose first language is German.
import { sampleApproval } from "../src/core/testing";
import { german } from "../src/language/german";
import { say, speak } from "../src/language/say";
import { brokenWords } from "./support/brokenWords";
import { card, expect, kRelayIsGone, pairByText, test } from "./support/fixtures";

test.use({ locale: "de-DE" });
test.beforeAll(() => speak(german));
test.afterAll(() => speak(undefined));

test("it speaks German and fetches no other language, and leaves a prompt's words alone", async ({
  page,
  relay,
  computer,
}) => {
  const fetched: string[] = [];
  page.on("request", (request) => fetched.push(new URL(request.url()).pathname));
  await computer.show([sampleApproval(1, { messageLines: ["Cancel", "Erase everything?"] })]);
  await pairByText(page, relay, computer);
  await expect(page.locator("html")).toHaveAttribute("lang", "de");
  await expect(page.getByRole("heading", { level: 1 })).toHaveText("1 Rückfrage wartet");
  await expect(card(page).getByText("Cancel", { exact: true }).first()).toBeVisible();
  await expect(card(page).getByText("Erase everything?")).toBeVisible();
  const scripts = fetched.filter((path) => path.endsWith(".js") && !/start-|codeWorker|sw\.js/.test(path));
  expect(scripts.filter((path) => !path.startsWith("/assets/de/"))).toEqual([]);
  expect(scripts.length).toBeGreaterThan(1);
});

for (const [locale, lang] of [
  ["en-GB", "en"],
  ["fr-FR", "en"],
  ["de-AT", "de"],
] as const) {
  test.describe(`for ${locale}`, () => {
    test.use({ locale });
    test(`it says that it is in ${lang}`, async ({ page, relay }) => {
      await page.goto(relay.url);
      await expect(page.locator("html")).toHaveAttribute("lang", lang);
      const heading =
        lang === "de" ? german["Answer your computer from here"] : "Answer your computer from here";
      await expect(page.getByRole("heading", { level: 1 })).toHaveText(heading);
    });

    test(`the page in ${lang} waits for no other script`, async ({ page, relay, watch }) => {
      watch.expected.push(/ERR_FAILED/);
      const asked: string[] = [];
      page.on("request", (request) => asked.push(new URL(request.url()).pathname));
      // The first script, which would choose it, never comes.
      await page.route("**/assets/start-*.js", (route) => route.abort());
      await page.goto(relay.url);
      const first = lang === "de" ? /^\/assets\/de\/page-/ : /^\/assets\/page-/;
      const isNamed = locale !== "fr-FR"; // No language that there is.
      expect(asked.some((path) => first.test(path))).toBe(isNamed);
    });
  });
}

for (const width of [320, 390]) {
  test(`at twice the text size no word is broken, on a phone of ${width} px`, async ({
    page,
    relay,
    computer,
  }, info) => {
    const check = async (name: string) => {
      await page.evaluate(() => (document.documentElement.style.fontSize = "34px"));
      await info.attach(name, { body: await page.screenshot({ fullPage: true }), contentType: "image/png" });
      expect(await page.evaluate(() => document.documentElement.scrollWidth)).toBeLessThanOrEqual(width);
      expect(await page.evaluate(brokenWords)).toEqual([]);
    };
    await page.setViewportSize({ width, height: 568 });
    await page.goto(relay.url);
    await expect(page.getByRole("heading", { level: 1 })).toBeVisible();
    await check("welcome");
    await computer.show([sampleApproval(1), sampleApproval(2, { requiresDirectAccess: true })]);
    await pairByText(page, relay, computer);
    await expect(page.getByRole("article")).toHaveCount(2);
    await check("prompts");
    await page.getByRole("link", { name: /Studio/ }).tap();
    await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
    await check("computer");
    await page.goto(`${relay.url}/#/phone`);
    await expect(page.getByRole("heading", { name: say("This phone"), exact: true })).toBeVisible();
    await check("phone");
  });
}

test.describe("with a relay of its own", () => {
  test.use({ ownRelay: true });

  test("it opens without the relay, in German still", async ({ page, relay, computer, watch }) => {
    watch.expected.push(kRelayIsGone);
    await computer.show([sampleApproval(1)]);
    await pairByText(page, relay, computer);
    const isKept = () =>
      page.evaluate(async () => {
        const names = await caches.keys();
        const kept = await Promise.all(names.map(async (name) => (await caches.open(name)).keys()));
        return kept.flat().some(({ url }) => url.includes("/assets/de/MoreViews"));
      });
    await expect.poll(isKept).toBe(true);
    await relay.kill();
    await page.reload();
    await expect(page.getByRole("heading", { name: "Studio" })).toBeVisible();
    await expect(page.getByText(say("The relay cannot be reached"))).toBeVisible();
  });
});
