import { readdir, readFile, stat } from "node:fs/promises";
import { dirname, join } from "node:path";

import { Browser } from "./Browser";
import { pressed } from "./Desktop";
import { places } from "./places";
import { expect, test } from "./endToEnd";

test("pairs by a picture of the computer's screen", async ({ agent, phone }) => {
  await agent.waitForPhoneNamed("Ana’s phone");
  await phone.expectConnected("Desk");
  await phone.expectNothingWaits();
});

test("is unpaired by the computer, and paired again", async ({ agent, desktop, phone, endToEnd }) => {
  await agent.unpair();
  await phone.expectNotice("Desk unpaired its phones");
  await phone.forget("Desk");
  await endToEnd.pair();
  const dialog = await desktop.open({ toolkit: "gtk3", title: "Afresh", buttons: ["No", "Yes"] });
  await (await phone.prompt("Afresh")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Afresh", "“Yes” pressed from here");
});

test("shows what another phone has decided, which has a pairing of its own", async ({
  agent,
  desktop,
  phone,
  relay,
}) => {
  const other = new Browser(relay, "another");
  await other.start();
  try {
    await other.phone.open();
    await agent.pairAnother();
    await other.phone.pairByPicture(await desktop.screenshot(), "Desk", "Ben’s phone");
    const dialog = await desktop.open({ toolkit: "qt", title: "Either of us", buttons: ["No", "Yes"] });
    await phone.prompt("Either of us");
    await (await other.phone.prompt("Either of us")).hold("Yes");
    expect(await dialog.exitStatus).toBe(pressed(1));
    await other.phone.expectOutcome("Either of us", "“Yes” pressed from here");
    await phone.expectOutcome("Either of us", "“Yes” pressed: chosen on Ben’s phone");

    // A phone is taken back while its page is closed, and the other stays.
    await other.end();
    expect(await agent.tool("unpair", "Ben’s phone", "--yes")).toContain("Unpaired: Ben’s phone");
    await other.start();
    await other.phone.open();
    await other.phone.expectNotice("Desk unpaired its phones");
    const later = await desktop.open({ toolkit: "qt", title: "Who is left", buttons: ["No", "Yes"] });
    await (await phone.prompt("Who is left")).hold("Yes");
    expect(await later.exitStatus).toBe(pressed(1));
  } finally {
    await other.end();
  }
});

// The last one of this file: all output so far, and all that is kept.
test("spreads no secret", async ({ agent, relay, endToEnd }) => {
  const secrets = endToEnd.pairingText.match(/[0-9a-f]{64}/g) ?? [];
  expect(secrets.length, "the token and the end-to-end secret").toBe(2);
  await endToEnd.browser.end(); // So that everything it keeps is on the disk, and stays there.
  const kept = await filesBelow(inFolder(""));
  await endToEnd.browser.start();
  await endToEnd.phone.open();
  const outputs = [
    { name: "the agent's output", contents: Buffer.from(agent.output) },
    { name: "the relay's output", contents: Buffer.from(relay.output) },
    { name: "the page's console", contents: Buffer.from(endToEnd.browser.output) },
  ];
  const forms = secrets.flatMap(formsOf);
  const holding = [...kept, ...outputs]
    .filter(({ contents }) => forms.some((form) => contents.includes(form)))
    .map(({ name }) => name);
  // The agent's own two places, readable by its user only.
  const [store, settings] = ["data/quillard/secrets", "config/quillard/settings.json"].map(inFolder);
  expect(holding).toContain(store);
  expect(holding.filter((name) => name !== store && name !== settings)).toEqual([]);
  for (const name of holding) expect((await stat(name)).mode & 0o077, name).toBe(0);
  const names = kept.map(({ name }) => name);
  for (const part of [relay.database, endToEnd.browser.profile]) {
    expect(
      names.some((name) => name.startsWith(part)),
      part,
    ).toBe(true);
  }
});

/** Of all that belongs to the private desktop. */
function inFolder(path: string): string {
  return join(dirname(places.home), path);
}

/** As it may stand in files: one or two bytes a letter, as digits, and within Base64, wherever it begins there. */
function formsOf(secret: string): Buffer[] {
  const encoded = ["", "-", "--"].map((before) =>
    Buffer.from(before + secret)
      .toString("base64")
      .slice(4, -4),
  );
  const texts = [secret, Buffer.from(secret).toString("hex"), ...encoded];
  return [...texts.map((text) => Buffer.from(text)), Buffer.from(secret, "utf16le")];
}

async function filesBelow(folder: string): Promise<{ name: string; contents: Buffer }[]> {
  const entries = await readdir(folder, { withFileTypes: true });
  const below = await Promise.all(
    entries.map(async (entry) => {
      const name = join(folder, entry.name);
      if (entry.isDirectory()) return filesBelow(name);
      return entry.isFile() ? [{ name, contents: await readFile(name) }] : [];
    }),
  );
  return below.flat();
}
