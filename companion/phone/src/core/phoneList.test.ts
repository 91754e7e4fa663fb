import { beforeEach, describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleID, sampleResult } from "./testing";

const one = sampleID(1);
const two = sampleID(2);
let world: PhoneWorld;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
});

describe("The list", () => {
  it("is another thing when nothing has come yet than when nothing waits", async () => {
    const mac = await world.pair("mac");
    expect(world.computer("mac")).not.toHaveProperty("prompts");
    await world.join(mac);
    expect(world.computer("mac")).not.toHaveProperty("prompts");
    await world.list(mac, []);
    expect(world.computer("mac").prompts).toEqual([]);
  });

  it("keeps the computer's order", async () => {
    const mac = await world.connected("mac", [sampleApproval(2), sampleApproval(1)]);
    expect(world.computer("mac").prompts?.map((prompt) => prompt.id)).toEqual([two, one]);
    await world.list(mac, [sampleApproval(1), sampleApproval(2)]);
    expect(world.computer("mac").prompts?.map((prompt) => prompt.id)).toEqual([one, two]);
  });

  it("says what went away without any phone", async () => {
    const mac = await world.connected("mac", [sampleApproval(1), sampleApproval(2)]);
    await world.list(mac, [sampleApproval(2)]);
    expect(world.outcomes()).toMatchObject([{ status: "goneByItself", windowTitle: "Erase disk?" }]);
    expect(world.outcomes()[0]).not.toHaveProperty("buttonLabel");
  });

  it("does not say so of a prompt whose button may have been pressed from here", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.decided(mac);
    await world.list(mac, []);
    expect(world.outcomes()).toEqual([]);
  });

  it("says so of a prompt of which it is known that nothing was pressed", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.receipt(mac, await world.decided(mac), false, "macBusy");
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([{ status: "goneByItself" }, { status: "undelivered" }]);
  });

  it("says nothing of prompts that a computer cannot see any more", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, [], false);
    expect(world.computer("mac")).toMatchObject({ accessibilityTrusted: false, prompts: [], outcomes: [] });
  });

  it("says nothing of prompts that a pause took away, and says until when it lasts", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, [], true, { isPaused: true, pausedUntil: "2026-03-01T18:30:00Z" });
    expect(world.computer("mac")).toMatchObject({
      prompts: [],
      outcomes: [],
      pause: { until: Date.UTC(2026, 2, 1, 18, 30) },
    });
    await world.list(mac, [], true, { isPaused: true });
    expect(world.computer("mac").pause).toEqual({});
    await world.list(mac, [sampleApproval(1)]);
    expect(world.computer("mac")).not.toHaveProperty("pause");
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([{ status: "goneByItself" }]);
  });

  it.each([{}, { isPaused: "yes" }, { isPaused: true, pausedUntil: "soon" }])(
    "is taken for unreadable where the computer's state is: %j",
    async (state) => {
      const mac = await world.connected("mac", [sampleApproval(1)]);
      await world.list(mac, [], true, state);
      expect(world.computer("mac")).toMatchObject({ hasUnreadableSnapshot: true, prompts: [{ id: one }] });
    },
  );

  it("is none any more once the computer has unpaired this phone", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.network.socket("mac").end(4002);
    await world.time.settle();
    expect(world.computer("mac").relay).toEqual({ kind: "revoked" });
    expect(world.computer("mac")).not.toHaveProperty("prompts");
  });

  it("comes again as often as it likes", async () => {
    const mac = await world.connected("mac", []);
    const text = await mac.snapshot([sampleApproval(1)]);
    for (let times = 0; times < 3; times += 1) {
      world.network.socket("mac").deliver(text);
      await world.time.settle();
      expect(world.computer("mac").prompts).toHaveLength(1);
    }
  });

  it("is taken in the order in which it came, however long a box takes to open", async () => {
    const mac = await world.connected("mac", []);
    const long = await mac.snapshot([
      sampleApproval(1, { messageLines: new Array(500).fill("x".repeat(500)) }),
    ]);
    const short = await mac.snapshot([sampleApproval(2)]);
    world.network.socket("mac").deliver(long);
    world.network.socket("mac").deliver(short);
    await world.time.settle();
    expect(world.computer("mac").prompts?.map((prompt) => prompt.id)).toEqual([two]);
  });

  it.each([
    ["sealed with another secret", (_text: string, other: string) => other],
    ["damaged", (text: string) => text.replace('"ciphertext":"', '"ciphertext":"AAAA')],
    ["without a box", () => '{"type":"mac.snapshot","accessibilityTrusted":true}'],
  ])("that cannot be opened is reported, and the last good one stays: %s", async (_, damage) => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const other = await world.pair("other");
    world.network.socket("mac").deliver(damage(await mac.snapshot([]), await other.snapshot([])));
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({
      hasUnreadableSnapshot: true,
      prompts: [{ id: one }],
      outcomes: [],
    });
    await world.list(mac, []);
    expect(world.computer("mac")).toMatchObject({ hasUnreadableSnapshot: false, prompts: [] });
  });

  it("that cannot be read once opened is reported", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, [sampleApproval(1), sampleApproval(1)]);
    expect(world.computer("mac").hasUnreadableSnapshot).toBe(true);
  });

  it("keeps a prompt that came back decidable", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const first = await world.decided(mac);
    await world.result(mac, first, sampleResult("accepted"));
    await world.list(mac, []);
    await world.list(mac, [sampleApproval(1)]);
    expect(world.decision()).toBeUndefined();
    expect(await world.decided(mac)).not.toBe(first);
  });

  it("ignores unknown messages", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    for (const text of ["", "{", "[]", '{"type":5}', '{"type":"mac.joke"}', '{"type":"mac.status"}']) {
      world.network.socket("mac").deliver(text);
    }
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({ relay: { kind: "connected" }, prompts: [{ id: one }] });
  });
});

