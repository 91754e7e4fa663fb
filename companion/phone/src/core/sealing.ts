// What travels through the relay without the relay being able to read it: AES-256-GCM under a key that both ends derive
// from the end-to-end secret of the pairing code.

import { base64Bytes, base64Text } from "./base64";
import type { CryptoTools } from "./environment";

const nonceLength = 12;
const tagLength = 16;

/** As it stands in a message. */
export interface SealedPayload {
  readonly version: 1;
  readonly nonce: string;
  readonly ciphertext: string;
}

export interface Opened {
  readonly text: string;
  /** Names the box: a box that was opened before is known by it. Base64. */
  readonly nonce: string;
}

export class SealingError extends Error {
  constructor(message: string) {
    super(message);
    this.name = "SealingError";
  }
}

/** Not extractable: what runs in the page can use the key, and never read or send it. */
export async function keyFrom(crypto: CryptoTools, secret: string): Promise<CryptoKey> {
  const digest = await crypto.subtle.digest("SHA-256", new TextEncoder().encode(secret.trim()));
  return crypto.subtle.importKey("raw", digest, "AES-GCM", false, ["encrypt", "decrypt"]);
}

/** A key of this phone's own, for what it keeps. Not extractable. */
export function newStorageKey(crypto: CryptoTools): Promise<CryptoKey> {
  return crypto.subtle.generateKey({ name: "AES-GCM", length: 256 }, false, ["encrypt", "decrypt"]);
}

/** Seals the JSON of `value` under a fresh nonce. */
export async function seal(crypto: CryptoTools, key: CryptoKey, value: unknown): Promise<SealedPayload> {
  const iv = crypto.getRandomValues(new Uint8Array(nonceLength));
  const plaintext = new TextEncoder().encode(JSON.stringify(value));
  const sealed = new Uint8Array(await crypto.subtle.encrypt({ name: "AES-GCM", iv }, key, plaintext));
  const box = new Uint8Array(nonceLength + sealed.length);
  box.set(iv);
  box.set(sealed, nonceLength);
  return { version: 1, nonce: base64Text(iv), ciphertext: base64Text(box) };
}

/** `ciphertext`: a whole box, in base64. The nonce is the box's own. Rejects with a `SealingError`. */
export async function open(crypto: CryptoTools, key: CryptoKey, ciphertext: string): Promise<Opened> {
  const box = base64Bytes(ciphertext);
  if (box === undefined || box.length < nonceLength + tagLength) {
    throw new SealingError("What came is not a sealed box.");
  }
  const iv = box.subarray(0, nonceLength);
  let plaintext: ArrayBuffer;
  try {
    plaintext = await crypto.subtle.decrypt({ name: "AES-GCM", iv }, key, box.subarray(nonceLength));
  } catch {
    throw new SealingError("The box was sealed with another secret, or changed on its way.");
  }
  try {
    // A byte order mark is no JSON, and must not vanish before that is noticed.
    const decoder = new TextDecoder("utf-8", { fatal: true, ignoreBOM: true });
    return { text: decoder.decode(plaintext), nonce: base64Text(iv) };
  } catch {
    throw new SealingError("The box does not hold a text.");
  }
}
