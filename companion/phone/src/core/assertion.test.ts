import { webcrypto } from "node:crypto";
import { describe, expect, it } from "vitest";
import { isAnswerTo, isSigned, rawSignature, type ExpectedAnswer } from "./assertion";
import { base64Text } from "./base64";

const { subtle } = webcrypto as unknown as Crypto;
const challenge = Uint8Array.from({ length: 32 }, (_, index) => 251 - index);
const expected: ExpectedAnswer = {
  type: "webauthn.get",
  challenge,
  origin: "https://relay.example",
  rpID: "relay.example",
};

function bufferOf(bytes: Uint8Array): ArrayBuffer {
  return new Uint8Array(bytes).buffer;
}

function clientData(change: Readonly<Record<string, unknown>> = {}): ArrayBuffer {
  const { type, origin } = expected;
  const text = Buffer.from(challenge).toString("base64url");
  return bufferOf(new TextEncoder().encode(JSON.stringify({ type, challenge: text, origin, ...change })));
}

async function dataOf(flags: number, rpID = expected.rpID): Promise<ArrayBuffer> {
  const data = new Uint8Array(37);
  data.set(new Uint8Array(await subtle.digest("SHA-256", new TextEncoder().encode(rpID))));
  data[32] = flags;
  return bufferOf(data);
}

/** As authenticators write the two numbers. */
function derOf(raw: Uint8Array): Uint8Array {
  const number = (bytes: Uint8Array): number[] => {
    let start = 0;
    while (start < bytes.length - 1 && bytes[start] === 0) start += 1;
    const plain = [...bytes.subarray(start)];
    return (plain[0] ?? 0) > 0x7f ? [0, ...plain] : plain;
  };
  const parts = [raw.subarray(0, 32), raw.subarray(32)].map(number);
  const body = parts.flatMap((bytes) => [0x02, bytes.length, ...bytes]);
  return Uint8Array.from([0x30, body.length, ...body]);
}

describe("An answer of the phone's lock", () => {
  const verified = 0x05;

  it("counts when it is for this question of this page, and the person was recognised", async () => {
    expect(await isAnswerTo(expected, clientData(), await dataOf(verified), subtle)).toBe(true);
    expect(await isAnswerTo(expected, clientData({ crossOrigin: false }), await dataOf(0x1d), subtle)).toBe(
      true,
    );
  });

  it.each([
    ["of another kind", { type: "webauthn.create" }],
    ["to another question", { challenge: "AAAA" }],
    ["to another page", { origin: "https://relay.example:8443" }],
    ["to a page in a frame", { crossOrigin: true }],
  ])("does not count: %s", async (_, change) => {
    expect(await isAnswerTo(expected, clientData(change), await dataOf(verified), subtle)).toBe(false);
  });

  it.each([
    ["nobody was recognised", 0x01],
    ["nobody was there", 0x04],
    ["neither", 0x00],
  ])("does not count where %s", async (_, flags) => {
    expect(await isAnswerTo(expected, clientData(), await dataOf(flags), subtle)).toBe(false);
  });

  it("does not count for another host, cut short, or as what is no JSON", async () => {
    expect(await isAnswerTo(expected, clientData(), await dataOf(verified, "example"), subtle)).toBe(false);
    const short = (await dataOf(verified)).slice(0, 36);
    expect(await isAnswerTo(expected, clientData(), short, subtle)).toBe(false);
    for (const text of ["", "null", "[]", "{", "\u00ff"]) {
      const bytes = bufferOf(Buffer.from(text, "latin1"));
      expect(await isAnswerTo(expected, bytes, await dataOf(verified), subtle)).toBe(false);
    }
  });

  it("has to be signed by the key that was made for it", async () => {
    const pair = await subtle.generateKey({ name: "ECDSA", namedCurve: "P-256" }, true, ["sign", "verify"]);
    const other = await subtle.generateKey({ name: "ECDSA", namedCurve: "P-256" }, true, ["sign", "verify"]);
    const key = async ({ publicKey }: CryptoKeyPair) => ({
      credentialID: "AAAA",
      publicKey: base64Text(new Uint8Array(await subtle.exportKey("spki", publicKey))),
      algorithm: -7,
    });
    const [clientDataJSON, authenticatorData] = [clientData(), await dataOf(verified)];
    const digest = new Uint8Array(await subtle.digest("SHA-256", clientDataJSON));
    const signed = Uint8Array.from([...new Uint8Array(authenticatorData), ...digest]);
    // Often enough for numbers with a leading zero, or one that has to be put before them.
    for (let rounds = 0; rounds < 40; rounds += 1) {
      const raw = await subtle.sign({ name: "ECDSA", hash: "SHA-256" }, pair.privateKey, signed);
      const signature = bufferOf(derOf(new Uint8Array(raw)));
      const answer = { clientDataJSON, authenticatorData, signature };
      expect(await isSigned(await key(pair), answer, subtle)).toBe(true);
      expect(await isSigned(await key(other), answer, subtle)).toBe(false);
      expect(await isSigned({ ...(await key(pair)), algorithm: -8 }, answer, subtle)).toBe(false);
      expect(
        await isSigned(await key(pair), { ...answer, clientDataJSON: clientData({ a: 1 }) }, subtle),
      ).toBe(false);
    }
  });

  it("may be signed by an RSA key", async () => {
    const algorithm = { name: "RSASSA-PKCS1-v1_5", hash: "SHA-256" };
    const size = { modulusLength: 2048, publicExponent: Uint8Array.of(1, 0, 1) };
    const pair = await subtle.generateKey({ ...algorithm, ...size }, true, ["sign", "verify"]);
    const publicKey = base64Text(new Uint8Array(await subtle.exportKey("spki", pair.publicKey)));
    const [clientDataJSON, authenticatorData] = [clientData(), await dataOf(verified)];
    const digest = new Uint8Array(await subtle.digest("SHA-256", clientDataJSON));
    const signed = Uint8Array.from([...new Uint8Array(authenticatorData), ...digest]);
    const signature = await subtle.sign(algorithm, pair.privateKey, signed);
    const key = { credentialID: "AAAA", publicKey, algorithm: -257 };
    expect(await isSigned(key, { clientDataJSON, authenticatorData, signature }, subtle)).toBe(true);
    expect(
      await isSigned({ ...key, algorithm: -7 }, { clientDataJSON, authenticatorData, signature }, subtle),
    ).toBe(false);
    expect(
      await isSigned({ ...key, publicKey: "AAAA" }, { clientDataJSON, authenticatorData, signature }, subtle),
    ).toBe(false);
  });

  it.each([
    ["empty", []],
    ["of another kind", [0x31, 6, 2, 1, 1, 2, 1, 1]],
    ["of a wrong length", [0x30, 7, 2, 1, 1, 2, 1, 1]],
    ["with one number", [0x30, 3, 2, 1, 1]],
    ["with a number that ends too late", [0x30, 6, 2, 1, 1, 2, 9, 1]],
    ["with an empty number", [0x30, 4, 2, 0, 2, 0]],
    ["with a third number", [0x30, 9, 2, 1, 1, 2, 1, 1, 2, 1, 1]],
    ["with a number that is too long", [0x30, 38, 2, 33, ...Array<number>(33).fill(1), 2, 1, 1]],
  ])("whose signature is %s is none", (_, bytes) => {
    expect(rawSignature(Uint8Array.from(bytes))).toBeUndefined();
  });
});
