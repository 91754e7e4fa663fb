// What a platform authenticator answers, checked as the standard "Web Authentication" has it. All of it stays in this page:
// nobody else is shown an answer, so this is about the person in front of it, not about a server.

import { base64Text, base64Bytes } from "./base64";
import type { LockKey } from "./environment";

/** As much of WebCrypto as checking takes. */
export type CheckingCrypto = Pick<SubtleCrypto, "digest" | "importKey" | "verify">;

export interface ExpectedAnswer {
  readonly type: "webauthn.create" | "webauthn.get";
  readonly challenge: Uint8Array;
  /** Of this page. */
  readonly origin: string;
  /** The host of this page. */
  readonly rpID: string;
}

export interface Assertion {
  readonly clientDataJSON: ArrayBuffer;
  readonly authenticatorData: ArrayBuffer;
  readonly signature: ArrayBuffer;
}

const es256 = -7;
const rs256 = -257;
const userPresent = 0x01;
const userVerified = 0x04;
const shortestData = 37;

function isEqual(one: Uint8Array, other: Uint8Array): boolean {
  return one.length === other.length && one.every((byte, index) => byte === other[index]);
}

function urlBase64(bytes: Uint8Array): string {
  return base64Text(bytes).replaceAll("+", "-").replaceAll("/", "_").replace(/=+$/, "");
}

/** Whether the authenticator answers this very question of this page, and has recognised the person. */
export async function isAnswerTo(
  expected: ExpectedAnswer,
  clientDataJSON: ArrayBuffer,
  authenticatorData: ArrayBuffer,
  crypto: CheckingCrypto,
): Promise<boolean> {
  let client: unknown;
  try {
    client = JSON.parse(new TextDecoder("utf-8", { fatal: true }).decode(clientDataJSON));
  } catch {
    return false;
  }
  if (typeof client !== "object" || client === null) return false;
  const isOurs =
    Reflect.get(client, "type") === expected.type &&
    Reflect.get(client, "challenge") === urlBase64(expected.challenge) &&
    Reflect.get(client, "origin") === expected.origin &&
    Reflect.get(client, "crossOrigin") !== true;
  if (!isOurs || authenticatorData.byteLength < shortestData) return false;
  const data = new Uint8Array(authenticatorData);
  const host = new Uint8Array(await crypto.digest("SHA-256", new TextEncoder().encode(expected.rpID)));
  const flags = data[32] ?? 0;
  return isEqual(data.subarray(0, 32), host) && (flags & userPresent) !== 0 && (flags & userVerified) !== 0;
}

/** Whether `key` signed that answer. */
export async function isSigned(
  key: LockKey,
  { clientDataJSON, authenticatorData, signature }: Assertion,
  crypto: CheckingCrypto,
): Promise<boolean> {
  const digest = new Uint8Array(await crypto.digest("SHA-256", clientDataJSON));
  const signed = new Uint8Array(authenticatorData.byteLength + digest.length);
  signed.set(new Uint8Array(authenticatorData));
  signed.set(digest, authenticatorData.byteLength);
  const hash = "SHA-256";
  try {
    const spki = base64Bytes(key.publicKey) ?? new Uint8Array();
    if (key.algorithm === rs256) {
      const algorithm = { name: "RSASSA-PKCS1-v1_5", hash };
      const publicKey = await crypto.importKey("spki", spki, algorithm, false, ["verify"]);
      return await crypto.verify(algorithm, publicKey, signature, signed);
    }
    const raw = rawSignature(new Uint8Array(signature));
    if (key.algorithm !== es256 || !raw) return false;
    const algorithm = { name: "ECDSA", namedCurve: "P-256", hash };
    const publicKey = await crypto.importKey("spki", spki, algorithm, false, ["verify"]);
    return await crypto.verify(algorithm, publicKey, raw, signed);
  } catch {
    return false;
  }
}

/** ECDSA's two numbers side by side, from the ASN.1 in which authenticators write them. Absent: it is no such thing. */
export function rawSignature(der: Uint8Array): Uint8Array<ArrayBuffer> | undefined {
  const raw = new Uint8Array(64);
  if (der[0] !== 0x30 || der[1] !== der.length - 2) return undefined;
  let at = 2;
  for (const end of [32, 64]) {
    const length = der[at + 1];
    if (der[at] !== 0x02 || length === undefined || at + 2 + length > der.length) return undefined;
    let number = der.subarray(at + 2, at + 2 + length);
    while (number.length > 32 && number[0] === 0) number = number.subarray(1);
    if (number.length === 0 || number.length > 32) return undefined;
    raw.set(number, end - number.length);
    at += 2 + length;
  }
  return at === der.length ? raw : undefined;
}
