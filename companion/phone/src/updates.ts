// Keeps the service worker, and learns from it when a newer version of the page waits.
import { say } from "./language/say";
import { signal, type ReadonlySignal } from "@preact/signals-core";

// A page on the home screen may stay open for weeks.
const kCheckInterval = 60 * 60 * 1000;

const waiting = signal<(() => void) | undefined>(undefined);

/** Takes the new version. Absent: this is the newest one that is known. */
export const update: ReadonlySignal<(() => void) | undefined> = waiting;

// A worker that takes over says so at once. One that does not is met by the next load.
const kTakingOver = 3000;

function offer(worker: ServiceWorker): void {
  waiting.value = () => {
    navigator.serviceWorker.addEventListener("controllerchange", () => location.reload(), { once: true });
    worker.postMessage("takeOver");
    setTimeout(() => location.reload(), kTakingOver);
  };
}

/**
 * `isFirstVisit`: there was no worker when the page began to register one. The first worker ever is no update, and where it
 * stands cannot tell: it may have claimed the page before its own "installed" is heard of.
 */
export function follow(registration: ServiceWorkerRegistration, isFirstVisit: boolean): void {
  let first = isFirstVisit ? (registration.installing ?? registration.waiting ?? registration.active) : null;
  const offerUnlessFirst = (worker: ServiceWorker) => {
    if (worker !== first) offer(worker);
  };
  if (registration.waiting) offerUnlessFirst(registration.waiting);
  registration.addEventListener("updatefound", () => {
    const worker = registration.installing;
    if (!worker) return;
    if (isFirstVisit && !first) first = worker;
    worker.addEventListener("statechange", () => {
      if (worker.state === "installed") offerUnlessFirst(worker);
    });
  });
  const check = () => {
    if (document.visibilityState === "visible") registration.update().catch(() => undefined);
  };
  setInterval(check, kCheckInterval);
  document.addEventListener("visibilitychange", check);
}

/** Without service workers (a plain connection, a private window) the page works all the same. */
export function keepPage(): void {
  if (!("serviceWorker" in navigator)) return;
  void register();
}

async function register(): Promise<void> {
  try {
    const { serviceWorker } = navigator;
    const isFirstVisit = !serviceWorker.controller && !(await serviceWorker.getRegistration("/"))?.active;
    follow(
      await serviceWorker.register(say("/sw.js"), { type: "classic", updateViaCache: "none" }),
      isFirstVisit,
    );
  } catch {
    // Refused, or not to be had now: the page works without.
  }
}
