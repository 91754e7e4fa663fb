// Alerts while the page is closed, as the page has them: asked for, subscribed, handed over, tested, and taken back.

import { beforeEach, describe, expect, it } from "vitest";
import { subscribeTimeout } from "./pushAlerts";
import { PhoneWorld, sampleID, type FakeComputer, type FakePushDoor } from "./testing";
import { connectedWithDoor, fetched, relayKey, sentOf as sentIn } from "./testing/alertsWorld";

const otherKey = `B${"o".repeat(86)}`;

let door: FakePushDoor;
let world: PhoneWorld;
let mac: FakeComputer;

const alerts = () => world.phone.state.value.alerts;
const sentOf = (type: string, pairingID?: string) => sentIn(world, type, pairingID);

async function subscribed(): Promise<void> {
  world.phone.chooseAlerts(true);
  await world.time.settle();
}

/** What this phone has sealed for the computer on the present connection. */
function sealedSubscriptions(): Promise<unknown[]> {
  const sent = sentOf("push.subscribe");
  return Promise.all(sent.map(({ encryptedSubscription }) => mac.open(encryptedSubscription.ciphertext)));
}

async function sealedSequences(): Promise<number[]> {
  return (await sealedSubscriptions()).map((box) => (box as { sequence: number }).sequence);
}

async function relaySays(isSubscribed: boolean, reason?: string): Promise<void> {
  world.network
    .socket("mac")
    .deliver({ type: "push.subscription", subscribed: isSubscribed, ...(reason && { reason }) });
  await world.time.settle();
}

beforeEach(async () => {
  ({ door, world, mac } = await connectedWithDoor());
});

