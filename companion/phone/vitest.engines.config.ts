import { defineConfig } from "vitest/config";

// The page in a real engine: see engine-tests/page.test.ts.
export default defineConfig({
  test: {
    include: ["engine-tests/**/*.test.ts"],
    environment: "node",
    // Only failures use them up: a busy machine must not fail a test.
    testTimeout: 240_000,
    hookTimeout: 120_000,
  },
});
