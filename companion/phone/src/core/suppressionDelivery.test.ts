// A change of what is muted reaches the computer, also where the relay wrote it to a connection that was dead already.

import { beforeEach, describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleID, type FakeComputer, type PhoneMessage } from "./testing";

const one = sampleID(1);
const kind = sampleID(1001);
const minute = 60_000;
let world: PhoneWorld;
let mac: FakeComputer;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
  mac = await world.connected("mac", [sampleApproval(1)]);
  await status(4);
});

/** `macConnection` absent: the computer is not connected. */
async function status(macConnection?: number): Promise<void> {
  const macConnected = macConnection !== undefined;
  const message = { type: "mac.status", macConnected, ...(macConnected && { macConnection }) };
  world.network.socket("mac").deliver(message);
  await world.time.settle();
}

/** What the computer says is muted, with the list. */
async function report(...muted: readonly object[]): Promise<void> {
  const suppressions = muted.map((members) => ({
    suppressionID: kind,
    appName: "",
    windowTitle: "",
    since: "2026-03-01T12:00:00Z",
    ...members,
  }));
  world.network.socket("mac").deliver(await mac.snapshot([], true, { isPaused: false, suppressions }));
  await world.time.settle();
}

/** Mutes the prompt's kind, and the relay writes that to the computer's connection. */
async function muted(): Promise<PhoneMessage> {
  world.phone.suppress("mac", one);
  await world.time.settle();
  const sent = await world.lastSent(mac);
  await world.receipt(mac, sent.decisionID, true);
  return sent;
}

/** All that the phone has sent, on all of its connections. */
const sent = (): readonly string[] => world.network.sockets.flatMap((socket) => socket.sent);

/** Time passes, and the relay says every 15 s which connection the computer has. */
async function pass(milliseconds: number, macConnection?: number): Promise<void> {
  for (let left = milliseconds; left > 0; left -= 15_000) {
    await world.time.advance(15_000);
    await status(macConnection);
  }
}

const shown = (): readonly string[] =>
  world.computer("mac").suppressions.map(({ suppressionID }) => suppressionID);

describe("A mute that the relay has written to a connection of the computer", () => {
  it("is sent again where another connection takes its place before the computer has said that it is muted", async () => {
    const first = await muted();
    await status(5);
    const again = await world.lastSent(mac);
    expect(again).toMatchObject({ type: "approval.suppress", decisionID: first.decisionID });
    expect(again).toMatchObject({ command: { action: "suppress", suppressionID: kind } });
    expect(sent()).toHaveLength(2);
    await report();
    expect(shown()).toEqual([kind]);
  });

  it("is sent again where the relay loses the computer, once it is back", async () => {
    await muted();
    await status();
    await pass(10 * minute);
    expect(sent()).toHaveLength(1);
    await status(5);
    expect(sent()).toHaveLength(2);
  });

  it("is sent again where the page was loaded anew meanwhile", async () => {
    await muted();
    await world.reload();
    await world.join(mac);
    await status(5);
    expect(await world.lastSent(mac)).toMatchObject({ command: { action: "suppress", suppressionID: kind } });
  });

  it("is not sent again while that connection stays", async () => {
    await muted();
    await status(4);
    await world.reload();
    await world.join(mac);
    await status(4);
    expect(sent()).toHaveLength(1);
  });

  it("is not sent again once the computer has said that it is muted", async () => {
    await muted();
    await report({});
    await status(5);
    expect(sent()).toHaveLength(1);
  });

  it("is not sent again when it is older than a relay can take a dead connection for a good one", async () => {
    await muted();
    await pass(1.5 * minute, 4);
    await status(5);
    expect(sent()).toHaveLength(1);
  });

  it("is not sent again when another phone has said otherwise since", async () => {
    await muted();
    const command = { action: "unsuppress", suppressionID: kind };
    world.network.socket("mac").deliver(await mac.suppression(command, "approval.unsuppress"));
    await world.time.settle();
    await status(5);
    expect(sent()).toHaveLength(1);
    expect(shown()).toEqual([]);
  });

  it("gives way to a newer wish about the same kind", async () => {
    await muted();
    world.phone.unsuppress("mac", kind);
    await world.time.settle();
    await world.receipt(mac, (await world.lastSent(mac)).decisionID, true);
    await status(5);
    expect((await world.lastSent(mac)).command).toMatchObject({ action: "unsuppress" });
    expect(sent()).toHaveLength(3);
  });
});

describe("The end of a mute", () => {
  it("is sent again until the computer has stopped saying that it is muted", async () => {
    await muted();
    await report({});
    world.phone.unsuppress("mac", kind);
    await world.time.settle();
    await world.receipt(mac, (await world.lastSent(mac)).decisionID, true);
    await status(5);
    expect(sent()).toHaveLength(3);
    await world.receipt(mac, (await world.lastSent(mac)).decisionID, true);
    await report();
    await status(6);
    expect(sent()).toHaveLength(3);
  });
});

describe("Another length of a mute", () => {
  it("is sent again until the computer says the new end", async () => {
    await muted();
    await report({});
    world.phone.suppressFor("mac", kind, 3600);
    await world.time.settle();
    await world.receipt(mac, (await world.lastSent(mac)).decisionID, true);
    await report({});
    await status(5);
    expect(sent()).toHaveLength(3);
    await world.receipt(mac, (await world.lastSent(mac)).decisionID, true);
    await report({ until: new Date(world.time.now() + 3600_000).toISOString() });
    await status(6);
    expect(sent()).toHaveLength(3);
  });
});
