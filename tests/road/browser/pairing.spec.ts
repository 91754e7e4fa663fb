import { readFile } from "node:fs/promises";

import { pressed } from "./Desktop";
import { expect, test } from "./road";

test("pairs by a picture of the computer's screen", async ({ agent, phone }) => {
  await agent.waitUntilPaired();
  await phone.expectConnected();
});

test("is unpaired by the computer, and paired again", async ({ agent, desktop, phone, road }) => {
  await agent.unpair();
  await phone.expectNotice("Desk unpaired its phones");
  await phone.forget("Desk");
  await road.pair();
  const dialog = await desktop.open({ toolkit: "gtk3", title: "Afresh", buttons: ["No", "Yes"] });
  await (await phone.prompt("Afresh")).hold("Yes");
  expect(await dialog.exitStatus).toBe(pressed(1));
  await phone.expectOutcome("Afresh", "“Yes” pressed from here");
});

// The last one of this file: what all runs so far have said.
test("spreads no secret", async ({ agent, relay, road }) => {
  const secrets = (await agent.tool("pair", "--text", "--force")).match(/[0-9a-f]{64}/g) ?? [];
  expect(secrets.length, "the token and the end-to-end secret").toBe(2);
  const database = (await readFile(relay.database)).toString("latin1");
  const said = { agent: agent.output, relay: relay.output, page: road.browser.output, database };
  for (const [who, text] of Object.entries(said)) {
    // Not by expect(), which would print them.
    expect(
      secrets.some((secret) => text.includes(secret)),
      who,
    ).toBe(false);
  }
});
