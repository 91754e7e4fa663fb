// Where in the page a person is. Kept in the address after the #, so that the browser's own "back" works, also in a page
// that was put on the home screen; the relay never sees it.
import { useEffect, useState } from "preact/hooks";

export type Route =
  | { readonly page: "home" | "pair" | "phone" }
  | { readonly page: "computer" | "history" | "muted"; readonly pairingID: string }
  /** The home page, at one prompt: where an alert leads. */
  | { readonly page: "prompt"; readonly approvalID: string };

const kComputerPages = ["computer", "history", "muted"] as const;

/** Anything that is not understood is the home page. */
export function parseRoute(hash: string): Route {
  const [page, id] = hash.replace(/^#?\/?/, "").split("/");
  if (page === "pair" || page === "phone") return { page };
  for (const known of kComputerPages) {
    if (page === known && id) return { page: known, pairingID: id };
  }
  if (page === "prompt" && id) return { page, approvalID: id.toUpperCase() };
  return { page: "home" };
}

export function routeHash(route: Route): string {
  if (route.page === "home") return "#/";
  if (route.page === "prompt") return `#prompt/${route.approvalID}`;
  return "pairingID" in route ? `#/${route.page}/${route.pairingID}` : `#/${route.page}`;
}

export function goTo(route: Route): void {
  location.hash = routeHash(route);
}

export function useRoute(): Route {
  const [route, setRoute] = useState(() => parseRoute(location.hash));
  useEffect(() => {
    const follow = () => setRoute(parseRoute(location.hash));
    window.addEventListener("hashchange", follow);
    follow();
    return () => window.removeEventListener("hashchange", follow);
  }, []);
  return route;
}
