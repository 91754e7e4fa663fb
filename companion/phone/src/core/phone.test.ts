import { beforeEach, describe, expect, it } from "vitest";
import { MemoryStore } from "./memoryStore";
import type { Outcome, PairingOffer } from "./model";
import { cleanName } from "./phone";
import type { Store } from "./store";
import { PhoneWorld, sampleApproval, sampleButton, sampleID, type FakeComputer } from "./testing";

const one = sampleID(1);
const two = sampleID(2);
let world: PhoneWorld;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
});

function result(status: string, change: Readonly<Record<string, unknown>> = {}) {
  return { approvalID: one, buttonLabel: "Allow", status, ...change };
}

/** Decides on the first prompt, and gives the decision's name. */
async function decided(mac: FakeComputer, label = "Allow"): Promise<string> {
  world.phone.decide(mac.pairingID, one, label);
  await world.time.settle();
  return (await world.lastSent(mac)).decisionID;
}

function outcomes(name = "mac"): readonly Outcome[] {
  return world.computer(name).outcomes;
}

function decision(name = "mac") {
  return world.prompt(name, one).decision;
}

function sent(name = "mac"): readonly string[] {
  return world.network.socket(name).sent;
}

describe("A decision", () => {
  it("goes out sealed, with the label byte for byte, and is followed until the computer's word", async () => {
    const label = "Don’t\u202E “Allow”\u00A0 ";
    const mac = await world.connected("mac", [sampleApproval(1, { buttons: [sampleButton(label)] })]);
    world.phone.decide("mac", one, label);
    expect(decision()?.status).toBe("sending");
    await world.time.settle();
    const asked = await world.lastSent(mac);
    expect(asked).toMatchObject({
      type: "approval.request",
      command: { approvalID: one, buttonLabel: label },
    });
    await world.receipt(mac, asked.decisionID, true);
    expect(decision()?.status).toBe("delivered");
    await world.result(mac, asked.decisionID, result("accepted", { buttonLabel: label }));
    expect(decision()?.status).toBe("accepted");
    await world.list(mac, []);
    expect(world.computer("mac").prompts).toEqual([]);
    expect(outcomes()).toMatchObject([{ status: "accepted", buttonLabel: label, key: asked.decisionID }]);
    expect(outcomes()[0]).not.toHaveProperty("otherPhone");
  });

  it("is made once, however often a button is tapped", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    for (let taps = 0; taps < 5; taps += 1) world.phone.decide("mac", one, "Allow");
    world.phone.decide("mac", one, "Cancel");
    await world.time.settle();
    expect(sent()).toHaveLength(1);
  });

  it("is only about a prompt and a button that are there", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.phone.decide("mac", two, "Allow");
    world.phone.decide("mac", one, "allow");
    world.phone.decide("mac", one, "Allow ");
    world.phone.decide("other", one, "Allow");
    await world.time.settle();
    expect(sent()).toEqual([]);
    expect(decision()).toBeUndefined();
  });

  it("of a prompt that requires direct access is a safe dismissal or nothing", async () => {
    const buttons = ["Allow", "Later", "Don’t Allow"].map(sampleButton);
    const mac = await world.connected("mac", [sampleApproval(1, { buttons, requiresDirectAccess: true })]);
    world.phone.decide("mac", one, "Allow");
    world.phone.decide("mac", one, "Later");
    await world.time.settle();
    expect(sent()).toEqual([]);
    await decided(mac, "Don’t Allow");
    expect(sent()).toHaveLength(1);
  });

  it("that the relay could not hand over is said, and can be made again under another name", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const first = await decided(mac);
    await world.receipt(mac, first, false, "macNotConnected");
    expect(decision()).toMatchObject({
      status: "undelivered",
      error: expect.stringContaining("Nothing was pressed"),
    });
    expect(outcomes()).toMatchObject([{ status: "undelivered", buttonLabel: "Allow", appName: "Disk Tool" }]);
    expect(await decided(mac)).not.toBe(first);
    expect(decision()?.status).toBe("sending");
  });

  it("is unanswered a minute after it was made, not before; the computer's word still counts then", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.receipt(mac, asked, true);
    for (let seconds = 0; seconds < 40; seconds += 20) {
      await world.time.advance(20_000);
      world.network.socket("mac").say({ type: "mac.status", macConnected: true });
    }
    await world.time.advance(19_999);
    expect(decision()?.status).toBe("delivered");
    await world.time.advance(1);
    expect(decision()?.status).toBe("unanswered");
    expect(outcomes()).toMatchObject([{ status: "unanswered" }]);
    await world.result(mac, asked, result("failed", { error: "It hung." }));
    expect(decision()).toMatchObject({ status: "failed", error: "It hung." });
    expect(outcomes()).toMatchObject([{ status: "failed", error: "It hung.", key: asked }]);
    expect(outcomes()).toHaveLength(1);
  });

  it("is asked again after a break, under the same name and sealed anew", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    const before = await world.lastSent(mac);
    world.network.socket("mac").end();
    await world.time.advance(1000);
    await world.join(mac);
    const again = await world.lastSent(mac);
    expect(again).toMatchObject({ decisionID: asked, command: before.command });
    expect(again.nonce).not.toBe(before.nonce);
    await world.result(mac, asked, result("accepted"));
    expect(outcomes()).toMatchObject([{ status: "accepted" }]);
  });

  it("made without a connection goes out as soon as there is one", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.network.socket("mac").end();
    world.phone.decide("mac", one, "Allow");
    await world.time.advance(1000);
    expect(decision()?.status).toBe("sending");
    await world.join(mac);
    expect((await world.lastSent(mac)).command).toEqual({ approvalID: one, buttonLabel: "Allow" });
  });

  it("made without a connection is undelivered after a minute, and never goes out then", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.surroundings.goOffline();
    world.phone.decide("mac", one, "Allow");
    await world.time.advance(60_000);
    expect(decision()?.status).toBe("undelivered");
    world.surroundings.goOnline();
    await world.join(mac);
    expect(sent()).toEqual([]);
  });

  it("is asked again when the computer comes back, since its answer may have been lost", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.receipt(mac, asked, true);
    const status = (macConnected: boolean) =>
      world.network.socket("mac").say({ type: "mac.status", macConnected });
    status(false);
    status(true);
    status(true);
    await world.time.settle();
    expect(sent()).toHaveLength(2);
    expect((await world.lastSent(mac)).decisionID).toBe(asked);
  });

  it("is asked again after the page was loaded anew, if it is younger than a minute", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.time.advance(59_000);
    await world.reload();
    await world.join(mac);
    expect((await world.lastSent(mac)).decisionID).toBe(asked);
    await world.list(mac, [sampleApproval(1)]);
    expect(decision()).toMatchObject({ decisionID: asked, status: "sending" });
    await world.time.advance(1000);
    expect(decision()?.status).toBe("unanswered");
  });

  it("that is older when the page is loaded anew is unanswered, and not asked again", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await decided(mac);
    world.phone.stop();
    await world.time.advance(60_000);
    await world.reload();
    await world.join(mac);
    expect(outcomes()).toMatchObject([{ status: "unanswered" }]);
    expect(sent()).toEqual([]);
  });

  it("made just before the phone fell asleep does not go out when it wakes up, even before its timers do", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.network.socket("mac").end();
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    world.time.set(world.time.now() + 7_200_000);
    world.surroundings.beSeen();
    await world.join(mac);
    expect(sent()).toEqual([]);
    expect(decision()?.status).toBe("undelivered");
  });

  it("is kept before it goes out", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.store.saveNotes = () => new Promise(() => {});
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.network.socket(mac.pairingID).sent).toEqual([]);
  });

  it("goes out though nothing can be kept any more", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.store.saveNotes = () => Promise.reject(new Error("Full."));
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(sent()).toHaveLength(1);
  });
});

