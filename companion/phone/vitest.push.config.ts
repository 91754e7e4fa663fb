import { defineConfig } from "vitest/config";

// Alerts in a real browser with a push service: see push-tests/alerts.test.ts.
export default defineConfig({
  test: {
    include: ["push-tests/**/*.test.ts"],
    environment: "node",
    // Only failures use them up: a busy machine must not fail a test.
    testTimeout: 900_000,
    hookTimeout: 120_000,
  },
});
