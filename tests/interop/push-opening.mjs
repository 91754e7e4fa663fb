// Pushes that we encrypt are opened by what browsers do it with (WebCrypto), and by an independent library (http_ece) where the
// page's development packages are installed.
//
//   node push-opening.mjs TOOL

import assert from "node:assert";
import { spawnSync } from "node:child_process";
import { createECDH, webcrypto } from "node:crypto";
import { createRequire } from "node:module";

const { subtle } = webcrypto;
const base64Url = (bytes) => Buffer.from(bytes).toString("base64url");

async function derived(salt, key, info, length) {
  const input = await subtle.importKey("raw", key, "HKDF", false, ["deriveBits"]);
  return Buffer.from(await subtle.deriveBits({ name: "HKDF", hash: "SHA-256", salt, info }, input, 8 * length));
}

/** RFC 8291 and 8188, of one record. */
async function open(body, phone) {
  const salt = body.subarray(0, 16);
  assert.equal(body.readUInt32BE(16), 4096);
  assert.equal(body[20], 65);
  const sender = body.subarray(21, 86);
  const senderKey = await subtle.importKey("raw", sender, { name: "ECDH", namedCurve: "P-256" }, false, []);
  const shared = Buffer.from(await subtle.deriveBits({ name: "ECDH", public: senderKey }, phone.keys.privateKey, 256));
  const info = Buffer.concat([Buffer.from("WebPush: info\0"), phone.point, sender]);
  const input = await derived(phone.auth, shared, info, 32);
  const raw = await derived(salt, input, Buffer.from("Content-Encoding: aes128gcm\0"), 16);
  const iv = await derived(salt, input, Buffer.from("Content-Encoding: nonce\0"), 12);
  const key = await subtle.importKey("raw", raw, "AES-GCM", false, ["decrypt"]);
  const record = Buffer.from(await subtle.decrypt({ name: "AES-GCM", iv }, key, body.subarray(86)));
  assert.equal(record.at(-1), 2, "the last record ends with 2");
  return record.subarray(0, -1);
}

const texts = ["a", "Grüße 🙂", JSON.stringify({ web_push: 8030, notification: { title: "x".repeat(1500) } }), "y".repeat(3993)];
const phones = [];
for (const text of texts) {
  const keys = await subtle.generateKey({ name: "ECDH", namedCurve: "P-256" }, true, ["deriveBits"]);
  const point = Buffer.from(await subtle.exportKey("raw", keys.publicKey));
  phones.push({ text, keys, point, auth: webcrypto.getRandomValues(new Uint8Array(16)) });
}
const lines = phones.map(({ point, auth, text }) => `${base64Url(point)} ${base64Url(auth)} ${text}`);
const [first] = phones;
lines.push(`${base64Url(first.point)} ${base64Url(first.auth)} ${"z".repeat(3994)}`);
const off = Buffer.from(first.point);
off[64] ^= 1;
lines.push(`${base64Url(off)} ${base64Url(first.auth)} off the curve`);

const tool = spawnSync(process.argv[2], { input: lines.join("\n") + "\n", encoding: "utf8" });
assert.equal(tool.status, 0, tool.stderr);
const bodies = tool.stdout.trim().split("\n");
assert.equal(bodies.length, lines.length);
assert.deepEqual(bodies.slice(phones.length), ["refused", "refused"]);
for (const [i, phone] of phones.entries()) {
  const body = Buffer.from(bodies[i], "base64");
  assert.equal(body.length, Buffer.byteLength(phone.text) + 103);
  assert.equal((await open(body, phone)).toString(), phone.text);
}
console.log(`WebCrypto opened ${phones.length} pushes.`);

let library;
try {
  library = createRequire(new URL("../../companion/phone/package.json", import.meta.url))("http_ece");
} catch {
  console.log("http_ece is not installed (npm ci in companion/phone): WebCrypto alone was asked.");
}
for (const [i, phone] of library ? phones.entries() : []) {
  const privateKey = createECDH("prime256v1");
  privateKey.setPrivateKey(Buffer.from((await subtle.exportKey("jwk", phone.keys.privateKey)).d, "base64url"));
  const options = { version: "aes128gcm", privateKey, authSecret: base64Url(phone.auth) };
  assert.equal(library.decrypt(Buffer.from(bodies[i], "base64"), options).toString(), phone.text);
}
if (library) console.log(`http_ece opened ${phones.length} pushes.`);
