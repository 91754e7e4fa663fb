// The count of what waits, in the title, and on the icon where the system has a place for it.
import { pageTitle } from "./texts";

export function showCount(waiting: number): void {
  document.title = pageTitle(waiting);
  // Refused where the page is not installed: then there is no icon either.
  const shown = waiting > 0 ? navigator.setAppBadge?.(waiting) : navigator.clearAppBadge?.();
  shown?.catch(() => undefined);
}