describe("A result", () => {
  it.each([
    ["not_found", "notFound"],
    ["requires_direct_access", "requiresDirectAccess"],
    ["failed", "failed"],
  ])("%s is told with its reason, and the prompt can be decided again", async (status, told) => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.result(mac, asked, result(status, { error: "Why" }));
    expect(decision()).toMatchObject({ status: told, error: "Why" });
    expect(await decided(mac, "Cancel")).not.toBe(asked);
  });

  it("is opened once: a repeated box settles no later decision", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    const text = await mac.result(asked, result("failed", { error: "First" }));
    world.network.socket("mac").say(text);
    await world.time.settle();
    const later = await decided(mac);
    world.network.socket("mac").say(text.replace(asked, later));
    await world.time.settle();
    expect(decision()).toMatchObject({ decisionID: later, status: "sending" });
    await world.reload();
    await world.join(mac);
    world.network.socket("mac").say(text.replace(asked, later));
    await world.time.settle();
    await world.list(mac, [sampleApproval(1)]);
    expect(decision()?.status).toBe("sending");
  });

  it("about another prompt or button than was decided settles nothing", async () => {
    const mac = await world.connected("mac", [sampleApproval(1), sampleApproval(2)]);
    const asked = await decided(mac);
    await world.result(mac, asked, result("accepted", { approvalID: two }));
    await world.result(mac, asked, result("accepted", { buttonLabel: "Cancel" }));
    expect(decision()?.status).toBe("sending");
    expect(outcomes()).toEqual([]);
  });

  it("that cannot be opened or read settles nothing", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.result(mac, asked, { approvalID: one, buttonLabel: "Allow" });
    world.network
      .socket("mac")
      .say((await mac.result(asked, result("accepted"))).replace('"ciphertext":"', '"ciphertext":"A'));
    world.network
      .socket("mac")
      .say(sent()[0]?.replace("approval.request", "approval.result").replace("Request", "Result") ?? "");
    await world.time.settle();
    expect(decision()?.status).toBe("sending");
  });

  it("of another phone is an outcome under that phone's name, and explains why the prompt went", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.result(mac, "THEIRS", result("accepted"), { deviceID: "P2", deviceName: "Bo’s phone" });
    await world.list(mac, []);
    expect(outcomes()).toMatchObject([
      { status: "accepted", buttonLabel: "Allow", otherPhone: "Bo’s phone", appName: "Disk Tool" },
    ]);
    expect(outcomes()).toHaveLength(1);
  });

  it("of another phone that the relay cannot name is still not ours", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.result(mac, "THEIRS", result("accepted", { approvalID: two }));
    expect(outcomes()).toMatchObject([
      { otherPhone: "Another phone", appName: expect.stringContaining("not seen") },
    ]);
  });

  it("of another phone that comes after its prompt went takes the place of the guess", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, []);
    expect(outcomes()).toMatchObject([{ status: "goneByItself" }]);
    await world.time.advance(2000);
    await world.result(mac, "THEIRS", result("accepted"), { deviceID: "P2", deviceName: "Bo" });
    expect(outcomes()).toMatchObject([{ status: "accepted", otherPhone: "Bo", windowTitle: "Erase disk?" }]);
    expect(outcomes()).toHaveLength(1);
  });

  it("of this phone that it does not remember is its own all the same", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const deviceID = world.network.socket("mac").url.searchParams.get("deviceID");
    await world.result(mac, "LONG-AGO", result("accepted"), { deviceID, deviceName: "Ana’s phone" });
    expect(outcomes()).toHaveLength(1);
    expect(outcomes()[0]).not.toHaveProperty("otherPhone");
  });
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
    expect(outcomes()).toMatchObject([{ status: "goneByItself", windowTitle: "Erase disk?" }]);
    expect(outcomes()[0]).not.toHaveProperty("buttonLabel");
  });

  it("does not say so of a prompt whose button may have been pressed from here", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await decided(mac);
    await world.list(mac, []);
    expect(outcomes()).toEqual([]);
  });

  it("says so of a prompt of which it is known that nothing was pressed", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.receipt(mac, await decided(mac), false, "macBusy");
    await world.list(mac, []);
    expect(outcomes()).toMatchObject([{ status: "goneByItself" }, { status: "undelivered" }]);
  });

  it("says nothing of prompts that a computer cannot see any more", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, [], false);
    expect(world.computer("mac")).toMatchObject({ accessibilityTrusted: false, prompts: [], outcomes: [] });
  });

  it("comes again as often as it likes", async () => {
    const mac = await world.connected("mac", []);
    const text = await mac.snapshot([sampleApproval(1)]);
    for (let times = 0; times < 3; times += 1) {
      world.network.socket("mac").say(text);
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
    world.network.socket("mac").say(long);
    world.network.socket("mac").say(short);
    await world.time.settle();
    expect(world.computer("mac").prompts?.map((prompt) => prompt.id)).toEqual([two]);
  });

  it.each([
    ["sealed with another secret", (_text: string, other: string) => other],
    ["damaged", (text: string) => text.replace('"ciphertext":"', '"ciphertext":"AAAA')],
    ["without a box", () => '{"type":"mac.snapshot","accessibilityTrusted":true}'],
  ])("that cannot be opened is said, and the last good one stays: %s", async (_, damage) => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const other = await world.pair("other");
    world.network.socket("mac").say(damage(await mac.snapshot([]), await other.snapshot([])));
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({
      hasUnreadableSnapshot: true,
      prompts: [{ id: one }],
      outcomes: [],
    });
    await world.list(mac, []);
    expect(world.computer("mac")).toMatchObject({ hasUnreadableSnapshot: false, prompts: [] });
  });

  it("that cannot be read once opened is said", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, [sampleApproval(1), sampleApproval(1)]);
    expect(world.computer("mac").hasUnreadableSnapshot).toBe(true);
  });

  it("keeps a prompt that came back decidable", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const first = await decided(mac);
    await world.result(mac, first, result("accepted"));
    await world.list(mac, []);
    await world.list(mac, [sampleApproval(1)]);
    expect(decision()).toBeUndefined();
    expect(await decided(mac)).not.toBe(first);
  });

  it("is not troubled by messages that nobody knows", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    for (const text of ["", "{", "[]", '{"type":5}', '{"type":"mac.joke"}', '{"type":"mac.status"}']) {
      world.network.socket("mac").say(text);
    }
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({ relay: { kind: "connected" }, prompts: [{ id: one }] });
  });
});

