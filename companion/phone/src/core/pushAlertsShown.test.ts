// Alerts as they are shown: only while the page sleeps, gone when their prompt was answered, and answered themselves.

import { beforeEach, describe, expect, it } from "vitest";
import { asleepAfter } from "./pushAlerts";
import { PhoneWorld, sampleApproval, sampleID, type FakeComputer, type FakePushDoor } from "./testing";
import { connectedWithDoor, sentOf as sentIn } from "./testing/alertsWorld";

let door: FakePushDoor;
let world: PhoneWorld;
let mac: FakeComputer;

const sentOf = (type: string) => sentIn(world, type);

beforeEach(async () => {
  ({ door, world, mac } = await connectedWithDoor());
});

describe("A page that is hidden", () => {
  const said = () => sentOf("phone.asleep").map(({ asleep }) => asleep);

  beforeEach(async () => {
    world.phone.chooseAlerts(true);
    await world.time.settle();
  });

  it("counts as asleep after a moment, and as awake as soon as it is seen", async () => {
    world.deviceStatus.becomeHidden();
    await world.time.advance(asleepAfter - 1);
    expect(said()).toEqual([]);
    await world.time.advance(1);
    expect(said()).toEqual([true]);
    world.deviceStatus.becomeVisible();
    expect(said()).toEqual([true, false]);
  });

  it("says nothing where it is seen again soon", async () => {
    world.deviceStatus.becomeHidden();
    await world.time.advance(asleepAfter - 1);
    world.deviceStatus.becomeVisible();
    await world.time.advance(asleepAfter);
    expect(said()).toEqual([]);
  });

  it("says so immediately where nothing runs from then on", () => {
    world.deviceStatus.freeze();
    expect(said()).toEqual([true]);
  });

  it("says so again on a new connection", async () => {
    world.deviceStatus.freeze();
    world.network.socket("mac").end();
    await world.time.advance(5000);
    await world.join(mac);
    expect(said()).toEqual([true]);
  });
});

describe("Notifications of prompts that were answered", () => {
  const data = (change: object) => ({
    quillard: 1,
    kind: "prompt",
    pairingID: "mac",
    approvalID: sampleID(1),
    computer: "Studio",
    waiting: 1,
    clock: { epoch: sampleID(9), time: 1 },
    shownAt: world.time.now() - 60_000,
    ...change,
  });

  it("are closed by the page; those of what waits, of other computers and of a minute that is not over stay", async () => {
    const answered = door.show(data({ approvalID: sampleID(2) }));
    const kept = [
      door.show(data({})),
      door.show(data({ approvalID: sampleID(2), pairingID: "other" })),
      door.show(data({ approvalID: sampleID(2), shownAt: world.time.now() })),
      door.show(data({ kind: "several", approvalID: undefined, waiting: 2 })),
      door.show(data({ kind: "test", approvalID: undefined })),
      door.show("nothing that this version knows"),
    ];
    await world.list(mac, [sampleApproval(1)]);
    await world.time.advance(2000);
    expect(answered.isClosed).toBe(true);
    expect(kept.map(({ isClosed }) => isClosed)).toEqual(kept.map(() => false));
    await world.time.advance(10_000);
    expect(kept.map(({ isClosed }) => isClosed)).toEqual([false, false, true, false, false, false]);
    await world.list(mac, []);
    await world.time.advance(20_000);
    await world.list(mac, []);
    await world.time.advance(2000);
    expect(kept.map(({ isClosed }) => isClosed)).toEqual([true, false, true, true, false, false]);
  });

  it("stay while the list does not say what waits", async () => {
    const shown = door.show(data({ approvalID: sampleID(2) }));
    await world.list(mac, [], false);
    await world.time.advance(2000);
    await world.list(mac, [], true, { isPaused: true });
    await world.time.advance(2000);
    world.network.socket("mac").deliver({ type: "mac.status", macConnected: false });
    await world.time.advance(2000);
    expect(shown.isClosed).toBe(false);
  });
});

describe("A dismissal that was chosen on a notification", () => {
  const request = (change: object = {}) => ({
    quillard: "dismiss",
    pairingID: "mac",
    approvalID: sampleID(1),
    label: "Cancel",
    at: world.time.now(),
    ...change,
  });

  it("is made by the page that has the connection, and its end is told", async () => {
    const answers = door.say(request());
    await world.time.settle();
    expect(answers).toEqual([{ quillard: "taken" }]);
    const { command, decisionID } = await world.lastSent(mac);
    expect(command).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel" });
    const result = { approvalID: sampleID(1), buttonLabel: "Cancel", status: "accepted" };
    await world.result(mac, decisionID, result);
    expect(answers[1]).toMatchObject({
      quillard: "ended",
      computerName: "mac",
      dismissal: { kind: "settled", outcome: { status: "accepted", buttonLabel: "Cancel" } },
    });
  });

  it.each([
    ["of a computer that it does not know", { pairingID: "other" }],
    ["that it has slept through", { at: 0 }],
    ["that says what it does not understand", { approvalID: "no UUID" }],
  ])("%s is left to the worker", async (_name, change) => {
    const answers = door.say(request(change));
    await world.time.settle();
    expect(answers).toEqual([]);
    expect(sentOf("approval.request")).toEqual([]);
  });

  it("is left to the worker where another tab has the connection", () => {
    world.network.socket("mac").end(4001);
    expect(door.say(request())).toEqual([]);
  });

  it("leads to the page where a person chose the notification itself", () => {
    door.say({ quillard: "show", approvalID: sampleID(1) });
    expect(door.wentTo).toEqual([sampleID(1)]);
  });

  it("of the worker's own is known to the page afterwards, which connects anew", async () => {
    const { pairings } = await world.store.load();
    const [stored] = pairings;
    if (!stored) throw new Error("Nothing is stored.");
    const outcome = {
      key: "OF-THE-WORKER",
      approvalID: sampleID(1),
      at: world.time.now(),
      appName: "Disk Tool",
      windowTitle: "Erase disk?",
      buttonLabel: "Cancel",
      status: "accepted",
    } as const;
    await world.store.saveNotes("mac", { ...stored.notes, outcomes: [outcome] });
    world.network.socket("mac").end(4001);
    expect(world.computer("mac").relay.kind).toBe("takenOver");
    door.say({ quillard: "released", pairingID: "mac" });
    await world.time.settle();
    await world.join(mac);
    expect(world.computer("mac").relay.kind).toBe("connected");
    expect(world.outcomes()).toEqual([outcome]);
  });
});
