// Keeps the service worker, and learns from it when a newer version of the page waits.
import { signal } from "@preact/signals";
import type { ReadonlySignal } from "@preact/signals";

// A page on the home screen may stay open for weeks.
const kCheckInterval = 60 * 60 * 1000;

const waiting = signal<(() => void) | undefined>(undefined);

/** Takes the new version. Absent: this is the newest one that is known. */
export const update: ReadonlySignal<(() => void) | undefined> = waiting;

function offer(worker: ServiceWorker): void {
  waiting.value = () => {
    navigator.serviceWorker.addEventListener("controllerchange", () => location.reload(), { once: true });
    worker.postMessage("takeOver");
  };
}

function follow(registration: ServiceWorkerRegistration): void {
  // The first worker ever is no update.
  const isUpdate = () => navigator.serviceWorker.controller !== null;
  if (registration.waiting && isUpdate()) offer(registration.waiting);
  registration.addEventListener("updatefound", () => {
    const worker = registration.installing;
    worker?.addEventListener("statechange", () => {
      if (worker.state === "installed" && isUpdate()) offer(worker);
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
  navigator.serviceWorker
    .register("/sw.js", { type: "classic", updateViaCache: "none" })
    .then(follow, () => undefined);
}
