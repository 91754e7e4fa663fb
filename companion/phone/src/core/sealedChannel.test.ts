import { webcrypto } from "node:crypto";
import { beforeEach, describe, expect, it } from "vitest";
import { SealedChannel } from "./sealedChannel";
import { keyFrom } from "./sealing";

let key: CryptoKey;
const channel = (nonces: readonly string[] = []) => new SealedChannel(webcrypto, key, nonces);

beforeEach(async () => {
  key = await keyFrom(webcrypto, "secret");
});

async function box(value: unknown): Promise<string> {
  const payload = await channel().seal(value);
  if (!payload) throw new Error("It was not sealed.");
  return payload.ciphertext;
}

describe("A sealed channel", () => {
  it("opens the other end's box once where it counts, also on the next visit", async () => {
    const text = await box({ a: 1 });
    const first = channel();
    expect(await first.openOnce(text)).toBe('{"a":1}');
    expect(await first.openOnce(text)).toBeUndefined();
    expect(await first.open(text)).toBe('{"a":1}');
    expect(await channel(first.usedNonces()).openOnce(text)).toBeUndefined();
  });

  it("does not take its own box for the other end's", async () => {
    const own = channel();
    const sealed = await own.seal("word");
    expect(sealed && (await own.openOnce(sealed.ciphertext))).toBeUndefined();
    expect(sealed && (await channel().openOnce(sealed.ciphertext))).toBe('"word"');
  });

  it("rejects what is not of this pairing, and does not count it as used", async () => {
    const other = new SealedChannel(webcrypto, await keyFrom(webcrypto, "other"), []);
    await expect(other.openOnce(await box(1))).rejects.toThrow();
    expect(other.usedNonces()).toEqual([]);
  });

  it("gives nothing where it cannot seal", async () => {
    const broken = { ...webcrypto.subtle, encrypt: () => Promise.reject(new Error("No.")) };
    const crypto = { subtle: broken, getRandomValues: webcrypto.getRandomValues.bind(webcrypto) };
    expect(await new SealedChannel(crypto as unknown as typeof webcrypto, key, []).seal(1)).toBeUndefined();
  });
});
