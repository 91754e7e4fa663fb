// The browser that is installed here; none is ever fetched.
import type { LaunchOptions } from "@playwright/test";

export const kChromium: LaunchOptions = {
  executablePath: process.env["QUILLARD_CHROMIUM"] ?? "/usr/bin/chromium",
  headless: true,
  args: [
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
  ],
};