describe("The computer", () => {
  it("is connected, not connected, or not known to be, with the time of its last word", async () => {
    const mac = await world.pair("mac");
    expect(world.computer("mac")).not.toHaveProperty("isComputerConnected");
    expect(world.computer("mac")).not.toHaveProperty("lastReceivedAt");
    const socket = await world.join(mac, false);
    socket.deliver({ type: "mac.status", macConnected: false, heardSecondsAgo: 90 });
    await world.time.settle();
    const lastReceivedAt = world.time.now() - 90_000;
    expect(world.computer("mac")).toMatchObject({ isComputerConnected: false, lastReceivedAt });
    socket.end();
    expect(world.computer("mac")).not.toHaveProperty("isComputerConnected");
    expect(world.computer("mac").lastReceivedAt).toBe(lastReceivedAt);
  });

  it("that unpaired its phones is not asked again after the page was loaded anew", async () => {
    await world.connected("mac", []);
    world.network.socket("mac").end(4002);
    await world.time.settle();
    await world.reload();
    expect(world.computer("mac").relay.kind).toBe("revoked");
    expect(world.network.sockets).toHaveLength(1);
  });

  it("that was only taken over by another tab is asked again after the page was loaded anew", async () => {
    await world.connected("mac", []);
    world.network.socket("mac").end(4001);
    await world.reload();
    expect(world.network.sockets).toHaveLength(2);
  });

  it("never takes what comes on the connection of another", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const other = await world.connected("other", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.result(other, asked, sampleResult("accepted"));
    await world.receipt(other, asked, false, "macBusy");
    world.network.socket("other").deliver(await mac.result(asked, sampleResult("accepted")));
    world.network
      .socket("other")
      .deliver(await mac.suppression({ action: "suppress", suppressionID: sampleID(1001) }));
    await world.time.settle();
    expect(world.decision("mac")?.status).toBe("sending");
    expect(world.prompt("other", one).decision).toBeUndefined();
    expect(world.computer("other").suppressions).toEqual([]);
    const before = world.computer("other");
    await world.result(mac, asked, sampleResult("accepted"));
    expect(world.computer("other")).toBe(before);
    await world.list(other, []);
    expect(world.computer("mac").prompts).toHaveLength(1);
  });
});

