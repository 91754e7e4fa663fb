// The worker that a browser starts for a push, and for what a person chooses on a notification. Fetched only where a person wants
// alerts. What it does stands in `AlertWorker.ts`; here is what the browser gives it.

import { sharedEnvironment } from "../core/browser";
import type { Environment, PushDoor } from "../core/environment";
import { subscribeWith } from "../core/pushDoor";
import { say } from "../language/say";
import { AlertWorker, type AlertWorkerDependencies, type PageWindow } from "./AlertWorker";

interface LifeEvent extends Event {
  waitUntil(done: Promise<unknown>): void;
}
interface PushEvent extends LifeEvent {
  readonly data: { text(): string } | null;
}
interface NotificationEvent extends LifeEvent {
  readonly action: string;
  readonly notification: Notification;
}
interface WindowClient {
  readonly visibilityState: DocumentVisibilityState;
  focus(): Promise<unknown>;
  postMessage(message: unknown, transfer: Transferable[]): void;
}
interface WorkerScope {
  readonly registration: ServiceWorkerRegistration;
  readonly clients: {
    matchAll(options: { type: "window"; includeUncontrolled: true }): Promise<readonly WindowClient[]>;
    openWindow(url: string): Promise<unknown>;
  };
  skipWaiting(): Promise<void>;
  addEventListener(type: "install" | "pushsubscriptionchange", listener: (event: LifeEvent) => void): void;
  addEventListener(type: "push", listener: (event: PushEvent) => void): void;
  addEventListener(type: "notificationclick", listener: (event: NotificationEvent) => void): void;
}

const scope = self as unknown as WorkerScope;

function windowOf(client: WindowClient): PageWindow {
  return {
    isVisible: client.visibilityState === "visible",
    focus: async () => void (await client.focus()),
    send: (message, answered) => {
      const { port1, port2 } = new MessageChannel();
      if (answered) port1.onmessage = ({ data }: MessageEvent<unknown>) => answered(data);
      client.postMessage(message, [port2]);
    },
  };
}

/** There is no page: nothing is asked of the person, and nobody is led anywhere. */
function workerDoor(): PushDoor {
  const { registration } = scope;
  return {
    support: () => "available",
    permission: () => Notification.permission,
    ask: () => Promise.resolve(Notification.permission),
    subscribe: (key, isAnew) => subscribeWith(registration, key, isAnew),
    unsubscribe: async () => {
      await (await registration.pushManager.getSubscription())?.unsubscribe();
    },
    shown: () => registration.getNotifications(),
    onMessage: () => () => {},
    goTo: () => {},
    page: new URL("/", location.href).href,
    language: say("en-GB"),
  };
}

function workerEnvironment(): Environment {
  return {
    // What is kept already stays: nothing is asked for here.
    ...sharedEnvironment(crypto, () => Promise.resolve()),
    deviceStatus: { isOnline: () => navigator.onLine, onChange: () => () => {} },
    push: () => Promise.resolve(workerDoor()),
  };
}

const dependencies: AlertWorkerDependencies = {
  show: (title, options) => scope.registration.showNotification(title, options as NotificationOptions),
  shown: () => scope.registration.getNotifications(),
  windows: async () => {
    const clients = await scope.clients.matchAll({ type: "window", includeUncontrolled: true });
    return clients.map(windowOf);
  },
  open: async (place) => void (await scope.clients.openWindow(place)),
  environment: workerEnvironment(),
};
const worker = new AlertWorker(dependencies);

function textOf(event: PushEvent): string | undefined {
  try {
    return event.data?.text();
  } catch {
    return undefined;
  }
}

// It serves no page, so a newer version takes over without being noticed.
scope.addEventListener("install", (event) => event.waitUntil(scope.skipWaiting()));
scope.addEventListener("push", (event) => event.waitUntil(worker.pushed(textOf(event))));
scope.addEventListener("notificationclick", (event) =>
  event.waitUntil(worker.clicked(event.action, event.notification)),
);
scope.addEventListener("pushsubscriptionchange", (event) => event.waitUntil(worker.subscriptionChanged()));
