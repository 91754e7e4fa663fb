import { beforeEach, describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleButton, sampleID, sampleResult } from "./testing";

const one = sampleID(1);
const two = sampleID(2);
let world: PhoneWorld;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
});

describe("A decision", () => {
  it("goes out sealed, with the label byte for byte, and is followed until the computer's word", async () => {
    const label = "Don’t\u202E “Allow”\u00A0 ";
    const mac = await world.connected("mac", [sampleApproval(1, { buttons: [sampleButton(label)] })]);
    world.phone.decide("mac", one, label);
    expect(world.decision()?.status).toBe("sending");
    await world.time.settle();
    const asked = await world.lastSent(mac);
    expect(asked).toMatchObject({
      type: "approval.request",
      command: { approvalID: one, buttonLabel: label },
    });
    await world.receipt(mac, asked.decisionID, true);
    expect(world.decision()?.status).toBe("delivered");
    await world.result(mac, asked.decisionID, sampleResult("accepted", { buttonLabel: label }));
    expect(world.decision()?.status).toBe("accepted");
    await world.list(mac, []);
    expect(world.computer("mac").prompts).toEqual([]);
    expect(world.outcomes()).toMatchObject([
      { status: "accepted", buttonLabel: label, key: asked.decisionID },
    ]);
    expect(world.outcomes()[0]).not.toHaveProperty("otherPhone");
  });

  it("is made once, however often a button is tapped", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    for (let taps = 0; taps < 5; taps += 1) world.phone.decide("mac", one, "Allow");
    world.phone.decide("mac", one, "Cancel");
    await world.time.settle();
    expect(world.sent()).toHaveLength(1);
  });

  it("is only about a prompt and a button that are there", async () => {
    await world.connected("mac", [sampleApproval(1)]);
    world.phone.decide("mac", two, "Allow");
    world.phone.decide("mac", one, "allow");
    world.phone.decide("mac", one, "Allow ");
    world.phone.decide("other", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    expect(world.decision()).toBeUndefined();
  });

  it("of a prompt that requires direct access is a safe dismissal or nothing", async () => {
    const buttons = ["Allow", "Later", "Don’t Allow"].map(sampleButton);
    const mac = await world.connected("mac", [sampleApproval(1, { buttons, requiresDirectAccess: true })]);
    world.phone.decide("mac", one, "Allow");
    world.phone.decide("mac", one, "Later");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    await world.decided(mac, "Don’t Allow");
    expect(world.sent()).toHaveLength(1);
  });

  it("is never for a button that takes no presses", async () => {
    const buttons = [{ ...sampleButton("Allow"), isEnabled: false }, sampleButton("Cancel")];
    const mac = await world.connected("mac", [sampleApproval(1, { buttons })]);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    await world.decided(mac, "Cancel");
    expect(world.sent()).toHaveLength(1);
  });

  it("that the relay could not hand over is reported, and can be made again under another name", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const first = await world.decided(mac);
    await world.receipt(mac, first, false, "macNotConnected");
    expect(world.decision()).toMatchObject({
      status: "undelivered",
      error: expect.stringContaining("Nothing was pressed"),
    });
    expect(world.outcomes()).toMatchObject([
      { status: "undelivered", buttonLabel: "Allow", appName: "Disk Tool" },
    ]);
    expect(await world.decided(mac)).not.toBe(first);
    expect(world.decision()?.status).toBe("sending");
  });

  it("is unanswered a minute after it was made, not before; the computer's word still counts then", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.receipt(mac, asked, true);
    for (let seconds = 0; seconds < 40; seconds += 20) {
      await world.time.advance(20_000);
      world.network.socket("mac").deliver({ type: "mac.status", macConnected: true });
    }
    await world.time.advance(19_999);
    expect(world.decision()?.status).toBe("delivered");
    await world.time.advance(1);
    expect(world.decision()?.status).toBe("unanswered");
    expect(world.outcomes()).toMatchObject([{ status: "unanswered" }]);
    await world.result(mac, asked, sampleResult("failed", { error: "It hung." }));
    expect(world.decision()).toMatchObject({ status: "failed", error: "It hung." });
    expect(world.outcomes()).toMatchObject([{ status: "failed", error: "It hung.", key: asked }]);
    expect(world.outcomes()).toHaveLength(1);
  });

  it("is asked again after a break, as the same box", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    const before = await world.lastSent(mac);
    world.network.socket("mac").end();
    await world.time.advance(1000);
    await world.join(mac);
    const again = await world.lastSent(mac);
    expect(again).toMatchObject({ decisionID: asked, command: before.command });
    expect(again.nonce).toBe(before.nonce);
    await world.result(mac, asked, sampleResult("accepted"));
    expect(world.outcomes()).toMatchObject([{ status: "accepted" }]);
  });

  it("made without a connection goes out as soon as there is one", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.network.socket("mac").end();
    world.phone.decide("mac", one, "Allow");
    await world.time.advance(1000);
    expect(world.decision()?.status).toBe("sending");
    await world.join(mac);
    expect((await world.lastSent(mac)).command).toEqual({
      approvalID: one,
      buttonLabel: "Allow",
      decisionID: expect.any(String),
    });
  });

  it("made without a connection is undelivered after a minute, and never goes out then", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.deviceStatus.goOffline();
    world.phone.decide("mac", one, "Allow");
    await world.time.advance(60_000);
    expect(world.decision()?.status).toBe("undelivered");
    world.deviceStatus.goOnline();
    await world.join(mac);
    expect(world.sent()).toEqual([]);
  });

  it("is asked again when the computer comes back, since its answer may have been lost", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.receipt(mac, asked, true);
    const status = (macConnected: boolean) =>
      world.network.socket("mac").deliver({ type: "mac.status", macConnected });
    status(false);
    status(true);
    status(true);
    await world.time.settle();
    expect(world.sent()).toHaveLength(2);
    expect((await world.lastSent(mac)).decisionID).toBe(asked);
  });

  it("is asked again when the computer is back on another connection, which the relay noticed first", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const status = (macConnection: number) =>
      world.network.socket("mac").deliver({ type: "mac.status", macConnected: true, macConnection });
    status(4);
    const asked = await world.decided(mac);
    await world.receipt(mac, asked, true);
    status(4);
    await world.time.settle();
    expect(world.sent()).toHaveLength(1);
    status(5);
    await world.time.settle();
    expect(world.sent()).toHaveLength(2);
    expect((await world.lastSent(mac)).decisionID).toBe(asked);
  });

  it("is asked again after the page was loaded anew, if it is younger than a minute", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.time.advance(59_000);
    await world.reload();
    await world.join(mac);
    expect((await world.lastSent(mac)).decisionID).toBe(asked);
    await world.list(mac, [sampleApproval(1)]);
    expect(world.decision()).toMatchObject({ decisionID: asked, status: "sending" });
    await world.time.advance(1000);
    expect(world.decision()?.status).toBe("unanswered");
  });

  it("that is older when the page is loaded anew is unanswered, and not asked again", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.decided(mac);
    world.phone.stop();
    await world.time.advance(60_000);
    await world.reload();
    await world.join(mac);
    expect(world.outcomes()).toMatchObject([{ status: "unanswered" }]);
    expect(world.sent()).toEqual([]);
  });

  it("made just before the phone fell asleep does not go out when it wakes up, even before its timers do", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.network.socket("mac").end();
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    world.time.set(world.time.now() + 7_200_000);
    world.deviceStatus.becomeVisible();
    await world.join(mac);
    expect(world.sent()).toEqual([]);
    expect(world.decision()?.status).toBe("undelivered");
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
    expect(world.sent()).toHaveLength(1);
  });
});

