// When a decision was made, as the phone tells it to the computer.

import { beforeEach, describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleID, sampleResult, type FakeComputer } from "./testing";

const one = sampleID(1);
const epoch = "5E0C8D3A-1B9F-4E6D-A2C7-9F8E7D6C5B4A";
const start = 5_000_000;

let world: PhoneWorld;
let began: number;
let mac: FakeComputer;

/** What the computer's clock shows now; sleep of the phone counts. */
const now = () => start + world.time.now() - began;
const stamp = (time = now(), name = epoch) => ({ epoch: name, time });
const approval = (time = now(), change = {}) => sampleApproval(1, { clock: stamp(time), ...change });
const late = () => sampleResult("failed", { error: "Late.", reason: "tooLate", clock: stamp() });

async function command(): Promise<{ decisionID?: string; tappedAt?: { epoch: string; time: number } }> {
  return Object(await world.lastSent(mac).then((message) => message.command));
}

async function tappedAt(): Promise<number> {
  return (await command()).tappedAt?.time ?? Number.NaN;
}

beforeEach(async () => {
  world = new PhoneWorld();
  began = world.time.now();
  await world.start();
  mac = await world.pair("mac");
  await world.join(mac);
});

describe("A decision on a prompt of a computer that says what time it is", () => {
  it("says inside the box when it was made, and how it is called", async () => {
    await world.list(mac, [approval()]);
    await world.time.advance(20_000);
    const decisionID = await world.decided(mac);
    expect(await command()).toEqual({
      approvalID: one,
      buttonLabel: "Allow",
      decisionID,
      tappedAt: { epoch, time: expect.any(Number) },
    });
    expect(await tappedAt()).toBeLessThanOrEqual(now());
    expect(await tappedAt()).toBeGreaterThan(now() - 500);
  });

  it("is sealed once, and says the time of the tap however late it goes out", async () => {
    await world.list(mac, [approval()]);
    const made = now();
    await world.decided(mac);
    const first = await world.lastSent(mac);
    for (let i = 0; i < 3; i += 1) {
      world.network.socket("mac").end();
      await world.time.advance(10_000);
      await world.join(mac);
      await world.list(mac, [approval()]);
      expect((await world.lastSent(mac)).nonce).toBe(first.nonce);
    }
    expect(await tappedAt()).toBeLessThanOrEqual(made);
  });

  it("goes out as the same box after the page was loaded anew", async () => {
    await world.list(mac, [approval()]);
    await world.decided(mac);
    const { nonce } = await world.lastSent(mac);
    await world.reload();
    await world.join(mac);
    expect((await world.lastSent(mac)).nonce).toBe(nonce);
  });

  it("goes by the computer's word where the list is an old one", async () => {
    await world.list(mac, [approval(now() - 500_000)]);
    world.network.socket("mac").deliver(await mac.clock(stamp()));
    await world.time.settle();
    await world.decided(mac);
    expect(await tappedAt()).toBeGreaterThan(now() - 500);
  });

  it("does not believe a clock that was not sealed, or is none", async () => {
    await world.list(mac, [approval(now() - 500_000)]);
    const socket = world.network.socket("mac");
    socket.deliver({ type: "mac.clock", encryptedClock: { version: 1, nonce: "", ciphertext: "AAAA" } });
    socket.deliver({ type: "mac.clock", clock: stamp() });
    for (const content of [{}, { clock: 7 }, { clock: stamp(-1) }, { clock: stamp(1.5) }, [], stamp()]) {
      socket.deliver(await mac.sealedClock(content));
    }
    await world.time.settle();
    await world.decided(mac);
    expect(await tappedAt()).toBeLessThan(now() - 499_000);
  });

  it("forgets the time with the page", async () => {
    await world.list(mac, [approval()]);
    await world.reload();
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    await world.decided(mac);
    expect((await command()).tappedAt).toBeUndefined();
  });
});

