// Makes the README's pictures of the page: its made-up states, phone-sized, light and dark. Where the font "Inter" is
// installed it stands in for a phone's own; without it the pictures show this system's.
//
//   npm run pictures [-- FOLDER [SCENE...]]
import { chromium } from "@playwright/test";
import { mkdirSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { createServer } from "vite";

const kPictures = {
  pairing: "welcome",
  prompts: "prompts",
  "direct-access": "directAccess",
  outcome: "outcome",
  "not-connected": "notConnected",
};

const [folderGiven, ...scenesGiven] = process.argv.slice(2);
const folder = folderGiven ?? fileURLToPath(new URL("../../../docs/pictures", import.meta.url));
const wanted =
  scenesGiven.length > 0 ? Object.fromEntries(scenesGiven.map((scene) => [scene, scene])) : kPictures;
mkdirSync(folder, { recursive: true });

const root = fileURLToPath(new URL("..", import.meta.url));
const server = await createServer({
  root,
  logLevel: "error",
  server: { host: "127.0.0.1", port: 0, hmr: false },
  optimizeDeps: { entries: ["gallery/index.html"] },
});
await server.listen();
const address = server.httpServer.address();
const browser = await chromium.launch({
  executablePath: process.env["QUILLARD_CHROMIUM"] ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--disable-background-networking"],
});
for (const colorScheme of ["light", "dark"]) {
  const page = await browser.newPage({
    viewport: { width: Number(process.env["WIDTH"] ?? 390), height: 844 },
    deviceScaleFactor: 2,
    colorScheme,
  });
  page.on("pageerror", (error) => console.error(error));
  for (const [name, scene] of Object.entries(wanted)) {
    const [sceneName, query = ""] = scene.split(/(?=[&#])/);
    await page.goto(`http://127.0.0.1:${address.port}/gallery/?scene=${sceneName}${query}`);
    await page.reload();
    await page.addStyleTag({ content: `html { font-family: Inter, system-ui, sans-serif !important }` });
    if (process.env["TEXT"])
      await page.addStyleTag({ content: `html { font-size: ${process.env["TEXT"]} }` });
    await page.locator("main").waitFor();
    await page.evaluate(() => document.fonts.ready);
    const fullPage = process.env["FULL"] !== undefined;
    await page.screenshot({
      path: `${folder}/phone-${name.replace(/[^\w-]/g, "-")}-${colorScheme}.png`,
      fullPage,
    });
  }
}
await browser.close();
await server.close();