describe("A result", () => {
  it.each([
    ["not_found", "notFound"],
    ["requires_direct_access", "requiresDirectAccess"],
    ["failed", "failed"],
  ])("%s is reported with its reason, and the prompt can be decided again", async (status, expected) => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.result(mac, asked, sampleResult(status, { error: "Why" }));
    expect(world.decision()).toMatchObject({ status: expected, error: "Why" });
    expect(await world.decided(mac, "Cancel")).not.toBe(asked);
  });

  it("is opened once: a repeated box settles no later decision", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    const text = await mac.result(asked, sampleResult("failed", { error: "First" }));
    world.network.socket("mac").deliver(text);
    await world.time.settle();
    const later = await world.decided(mac);
    world.network.socket("mac").deliver(text.replace(asked, later));
    await world.time.settle();
    expect(world.decision()).toMatchObject({ decisionID: later, status: "sending" });
    await world.reload();
    await world.join(mac);
    world.network.socket("mac").deliver(text.replace(asked, later));
    await world.time.settle();
    await world.list(mac, [sampleApproval(1)]);
    expect(world.decision()?.status).toBe("sending");
  });

  it("about another prompt or button than was decided settles nothing", async () => {
    const mac = await world.connected("mac", [sampleApproval(1), sampleApproval(2)]);
    const asked = await world.decided(mac);
    await world.result(mac, asked, sampleResult("accepted", { approvalID: two }));
    await world.result(mac, asked, sampleResult("accepted", { buttonLabel: "Cancel" }));
    expect(world.decision()?.status).toBe("sending");
    expect(world.outcomes()).toEqual([]);
  });

  it("that cannot be opened or read settles nothing", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    await world.result(mac, asked, { approvalID: one, buttonLabel: "Allow" });
    world.network
      .socket("mac")
      .deliver(
        (await mac.result(asked, sampleResult("accepted"))).replace('"ciphertext":"', '"ciphertext":"A'),
      );
    world.network
      .socket("mac")
      .deliver(
        world.sent()[0]?.replace("approval.request", "approval.result").replace("Request", "Result") ?? "",
      );
    await world.time.settle();
    expect(world.decision()?.status).toBe("sending");
  });

  it("of another phone is an outcome under that phone's name, and explains why the prompt went", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.result(mac, "THEIRS", sampleResult("accepted"), { deviceID: "P2", deviceName: "Bo’s phone" });
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([
      { status: "accepted", buttonLabel: "Allow", otherPhone: "Bo’s phone", appName: "Disk Tool" },
    ]);
    expect(world.outcomes()).toHaveLength(1);
  });

  it("of another phone that the relay cannot name is still not ours", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.result(mac, "THEIRS", sampleResult("accepted", { approvalID: two }));
    expect(world.outcomes()).toMatchObject([
      { otherPhone: "another phone", appName: expect.stringContaining("not seen") },
    ]);
  });

  it("of another phone that comes after its prompt went takes the place of the guess", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([{ status: "goneByItself" }]);
    await world.time.advance(2000);
    await world.result(mac, "THEIRS", sampleResult("accepted"), { deviceID: "P2", deviceName: "Bo" });
    expect(world.outcomes()).toMatchObject([
      { status: "accepted", otherPhone: "Bo", windowTitle: "Erase disk?" },
    ]);
    expect(world.outcomes()).toHaveLength(1);
  });

  it("of this phone that it does not remember is its own all the same", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const deviceID = world.network.socket("mac").url.searchParams.get("deviceID");
    await world.result(mac, "LONG-AGO", sampleResult("accepted"), { deviceID, deviceName: "Ana’s phone" });
    expect(world.outcomes()).toHaveLength(1);
    expect(world.outcomes()[0]).not.toHaveProperty("otherPhone");
  });
});

describe("History", () => {
  it("has the newest fifty outcomes, newest first, and outlives a reload", async () => {
    const mac = await world.connected("mac", []);
    for (let number = 1; number <= 55; number += 1) {
      await world.result(mac, `THEIRS-${number}`, sampleResult("accepted", { approvalID: sampleID(number) }));
    }
    expect(world.outcomes()).toHaveLength(50);
    expect(world.outcomes()[0]?.key).toBe("THEIRS-55");
    await world.reload();
    expect(
      world
        .outcomes()
        .map((outcome) => outcome.key)
        .at(-1),
    ).toBe("THEIRS-6");
  });

  it("has one entry for a result that is sent again", async () => {
    const mac = await world.connected("mac", [sampleApproval(1)]);
    const asked = await world.decided(mac);
    for (let times = 0; times < 3; times += 1) await world.result(mac, asked, sampleResult("accepted"));
    expect(world.outcomes()).toHaveLength(1);
  });
});
