import { beforeEach, describe, expect, it } from "vitest";
import { MemoryStore } from "./memoryStore";
import type { PairingOffer } from "./model";
import { cleanName } from "./phone";
import type { Store } from "./store";
import { PhoneWorld, sampleApproval, sampleID } from "./testing";

const one = sampleID(1);
let world: PhoneWorld;

beforeEach(async () => {
  world = new PhoneWorld();
  await world.start();
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
    // A family is four emoji with joiners between; a Persian word has a non-joiner within.
    for (const name of ["👩‍👩‍👧‍👦", "گوشی‌من", "🏴󠁧󠁢󠁥󠁮󠁧󠁿"]) expect(cleanName(name, "x")).toBe(name);
    expect(cleanName("a\u2067b\u061Cc\u2028d\u0085e", "x")).toBe("a b c d e");
    await world.reload();
    expect(world.computer("mac").name).toBe("Ana’s Mac");
  });

  it("sends the relay a new name of the phone by joining anew", async () => {
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
    socket.deliver(await mac.snapshot([]));
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
