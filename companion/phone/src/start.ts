// The first script of a visit: it fetches the page in the person's language, and only that.
import "./view/styles.css";

// The build puts the page's files here, by language.
declare const kPages: Readonly<Record<"en" | "de", string>>;

/** The first of the browser's languages that the page has. */
function language(): "en" | "de" {
  const known = navigator.languages.map((name) => name.slice(0, 2).toLowerCase());
  return known.find((name) => name === "en" || name === "de") ?? "en";
}

async function start(chosen: "en" | "de"): Promise<void> {
  if (import.meta.env.DEV) await import("./main");
  else await import(/* @vite-ignore */ kPages[chosen]);
  document.documentElement.lang = chosen;
}

const chosen = language();
document.documentElement.lang = chosen;
// Without a network there is only what was kept: another language is better than nothing.
start(chosen).catch(() => start(chosen === "en" ? "de" : "en"));