describe("The computer", () => {
  it("is connected, not connected, or not known to be, with the time of its last word", async () => {
    const mac = await world.pair("mac");
    expect(world.computer("mac")).not.toHaveProperty("isComputerConnected");
    expect(world.computer("mac")).not.toHaveProperty("heardAt");
    const socket = await world.join(mac, false);
    socket.say({ type: "mac.status", macConnected: false, heardSecondsAgo: 90 });
    await world.time.settle();
    const heardAt = world.time.now() - 90_000;
    expect(world.computer("mac")).toMatchObject({ isComputerConnected: false, heardAt });
    socket.end();
    expect(world.computer("mac")).not.toHaveProperty("isComputerConnected");
    expect(world.computer("mac").heardAt).toBe(heardAt);
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

  it("never hears of what another one's connection says", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const other = await world.connected("other", [sampleApproval(1)]);
    const asked = await decided(mac);
    await world.result(other, asked, result("accepted"));
    await world.receipt(other, asked, false, "macBusy");
    world.network.socket("other").say(await mac.result(asked, result("accepted")));
    world.network
      .socket("other")
      .say(await mac.suppression({ action: "suppress", suppressionID: sampleID(1001) }));
    await world.time.settle();
    expect(decision("mac")?.status).toBe("sending");
    expect(world.prompt("other", one).decision).toBeUndefined();
    expect(world.computer("other").suppressions).toEqual([]);
    const before = world.computer("other");
    await world.result(mac, asked, result("accepted"));
    expect(world.computer("other")).toBe(before);
    await world.list(other, []);
    expect(world.computer("mac").prompts).toHaveLength(1);
  });
});

describe("A muted kind of prompt", () => {
  it("is not shown any more, and the computer is told", async () => {
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
    expect(outcomes()).toMatchObject([{ status: "suppressed" }]);
    expect(await world.lastSent(mac)).toMatchObject({
      type: "approval.suppress",
      command: { action: "suppress", approvalID: one, ...kind },
    });
    await world.list(mac, [sampleApproval(3)]);
    expect(outcomes()).toHaveLength(1);
    expect((await world.lastSent(mac)).command).not.toHaveProperty("decisionID");
  });

  it("cannot be decided on", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.phone.suppress("mac", one);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(sent()).toHaveLength(1);
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

  it("is told to the computer until that was reached, and then no more", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.phone.suppress("mac", one);
    await world.time.settle();
    const told = await world.lastSent(mac);
    await world.receipt(mac, told.decisionID, false, "macNotConnected");
    await world.reload();
    await world.join(mac);
    const again = await world.lastSent(mac);
    expect(again).toMatchObject({ decisionID: told.decisionID, command: told.command });
    expect(again.nonce).not.toBe(told.nonce);
    await world.receipt(mac, told.decisionID, true);
    world.network.socket("mac").end();
    await world.time.advance(1000);
    await world.join(mac);
    expect(sent()).toEqual([]);
  });

  it("may be muted and shown by another phone, whose own action counts", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const suppressionID = sampleID(1001);
    const say = async (command: unknown, type: string) => {
      world.network.socket("mac").say(await mac.suppression(command, type));
      await world.time.settle();
    };
    await say({ action: "suppress", approvalID: one, suppressionID }, "approval.unsuppress");
    expect(world.computer("mac")).toMatchObject({
      prompts: [],
      suppressions: [{ suppressionID, appName: "Disk Tool" }],
    });
    expect(outcomes()).toMatchObject([{ status: "suppressed", otherPhone: "Another phone" }]);
    await say({ action: "unsuppress", suppressionID }, "approval.suppress");
    expect(world.computer("mac")).toMatchObject({ prompts: [{ id: one }], suppressions: [] });
    expect(sent()).toEqual([]);
  });

  it("does not become muted again by an old message, our own one included", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const suppressionID = sampleID(1001);
    const text = await mac.suppression({ action: "suppress", approvalID: one, suppressionID });
    world.network.socket("mac").say(text);
    await world.time.settle();
    world.phone.unsuppress("mac", suppressionID);
    world.phone.suppress("mac", one);
    await world.time.settle();
    const own = sent().at(-1) ?? "";
    world.phone.unsuppress("mac", suppressionID);
    for (const old of [text, own]) world.network.socket("mac").say(old);
    await world.time.settle();
    expect(world.computer("mac").prompts).toHaveLength(1);
  });
});

