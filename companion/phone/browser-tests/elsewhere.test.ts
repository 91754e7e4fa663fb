// The page served from another place than its relay, which does not have to be trusted with it then.
import { execFileSync } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createServer } from "node:http";
import type { AddressInfo } from "node:net";
import { tmpdir } from "node:os";
import { extname, join, normalize } from "node:path";
import { fileURLToPath } from "node:url";
import { sampleApproval } from "../src/core/testing";
import { FakeAgent } from "./support/FakeAgent";
import { RelayProcess, kPage } from "./support/RelayProcess";
import { agree, card, expect, test } from "./support/fixtures";

const kTypes: Readonly<Record<string, string>> = {
  ".html": "text/html",
  ".js": "text/javascript",
  ".css": "text/css",
  ".svg": "image/svg+xml",
  ".png": "image/png",
  ".webmanifest": "application/manifest+json",
};

/** Any place that serves files, and knows nothing of relays. */
async function serveFiles(folder: () => string) {
  const server = createServer((request, response) => {
    const path = normalize(new URL(request.url ?? "/", "http://files").pathname);
    const file = join(folder(), path === "/" ? "index.html" : path);
    if (!existsSync(file)) return response.writeHead(404).end();
    return response
      .writeHead(200, { "content-type": kTypes[extname(file)] ?? "text/plain" })
      .end(readFileSync(file));
  });
  await new Promise<void>((resolve) => server.listen(0, "127.0.0.1", resolve));
  const origin = `http://127.0.0.1:${(server.address() as AddressInfo).port}`;
  const close = () => {
    server.closeAllConnections();
    server.close();
  };
  return { origin, close };
}

test("a page that another place serves pairs, answers and learns of its end, with one relay alone", async ({
  page,
  watch,
}) => {
  // The relay of the fixtures is another one: this page asks the two hosts here and nobody else.
  const hosts = new Set<string>();
  watch.expected.push(/^request to /, /WebSocket connection to|Failed to load resource/);
  page.on("request", (request) => hosts.add(new URL(request.url()).host));
  page.on("websocket", (socket) => hosts.add(new URL(socket.url()).host));
  const folder = mkdtempSync(join(tmpdir(), "quillard-page-test-"));
  const files = await serveFiles(() => join(folder, "page"));
  const relay = new RelayProcess();
  relay.pageOrigins = [files.origin];
  try {
    await relay.start();
    const script = fileURLToPath(new URL("../scripts/pageElsewhere.mjs", import.meta.url));
    execFileSync(process.execPath, [script, relay.url, join(folder, "page")], {
      env: { ...process.env, QUILLARD_PAGE: kPage },
    });
    const computer = new FakeAgent(relay.url);
    await computer.connect();
    await computer.show([sampleApproval(1)]);

    await page.goto(files.origin);
    await page.getByRole("button", { name: "Paste the code’s text" }).tap();
    await page.getByLabel("The code’s text").fill(computer.pairingText);
    await page.getByRole("button", { name: "Continue" }).tap();
    await agree(page, "Studio");
    await card(page).getByRole("button", { name: "Cancel" }).tap();
    const request = await computer.request();
    await computer.answer(request, "accepted");
    await expect(card(page).getByText("pressed, the prompt is gone")).toBeVisible();

    // The reason of an end is asked over HTTP, which a relay allows to the pages that it knows.
    computer.unpair();
    await page.reload();
    await expect(page.getByText("Studio unpaired its phones")).toBeVisible();
    expect([...hosts].sort()).toEqual([new URL(files.origin).host, new URL(relay.url).host].sort());

    const connectedElsewhere = await page.evaluate(() =>
      fetch("http://127.0.0.1:9/").then(
        () => "reached",
        () => "stopped",
      ),
    );
    expect(connectedElsewhere).toBe("stopped");
    const policy = "console: policy: connect-src http://127.0.0.1:9/";
    await expect.poll(() => watch.problems).toContain(policy);
    watch.expected.push(
      /connect-src http:\/\/127\.0\.0\.1:9\//,
      /127\.0\.0\.1:9\/.* Content Security Policy/,
    );
  } finally {
    files.close();
    await relay.dispose();
    rmSync(folder, { recursive: true, force: true });
  }
});
