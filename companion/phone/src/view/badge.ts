// The count of what waits, in the title, and on the icon where the system has a place for it.
import type { PhoneState } from "../core/model";

export function showCount(waiting: number): void {
  document.title = pageTitle(waiting);
  // Refused where the page is not installed: then there is no icon either.
  const shown = waiting > 0 ? navigator.setAppBadge?.(waiting) : navigator.clearAppBadge?.();
  shown?.catch(() => undefined);
}

export function pageTitle(waiting: number): string {
  return waiting === 0 ? "Quillard" : `(${waiting}) Quillard`;
}

export function waitingCount(state: PhoneState): number {
  return state.computers.reduce((count, computer) => count + (computer.prompts?.length ?? 0), 0);
}