describe("History", () => {
  it("has the newest fifty outcomes, newest first, and outlives a reload", async () => {
    const mac = await world.connected("mac", []);
    for (let number = 1; number <= 55; number += 1) {
      await world.result(mac, `THEIRS-${number}`, result("accepted", { approvalID: sampleID(number) }));
    }
    expect(outcomes()).toHaveLength(50);
    expect(outcomes()[0]?.key).toBe("THEIRS-55");
    await world.reload();
    expect(
      outcomes()
        .map((outcome) => outcome.key)
        .at(-1),
    ).toBe("THEIRS-6");
  });

  it("has one entry for a result that is sent again", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await decided(mac);
    for (let times = 0; times < 3; times += 1) await world.result(mac, asked, result("accepted"));
    expect(outcomes()).toHaveLength(1);
  });
});

describe("Pairing", () => {
  it("keeps the computer, connects under the phone's name, and knows the code from then on", async () => {
    const mac = await world.pair("mac");
    expect(world.computer("mac")).toMatchObject({ name: "mac", relay: { kind: "connecting" }, outcomes: [] });
    const query = world.network.socket().url.searchParams;
    expect(query.get("deviceName")).toBe("Ana’s phone");
    expect(query.get("deviceID")).toMatch(/^[A-Z0-9-]{36}$/);
    expect(world.phone.readPairing(mac.pairingText())).toEqual({ kind: "alreadyPaired", pairingID: "mac" });
    await world.reload();
    expect(world.network.socket().url.searchParams.get("deviceID")).toBe(query.get("deviceID"));
  });

  it("is refused twice, for another relay, and before the phone is ready, in words", async () => {
    const offer: PairingOffer = {
      pairingID: "mac",
      backendURL: "https://relay.example",
      relaySecret: "a".repeat(64),
      e2eSecret: "b".repeat(64),
    };
    await expect(world.phone.pair({ ...offer, backendURL: "https://other.example" }, "x")).rejects.toThrow(
      "another relay",
    );
    await Promise.all([world.phone.pair(offer, "x"), world.phone.pair(offer, "x")]);
    await expect(world.phone.pair(offer, "x")).rejects.toThrow("paired already");
    expect(world.phone.state.value.computers).toHaveLength(1);
    await expect(new PhoneWorld().phone.pair(offer, "x")).rejects.toThrow("not ready");
  });

  it("that cannot be kept rejects with the browser's words, and leaves nothing behind", async () => {
    world.store.add = () => Promise.reject(new Error("This browser could not keep this."));
    await expect(world.pair("mac")).rejects.toThrow("could not keep this");
    expect(world.phone.state.value.computers).toEqual([]);
    expect(world.network.sockets).toEqual([]);
  });

  it("gives names without control characters, and of 64 characters at most", async () => {
    await world.pair("mac");
    await world.phone.renameComputer("mac", "  Ana’s\u202E\n Mac\u0000 ");
    expect(world.computer("mac").name).toBe("Ana’s Mac");
    expect(cleanName("😀".repeat(70), "x")).toBe("😀".repeat(64));
    expect(cleanName(" \u200B\n ", "Computer")).toBe("Computer");
    await world.reload();
    expect(world.computer("mac").name).toBe("Ana’s Mac");
  });

  it("tells the relay of a new name of the phone by joining anew", async () => {
    await world.connected("mac", []);
    await world.phone.renameDevice(" Bo’s phone ");
    expect(world.phone.state.value.deviceName).toBe("Bo’s phone");
    expect(world.network.sockets).toHaveLength(2);
    expect(world.network.socket().url.searchParams.get("deviceName")).toBe("Bo’s phone");
    await world.reload();
    expect(world.phone.state.value.deviceName).toBe("Bo’s phone");
  });
});

