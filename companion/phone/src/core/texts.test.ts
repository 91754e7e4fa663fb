import { describe, expect, it } from "vitest";
import { buttonKind, normalizedLabel } from "./labels";
import { readPairingCode } from "./pairingCode";
import { visibleLines, visibleText } from "./visibleText";

describe("A label", () => {
  it.each(["Cancel", "DENY", "Don't Allow", "Don’t Allow", " not\n  now\t", "No"])(
    "dismisses: %j",
    (label) => {
      expect(buttonKind(label)).toBe("dismiss");
    },
  );

  it.each(["Later", "  SKIP "])("postpones: %j", (label) => {
    expect(buttonKind(label)).toBe("postpone");
  });

  it.each([
    "Allow",
    "OK",
    "Quit",
    "Don't Save",
    "Cancel…",
    "Cancel\u200B",
    "Сancel",
    "Abbrechen",
    "",
    "Close",
    "Nо",
  ])("grants, since nothing else is known of it: %j", (label) => {
    expect(buttonKind(label)).toBe("grant");
  });

  it("is compared without its white space and its case, and with everything else", () => {
    expect(normalizedLabel("  Don't\n  Allow ")).toBe("don't allow");
    expect(normalizedLabel("Allow…")).toBe("allow…");
  });
});

describe("Text of another program", () => {
  it.each([
    ["a\u202Eb", "a⟨U+202E⟩b"],
    ["\u2066x\u2069\u200F", "⟨U+2066⟩x⟨U+2069⟩⟨U+200F⟩"],
    ["Al\u200Blow\uFEFF", "Al⟨U+200B⟩low⟨U+FEFF⟩"],
    ["a\u0000\u001B[2J\u009B", "a⟨U+0000⟩⟨U+001B⟩[2J⟨U+009B⟩"],
    ["one\ntwo\t", "one⟨U+000A⟩two⟨U+0009⟩"],
    ["soft\u00ADhyphen \u3164 \u2800", "soft⟨U+00AD⟩hyphen ⟨U+3164⟩ ⟨U+2800⟩"],
    ["\uD800", "⟨U+D800⟩"],
    ["\u{E0041}", "⟨U+E0041⟩"],
  ])("shows what has no shape: %j", (text, shown) => {
    expect(visibleText(text)).toBe(shown);
  });

  it.each(["Ana’s “disk” – 100 % – naïve", "مرحبا", "日本語", "❤️ 😀", "<b>&amp;"])(
    "is left as it is: %j",
    (text) => {
      expect(visibleText(text)).toBe(text);
    },
  );

  it("keeps its line breaks where it has room for them", () => {
    expect(visibleLines("a\r\nb\n\nc\u2028\u202Ed")).toEqual(["a", "b", "", "c", "⟨U+202E⟩d"]);
  });
});

