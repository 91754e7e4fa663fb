import { defineConfig } from "vitest/config";

export default defineConfig({
  test: {
    include: ["src/**/*.test.{ts,tsx}"],
    environment: "node",
    // What a test forgot to wait for is its failure.
    dangerouslyIgnoreUnhandledErrors: false,
    restoreMocks: true,
  },
});
