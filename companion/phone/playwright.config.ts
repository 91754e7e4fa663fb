// The page in a real browser, against the real relay. The computer is a fake.
//
//   QUILLARD_RELAY_PROGRAM   the program quillard-relay
//   QUILLARD_PAGE            the folder of the built page; otherwise dist/page
//   QUILLARD_CHROMIUM        another Chromium than /usr/bin/chromium
//   QUILLARD_BROWSER_WORKERS how many tests run at the same time; otherwise 2
import { defineConfig } from "@playwright/test";
import { kChromium } from "./browser-tests/support/chromium";

export default defineConfig({
  testDir: "browser-tests",
  outputDir: "test-results",
  // Tests share nothing that they change, so files may run in parallel.
  workers: Number(process.env["QUILLARD_BROWSER_WORKERS"] ?? 2),
  // Only failures use them up: a busy machine must not fail a test.
  timeout: 180_000,
  expect: { timeout: 60_000 },
  forbidOnly: true,
  reporter: [["list"]],
  use: {
    launchOptions: kChromium,
    viewport: { width: 390, height: 844 },
    deviceScaleFactor: 2,
    isMobile: true,
    hasTouch: true,
    locale: "en-GB",
    userAgent:
      "Mozilla/5.0 (iPhone; CPU iPhone OS 18_0 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/18.0 Mobile/15E148 Safari/604.1",
    screenshot: "only-on-failure",
  },
});
