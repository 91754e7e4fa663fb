// Alerts as a phone has them, with nothing of the browser made up: the relay posts to a push service over TLS, Firefox gets it from there,
// starts the worker, shows it on a bus, and a person presses there. The computer is a fake.
import { randomUUID } from "node:crypto";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { afterEach, beforeEach, expect, test } from "vitest";
import { FakeAgent } from "../browser-tests/support/FakeAgent";
import { RelayProcess } from "../browser-tests/support/RelayProcess";
import { PhonePage, eventually } from "../engine-tests/support/PhonePage";
import { FirefoxTab } from "../engine-tests/support/firefoxEngine";
import { sampleApproval, sampleID } from "../src/core/testing";
import { NotificationBus } from "./support/NotificationBus";
import { PushFirefox, run } from "./support/PushFirefox";
import { PushServer } from "./support/PushServer";
import { sealedPush } from "./support/sealedPush";

let folder: string;
let push: PushServer;
let bus: NotificationBus;
let relay: RelayProcess;
let computer: FakeAgent;
let firefox: PushFirefox;

beforeEach(async () => {
  folder = mkdtempSync(join(tmpdir(), "quillard-push-test-"));
  push = await PushServer.start(folder);
  bus = await NotificationBus.start();
  relay = new RelayProcess();
  relay.options = [
    ...["--push-contact", "https://relay.example"],
    ...["--push-hosts", push.host],
    ...["--push-authority", push.authority],
    "--push-private-addresses",
  ];
  await relay.start();
  computer = new FakeAgent(relay.url);
  await computer.connect();
  firefox = new PushFirefox(folder, push.url, bus.address, relay.url);
  await firefox.start();
});

afterEach(async () => {
  await firefox.end();
  computer.disconnect();
  await relay.dispose();
  bus.stop();
  push.stop();
  rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  expect(push.problems).toEqual([]);
});

const isPhoneConnected = () => computer.phones.some(({ connected }) => connected);
const phoneLeaves = () => eventually("the phone leaves", () => Promise.resolve(!isPhoneConnected()));

/** Paired, with alerts on, and the page closed again. */
async function pairedAndClosed(): Promise<void> {
  await computer.show([]);
  const tab = await firefox.newPage();
  const page = new PhonePage(new FirefoxTab(tab));
  await page.pair(relay.url, computer.pairingText);
  await page.press("button", "Turn on alerts");
  await eventually("the subscription", () => Promise.resolve(computer.subscriptions.length === 1));
  await firefox.newPage();
  await tab.close();
  await phoneLeaves();
}

function text(number: number, change: object = {}, dataChange: object = {}): string {
  return JSON.stringify({
    web_push: 8030,
    notification: {
      title: `Disk Tool: Erase disk ${number}?`,
      body: "Are you sure?",
      navigate: `${relay.url}/#prompt/${sampleID(number)}`,
      lang: "en",
      dir: "auto",
      tag: `${number}`.padStart(32, "0"),
      silent: false,
      data: {
        quillard: 1,
        kind: "prompt",
        pairingID: computer.pairingID,
        approvalID: sampleID(number),
        computer: "Studio",
        dismissLabel: "Cancel",
        waiting: 1,
        clock: { epoch: sampleID(99), time: number },
        ...dataChange,
      },
      ...change,
    },
  });
}

/** The subscription of the only phone, and its keys. */
async function subscription() {
  const [only] = computer.subscriptions;
  if (!only) throw new Error("No phone can be woken.");
  const keys = await computer.open(only.encryptedSubscription.ciphertext);
  return { ...only, keys: keys as { p256dh: string; auth: string } };
}

/** By way of the relay. */
async function send(plain: string, topic: number): Promise<void> {
  const { deviceID, subscriptionID, keys } = await subscription();
  computer.push({
    pushID: randomUUID(),
    deviceID,
    subscriptionID,
    body: sealedPush(plain, keys),
    ttl: 60,
    urgency: "high",
    topic: `${topic}`.padStart(32, "0"),
  });
}

test("a push is shown while the page is closed, and its button presses that button at the computer", async () => {
  await pairedAndClosed();
  await computer.show([sampleApproval(1)]);
  await send(text(1), 1);
  const notification = await bus.see("Erase disk 1?");
  expect(notification.actions).toContain("Cancel");
  bus.press(notification, "Cancel");
  const request = await computer.request();
  expect(request).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel" });
  await computer.show([]);
  await computer.answer(request, "accepted");
  await bus.see("“Cancel” pressed from here");
  await phoneLeaves();
  expect(push.codes).toEqual([100]);
});

test("a push that came while the browser was closed is shown after it has started, and leads to its prompt", async () => {
  await pairedAndClosed();
  await firefox.end();
  await computer.show([sampleApproval(1)]);
  await send(text(1), 1);
  await eventually("the push service has it", () => Promise.resolve(push.answers.length === 1));
  await firefox.start();
  bus.press(await bus.see("Erase disk 1?"));
  await eventually("the page at that prompt", async () =>
    (await firefox.addresses()).includes(`${relay.url}/#prompt/${sampleID(1)}`),
  );
  await eventually("the phone joins", () => Promise.resolve(isPhoneConnected()));
});

test("a subscription that the push service has forgotten is made anew without a page", async () => {
  await pairedAndClosed();
  const [before] = computer.subscriptions;
  push.forgetAll();
  await eventually("another subscription", () =>
    Promise.resolve(
      computer.subscriptions.length === 1 &&
        computer.subscriptions[0]?.subscriptionID !== before?.subscriptionID,
    ),
  );
  await send(text(1), 1);
  await bus.see("Erase disk 1?");
});

test("a relay that lost its key gets a new subscription when the page is opened", async () => {
  await pairedAndClosed();
  const [before] = computer.subscriptions;
  computer.disconnect();
  await relay.kill();
  relay.forget();
  await relay.start();
  await computer.connect();
  await computer.show([]);
  const page = await firefox.open(relay.url);
  await eventually("another subscription", () =>
    Promise.resolve(
      computer.subscriptions.length === 1 &&
        computer.subscriptions[0]?.subscriptionID !== before?.subscriptionID,
    ),
  );
  await send(text(1), 1);
  await bus.see("Erase disk 1?");
  await page.close();
});

test("a hundred everyday prompts use up nothing: each is shown, and the subscription stays", async () => {
  await pairedAndClosed();
  const kinds = [
    (number: number) => text(number),
    (number: number) => text(number, {}, { dismissLabel: undefined, waiting: 2 }),
    (number: number) => text(number - 1),
    (number: number) => text(number, {}, { kind: "several", waiting: 4 }),
    () => "what no version can read",
  ];
  const { keys } = await subscription();
  for (let number = 1; number <= 100; number += 1) {
    const plain = (kinds[number % kinds.length] ?? text)(number);
    push.deliver(Buffer.from(sealedPush(plain, keys), "base64"));
    // A browser that has much to do takes them one after another: ten are under way at a time.
    if (number % 10 > 0) continue;
    await eventually(`push ${number}`, () => Promise.resolve(push.codes.length >= number), 600_000);
  }
  expect(push.codes).toEqual(Array.from({ length: 100 }, () => 100));
  expect(push.ended).toEqual([]);
  await send(text(200), 200);
  await bus.see("Erase disk 200?");
  const page = await firefox.open(relay.url);
  const endpoint = await run<string | undefined>(
    page,
    `const all = await navigator.serviceWorker.getRegistrations();
     const ours = all.find(({ scope }) => scope.endsWith("/push/"));
     return (await ours?.pushManager.getSubscription())?.endpoint;`,
  );
  expect(endpoint).toContain("/push/");
});