describe("Alerts", () => {
  it("are nobody's wish until a person says so: nothing is asked, subscribed or sent", () => {
    expect(alerts()).toEqual({ support: "available", shows: "prompt", isBusy: false });
    expect([door.asked, door.made, sentOf("push.subscribe")]).toEqual([0, 0, []]);
  });

  it("give the relay the endpoint, and the computer alone the keys", async () => {
    await subscribed();
    const [message] = sentOf("push.subscribe");
    expect(message).toMatchObject({ endpoint: "https://push.example/1", key: relayKey });
    expect(JSON.stringify(message)).not.toContain("auth-1");
    const box = await mac.open(message.encryptedSubscription.ciphertext);
    expect(box).toEqual({
      deviceID: world.network.socket("mac").url.searchParams.get("deviceID"),
      p256dh: "p256dh-1",
      auth: "auth-1",
      shows: "prompt",
      page: "https://relay.example/",
      language: "en-GB",
      computer: "mac",
      sequence: world.time.now(),
    });
    expect(world.network.requests.at(-1)?.url).toMatch(
      /^https:\/\/relay\.example\/api\/pairings\/mac\/push-key\?deviceID=/,
    );
  });

  it("count up with each that is sealed, also where the clock was set back", async () => {
    await subscribed();
    world.phone.chooseAlertContent("computer");
    await world.time.settle();
    await world.phone.renameComputer("mac", "Studio");
    await world.time.settle();
    const earlier = await sealedSequences();
    expect(earlier).toHaveLength(3);
    world.time.set(world.time.now() - 3_600_000);
    await world.reload();
    await fetched(world);
    await world.join(mac);
    const all = [...earlier, ...(await sealedSequences())];
    expect(all).toHaveLength(4);
    expect(all).toEqual([...new Set(all)].sort((one, other) => one - other));
  });

  it("leave out what was sealed before another choice, however long the sealing takes", async () => {
    await subscribed();
    world.phone.chooseAlertContent("computer");
    world.phone.chooseAlertContent("prompt");
    world.phone.chooseAlertContent("computer");
    await world.time.settle();
    expect((await sealedSubscriptions()).at(-1)).toMatchObject({ shows: "computer" });
    const counted = await sealedSequences();
    expect(counted).toEqual([...new Set(counted)].sort((one, other) => one - other));
  });

  it("are handed over where nothing can be kept", async () => {
    world.store.changeAlerts = () => Promise.reject(new Error("full"));
    await subscribed();
    const [message] = sentOf("push.subscribe");
    expect(await mac.open(message.encryptedSubscription.ciphertext)).toMatchObject({
      sequence: world.time.now(),
    });
    expect(alerts()).toMatchObject({ problem: "notStored" });
  });

  it("ask the person before anything is waited for, and once", async () => {
    door.permitted = "default";
    world.phone.chooseAlerts(true);
    expect(door.asked).toBe(1);
    await world.time.settle();
    expect(alerts()).toMatchObject({ isWanted: true });
    expect(sentOf("push.subscribe")).toHaveLength(1);
  });

  it.each([
    ["default", { support: "available" }],
    ["denied", { support: "blocked", isWanted: true }],
  ] as const)("that the person answers with %s subscribe nothing", async (answer, expected) => {
    door.permitted = "default";
    door.answer = answer;
    await subscribed();
    expect(alerts()).toMatchObject({ ...expected, isBusy: false });
    expect([door.made, sentOf("push.subscribe")]).toEqual([0, []]);
  });

  it("can be chosen again where the person left the browser's question open", async () => {
    door.permitted = "default";
    door.answer = undefined;
    await subscribed();
    expect(alerts()).toMatchObject({ isBusy: true });
    await world.time.advance(subscribeTimeout);
    expect(alerts()).toMatchObject({ isBusy: false });
    door.answer = "granted";
    await subscribed();
    expect(sentOf("push.subscribe")).toHaveLength(1);
  });

  it("are handed over again at each opening, with the same subscription", async () => {
    await subscribed();
    await relaySays(true);
    await world.reload();
    await fetched(world);
    await world.join(mac);
    expect(sentOf("push.subscribe")).toHaveLength(1);
    expect(door.made).toBe(1);
    expect(alerts()).toMatchObject({ isWanted: true, isBusy: false });
  });

  it("are handed over with each connection until the relay has them, and not after", async () => {
    await subscribed();
    for (const isConfirmed of [false, true]) {
      if (isConfirmed) await relaySays(true);
      world.network.socket("mac").end();
      await world.time.advance(5000);
      await world.join(mac);
      expect(sentOf("push.subscribe")).toHaveLength(isConfirmed ? 0 : 1);
    }
  });

  it("say so when the browser's push service does not answer, and try again", async () => {
    door.service = "hangs";
    await subscribed();
    await world.time.advance(subscribeTimeout - 1);
    expect(alerts()).toMatchObject({ isBusy: true });
    await world.time.advance(1);
    expect(alerts()).toMatchObject({ isBusy: false, problem: "serviceSilent" });
    door.service = "answers";
    await world.time.advance(60_000);
    await world.join(mac);
    expect(alerts()).not.toHaveProperty("problem");
    expect(sentOf("push.subscribe")).toHaveLength(1);
  });

  it.each([
    [404, "", "relayWakesNone"],
    [503, "", "relayUnreachable"],
    ["unreachable", "", "relayUnreachable"],
    [200, "no JSON", "relayUnreachable"],
    [200, JSON.stringify({ key: "B" }), "relayUnreachable"],
    [200, JSON.stringify({ key: `C${"k".repeat(86)}` }), "relayUnreachable"],
  ] as const)(
    "of a relay that answers %s %s are not to be had, and that is said",
    async (status, text, problem) => {
      world.network.responseStatus = status;
      world.network.responseText = text;
      await subscribed();
      expect(alerts()).toMatchObject({ isWanted: true, problem });
      expect(door.made).toBe(0);
    },
  );

  it("say so when the browser refuses", async () => {
    door.service = "refuses";
    await subscribed();
    expect(alerts()).toMatchObject({ problem: "serviceRefused" });
  });

  it.each(["expired", "subscribeAnew", "otherKey", "a reason of later"])(
    "that the relay calls %s are subscribed anew, a few times only",
    async (reason) => {
      await subscribed();
      for (let times = 1; times <= 6; times += 1) await relaySays(false, reason);
      expect(door.made).toBe(4);
      expect(sentOf("push.subscribe").map(({ endpoint }) => endpoint)).toEqual(
        [1, 2, 3, 4].map((number) => `https://push.example/${number}`),
      );
      expect(alerts()).toMatchObject({ problem: "serviceRefused" });
    },
  );

  it("take the relay's new key, after the old subscription", async () => {
    await subscribed();
    world.network.responseText = JSON.stringify({ key: otherKey });
    await relaySays(false, "otherKey");
    expect(sentOf("push.subscribe").at(-1)).toMatchObject({
      key: otherKey,
      endpoint: "https://push.example/2",
    });
    await relaySays(true);
    expect(world.computer("mac").alerts).toEqual({ isSubscribed: true });
  });

  it("say so where the relay does not use this push service", async () => {
    await subscribed();
    await relaySays(false, "endpointNotAllowed");
    expect(alerts()).toMatchObject({ problem: "serviceNotAllowed" });
    expect(world.computer("mac").alerts).toEqual({ isSubscribed: false });
  });

  it("are handed to a computer that is paired later, under its own key", async () => {
    await subscribed();
    const other = await world.pair("other");
    await world.join(other);
    const [message] = sentOf("push.subscribe", "other");
    expect(await other.open(message.encryptedSubscription.ciphertext)).toMatchObject({ auth: "auth-1" });
    expect(door.made).toBe(1);
  });

  it("tell nothing on the lock screen but that a prompt waits, where a person chose that", async () => {
    await subscribed();
    world.phone.chooseAlertContent("computer");
    await world.time.settle();
    const message = sentOf("push.subscribe").at(-1);
    expect(await mac.open(message.encryptedSubscription.ciphertext)).toMatchObject({ shows: "computer" });
    await world.reload();
    await fetched(world);
    expect(alerts()).toMatchObject({ shows: "computer" });
  });

  it("are tested by the computer, for this phone alone", async () => {
    world.phone.testAlert("mac");
    await world.time.settle();
    const { type, command } = await world.lastSent(mac);
    expect(type).toBe("approval.suppress");
    expect(command).toMatchObject({
      action: "testPush",
      deviceID: world.network.socket("mac").url.searchParams.get("deviceID"),
    });
    expect(world.computer("mac").suppressions).toEqual([]);
  });

  it("are taken back from relay and browser when they are switched off", async () => {
    await subscribed();
    world.phone.chooseAlerts(false);
    await world.time.settle();
    expect(sentOf("push.unsubscribe")).toHaveLength(1);
    expect(door.subscribed).toBeUndefined();
    await world.reload();
    await fetched(world);
    await world.join(mac);
    expect(sentOf("push.subscribe")).toEqual([]);
    expect(alerts()).toMatchObject({ isWanted: false });
  });

  it("end with the last computer, and only with that", async () => {
    await subscribed();
    const other = await world.pair("other");
    await world.join(other);
    await world.phone.forget("mac");
    await world.time.settle();
    expect(sentOf("push.unsubscribe")).toHaveLength(1);
    expect(door.subscribed).toBeDefined();
    await world.phone.forget("other");
    await world.time.settle();
    expect(door.subscribed).toBeUndefined();
  });

  it("show what the computer says of the last one for this phone", async () => {
    await subscribed();
    const clock = { epoch: sampleID(9), time: 1 };
    const acceptedAt = "2026-03-01T12:00:00Z";
    const hear = async (pushes: unknown) => {
      world.network.socket("mac").deliver(await mac.sealedClock({ clock, pushes }));
      await world.time.settle();
      return world.computer("mac").alerts?.sent;
    };
    const others = { p256dh: "of another phone", status: "gone", reason: "expired" };
    const ours = { p256dh: "p256dh-1", status: "accepted", acceptedAt };
    expect(await hear([others])).toBeUndefined();
    const accepted = { status: "accepted", acceptedAt: Date.UTC(2026, 2, 1, 12) };
    expect(await hear([others, ours])).toEqual(accepted);
    for (const broken of [[{ p256dh: "p256dh-1" }], [{ status: "gone" }], [5], {}, new Array(9).fill(ours)])
      expect(await hear(broken)).toEqual(accepted);
    expect(await hear([{ ...ours, status: "a word of later" }])).toBeUndefined();
  });

  it("name the computer as this phone does, also when it is renamed, in at most 100 bytes", async () => {
    await subscribed();
    await world.phone.renameComputer("mac", "é".repeat(60));
    await world.time.settle();
    const message = sentOf("push.subscribe").at(-1);
    const box = await mac.open(message.encryptedSubscription.ciphertext);
    expect(box).toMatchObject({ computer: "é".repeat(50) });
    expect(new Blob([JSON.stringify(message.encryptedSubscription)]).size).toBeLessThan(2048);
  });

  it("know when the last one came, also at the next opening", async () => {
    await subscribed();
    const at = world.time.now();
    door.say({ quillard: "received", pairingID: "mac", at });
    expect(world.computer("mac").alerts).toMatchObject({ receivedAt: at });
    await world.store.saveAlertTime("mac", at);
    await world.store.saveAlertTime("nobody", at);
    await world.reload();
    expect(world.computer("mac").alerts).toEqual({ receivedAt: at });
    expect((await world.store.load()).alertTimes).toEqual(new Map([["mac", at]]));
  });

  it("do without the part of the page that could not be fetched", async () => {
    world = new PhoneWorld(undefined, { push: () => Promise.reject(new Error("No network.")) });
    await world.start();
    await world.pair("mac");
    world.phone.chooseAlerts(true);
    expect(alerts()).toBeUndefined();
  });
});
