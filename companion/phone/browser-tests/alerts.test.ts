// Alerts while the page is closed. The browser's own push service cannot be reached here: subscriptions are made up, and pushes come by
// the browser's own tools, which start the worker as a push service would.
import { createECDH, randomBytes } from "node:crypto";
import type { BrowserContext, CDPSession, Page, Worker } from "@playwright/test";
import { sampleApproval, sampleID } from "../src/core/testing";
import type { FakeAgent } from "./support/FakeAgent";
import type { RelayProcess } from "./support/RelayProcess";
import { card, expect, kRelayIsGone, pairByText, test } from "./support/fixtures";

const kEndpoint = "https://fcm.googleapis.com/fcm/send/made-up";
const kWorker = "/push-worker.js";

function phoneKeys(): { readonly p256dh: string; readonly auth: string } {
  const pair = createECDH("prime256v1");
  return { p256dh: pair.generateKeys().toString("base64url"), auth: randomBytes(16).toString("base64url") };
}

/** A browser whose push service gives out subscriptions, each with another endpoint. */
async function giveSubscriptions(context: BrowserContext, relay: RelayProcess): Promise<void> {
  await context.grantPermissions(["notifications"], { origin: relay.url });
  await context.addInitScript(
    ({ endpoint, keys }) => {
      let made = 0;
      let current: unknown = null;
      PushManager.prototype.getSubscription = () => Promise.resolve(current as PushSubscription | null);
      PushManager.prototype.subscribe = (options) => {
        made += 1;
        const subscription = {
          options,
          toJSON: () => ({ endpoint: `${endpoint}-${made}`, keys }),
          unsubscribe: () => {
            current = null;
            return Promise.resolve(true);
          },
        };
        current ??= subscription;
        return Promise.resolve(current as PushSubscription);
      };
    },
    { endpoint: kEndpoint, keys: phoneKeys() },
  );
}

/** The browser's own tools, which outlive the page of the phone. */
class Pushes {
  private registrations: readonly { registrationId: string; scopeURL: string; isDeleted: boolean }[] = [];
  private readonly active = new Set<string>();

  private constructor(
    private readonly context: BrowserContext,
    private readonly session: CDPSession,
    private readonly origin: string,
  ) {}

  static async of(context: BrowserContext, relay: RelayProcess): Promise<Pushes> {
    const blank = await context.newPage();
    const session = await context.newCDPSession(blank);
    const pushes = new Pushes(context, session, relay.url);
    session.on("ServiceWorker.workerRegistrationUpdated", ({ registrations }) => {
      const names = new Set(registrations.map(({ registrationId }) => registrationId));
      pushes.registrations = [
        ...pushes.registrations.filter(({ registrationId }) => !names.has(registrationId)),
        ...registrations,
      ];
    });
    session.on("ServiceWorker.workerVersionUpdated", ({ versions }) => {
      for (const { registrationId, status } of versions)
        if (status === "activated") pushes.active.add(registrationId);
    });
    await session.send("ServiceWorker.enable");
    return pushes;
  }

  async stopWorkers(): Promise<void> {
    await this.session.send("ServiceWorker.stopAllWorkers");
  }

  /**
   * To a worker that is active: a browser drops what comes before, and subscribes nobody until then. Until something is shown: unlike a
   * push service, the browser's tool for this has no second try for a worker that is just being stopped or started.
   */
  async deliver(data: string): Promise<void> {
    const ours = () =>
      this.registrations.find(
        ({ scopeURL, isDeleted, registrationId }) =>
          scopeURL === `${this.origin}/push/` && !isDeleted && this.active.has(registrationId),
      );
    await expect.poll(ours).toBeDefined();
    const registrationId = ours()?.registrationId ?? "";
    await expect(async () => {
      await this.session.send("ServiceWorker.deliverPushMessage", {
        origin: this.origin,
        registrationId,
        data,
      });
      await expect.poll(() => shown(this.context), { timeout: 5000 }).not.toEqual([]);
    }).toPass({ timeout: 40_000 });
  }
}