describe("A pairing code", () => {
  const secret = "0123456789abcdef".repeat(4);
  const code = {
    type: "quillard.pairing",
    version: 1,
    backendURL: "https://relay.example:8443",
    pairingID: "quillard-00112233",
    relaySecret: secret,
    e2eSecret: secret.replaceAll("0", "f"),
  };
  const origin = "https://relay.example:8443";
  const { type: _, version: __, ...offer } = code;
  const read = (text: string, relay: string | undefined = origin, paired: readonly string[] = []) =>
    readPairingCode(text, relay, (pairingID) => paired.includes(pairingID));
  const changed = (change: Readonly<Record<string, unknown>>) => JSON.stringify({ ...code, ...change });

  it("is read in any order, with escaped solidus characters, unknown members and white space around it", () => {
    const reversed = JSON.stringify(Object.fromEntries(Object.entries({ ...code, more: [1] }).reverse()));
    for (const text of [
      JSON.stringify(code),
      ` \n${reversed.replaceAll("/", "\\/")}\n`,
      JSON.stringify(code, null, 2),
    ]) {
      expect(read(text)).toEqual({ kind: "offer", offer });
    }
  });

  it("of another relay names that relay's page", () => {
    for (const backendURL of [
      "https://relay.example",
      "http://relay.example:8443",
      "https://other.example:8443",
    ]) {
      expect(read(changed({ backendURL }))).toEqual({ kind: "otherRelay", backendURL });
    }
  });

  it("of the same relay may spell it in another way", () => {
    expect(read(changed({ backendURL: "HTTPS://Relay.Example:8443/" })).kind).toBe("offer");
    expect(read(changed({ backendURL: "https://relay.example:443" }), "https://relay.example").kind).toBe(
      "offer",
    );
  });

  it("of a computer that is paired is known", () => {
    expect(read(JSON.stringify(code), origin, [code.pairingID])).toEqual({
      kind: "alreadyPaired",
      pairingID: code.pairingID,
    });
  });

  it("of any relay is taken where no page is bound to one; without encryption on the computer itself only", () => {
    expect(readPairingCode(changed({}), undefined, () => false).kind).toBe("offer");
    for (const backendURL of ["http://127.0.0.1:8080", "http://localhost:8080", "http://[::1]:8080"]) {
      expect(readPairingCode(changed({ backendURL }), undefined, () => false).kind).toBe("offer");
    }
    for (const backendURL of [
      "http://192.168.1.2:8080",
      "http://127.0.0.1.example",
      "http://relay.example",
    ]) {
      const reading = readPairingCode(changed({ backendURL }), undefined, () => false);
      expect(reading).toMatchObject({
        kind: "invalid",
        problem: expect.stringContaining("without encryption"),
      });
    }
  });

  const notOurs = "This is not a Quillard pairing code.";
  const damaged = "This pairing code is damaged. Show it again on the computer, and scan it anew.";
  it.each([
    ["", "There is no text in this."],
    [" \n ", "There is no text in this."],
    ["https://relay.example", notOurs],
    ["null", notOurs],
    ["[]", notOurs],
    ["{}", notOurs],
    [changed({ type: "another.pairing" }), notOurs],
    [changed({ type: 5 }), notOurs],
    [JSON.stringify(code).slice(0, -5), damaged],
    ["{" + "x".repeat(5000), notOurs],
    [changed({ version: "1" }), damaged],
    [changed({ version: 1.5 }), damaged],
    [changed({ version: undefined }), damaged],
    [changed({ pairingID: "" }), damaged],
    [changed({ pairingID: "a/../b" }), damaged],
    [changed({ pairingID: "x".repeat(129) }), damaged],
    [changed({ relaySecret: secret.toUpperCase() }), damaged],
    [changed({ relaySecret: secret.slice(1) }), damaged],
    [changed({ e2eSecret: `${secret}0` }), damaged],
    [changed({ e2eSecret: null }), damaged],
    [changed({ backendURL: "relay.example" }), damaged],
    [changed({ backendURL: "wss://relay.example" }), damaged],
    [changed({ backendURL: "javascript:alert(1)" }), damaged],
    [changed({ backendURL: "https://relay.example/page" }), damaged],
    [changed({ backendURL: "https://relay.example?x" }), damaged],
    [changed({ backendURL: "https://user@relay.example" }), damaged],
  ])("is refused in words for people: %s", (text, problem) => {
    expect(read(text)).toEqual({ kind: "invalid", problem });
  });

  it("of a newer version says so", () => {
    expect(read(changed({ version: 2 }))).toEqual({
      kind: "invalid",
      problem:
        "This pairing code is of version 2, and this phone knows version 1 only. Update the older of the two.",
    });
  });

  it("never gives a secret away in what it says", () => {
    for (const change of [{ pairingID: "" }, { version: 7 }, { backendURL: "x" }, { type: "other" }]) {
      expect(JSON.stringify(read(changed(change)))).not.toContain("0123456789");
    }
  });
});
