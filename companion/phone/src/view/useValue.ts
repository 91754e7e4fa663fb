import type { ReadonlySignal } from "@preact/signals-core";
import { useLayoutEffect, useState } from "preact/hooks";

/** What the signal holds: the component is drawn anew when that changes. Absent where there is no signal. */
export function useValue<T>(signal: ReadonlySignal<T>): T;
export function useValue<T>(signal: ReadonlySignal<T> | undefined): T | undefined;
export function useValue<T>(signal: ReadonlySignal<T> | undefined): T | undefined {
  // In a box, since a state that is a function would be called.
  const [held, hold] = useState(() => ({ value: signal?.peek() }));
  useLayoutEffect(
    () => signal?.subscribe((value) => hold((before) => (before.value === value ? before : { value }))),
    [signal],
  );
  return held.value;
}
