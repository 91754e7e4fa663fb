// What a computer posts to a push service by way of its relay: RFC 8291 and 8188, for keys that a browser gave.
import { createCipheriv, createECDH, hkdfSync, randomBytes } from "node:crypto";

const derive = (salt: Buffer, secret: Buffer, information: Buffer | string, length: number): Buffer =>
  Buffer.from(hkdfSync("sha256", secret, salt, information, length));

/** Base64. */
export function sealedPush(text: string, keys: { readonly p256dh: string; readonly auth: string }): string {
  const phone = Buffer.from(keys.p256dh, "base64url");
  const pair = createECDH("prime256v1");
  const own = pair.generateKeys();
  const label = Buffer.concat([Buffer.from("WebPush: info\0"), phone, own]);
  const secret = derive(Buffer.from(keys.auth, "base64url"), pair.computeSecret(phone), label, 32);
  const salt = randomBytes(16);
  const key = derive(salt, secret, "Content-Encoding: aes128gcm\0", 16);
  const cipher = createCipheriv("aes-128-gcm", key, derive(salt, secret, "Content-Encoding: nonce\0", 12));
  const plain = Buffer.concat([Buffer.from(text), Buffer.from([2])]);
  const sealed = Buffer.concat([cipher.update(plain), cipher.final(), cipher.getAuthTag()]);
  const head = Buffer.from([0, 0, 0x10, 0, own.length]);
  return Buffer.concat([salt, head, own, sealed]).toString("base64");
}
