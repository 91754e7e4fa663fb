// A dismissal that is carried out without a page: only for that very prompt, as the computer's live list shows it.

import { beforeEach, describe, expect, it } from "vitest";
import { dismissAlone, type DismissedAlone } from "./dismissAlone";
import { dismissalTimeout } from "./dismissal";
import { PhoneWorld, sampleApproval, sampleButton, sampleID, type FakeComputer } from "./testing";

const epoch = "5E0C8D3A-1B9F-4E6D-A2C7-9F8E7D6C5B4A";

let world: PhoneWorld;
let mac: FakeComputer;
let done: DismissedAlone | undefined;

/** A person has pressed that button of the notification now. */
async function press(label = "Cancel", pairingID = "mac", agoSeconds = 0): Promise<void> {
  const at = {
    monotonic: world.time.monotonicNow() - agoSeconds * 1000,
    wall: world.time.now() - agoSeconds * 1000,
  };
  const request = { approvalID: sampleID(1), label, at };
  void dismissAlone(world.environment(), pairingID, request).then((result) => (done = result));
  await world.time.settle();
}

const requests = () => world.sent().filter((text) => text.includes("approval.request"));

beforeEach(async () => {
  world = new PhoneWorld();
  done = undefined;
  await world.start();
  mac = await world.pair("mac");
  world.phone.stop();
});

describe("A dismissal without a page", () => {
  it("waits for the computer's live list, sends that decision, and tells its end, which is kept", async () => {
    await press();
    await world.join(mac);
    expect(requests()).toEqual([]);
    await world.list(mac, [sampleApproval(1), sampleApproval(2)]);
    const { command, decisionID } = await world.lastSent(mac);
    expect(command).toEqual({ approvalID: sampleID(1), buttonLabel: "Cancel", decisionID });
    expect(done).toBeUndefined();
    await world.list(mac, [sampleApproval(2)]);
    const result = { approvalID: sampleID(1), buttonLabel: "Cancel", status: "accepted" };
    await world.result(mac, decisionID, result);
    expect(done).toMatchObject({
      dismissal: { kind: "settled", outcome: { status: "accepted", key: decisionID } },
      computerName: "mac",
      waiting: new Set([sampleID(2)]),
    });
    expect(world.network.socket("mac").state).toBe("closed");
    const { pairings } = await world.store.load();
    expect(pairings[0]?.notes.outcomes).toMatchObject([{ key: decisionID, status: "accepted" }]);
    expect(pairings[0]?.notes.usedNonces.length).toBeGreaterThan(0);
  });

  it("says in its box when the person chose, and not when it could be sent", async () => {
    const now = world.time.now();
    await press();
    await world.time.advance(8000);
    await world.join(mac);
    await world.list(mac, [sampleApproval(1, { clock: { epoch, time: 100_000 } })]);
    const command = Object((await world.lastSent(mac)).command);
    expect(command.tappedAt.epoch).toBe(epoch);
    expect(command.tappedAt.time).toBeLessThanOrEqual(100_000 - (world.time.now() - now));
    expect(command.tappedAt.time).toBeGreaterThan(100_000 - (world.time.now() - now) - 1000);
  });

  it("presses nothing where the prompt is gone, and says so", async () => {
    await press();
    await world.join(mac);
    await world.list(mac, [sampleApproval(2)]);
    expect(done).toEqual({
      dismissal: { kind: "gone" },
      computerName: "mac",
      waiting: new Set([sampleID(2)]),
    });
    expect(requests()).toEqual([]);
  });

  it.each([
    ["does not have the button any more", { buttons: [sampleButton("Allow")] }],
    ["has it switched off", { buttons: [{ ...sampleButton("Cancel"), isEnabled: false }] }],
  ])("presses nothing where the prompt %s", async (_name, change) => {
    await press();
    await world.join(mac);
    await world.list(mac, [sampleApproval(1, change)]);
    expect(done?.dismissal).toEqual({ kind: "changed" });
    expect(requests()).toEqual([]);
  });

  it("never grants, whatever the notification said", async () => {
    await press("Allow");
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    expect(done?.dismissal).toEqual({ kind: "changed" });
    expect(requests()).toEqual([]);
  });

  it.each([
    ["that may not look at windows", [[], false]],
    ["that is paused", [[], true, { isPaused: true }]],
    ["whose list has no room for all", [[sampleApproval(2, { leftOut: 3 })]]],
  ] as const)(
    "does not take the list of a computer %s for proof that the prompt is gone",
    async (_name, list) => {
      await press();
      await world.join(mac);
      const [approvals, trusted, state] = list as readonly [readonly unknown[], boolean?, unknown?];
      await world.list(mac, approvals, trusted, state);
      await world.time.advance(dismissalTimeout);
      expect(["paused", "unreachable"]).toContain(done?.dismissal.kind);
      expect(requests()).toEqual([]);
    },
  );

  it("does not go by the list that the relay kept of a computer that is not there", async () => {
    await press();
    await world.join(mac, false);
    await world.list(mac, [sampleApproval(1)]);
    await world.time.advance(dismissalTimeout - 1);
    expect([done, requests()]).toEqual([undefined, []]);
    await world.time.advance(1);
    expect(done?.dismissal).toEqual({ kind: "unreachable" });
    world.network.socket("mac").deliver({ type: "mac.status", macConnected: true, heardSecondsAgo: 0 });
    await world.time.settle();
    expect(requests()).toEqual([]);
  });

  it.each([
    ["revoked", 4002],
    ["taken over by a page", 4001],
    ["removed", 4003],
  ])("ends where its pairing is %s", async (_name, code) => {
    await press();
    world.network.socket("mac").end(code);
    await world.time.settle();
    expect(done?.dismissal).toEqual({ kind: "ended" });
  });

  it("ends where this phone does not know the computer any more", async () => {
    await press("Cancel", "other");
    expect(done).toEqual({ dismissal: { kind: "ended" } });
  });

  it("waits for an answer for a minute from the choice on, and then says that none came", async () => {
    await press("Cancel", "mac", 20);
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    const { decisionID } = await world.lastSent(mac);
    await world.receipt(mac, decisionID, true);
    await world.time.advance(39_000);
    expect(done).toBeUndefined();
    await world.time.advance(1000);
    expect(done?.dismissal).toMatchObject({ kind: "settled", outcome: { status: "unanswered" } });
  });

  it("tells what the computer says of a decision that it did not carry out", async () => {
    await press();
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    const { decisionID } = await world.lastSent(mac);
    const result = { approvalID: sampleID(1), buttonLabel: "Cancel", status: "not_found" };
    await world.result(mac, decisionID, result);
    expect(done?.dismissal).toMatchObject({ kind: "settled", outcome: { status: "notFound" } });
  });
});
