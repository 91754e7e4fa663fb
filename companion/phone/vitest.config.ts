import { defineConfig } from "vitest/config";

// The core and the terminal phone are tested without a browser's document, the views with one.
export default defineConfig({
  test: {
    restoreMocks: true,
    // What hangs fails; a busy machine does not.
    testTimeout: 60_000,
    hookTimeout: 60_000,
    projects: [
      {
        extends: true,
        test: { name: "core", include: ["src/{core,terminal,worker}/**/*.test.ts"], environment: "node" },
      },
      {
        extends: true,
        test: {
          name: "views",
          include: ["src/**/*.test.{ts,tsx}"],
          exclude: ["src/{core,terminal,worker}/**"],
          environment: "jsdom",
        },
      },
    ],
  },
});
