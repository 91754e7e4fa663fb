// The time that the views show. It ticks once a second while the page is visible, and not at all while it is hidden.
import { signal, type ReadonlySignal } from "@preact/signals-core";
import type { Instant } from "../core/model";

const kTick = 1000;

const current = signal<Instant>(Date.now());
let timer: ReturnType<typeof setInterval> | undefined;

export const now: ReadonlySignal<Instant> = current;

function follow(): void {
  if (timer !== undefined) clearInterval(timer);
  timer = undefined;
  if (document.visibilityState === "hidden") return;
  current.value = Date.now();
  timer = setInterval(() => (current.value = Date.now()), kTick);
}

/** Begins to tick. Gives back what stops it. */
export function startClock(): () => void {
  follow();
  document.addEventListener("visibilitychange", follow);
  return () => {
    document.removeEventListener("visibilitychange", follow);
    if (timer !== undefined) clearInterval(timer);
    timer = undefined;
  };
}

/** For pictures and tests: time stands still. */
export function setClock(instant: Instant): void {
  current.value = instant;
}
