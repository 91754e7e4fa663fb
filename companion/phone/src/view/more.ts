// The part of the page that only a paired phone needs: fetched once there is a computer, and kept from then on.
import { say } from "../language/say";
import { signal } from "@preact/signals-core";

export type MoreViews = typeof import("./MoreViews");

export const more = signal<MoreViews | undefined>(undefined);
/** Why it is not there. */
export const moreProblem = signal<string | undefined>(undefined);

export async function loadMore(): Promise<void> {
  if (more.value) return;
  try {
    more.value = await import("./MoreViews");
    moreProblem.value = undefined;
    const workers = (navigator as Partial<Navigator>).serviceWorker;
    void workers?.ready.then(({ active }) => active?.postMessage("paired"));
  } catch {
    moreProblem.value = say(
      "This part of the page could not be fetched. Open it again when there is a network.",
    );
  }
}
