// When the phone shows a change as made: not before it is stored, since the page may be closed or loaded anew right then.

import { beforeEach, describe, expect, it } from "vitest";
import { HeldStore, PhoneWorld, sampleApproval, sampleID, sampleResult, type FakeComputer } from "./testing";

const one = sampleID(1);
const full = "The storage is full.";
let store: HeldStore;
let world: PhoneWorld;
let mac: FakeComputer;

beforeEach(async () => {
  store = new HeldStore();
  world = new PhoneWorld(store);
  await world.start();
  mac = await world.connected("mac", [sampleApproval(1)]);
});

/** Whether `promise` is settled by now. */
async function isSettled(promise: Promise<unknown>): Promise<boolean> {
  let settled = false;
  promise.then(
    () => (settled = true),
    () => (settled = true),
  );
  await world.time.settle();
  return settled;
}

describe("The name of a computer", () => {
  it("is shown once it is stored, so that a reload shows the same", async () => {
    store.isHolding = true;
    const renamed = world.phone.renameComputer("mac", "Attic");
    expect(await isSettled(renamed)).toBe(false);
    expect(world.computer("mac").name).toBe("mac");
    store.release();
    await renamed;
    expect(world.computer("mac").name).toBe("Attic");
    store.isHolding = false;
    await world.reload();
    expect(world.computer("mac").name).toBe("Attic");
  });

  it("that cannot be stored is rejected, and the old one stays", async () => {
    store.problem = full;
    await expect(world.phone.renameComputer("mac", "Attic")).rejects.toThrow(full);
    expect(world.computer("mac").name).toBe("mac");
    expect(world.computer("mac")).not.toHaveProperty("storageProblem");
    store.problem = undefined;
    await world.result(mac, await world.decided(mac), sampleResult("accepted"));
    await world.reload();
    expect(world.computer("mac").name).toBe("mac");
  });

  it("is not undone by what is stored while it is being stored", async () => {
    store.isHolding = true;
    const renamed = world.phone.renameComputer("mac", "Attic");
    await world.list(mac, []);
    store.release();
    await renamed;
    store.isHolding = false;
    await world.reload();
    expect(world.computer("mac")).toMatchObject({ name: "Attic", outcomes: [{ status: "goneByItself" }] });
  });

  it("is the newer one of two that were given at the same time", async () => {
    store.isHolding = true;
    const renamed = [world.phone.renameComputer("mac", "Attic"), world.phone.renameComputer("mac", "Cellar")];
    store.release();
    await Promise.all(renamed);
    expect(world.computer("mac").name).toBe("Cellar");
    store.isHolding = false;
    await world.reload();
    expect(world.computer("mac").name).toBe("Cellar");
  });
});

describe("The name of the phone", () => {
  it("is shown, and sent to the relay, once it is stored", async () => {
    store.isHolding = true;
    const renamed = world.phone.renameDevice("Bo’s phone");
    expect(await isSettled(renamed)).toBe(false);
    expect(world.phone.state.value.deviceName).toBe("Ana’s phone");
    expect(world.network.sockets).toHaveLength(1);
    store.release();
    await renamed;
    expect(world.phone.state.value.deviceName).toBe("Bo’s phone");
    expect(world.network.socket().url.searchParams.get("deviceName")).toBe("Bo’s phone");
    store.isHolding = false;
    await world.reload();
    expect(world.phone.state.value.deviceName).toBe("Bo’s phone");
  });

  it("that cannot be stored is rejected, and the old one stays", async () => {
    store.problem = full;
    await expect(world.phone.renameDevice("Bo’s phone")).rejects.toThrow(full);
    expect(world.phone.state.value.deviceName).toBe("Ana’s phone");
    expect(world.network.sockets).toHaveLength(1);
  });
});

describe("A muted kind of prompt", () => {
  it("leaves the list immediately, and is in the history once it is stored", async () => {
    store.isHolding = true;
    world.phone.suppress("mac", one);
    await world.time.settle();
    expect(world.computer("mac").prompts).toEqual([]);
    expect(world.outcomes()).toEqual([]);
    expect(world.sent()).toEqual([]);
    store.isHolding = false;
    store.release();
    await world.time.settle();
    expect(world.outcomes()).toMatchObject([{ status: "suppressed" }]);
    expect(world.sent()).toHaveLength(1);
    await world.reload();
    expect(world.outcomes()).toMatchObject([{ status: "suppressed" }]);
    expect(world.computer("mac").suppressions).toHaveLength(1);
  });

  it("that cannot be stored is not called muted, and the phone says why until it is stored", async () => {
    store.problem = full;
    world.phone.suppress("mac", one);
    await world.time.settle();
    expect(world.computer("mac")).toMatchObject({ storageProblem: full, prompts: [], outcomes: [] });
    expect((await world.lastSent(mac)).type).toBe("approval.suppress");
    store.problem = undefined;
    world.phone.unsuppress("mac", sampleID(1001));
    await world.time.settle();
    expect(world.computer("mac")).not.toHaveProperty("storageProblem");
    expect(world.computer("mac").prompts).toHaveLength(1);
  });
});

describe("A decision", () => {
  it("goes out once it is stored", async () => {
    store.isHolding = true;
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    store.release();
    await world.time.settle();
    expect(world.sent()).toHaveLength(1);
  });

  it("that cannot be stored still goes out, and the phone says that it is not stored", async () => {
    store.problem = full;
    await world.decided(mac);
    expect(world.decision()?.status).toBe("sending");
    expect(world.computer("mac").storageProblem).toBe(full);
  });
});

describe("A pairing", () => {
  it("is shown once it is stored", async () => {
    let stored = () => {};
    const add = store.add.bind(store);
    store.add = async (pairing) => {
      await new Promise<void>((resolve) => (stored = resolve));
      await add(pairing);
    };
    const paired = world.pair("other");
    expect(await isSettled(paired)).toBe(false);
    expect(world.phone.state.value.computers).toHaveLength(1);
    stored();
    await paired;
    expect(world.phone.state.value.computers).toHaveLength(2);
  });
});
