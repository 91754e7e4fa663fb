import type { CryptoTools } from "./environment";

/** Random, upper case. Not `randomUUID`, which a page has only where it came over an encrypted connection. */
export function newUuid(crypto: CryptoTools): string {
  const bytes = crypto.getRandomValues(new Uint8Array(16));
  bytes[6] = ((bytes[6] ?? 0) & 0x0f) | 0x40;
  bytes[8] = ((bytes[8] ?? 0) & 0x3f) | 0x80;
  const hex = Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
  const parts = [hex.slice(0, 8), hex.slice(8, 12), hex.slice(12, 16), hex.slice(16, 20), hex.slice(20)];
  return parts.join("-").toUpperCase();
}
