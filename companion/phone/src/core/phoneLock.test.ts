import { describe, expect, it } from "vitest";
import type { DeviceLock, LockKey } from "./environment";
import { MemoryStore } from "./memoryStore";
import { PhoneWorld, sampleApproval, sampleButton, sampleID } from "./testing";

const one = sampleID(1);
const wanted = { isPaused: false, grantsNeedVerification: true };
const key: LockKey = { credentialID: "AAAA", publicKey: "BBBB", algorithm: -7 };

/** A lock that opens when the test says so. */
class FakeLock implements DeviceLock {
  readonly asked: string[] = [];
  isBuiltIn = true;
  private answers: { open: () => void; refuse: () => void }[] = [];

  isThere = () => Promise.resolve(this.isBuiltIn);
  enrol = () => this.ask("enrol").then(() => key);
  check = (known: LockKey) => this.ask(`check ${known.credentialID}`);

  open(): void {
    this.answers.shift()?.open();
  }

  refuse(): void {
    this.answers.shift()?.refuse();
  }

  private ask(what: string): Promise<void> {
    this.asked.push(what);
    return new Promise((resolve, reject) => {
      this.answers.push({ open: resolve, refuse: () => reject(new Error("Not recognised.")) });
    });
  }
}

async function begin(lock: FakeLock | null = new FakeLock(), store = new MemoryStore()) {
  const world = new PhoneWorld(store, lock ? { lock } : {});
  await world.start();
  return { world, lock: lock ?? new FakeLock() };
}

/** Chosen by a person, who was asked for the lock. */
async function chosen() {
  const begun = await begin();
  const choosing = begun.world.phone.chooseLock(true);
  await begun.world.time.settle();
  begun.lock.open();
  await choosing;
  begun.lock.asked.length = 0;
  return begun;
}

describe("A phone whose lock was chosen", () => {
  it("asks for it before a grant, and says so to the computer inside the box", async () => {
    const { world, lock } = await chosen();
    const mac = await world.connected("mac", [sampleApproval(1)]);
    expect(world.computer("mac").lock).toBe("asked");
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(lock.asked).toEqual(["check AAAA"]);
    expect(world.prompt("mac", one).unlocking).toEqual({ buttonLabel: "Allow" });
    expect(world.sent()).toEqual([]);
    lock.open();
    await world.time.settle();
    expect(world.prompt("mac", one)).not.toHaveProperty("unlocking");
    expect((await world.lastSent(mac)).command).toMatchObject({ buttonLabel: "Allow", userVerified: true });
  });

  it("sends nothing when the lock stays shut, says why, and asks again the next time", async () => {
    const { world, lock } = await chosen();
    await world.connected("mac", [sampleApproval(1)]);
    for (let tries = 0; tries < 2; tries += 1) {
      world.phone.decide("mac", one, "Allow");
      await world.time.settle();
      lock.refuse();
      await world.time.settle();
      expect(world.prompt("mac", one).unlocking?.problem).toBe("Not recognised.");
    }
    expect(lock.asked).toHaveLength(2);
    expect(world.sent()).toEqual([]);
  });

  it("asks for nothing before a dismissal, and asks before putting off", async () => {
    const { world, lock } = await chosen();
    const mac = await world.connected("mac", [
      sampleApproval(1, { buttons: [sampleButton("Cancel"), sampleButton("Later")] }),
    ]);
    world.phone.decide("mac", one, "Later");
    await world.time.settle();
    expect(lock.asked).toHaveLength(1);
    lock.refuse();
    await world.time.settle();
    world.phone.decide("mac", one, "Cancel");
    await world.time.settle();
    expect(lock.asked).toHaveLength(1);
    expect((await world.lastSent(mac)).command).not.toHaveProperty("userVerified");
    expect(world.prompt("mac", one)).not.toHaveProperty("unlocking");
  });

  it("does not grant a prompt that has changed or gone while the lock was asked for", async () => {
    const { world, lock } = await chosen();
    const mac = await world.connected("mac", [sampleApproval(1)]);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    await world.list(mac, [sampleApproval(1, { messageLines: ["Erase all disks?"] })]);
    lock.open();
    await world.time.settle();
    expect(world.prompt("mac", one).unlocking?.problem).toMatch(/has changed meanwhile/);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    await world.list(mac, []);
    lock.open();
    await world.time.settle();
    expect(world.sent()).toEqual([]);
  });

  it("asks once for a grant that is held again meanwhile", async () => {
    const { world, lock } = await chosen();
    await world.connected("mac", [sampleApproval(1)]);
    for (let taps = 0; taps < 3; taps += 1) world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(lock.asked).toHaveLength(1);
  });

  it("keeps the choice, and gives it up only after the lock was opened", async () => {
    const { world, lock } = await chosen();
    await world.reload();
    expect(world.phone.state.value.isLockChosen).toBe(true);
    const shut = world.phone.chooseLock(false);
    await world.time.settle();
    lock.refuse();
    await expect(shut).rejects.toThrow("Not recognised.");
    expect(world.phone.state.value.isLockChosen).toBe(true);
    const opened = world.phone.chooseLock(false);
    await world.time.settle();
    lock.open();
    await opened;
    expect(world.phone.state.value.isLockChosen).toBe(false);
  });

  it("does not grant where the lock that was chosen is not there any more", async () => {
    const { world, lock } = await chosen();
    const mac = await world.connected("mac", [sampleApproval(1)]);
    lock.isBuiltIn = false;
    await world.reload();
    expect(world.computer("mac").lock).toBe("missing");
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    expect(world.prompt("mac", one)).not.toHaveProperty("decision");
    world.phone.decide("mac", one, "Cancel");
    await world.time.settle();
    expect((await world.lastSent(mac)).command).toMatchObject({ buttonLabel: "Cancel" });
  });

  it("forgets it with its last computer", async () => {
    const { world } = await chosen();
    await world.connected("mac", []);
    await world.phone.forget("mac");
    expect(world.phone.state.value.isLockChosen).toBe(false);
  });
});

describe("A computer that wants the phone's lock", () => {
  it("has it asked for before a grant, the first time by making a key", async () => {
    const { world, lock } = await begin();
    const mac = await world.connected("mac", []);
    expect(world.computer("mac")).not.toHaveProperty("lock");
    await world.list(mac, [sampleApproval(1)], true, wanted);
    expect(world.computer("mac").lock).toBe("asked");
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    lock.open();
    await world.time.settle();
    expect(lock.asked).toEqual(["enrol"]);
    expect((await world.lastSent(mac)).command).toMatchObject({ userVerified: true });
    expect(world.phone.state.value.isLockChosen).toBe(false);
  });

  it("is told of the phone that has none, which can still dismiss", async () => {
    const { world } = await begin(null);
    const mac = await world.connected("mac", []);
    await world.list(mac, [sampleApproval(1)], true, wanted);
    expect(world.computer("mac").lock).toBe("missing");
    world.phone.decide("mac", one, "Allow");
    await world.time.settle();
    expect(world.sent()).toEqual([]);
    world.phone.decide("mac", one, "Cancel");
    await world.time.settle();
    expect((await world.lastSent(mac)).command).toMatchObject({ buttonLabel: "Cancel" });
  });

  it("wants it no more when it says so", async () => {
    const { world } = await begin();
    const mac = await world.connected("mac", []);
    await world.list(mac, [sampleApproval(1)], true, wanted);
    await world.list(mac, [sampleApproval(1)]);
    expect(world.computer("mac")).not.toHaveProperty("lock");
  });
});
