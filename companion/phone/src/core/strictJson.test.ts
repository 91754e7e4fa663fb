import { readFileSync } from "node:fs";
import { fileURLToPath } from "node:url";
import { describe, expect, it } from "vitest";
import { readMessage } from "./messages";
import { parseStrictJson } from "./strictJson";

interface Case {
  readonly isJson: boolean;
  readonly text: string | undefined;
  readonly about: string;
}

// The table that the agent and the relay are held to as well. Absent text: no UTF-8, which no reader of text ever gets.
function cases(): Case[] {
  const file = fileURLToPath(new URL("../../../../tests/golden/json/conformance.txt", import.meta.url));
  return readFileSync(file, "utf8")
    .split("\n")
    .filter((line) => line !== "" && !line.startsWith("#"))
    .map((line) => {
      const [verdict = "", digits = "", ...about] = line.split(" ");
      const bytes = Buffer.from(digits === "-" ? "" : digits, "hex");
      let text: string | undefined;
      try {
        text = new TextDecoder("utf-8", { fatal: true, ignoreBOM: true }).decode(bytes);
      } catch {
        text = undefined;
      }
      return { isJson: verdict === "accept", text, about: `${about.join(" ")}: ${digits}` };
    });
}

describe("JSON", () => {
  it("is read by every rule of the standard, and refused where readers could disagree", () => {
    const all = cases();
    expect(all.length).toBeGreaterThan(150);
    for (const { isJson, text, about } of all) {
      if (text === undefined) expect(isJson, about).toBe(false);
      else expect(parseStrictJson(text) !== undefined, about).toBe(isJson);
    }
  });

  it("is strict in members that a message's reader ignores, too", () => {
    for (const { isJson, text, about } of cases()) {
      if (text === undefined) continue;
      const message = `{"type":"mac.status","x":${text},"macConnected":true}`;
      if (isJson) expect(readMessage(message).type, about).toBe("computerStatus");
      else expect(() => readMessage(message), about).toThrow("is not JSON");
    }
  });

  it("ends where it ends", () => {
    const message = '{"type":"mac.status","macConnected":true}';
    for (const rubbish of ["\0", "\0rubbish", "{}", ",", "}", "\uFEFF"]) {
      expect(() => readMessage(message + rubbish)).toThrow("is not JSON");
      expect(() => readMessage(rubbish + message)).toThrow("is not JSON");
    }
  });

  it("has bounds", () => {
    expect(parseStrictJson("[".repeat(32) + "]".repeat(32))).toBeDefined();
    expect(parseStrictJson("[".repeat(33) + "]".repeat(33))).toBeUndefined();
    const objectOf = (members: number): string =>
      `{${Array.from({ length: members }, (_, index) => `"${index}":0`).join(",")}}`;
    expect(parseStrictJson(objectOf(1024))).toBeDefined();
    expect(parseStrictJson(objectOf(1025))).toBeUndefined();
  });

  it("finds the end of strings that are full of escapes", () => {
    for (const text of ['"\\\\"', '"\\\\\\""', '["\\\\","\\"",""]', '{"a\\"":"\\\\\\\\","a\\\\":1}']) {
      expect(parseStrictJson(text), text).toEqual(JSON.parse(text));
    }
  });
});
