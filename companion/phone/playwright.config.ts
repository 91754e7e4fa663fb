// The page in a real browser, against the real relay. The computer is a fake.
//
//   QUILLARD_RELAY_PROGRAM   the program quillard-relay
//   QUILLARD_PAGE            the folder of the built page; otherwise dist/page
//   QUILLARD_CHROMIUM        another Chromium than /usr/bin/chromium
import { defineConfig } from "@playwright/test";
import { kChromium } from "./browser-tests/support/chromium";

export default defineConfig({
  testDir: "browser-tests",
  outputDir: "test-results",
  workers: 1,
  timeout: 60_000,
  expect: { timeout: 20_000 },
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