function push(computer: FakeAgent, number: number, change: object = {}): string {
  return JSON.stringify({
    web_push: 8030,
    notification: {
      title: "Disk Tool: Erase disk?",
      body: "Are you sure?",
      navigate: `https://relay.example/#prompt/${sampleID(number)}`,
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
        ...change,
      },
    },
  });
}

async function worker(context: BrowserContext): Promise<Worker> {
  const ours = () => context.serviceWorkers().findLast((one) => one.url().endsWith(kWorker));
  await expect.poll(ours).toBeDefined();
  const found = ours();
  if (!found) throw new Error("The worker for alerts does not run.");
  return found;
}

/** What is on the phone's screen. */
async function shown(context: BrowserContext): Promise<string[]> {
  return (await worker(context)).evaluate(async () => {
    const { registration } = self as unknown as { registration: ServiceWorkerRegistration };
    return (await registration.getNotifications()).map(({ title, body }) => `${title} | ${body}`);
  });
}

/**
 * From now on this worker also remembers what it shows: what goes by itself after some seconds may be over on a busy machine before
 * anybody looks.
 */
async function rememberShown(context: BrowserContext): Promise<void> {
  await (
    await worker(context)
  ).evaluate(() => {
    const { registration } = self as unknown as { registration: ServiceWorkerRegistration };
    const show = registration.showNotification.bind(registration);
    const remembered: string[] = [];
    Reflect.set(self, "remembered", remembered);
    registration.showNotification = (title, options) => {
      remembered.push(`${title} | ${options?.body}`);
      return show(title, options);
    };
  });
}

/** Since `rememberShown`, in the order in which it was shown. */
async function rememberedShown(context: BrowserContext): Promise<string[]> {
  return (await worker(context)).evaluate(() => Reflect.get(self, "remembered") as string[]);
}

/** A person presses that button of the only notification; nobody who may open windows, for the browser. */
async function press(context: BrowserContext, action: string): Promise<void> {
  await (
    await worker(context)
  ).evaluate(async (name) => {
    const scope = self as unknown as { registration: ServiceWorkerRegistration } & EventTarget;
    const [notification] = await scope.registration.getNotifications();
    const Click = Reflect.get(self, "NotificationEvent") as new (type: string, init: object) => Event;
    scope.dispatchEvent(new Click("notificationclick", { notification, action: name }));
  }, action);
}

async function turnOn(page: Page, computer: FakeAgent): Promise<void> {
  await page.getByRole("button", { name: "Turn on alerts" }).tap();
  await expect.poll(() => computer.subscriptions.length).toBe(1);
}

test.use({ ownRelay: true });

test.beforeEach(async ({ context, relay, computer }) => {
  computer.disconnect();
  await relay.kill();
  relay.options = ["--push-contact", "https://relay.example"];
  await relay.start();
  await computer.connect();
  await giveSubscriptions(context, relay);
});

test("are asked for after pairing, handed over sealed, and tested", async ({
  page,
  context,
  relay,
  computer,
}) => {
  await computer.show([]);
  await pairByText(page, relay, computer);
  await expect(page.getByText(/A prompt waits unseen until/)).toBeVisible();
  const pushes = await Pushes.of(context, relay);
  await turnOn(page, computer);
  const [subscription] = computer.subscriptions;
  const box = await computer.open(subscription?.encryptedSubscription.ciphertext ?? "");
  expect(box).toMatchObject({
    deviceID: computer.phones[0]?.deviceID,
    shows: "prompt",
    page: `${relay.url}/`,
    language: "en-GB",
    computer: "Studio",
  });
  await page.getByRole("link", { name: "This phone" }).tap();
  await expect(page.getByText("Ready. None has come yet: try one.")).toBeVisible();
  await page.getByRole("button", { name: "Send a test alert from Studio" }).tap();
  const { command } = await computer.nextMessage();
  expect(command).toMatchObject({ action: "testPush", deviceID: computer.phones[0]?.deviceID });
  await pushes.deliver(push(computer, 1, { kind: "test" }));
  await expect(page.getByText(/Alerts reach this phone: last one at \d\d:\d\d/)).toBeVisible();
  await page.getByRole("radio", { name: /Only that a prompt waits/ }).check();
  await expect
    .poll(async () => computer.open(computer.subscriptions[0]?.encryptedSubscription.ciphertext ?? ""))
    .toMatchObject({ shows: "computer" });
  await page.reload();
  await expect(page.getByText(/Alerts reach this phone: last one at \d\d:\d\d/)).toBeVisible();
  await page.getByRole("button", { name: "Turn off alerts" }).tap();
  await expect.poll(() => computer.subscriptions).toEqual([]);
  expect(await page.evaluate(async () => (await navigator.serviceWorker.getRegistrations()).length)).toBe(1);
});

