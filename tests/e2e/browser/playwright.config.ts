import { defineConfig } from "@playwright/test";

// The whole chain on one private desktop: one computer, one relay, one phone. Every test sees what waits on the desktop,
// so nothing runs in parallel, and a failed test is not tried again: what fails now and then is a mistake.
export default defineConfig({
  testDir: ".",
  outputDir: process.env["QUILLARD_E2E_RESULTS"] ?? "test-results",
  grep: new RegExp(process.env["QUILLARD_E2E_ONLY"] ?? ""),
  workers: 1,
  fullyParallel: false,
  retries: 0,
  forbidOnly: true,
  // Only failures use them up: a busy machine must not fail a test.
  timeout: 180_000,
  expect: { timeout: 60_000 },
  reporter: "list",
});
