import type { Engine } from "./Engine";

/** The engine that QUILLARD_ENGINE names; only its own tools are loaded. */
export async function engineOfTest(): Promise<Engine> {
  const name = process.env["QUILLARD_ENGINE"] ?? "chromium";
  switch (name) {
    case "chromium":
      return (await import("./chromiumEngine")).chromiumEngine;
    case "firefox":
      return (await import("./firefoxEngine")).firefoxEngine;
    case "webkit":
      return (await import("./webkitEngine")).webkitEngine;
    default:
      throw new Error(`There is no engine ${name}: chromium, firefox or webkit.`);
  }
}