test("go with the computer that is forgotten", async ({ page, relay, computer }) => {
  await computer.show([]);
  await pairByText(page, relay, computer);
  await turnOn(page, computer);
  await page.getByRole("link", { name: /^Studio/ }).tap();
  await page.getByRole("button", { name: "Forget this computer" }).tap();
  await page.getByRole("button", { name: "Forget", exact: true }).tap();
  await expect.poll(() => computer.subscriptions).toEqual([]);
  await expect
    .poll(() => page.evaluate(async () => (await navigator.serviceWorker.getRegistrations()).length))
    .toBe(1);
});

test.describe("with the page closed", () => {
  test("a push is shown, and its dismissal presses that button and tells its end", async ({
    page,
    context,
    relay,
    computer,
  }) => {
    await computer.show([]);
    await pairByText(page, relay, computer);
    await turnOn(page, computer);
    const pushes = await Pushes.of(context, relay);
    await page.close();
    await expect.poll(() => computer.phones.some(({ connected }) => connected)).toBe(false);
    await pushes.stopWorkers();
    await computer.show([sampleApproval(1)]);
    await pushes.deliver(push(computer, 1));
    await expect.poll(() => shown(context)).toEqual(["Disk Tool: Erase disk? | Are you sure?"]);
    await rememberShown(context);
    await press(context, "dismiss");
    const request = await computer.request();
    expect(request).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel", isUserVerified: false });
    const sending = "Disk Tool: Erase disk? | Sending “Cancel” to Studio…";
    expect(await shown(context)).toEqual([sending]);
    await computer.show([]);
    await computer.answer(request, "accepted");
    const pressed = "Disk Tool: Erase disk? | “Cancel” pressed from here";
    await expect.poll(() => rememberedShown(context)).toEqual([sending, pressed]);
    await expect.poll(() => computer.phones.some(({ connected }) => connected)).toBe(false);
    const again = await context.newPage();
    await again.goto(relay.url);
    await expect(again.getByText("“Cancel” pressed from here")).toBeVisible();
    expect(computer.hasMessages).toBe(false);
  });

  test("a dismissal of what is gone presses nothing, and says so", async ({
    page,
    context,
    relay,
    computer,
  }) => {
    await computer.show([]);
    await pairByText(page, relay, computer);
    await turnOn(page, computer);
    const pushes = await Pushes.of(context, relay);
    await page.close();
    await pushes.deliver(push(computer, 1));
    await expect.poll(() => shown(context)).toHaveLength(1);
    await computer.show([sampleApproval(2)]);
    await press(context, "dismiss");
    const gone = "Disk Tool: Erase disk? | It was gone already, and nothing was pressed.";
    await expect.poll(() => shown(context)).toEqual([gone]);
    expect(computer.hasMessages).toBe(false);
  });

  test("what cannot be read is shown all the same", async ({ page, context, relay, computer }) => {
    await computer.show([]);
    await pairByText(page, relay, computer);
    await turnOn(page, computer);
    const pushes = await Pushes.of(context, relay);
    await page.close();
    for (const data of ["", "no JSON", "x".repeat(100_000)]) await pushes.deliver(data);
    await expect
      .poll(() => shown(context))
      .toEqual(["Something waits at a computer | Open Quillard to see what."]);
  });
});