describe("A decision that comes too late", () => {
  it("is reported as such, and can be made again", async () => {
    await world.list(mac, [approval()]);
    const decisionID = await world.decided(mac);
    await world.time.advance(30_000);
    await world.result(mac, decisionID, late());
    expect(world.decision()).toMatchObject({ status: "tooLate", error: "Late." });
    expect(world.outcomes()).toMatchObject([{ status: "tooLate", key: decisionID }]);
    expect(await world.decided(mac)).not.toBe(decisionID);
  });

  it("though it was made just now is asked again once, with what the phone knows by then", async () => {
    await world.list(mac, [approval(now() - 500_000)]);
    const made = now();
    const decisionID = await world.decided(mac);
    const first = await world.lastSent(mac);
    expect(await tappedAt()).toBeLessThan(made - 400_000);
    await world.time.advance(2000);
    await world.result(mac, decisionID, late());
    const second = await world.lastSent(mac);
    expect(second.decisionID).toBe(decisionID);
    expect(second.nonce).not.toBe(first.nonce);
    expect(await tappedAt()).toBeLessThanOrEqual(made);
    expect(await tappedAt()).toBeGreaterThan(made - 500);
    expect(world.decision()?.status).toBe("sending");
    await world.result(mac, decisionID, late());
    expect(world.sent()).toHaveLength(2);
    expect(world.decision()?.status).toBe("tooLate");
  });

  it("is asked again after an agent that was started anew", async () => {
    await world.list(mac, [approval(now(), { clock: stamp(now(), sampleID(7)) })]);
    const decisionID = await world.decided(mac);
    await world.result(mac, decisionID, late());
    expect(world.sent()).toHaveLength(2);
    expect((await command()).tappedAt?.epoch).toBe(epoch);
  });

  it("is not asked again where the phone knows no better", async () => {
    await world.list(mac, [approval()]);
    const decisionID = await world.decided(mac);
    await world.result(mac, decisionID, sampleResult("failed", { reason: "tooLate" }));
    expect(world.sent()).toHaveLength(1);
    expect(world.decision()?.status).toBe("tooLate");
  });

  it("is not asked again more than twenty seconds after the tap", async () => {
    await world.list(mac, [approval(now() - 500_000)]);
    const decisionID = await world.decided(mac);
    await world.time.advance(20_000);
    await world.result(mac, decisionID, late());
    expect(world.sent()).toHaveLength(1);
    expect(world.decision()?.status).toBe("tooLate");
  });

  it("is not asked again when the phone slept meanwhile, though its monotonic clock stood still", async () => {
    await world.list(mac, [approval(now() - 500_000)]);
    const decisionID = await world.decided(mac);
    world.time.sleep(3_600_000);
    await world.result(mac, decisionID, late());
    expect(world.sent()).toHaveLength(1);
  });

  it("on another phone presses nothing, and does not explain why a prompt went", async () => {
    await world.list(mac, [approval()]);
    await world.result(mac, "OTHER", late(), { deviceID: "B", deviceName: "Ben's phone" });
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([
      { status: "goneByItself" },
      { status: "tooLate", otherPhone: "Ben's phone" },
    ]);
  });
});

describe("A result that names its decision", () => {
  it("counts for that one, whatever the relay calls it", async () => {
    await world.list(mac, [approval()]);
    const first = await world.decided(mac);
    const failed = sampleResult("failed", { error: "It hung.", decisionID: first });
    await world.result(mac, first, sampleResult("failed", { error: "It hung.", decisionID: first }));
    const second = await world.decided(mac);
    await world.result(mac, second, failed);
    expect(world.decision()).toMatchObject({ decisionID: second, status: "sending" });
    await world.result(mac, first, sampleResult("accepted", { decisionID: second }));
    expect(world.decision()).toMatchObject({ decisionID: second, status: "accepted" });
  });
});

describe("A list that is too long", () => {
  it("says how many prompts are missing, until it is whole", async () => {
    await world.list(mac, [approval(now(), { leftOut: 3 }), sampleApproval(2, { leftOut: 3 })]);
    expect(world.computer("mac").promptsLeftOut).toBe(3);
    await world.list(mac, [approval()]);
    expect(world.computer("mac").promptsLeftOut).toBeUndefined();
  });

  it("does not say that what is missing has gone", async () => {
    await world.list(mac, [approval(), sampleApproval(2)]);
    await world.list(mac, [sampleApproval(2, { leftOut: 1 })]);
    expect(world.outcomes()).toEqual([]);
    await world.list(mac, []);
    expect(world.outcomes()).toMatchObject([{ status: "goneByItself", approvalID: sampleID(2) }]);
  });
});
