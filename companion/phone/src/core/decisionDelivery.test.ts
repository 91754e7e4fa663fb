import { webcrypto } from "node:crypto";
import { beforeEach, describe, expect, it } from "vitest";
import { ComputerClock } from "./computerClock";
import { DecisionDelivery } from "./decisionDelivery";
import { decisionLife, type DecisionRecord } from "./decisionLog";
import { readPromptList } from "./messages";
import { SealedChannel } from "./sealedChannel";
import { keyFrom } from "./sealing";
import { countedCrypto, sampleApproval, sampleID, VirtualTime } from "./testing";

const one = sampleID(1);
const prompt = () => readPromptList(JSON.stringify([sampleApproval(1)])).prompts[0]!;

let time: VirtualTime;
let sent: string[];
let settled: DecisionRecord[];
let changes: number;
let isConnected: boolean;
let saved: () => void;
let delivery: DecisionDelivery;

beforeEach(async () => {
  const { crypto, underWay } = countedCrypto(webcrypto);
  time = new VirtualTime(underWay);
  sent = [];
  settled = [];
  changes = 0;
  isConnected = true;
  saved = () => {};
  const key = await keyFrom(crypto, "secret");
  const send = (text: string) => {
    sent.push(text);
    return true;
  };
  delivery = new DecisionDelivery([], {
    environment: { now: time.now, monotonicNow: time.monotonicNow, after: time.after, crypto },
    clock: new ComputerClock(),
    channel: new SealedChannel(crypto, key, []),
    isConnected: () => isConnected,
    send,
    save: () => new Promise<void>((resolve) => (saved = resolve)),
    settled: (record) => settled.push(record),
    changed: () => (changes += 1),
  });
});

async function decide(label = "Allow"): Promise<string> {
  delivery.decide(prompt(), label);
  await time.settle();
  saved();
  await time.settle();
  return delivery.records().at(-1)?.decisionID ?? "";
}

describe("A decision that is made here", () => {
  it("is sent once it is stored, under an identity of its own", async () => {
    delivery.decide(prompt(), "Allow");
    await time.settle();
    expect([sent.length, changes]).toEqual([0, 1]);
    saved();
    await time.settle();
    const [record] = delivery.records();
    expect(JSON.parse(sent[0] ?? "")).toMatchObject({
      type: "approval.request",
      decisionID: record?.decisionID,
    });
    expect(record?.decisionID).toMatch(/^[0-9A-F-]{36}$/);
  });

  it("waits for a connection, and is sent again on the next one while it is open", async () => {
    isConnected = false;
    const decisionID = await decide();
    expect(sent).toEqual([]);
    isConnected = true;
    delivery.resume();
    await time.settle();
    delivery.resume();
    await time.settle();
    expect(sent.map((text) => JSON.parse(text).decisionID)).toEqual([decisionID, decisionID]);
    expect(new Set(sent.map((text) => JSON.parse(text).encryptedRequest.ciphertext)).size).toBe(1);
  });

  it("is settled by its minute's end, and is not sent after it", async () => {
    isConnected = false;
    await decide();
    await time.advance(decisionLife - 1);
    expect(settled).toEqual([]);
    await time.advance(1);
    expect(settled.map((record) => record.status)).toEqual(["undelivered"]);
    isConnected = true;
    delivery.resume();
    await time.settle();
    expect([sent.length, settled.length]).toEqual([0, 1]);
  });

  it("is settled by the relay's refusal, or by the computer", async () => {
    delivery.receipt(await decide(), false, "macBusy");
    const second = await decide("Cancel");
    expect(delivery.result(second, { approvalID: one, buttonLabel: "Cancel", status: "accepted" })).toBe(
      true,
    );
    expect(settled.map((record) => record.status)).toEqual(["undelivered", "accepted"]);
  });

  it("is not settled by a result of another button, nor is a foreign result taken for ours", async () => {
    const decisionID = await decide();
    const result = { approvalID: one, buttonLabel: "Cancel", status: "accepted" } as const;
    expect(delivery.result(decisionID, result)).toBe(true);
    expect(delivery.result("other", result)).toBe(false);
    expect([settled.length, delivery.on(one)?.status]).toEqual([0, "sending"]);
  });

  it("is neither sent nor ended once it is stopped", async () => {
    delivery.decide(prompt(), "Allow");
    delivery.stop();
    saved();
    await time.advance(2 * decisionLife);
    expect([sent.length, settled.length]).toEqual([0, 0]);
  });
});
