import { readFileSync } from "node:fs";
import { webcrypto } from "node:crypto";
import { describe, expect, it } from "vitest";
import { base64Bytes, base64Text } from "./base64";
import { keyFrom, newStorageKey, open, seal, SealingError } from "./sealing";
import { UsedNonces } from "./usedNonces";

interface KeptBox {
  readonly secret: string;
  readonly text: string;
  readonly payload: { readonly nonce: string; readonly ciphertext: string };
}

function textOf(hex: string): string {
  return hex === "-" ? "" : Buffer.from(hex, "hex").toString("utf8");
}

function kept(name: string): KeptBox[] {
  const text = readFileSync(new URL(`../../../../tests/golden/relay/${name}.txt`, import.meta.url), "utf8");
  const lines = text.split("\n").filter((line) => line !== "" && !line.startsWith("#"));
  return lines.map((line) => {
    const [secret = "", plain = "", payload = ""] = line.split(" ");
    return { secret: textOf(secret), text: textOf(plain), payload: JSON.parse(payload) };
  });
}

const altered = (box: string, index: number) => {
  const bytes = base64Bytes(box) ?? new Uint8Array();
  bytes[index] = (bytes[index] ?? 0) ^ 1;
  return base64Text(bytes);
};

describe("A sealed box", () => {
  it.each([
    ["sealed-by-agent", 3],
    ["sealed-by-webcrypto", 4],
  ])("that was kept is opened: %s", async (name, count) => {
    const boxes = kept(name);
    expect(boxes).toHaveLength(count);
    for (const { secret, text, payload } of boxes) {
      const key = await keyFrom(webcrypto, secret);
      expect(await open(webcrypto, key, payload.ciphertext)).toEqual({ text, nonce: payload.nonce });
    }
  });

  it("is another one each time, and carries its nonce twice", async () => {
    const key = await keyFrom(webcrypto, "secret");
    const [one, other] = [await seal(webcrypto, key, "same"), await seal(webcrypto, key, "same")];
    expect(one.nonce).not.toBe(other.nonce);
    expect(one.ciphertext.slice(0, 16)).toBe(one.nonce);
    expect(await open(webcrypto, key, one.ciphertext)).toEqual({ text: '"same"', nonce: one.nonce });
  });

  it("is opened with the same secret only, white space at its ends aside", async () => {
    const { ciphertext } = await seal(webcrypto, await keyFrom(webcrypto, "secret"), 1);
    expect((await open(webcrypto, await keyFrom(webcrypto, " secret\r\n"), ciphertext)).text).toBe("1");
    await expect(open(webcrypto, await keyFrom(webcrypto, "sec ret"), ciphertext)).rejects.toThrow(
      SealingError,
    );
  });

  it("is refused when any part of it was changed", async () => {
    const key = await keyFrom(webcrypto, "secret");
    const { ciphertext } = await seal(webcrypto, key, "text");
    for (let index = 0; index < 12 + 6 + 16; index += 1) {
      await expect(open(webcrypto, key, altered(ciphertext, index))).rejects.toThrow(
        "sealed with another secret",
      );
    }
  });

  it("is refused when it is no strict base64, or too short", async () => {
    const key = await keyFrom(webcrypto, "secret");
    const { ciphertext } = await seal(webcrypto, key, "text!");
    const broken = [
      "",
      "@@@@",
      `${ciphertext}\n`,
      ` ${ciphertext}`,
      `${ciphertext}=`,
      ciphertext.slice(0, -1),
      ciphertext.replace(/^..../, "__--"),
      ciphertext.slice(0, 36),
      "AAAA",
    ];
    for (const text of broken) await expect(open(webcrypto, key, text)).rejects.toThrow("not a sealed box");
  });

  it("that holds no UTF-8 is refused", async () => {
    const key = await keyFrom(webcrypto, "secret");
    const iv = new Uint8Array(12);
    const sealed = await webcrypto.subtle.encrypt({ name: "AES-GCM", iv }, key, new Uint8Array([0xff]));
    const box = base64Text(new Uint8Array([...iv, ...new Uint8Array(sealed)]));
    await expect(open(webcrypto, key, box)).rejects.toThrow("does not hold a text");
  });

  it("keeps a byte order mark, which no reader of JSON takes", async () => {
    const key = await keyFrom(webcrypto, "secret");
    const iv = new Uint8Array(12);
    const marked = new TextEncoder().encode("\uFEFF[]");
    const sealed = await webcrypto.subtle.encrypt({ name: "AES-GCM", iv }, key, marked);
    const box = base64Text(new Uint8Array([...iv, ...new Uint8Array(sealed)]));
    expect((await open(webcrypto, key, box)).text).toBe("\uFEFF[]");
  });

  it("is made with keys that nothing can read out", async () => {
    for (const key of [await keyFrom(webcrypto, "secret"), await newStorageKey(webcrypto)]) {
      expect(key.extractable).toBe(false);
      await expect(webcrypto.subtle.exportKey("raw", key)).rejects.toThrow();
    }
  });
});

describe("Base64", () => {
  it("has one text for each byte string", () => {
    for (const length of [0, 1, 2, 3, 4, 8191, 8192, 8193, 100_000]) {
      const bytes = Uint8Array.from({ length }, (_, index) => (index * 7 + length) % 256);
      expect(base64Bytes(base64Text(bytes))).toEqual(bytes);
    }
    expect(base64Text(new Uint8Array([0xfb, 0xff]))).toBe("+/8=");
  });

  it.each(["A", "AA", "AAA", "AA==A", "AA=A", "====", "AB==", "AAB=", "AA\n==", "-_8="])(
    "refuses %j",
    (text) => {
      expect(base64Bytes(text)).toBeUndefined();
    },
  );
});

describe("Nonces that were used", () => {
  it("are known again, the newest 512 of them", () => {
    const nonces = new UsedNonces(["old"]);
    expect(nonces.add("old")).toBe(false);
    expect(nonces.add("new")).toBe(true);
    expect(nonces.add("new")).toBe(false);
    for (let index = 0; index < 511; index += 1) nonces.add(`further ${index}`);
    expect(nonces.all()).toHaveLength(512);
    expect(nonces.add("new")).toBe(false);
    expect(nonces.add("old")).toBe(true);
  });
});