describe("Forgetting", () => {
  it("removes one computer, closes its connection, and leaves the others alone", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.connected("other", [sampleApproval(2)]);
    const socket = world.network.socket("mac");
    world.phone.decide("mac", one, "Allow");
    await world.phone.forget("mac");
    socket.say(await mac.snapshot([]));
    await world.time.advance(120_000);
    expect(socket.state).toBe("closed");
    expect(world.phone.state.value.computers.map((computer) => computer.pairingID)).toEqual(["other"]);
    await world.reload();
    expect(world.phone.state.value.computers.map((computer) => computer.pairingID)).toEqual(["other"]);
    expect(world.phone.readPairing(mac.pairingText()).kind).toBe("offer");
  });

  it("that fails rejects, and forgets nothing", async () => {
    await world.pair("mac");
    world.store.remove = () => Promise.reject(new Error("Not now."));
    await expect(world.phone.forget("mac")).rejects.toThrow("Not now.");
    expect(world.phone.state.value.computers).toHaveLength(1);
  });

  it("of what is not there is done already", async () => {
    await expect(world.phone.forget("nothing")).resolves.toBeUndefined();
  });
});

describe("A phone", () => {
  it("is loading until it has read what is kept", async () => {
    const fresh = new PhoneWorld();
    expect(fresh.phone.state.value).toEqual({ phase: "loading", deviceName: "Ana’s phone", computers: [] });
    await fresh.start();
    expect(fresh.phone.state.value.phase).toBe("ready");
  });

  it("that cannot keep keys is unavailable, and says why", async () => {
    const store: Store = new MemoryStore();
    store.load = () => Promise.reject(new Error("This browser keeps no data for this page."));
    const fresh = new PhoneWorld(store);
    await fresh.start();
    expect(fresh.phone.state.value).toMatchObject({
      phase: "unavailable",
      problem: "This browser keeps no data for this page.",
    });
  });
});
