import { beforeEach, describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleID, sampleResult } from "./testing";
import type { FakeComputer } from "./testing";

const epoch = "00000000-0000-4000-8000-00000000E90C";
const mallory = {
  id: sampleID(77),
  deviceID: "of-mallory",
  name: "Mallory",
  earlierName: "Ann",
  since: "2026-03-01T12:00:00Z",
};
let world: PhoneWorld;
let mac: FakeComputer;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
  mac = await world.connected("mac", [sampleApproval(1)]);
});

async function tell(time: number, newPhones?: unknown): Promise<void> {
  const content = { clock: { epoch, time }, ...(newPhones !== undefined && { newPhones }) };
  world.network.socket("mac").deliver(await mac.sealedClock(content));
  await world.time.settle();
}

function named(): readonly string[] {
  return (world.computer("mac").newPhones ?? []).map(({ name }) => name);
}

describe("A phone that joined unexpectedly", () => {
  it("is named until the computer says that it is gone", async () => {
    await tell(1000, [mallory]);
    expect(named()).toEqual(["Mallory"]);
    await tell(2000);
    expect(named()).toEqual([]);
  });

  it("is named though the relay brings an older word later", async () => {
    await tell(2000, [mallory]);
    await tell(1000);
    expect(named()).toEqual(["Mallory"]);
  });

  it("is not named to itself", async () => {
    const deviceID = new URL(world.network.socket("mac").url).searchParams.get("deviceID");
    await tell(1000, [{ ...mallory, deviceID }]);
    expect(named()).toEqual([]);
  });

  it("is named for a day", async () => {
    await tell(1000, [{ ...mallory, since: new Date(world.time.now() - 24 * 3600_000).toISOString() }]);
    expect(named()).toEqual([]);
  });

  it("is removed by a command that relays pass on, whatever they know", async () => {
    await tell(1000, [mallory]);
    world.phone.removePhone("mac", mallory.id);
    await world.time.settle();
    expect(await world.lastSent(mac)).toMatchObject({
      type: "approval.suppress",
      command: { action: "removePhone", suppressionID: mallory.id },
    });
  });

  it.each([
    ["no list", {}],
    ["a text", "x"],
    ["nameless", [{ ...mallory, name: undefined }]],
    ["too many", Array.from({ length: 9 }, () => mallory)],
    ["without identity", [{ ...mallory, id: "mallory" }]],
  ])("that is told as %s is not taken, nor is the time with it", async (_, newPhones) => {
    await tell(1000, newPhones);
    expect(named()).toEqual([]);
  });
});

describe("A result of another pairing's phone", () => {
  it("names it by the computer's word", async () => {
    await world.result(mac, "other", sampleResult("accepted", { decisionID: "other", decidedBy: "Ben" }));
    expect(world.outcomes()[0]).toMatchObject({ otherPhone: "Ben", status: "accepted" });
  });

  it("that does not is another phone's all the same", async () => {
    await world.result(mac, "other", sampleResult("accepted", { decisionID: "other" }));
    expect(world.outcomes()[0]).toMatchObject({ otherPhone: "another phone" });
  });
});