test("a page that is open keeps its connection, and makes the decision", async ({
  page,
  context,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1), sampleApproval(2, { windowTitle: "Second?" })]);
  await pairByText(page, relay, computer);
  await turnOn(page, computer);
  const pushes = await Pushes.of(context, relay);
  await pushes.deliver(push(computer, 1));
  await expect.poll(() => shown(context)).toHaveLength(1);
  await press(context, "dismiss");
  const request = await computer.request();
  expect(request).toMatchObject({ approvalID: sampleID(1), buttonLabel: "Cancel" });
  await computer.show([sampleApproval(2, { windowTitle: "Second?" })]);
  await computer.answer(request, "accepted");
  await expect(page.getByText("“Cancel” pressed from here").first()).toBeVisible();
  await expect.poll(() => shown(context)).toEqual(["Disk Tool: Erase disk? | “Cancel” pressed from here"]);
  await expect(page.getByText("Open in another tab")).toBeHidden();
  await expect(card(page, "Second?")).toBeVisible();
});

test("what was answered at the computer is taken off by a page that is open", async ({
  page,
  context,
  relay,
  computer,
}) => {
  await computer.show([sampleApproval(1)]);
  await pairByText(page, relay, computer);
  await turnOn(page, computer);
  const pushes = await Pushes.of(context, relay);
  await pushes.deliver(push(computer, 1));
  await expect.poll(() => shown(context)).toHaveLength(1);
  await computer.show([]);
  await expect.poll(() => shown(context)).toEqual([]);
});

test("an alert leads to exactly its prompt, or says that it is gone", async ({ page, relay, computer }) => {
  const approvals = Array.from({ length: 12 }, (_, index) =>
    sampleApproval(index + 1, { windowTitle: `Prompt ${index + 1}?` }),
  );
  await computer.show(approvals);
  await pairByText(page, relay, computer);
  await page.goto(`${relay.url}/#prompt/${sampleID(11)}`);
  await page.reload();
  await expect(card(page, "Prompt 11?")).toBeFocused();
  await expect(card(page, "Prompt 11?")).toBeInViewport();
  await page.evaluate((id) => void (location.hash = `#prompt/${id}`), sampleID(2));
  await expect(card(page, "Prompt 2?")).toBeFocused();
  await page.evaluate((id) => void (location.hash = `#prompt/${id}`), sampleID(50));
  await expect(page.getByText("That prompt is gone")).toBeVisible();
  await page.getByRole("button", { name: "OK" }).tap();
  await expect(page.getByText("That prompt is gone")).toBeHidden();
});

test("a phone whose page is hidden says so to its computer", async ({ page, relay, computer }) => {
  const said: boolean[] = [];
  page.on("websocket", (socket) =>
    socket.on("framesent", ({ payload }) => {
      const { type, asleep } = JSON.parse(String(payload));
      if (type === "phone.asleep") said.push(asleep);
    }),
  );
  await computer.show([]);
  await pairByText(page, relay, computer);
  await turnOn(page, computer);
  await page.evaluate(() => document.dispatchEvent(new Event("freeze")));
  await expect.poll(() => said).toEqual([true]);
  await page.evaluate(() => document.dispatchEvent(new Event("visibilitychange")));
  await expect.poll(() => said).toEqual([true, false]);
});

test("a relay that wakes no phones is said to", async ({ page, relay, computer, watch }) => {
  watch.expected.push(kRelayIsGone);
  computer.disconnect();
  await relay.kill();
  relay.options = [];
  await relay.start();
  await computer.connect();
  await computer.show([]);
  await pairByText(page, relay, computer);
  await page.getByRole("button", { name: "Turn on alerts" }).tap();
  await expect(page.getByText("This relay wakes no phones.", { exact: false })).toBeVisible();
});

test("an iPhone is led to its home screen first", async ({ page, context, relay, computer }) => {
  await context.addInitScript(() => {
    Object.defineProperty(navigator, "standalone", { value: false });
    Reflect.deleteProperty(window, "PushManager");
  });
  await page.goto(relay.url);
  await expect(page.getByText(/put it on the home screen first/)).toBeVisible();
  await computer.show([]);
  await pairByText(page, relay, computer);
  await expect(page.getByText("Alerts need Quillard on the home screen")).toBeVisible();
});
