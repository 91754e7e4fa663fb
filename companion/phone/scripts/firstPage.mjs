// How long a first visit takes until the page can be used, on a throttled phone: the processor a quarter as fast, and a
// network of 1.6 Mbit/s down, 0.75 Mbit/s up, 150 ms there and back, as the browser's own tools have it.
//
//   QUILLARD_RELAY_PROGRAM=... node scripts/firstPage.mjs [VISITS]
//
// Each visit is the first one of a new browser profile. Prints when the first button was there (the page can be used then)
// and what went over the network by then, the browser's own account of both. The machine must be otherwise idle.
import { chromium } from "@playwright/test";
import { spawn } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";

const program = process.env["QUILLARD_RELAY_PROGRAM"];
if (!program) throw new Error("QUILLARD_RELAY_PROGRAM names no relay.");
const visits = Number(process.argv[2] ?? 9);
const kKilobit = 1000 / 8;
const kPhone = { downloadThroughput: 1600 * kKilobit, uploadThroughput: 750 * kKilobit, latency: 150 };
const kDesk = { downloadThroughput: -1, uploadThroughput: -1, latency: 0 };

const folder = mkdtempSync(join(tmpdir(), "quillard-first-page-"));
const page = fileURLToPath(new URL("../dist/page", import.meta.url));
const relay = spawn(program, [
  "--listen",
  "127.0.0.1:0",
  "--database",
  join(folder, "relay.db"),
  "--page",
  page,
]);
const browser = await chromium.launch({
  executablePath: process.env["QUILLARD_CHROMIUM"] ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking"],
});

async function relayUrl() {
  for await (const line of createInterface({ input: relay.stdout })) {
    const found = /^Listening on (.*)$/.exec(line);
    if (found) return found[1];
  }
  throw new Error("The relay did not start.");
}

// Milliseconds until the first button was drawn, and bytes.
async function visit(url, network, slowdown) {
  const context = await browser.newContext({
    viewport: { width: 390, height: 844 },
    deviceScaleFactor: 2,
    isMobile: true,
    hasTouch: true,
  });
  try {
    const tab = await context.newPage();
    const devtools = await context.newCDPSession(tab);
    let bytes = 0;
    devtools.on("Network.loadingFinished", (event) => (bytes += event.encodedDataLength));
    await devtools.send("Network.enable");
    await devtools.send("Network.emulateNetworkConditions", { offline: false, ...network });
    await devtools.send("Emulation.setCPUThrottlingRate", { rate: slowdown });
    await tab.addInitScript(() => {
      const look = () => {
        if (!document.querySelector("button:enabled")) return requestAnimationFrame(look);
        // After this frame was drawn, and whatever held up the page before it could take a finger.
        return requestAnimationFrame(() =>
          setTimeout(() => Reflect.set(window, "usableAfter", performance.now())),
        );
      };
      requestAnimationFrame(look);
    });
    await tab.goto(url, { waitUntil: "commit" });
    await tab.waitForFunction(() => Reflect.get(window, "usableAfter") !== undefined);
    const usable = await tab.evaluate(() => Reflect.get(window, "usableAfter"));
    return { usable, bytes };
  } finally {
    await context.close();
  }
}

const middle = (numbers) => numbers.sort((one, other) => one - other)[Math.floor(numbers.length / 2)];

try {
  const url = await relayUrl();
  for (const [name, network, slowdown] of [
    ["as it is", kDesk, 1],
    ["throttled phone", kPhone, 4],
  ]) {
    const all = [];
    for (let i = 0; i < visits; ++i) all.push(await visit(url, network, slowdown));
    const times = all.map((one) => Math.round(one.usable));
    const text = `usable after ${middle([...times])} ms (of ${times.join(", ")})`;
    console.log(`${name.padEnd(16)} ${text}, ${middle(all.map((one) => one.bytes))} bytes`);
  }
} finally {
  await browser.close();
  relay.kill();
  rmSync(folder, { recursive: true });
}
