// How one computer is handed a subscription, where sealing takes its time.

import { describe, expect, it } from "vitest";
import type { SealedChannel } from "./sealedChannel";
import { SessionAlerts, type AlertOffer } from "./sessionAlerts";

/** Boxes that are sealed when the test says so, in whichever order. */
function slowly() {
  const sealing: (() => void)[] = [];
  const sent: { type: string; encryptedSubscription?: { sequence: number } }[] = [];
  const seal = (plain: unknown) => new Promise((resolve) => sealing.push(() => resolve(plain)));
  const alerts = new SessionAlerts({
    deviceID: "A",
    channel: { seal } as unknown as SealedChannel,
    computerName: () => "Studio",
    isConnected: () => true,
    send: (text) => sent.push(JSON.parse(text) as (typeof sent)[number]) > 0,
    changed: () => {},
  });
  let count = 0;
  const offer: AlertOffer = {
    endpoint: "https://push.example/1",
    p256dh: "p",
    auth: "a",
    relayKey: "k",
    shows: "prompt",
    page: "https://relay.example/",
    language: "de-DE",
    sequence: () => Promise.resolve((count += 1)),
  };
  const begun = () => new Promise((resolve) => setTimeout(resolve));
  return { alerts, offer, sealing, sent, begun };
}

describe("A subscription that is handed over", () => {
  it("is the newest, although an earlier one was sealed after it", async () => {
    const { alerts, offer, sealing, sent, begun } = slowly();
    alerts.offer(offer);
    alerts.computerRenamed();
    await begun();
    expect(sealing).toHaveLength(2);
    for (const end of sealing.reverse()) end();
    await begun();
    expect(sent.map(({ encryptedSubscription }) => encryptedSubscription?.sequence)).toEqual([2]);
  });

  it("is none any more where it was taken back meanwhile", async () => {
    const { alerts, offer, sealing, sent, begun } = slowly();
    alerts.offer(offer);
    await begun();
    alerts.takeBack();
    for (const end of sealing) end();
    await begun();
    expect(sent.map(({ type }) => type)).toEqual(["push.unsubscribe"]);
  });

  it("says the language of the page", async () => {
    const { alerts, offer, sealing, sent, begun } = slowly();
    alerts.offer(offer);
    await begun();
    for (const end of sealing) end();
    await begun();
    expect(sent[0]).toMatchObject({ encryptedSubscription: { language: "de-DE" } });
  });
});