describe("A muted kind of prompt", () => {
  it("is not shown any more, and the computer is notified", async () => {
    const kind = { suppressionID: sampleID(1000) };
    const mac = await world.connected("mac", [
      sampleApproval(1, kind),
      sampleApproval(2, kind),
      sampleApproval(3),
    ]);
    world.phone.suppress("mac", one);
    await world.time.settle();
    expect(world.computer("mac").prompts?.map((prompt) => prompt.id)).toEqual([sampleID(3)]);
    expect(world.computer("mac").suppressions).toMatchObject([{ ...kind, appName: "Disk Tool" }]);
    expect(world.outcomes()).toMatchObject([{ status: "suppressed" }]);
    expect(await world.lastSent(mac)).toMatchObject({
      type: "approval.suppress",
      command: { action: "suppress", approvalID: one, ...kind },
    });
    await world.list(mac, [sampleApproval(3)]);
    expect(world.outcomes()).toHaveLength(1);
    expect((await world.lastSent(mac)).command).not.toHaveProperty("decisionID");
  });

  it("cannot be decided on", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.phone.suppress("mac", one);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toHaveLength(1);
  });

  it("stays muted over a reload, until it is shown again", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.phone.suppress("mac", one);
    await world.time.settle();
    await world.reload();
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    expect(world.computer("mac").prompts).toEqual([]);
    world.phone.unsuppress("mac", sampleID(1001));
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({ prompts: [{ id: one }], suppressions: [] });
    expect(await world.lastSent(mac)).toMatchObject({
      type: "approval.unsuppress",
      command: { action: "unsuppress", suppressionID: sampleID(1001) },
    });
  });

  it("is sent to the computer until that was reached, and then no more", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.phone.suppress("mac", one);
    await world.time.settle();
    const sent = await world.lastSent(mac);
    await world.receipt(mac, sent.decisionID, false, "macNotConnected");
    await world.reload();
    await world.join(mac);
    const again = await world.lastSent(mac);
    expect(again).toMatchObject({ decisionID: sent.decisionID, command: sent.command });
    expect(again.nonce).not.toBe(sent.nonce);
    await world.receipt(mac, sent.decisionID, true);
    world.network.socket("mac").end();
    await world.time.advance(1000);
    await world.join(mac);
    expect(world.sent()).toEqual([]);
  });

  it("may be muted and shown by another phone, whose own action counts", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const suppressionID = sampleID(1001);
    const receive = async (command: unknown, type: string) => {
      world.network.socket("mac").deliver(await mac.suppression(command, type));
      await world.time.settle();
    };
    await receive({ action: "suppress", approvalID: one, suppressionID }, "approval.unsuppress");
    expect(world.computer("mac")).toMatchObject({
      prompts: [],
      suppressions: [{ suppressionID, appName: "Disk Tool" }],
    });
    expect(world.outcomes()).toMatchObject([{ status: "suppressed", otherPhone: "another phone" }]);
    await receive({ action: "unsuppress", suppressionID }, "approval.suppress");
    expect(world.computer("mac")).toMatchObject({ prompts: [{ id: one }], suppressions: [] });
    expect(world.sent()).toEqual([]);
  });

  it("does not become muted again by an old message, our own one included", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const suppressionID = sampleID(1001);
    const text = await mac.suppression({ action: "suppress", approvalID: one, suppressionID });
    world.network.socket("mac").deliver(text);
    await world.time.settle();
    world.phone.unsuppress("mac", suppressionID);
    world.phone.suppress("mac", one);
    await world.time.settle();
    const own = world.sent().at(-1) ?? "";
    world.phone.unsuppress("mac", suppressionID);
    for (const old of [text, own]) world.network.socket("mac").deliver(old);
    await world.time.settle();
    expect(world.computer("mac").prompts).toHaveLength(1);
  });
});
