// Random messages, sealed by the agent and opened by WebCrypto, and the other way round: what a browser on a phone does.
// Usage: node webcrypto-exchange.mjs TOOL [SEED]. Prints its seed; fails with the first message that does not arrive.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { createInterface } from "node:readline";
import { webcrypto } from "node:crypto";

const [tool, seedText = String(Date.now() % 1_000_000)] = process.argv.slice(2);
const rounds = 200;
const encoder = new TextEncoder();
const hex = (bytes) => Buffer.from(bytes).toString("hex");
const base64 = (bytes) => Buffer.from(bytes).toString("base64");

// A small generator of our own, so that a failing run can be repeated from its seed.
let state = Number(seedText) >>> 0;
function below(count) {
  state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
  return Math.floor((state / 2 ** 32) * count);
}

function randomText() {
  const alphabets = ["abc \n", "äöü€", "😀👩‍👩‍👧", "\u0000\u001f\"\\/", "مرحبا"];
  const alphabet = [...alphabets[below(alphabets.length)]];
  const length = [0, 1, 11, 12, 13, 15, 16, 17, 300, 70_000][below(10)];
  return Array.from({ length }, () => alphabet[below(alphabet.length)]).join("");
}

async function keyFrom(secret) {
  const digest = await webcrypto.subtle.digest("SHA-256", encoder.encode(secret.trim()));
  return webcrypto.subtle.importKey("raw", digest, "AES-GCM", false, ["encrypt", "decrypt"]);
}

async function seal(text, secret) {
  const iv = webcrypto.getRandomValues(new Uint8Array(12));
  const sealed = await webcrypto.subtle.encrypt({ name: "AES-GCM", iv }, await keyFrom(secret), encoder.encode(text));
  return { version: 1, nonce: base64(iv), ciphertext: base64([...iv, ...new Uint8Array(sealed)]) };
}

async function open(payload, secret) {
  assert.equal(payload.version, 1);
  const box = Buffer.from(payload.ciphertext, "base64");
  assert.equal(base64(box), payload.ciphertext);
  const iv = box.subarray(0, 12);
  assert.equal(base64(iv), payload.nonce);
  const opened = await webcrypto.subtle.decrypt({ name: "AES-GCM", iv }, await keyFrom(secret), box.subarray(12));
  return new TextDecoder("utf-8", { fatal: true }).decode(opened);
}

function altered(payload) {
  const box = Buffer.from(payload.ciphertext, "base64");
  box[below(box.length)] ^= 1 << below(8);
  return { ...payload, ciphertext: base64(box) };
}

console.log(`Seed ${seedText}`);
const agent = spawn(tool, [seedText], { stdio: ["pipe", "pipe", "inherit"] });
const answers = createInterface({ input: agent.stdout })[Symbol.asyncIterator]();
async function ask(...words) {
  agent.stdin.write(words.join(" ") + "\n");
  const { value, done } = await answers.next();
  assert.ok(!done, "The agent's side ended.");
  return value;
}

for (let round = 0; round < rounds; round++) {
  const secret = [" ", "", "\n"][below(3)] + "secret-" + below(10) + ["", "\t", " \r\n"][below(3)];
  const secretHex = hex(encoder.encode(secret));
  const text = randomText();
  const context = `round ${round}, ${text.length} characters`;

  const fromAgent = JSON.parse(await ask("seal", secretHex, hex(encoder.encode(text))));
  assert.equal(await open(fromAgent, secret), text, `The browser opens what the agent sealed: ${context}`);
  await assert.rejects(open(fromAgent, secret + "x"), undefined, `Not with another secret: ${context}`);

  const fromPhone = await seal(text, secret);
  const opened = await ask("open", secretHex, JSON.stringify(fromPhone));
  assert.equal(opened, hex(encoder.encode(text)), `The agent opens what the browser sealed: ${context}`);
  assert.equal(await ask("open", hex(encoder.encode(secret + "x")), JSON.stringify(fromPhone)), "refused", context);
  assert.equal(await ask("open", secretHex, JSON.stringify(altered(fromPhone))), "refused", `Altered: ${context}`);
}
agent.stdin.end();
console.log(`${rounds} messages arrived on either side.`);
