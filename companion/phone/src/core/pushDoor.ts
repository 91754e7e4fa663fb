// The browser's part in waking a phone, as its page uses it. The worker that is woken is not the one that keeps the page's files: it
// is fetched when a person wants alerts, and has a scope of its own, beneath which there is no page.

import { say } from "../language/say";
import type { PushDoor, PushSubscriptionKeys } from "./environment";

const workerPath = say("/push-worker.js");
const workerScope = "/push/";

/** Bytes in base64url without padding. */
export function base64Url(bytes: ArrayBuffer): string {
  const binary = String.fromCharCode(...new Uint8Array(bytes));
  return btoa(binary).replace(/\+/g, "-").replace(/\//g, "_").replace(/=+$/, "");
}

function bytesOf(text: string): Uint8Array<ArrayBuffer> {
  const binary = atob(text.replace(/-/g, "+").replace(/_/g, "/"));
  return Uint8Array.from(binary, (character) => character.charCodeAt(0));
}

function workers(): ServiceWorkerContainer | undefined {
  return (navigator as Partial<Navigator>).serviceWorker;
}

/** Where there is none of its own, a browser gives the one of a larger scope. */
async function ours(): Promise<ServiceWorkerRegistration | undefined> {
  const found = await workers()?.getRegistration(workerScope);
  return found?.scope.endsWith(workerScope) ? found : undefined;
}

/** Resolves once it runs; a browser subscribes only then. */
async function registered(): Promise<ServiceWorkerRegistration> {
  const container = workers();
  if (!container) throw new Error("There are no workers here.");
  const options = { scope: workerScope, type: "classic", updateViaCache: "none" } as const;
  const registration = await container.register(workerPath, options);
  const worker = registration.installing ?? registration.waiting;
  if (registration.active || !worker) return registration;
  await new Promise<void>((resolve, reject) => {
    const look = () => {
      if (worker.state === "activated") resolve();
      if (worker.state === "redundant") reject(new Error("The worker could not be installed."));
    };
    worker.addEventListener("statechange", look);
    look();
  });
  return registration;
}

/** The subscription for that key. Shared by the page and the worker. */
export async function subscribeWith(
  { pushManager }: Pick<ServiceWorkerRegistration, "pushManager">,
  key: string,
  isAnew: boolean,
): Promise<PushSubscriptionKeys> {
  const options = { userVisibleOnly: true, applicationServerKey: bytesOf(key) };
  const before = await pushManager.getSubscription();
  const beforeKey = before?.options.applicationServerKey;
  if (before && (isAnew || (beforeKey && base64Url(beforeKey) !== key))) await before.unsubscribe();
  let subscription: PushSubscription;
  try {
    subscription = await pushManager.subscribe(options);
  } catch (error) {
    // Of another key, and the browser did not say so.
    if (!before || !(error instanceof DOMException) || error.name !== "InvalidStateError") throw error;
    await before.unsubscribe();
    subscription = await pushManager.subscribe(options);
  }
  const { endpoint, keys } = subscription.toJSON();
  const { p256dh, auth } = keys ?? {};
  if (endpoint === undefined || p256dh === undefined || auth === undefined)
    throw new Error("The subscription has no keys.");
  return { endpoint, p256dh, auth };
}

/** Only where a browser has the page on its home screen is this true; only browsers of iPhones know it at all. */
function isOnHomeScreen(): boolean | undefined {
  return (navigator as { readonly standalone?: boolean }).standalone;
}

export function pageDoor(): PushDoor {
  const isThere = workers() && "PushManager" in globalThis && "Notification" in globalThis;
  return {
    support: () => {
      if (isThere) return "available";
      return isOnHomeScreen() === false ? "homeScreenFirst" : "none";
    },
    permission: () => (isThere ? Notification.permission : "denied"),
    ask: () => Notification.requestPermission(),
    subscribe: async (key, isAnew) => subscribeWith(await registered(), key, isAnew),
    unsubscribe: async () => {
      const registration = await ours();
      try {
        await (await registration?.pushManager.getSubscription())?.unsubscribe();
      } finally {
        await registration?.unregister();
      }
    },
    shown: async () => (await (await ours())?.getNotifications()) ?? [],
    onMessage: (listener) => {
      const container = workers();
      const listening = new AbortController();
      container?.addEventListener(
        "message",
        ({ data, ports }: MessageEvent<unknown>) => listener(data, (answer) => ports[0]?.postMessage(answer)),
        { signal: listening.signal },
      );
      container?.startMessages();
      return () => listening.abort();
    },
    goTo: (approvalID) => void (location.hash = `#prompt/${approvalID}`),
    page: new URL("/", location.href).href,
    language: say("en-GB"),
  };
}
