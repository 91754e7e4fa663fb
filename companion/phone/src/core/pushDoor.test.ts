// The browser's part in waking a phone, as far as it needs no browser. The rest is tested in Chromium and Firefox.

import { afterEach, describe, expect, it, vi } from "vitest";
import { german } from "../language/german";
import { speak } from "../language/say";
import { pageDoor } from "./pushDoor";

describe("The page's door", () => {
  afterEach(() => {
    speak(undefined);
    vi.unstubAllGlobals();
  });

  it.each([
    ["English", undefined, "en-GB"],
    ["German", german, "de-DE"],
  ] as const)("says that the page speaks %s, whatever the browser's languages are", (_, texts, language) => {
    vi.stubGlobal("navigator", { language: "fr-FR", languages: ["fr-FR", "de", "en"] });
    vi.stubGlobal("location", { href: "https://relay.example/#prompt/1" });
    speak(texts);
    expect(pageDoor()).toMatchObject({ language, page: "https://relay.example/" });
  });
});
