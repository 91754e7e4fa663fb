// A strict push service over TLS: it takes what RFC 8030, 8188 and 8292 allow and refuses anything else. Tokens are
// verified by WebCrypto, which shares nothing with the relay.
//   node service.mjs CERTIFICATE KEY VAPID-KEY-FILE
// Prints its port, then one line of JSON for each request. What it answers stands in the path: /201/..., and see `special`.
// The file holds the key that subscriptions were made with, once it is there.
import { readFileSync } from "node:fs";
import { createServer } from "node:https";
import { webcrypto } from "node:crypto";

const [, , certificate, key, keyFile] = process.argv;
const seen = new Map();
let connections = 0;

const bytesOf = (text) => {
  if (!/^[A-Za-z0-9_-]*$/.test(text)) throw new Error("not base64url");
  return Buffer.from(text, "base64url");
};
const jsonOf = (text) => JSON.parse(bytesOf(text).toString("utf8"));
const require = (holds, what) => {
  if (!holds) throw new Error(what);
};

async function checkAuthorization(value, origin) {
  const match = /^vapid t=([\w-]+)\.([\w-]+)\.([\w-]+), k=([\w-]+)$/.exec(value ?? "");
  require(match, "authorization");
  const [, head, claims, signature, shown] = match;
  require(shown === readFileSync(keyFile, "utf8"), "another key than the subscription's");
  const point = bytesOf(shown);
  require(point.length === 65 && point[0] === 4, "no point");
  require(bytesOf(signature).length === 64, "length of the signature");
  const verifier = await webcrypto.subtle.importKey("raw", point, { name: "ECDSA", namedCurve: "P-256" }, false, [
    "verify",
  ]);
  const isSigned = await webcrypto.subtle.verify(
    { name: "ECDSA", hash: "SHA-256" },
    verifier,
    bytesOf(signature),
    Buffer.from(`${head}.${claims}`),
  );
  require(isSigned, "signature");
  const { alg, typ } = jsonOf(head);
  require(alg === "ES256" && typ === "JWT", "head of the token");
  const { aud, exp, sub } = jsonOf(claims);
  const now = Date.now() / 1000;
  require(aud === origin, `audience ${aud}`);
  require(Number.isInteger(exp) && exp > now && exp <= now + 86_400, "expiry");
  require(/^mailto:[^\s<>@]+@[^\s<>@]+$/.test(sub), "subject");
}

async function check(request, body, origin) {
  const { headers } = request;
  require(request.method === "POST", "method");
  require(/^\d+$/.test(headers.ttl ?? ""), "ttl");
  require(["very-low", "low", "normal", "high"].includes(headers.urgency), "urgency");
  require(headers.topic === undefined || /^[\w-]{1,32}$/.test(headers.topic), "topic");
  require(headers["content-encoding"] === "aes128gcm", "content-encoding");
  require(headers["content-type"] === "application/octet-stream", "content-type");
  require(headers["content-length"] === String(body.length), "content-length");
  require(body.length <= 4096 && body.length >= 103, "size");
  require(body[20] === 65 && body[21] === 4, "no header of aes128gcm");
  await checkAuthorization(headers.authorization, origin);
}

const special = {
  // Nothing ever comes.
  hang: () => {},
  close: (response) => response.destroy(),
  redirect: (response, origin) => response.writeHead(307, { location: `${origin}/201/redirected` }).end(),
  huge: (response) => response.writeHead(201, { "content-length": 1 << 24 }).end(Buffer.alloc(1 << 24)),
  endless: (response) => {
    response.writeHead(201);
    const timer = setInterval(() => response.write(Buffer.alloc(4096)), 1);
    response.on("close", () => clearInterval(timer));
  },
  headers: (response) => response.writeHead(201, { "x-long": "x".repeat(12_000) }).end(),
  // Once, and then it is fine.
  later: (response, _, times) => response.writeHead(times === 1 ? 429 : 201, { "retry-after": "1" }).end(),
  forgetful: (response, _, times) => response.writeHead(times === 1 ? 401 : 201).end(),
  // An answer that is none yet comes first.
  hints: (response) => {
    response.writeEarlyHints({ link: "</a>; rel=preload" });
    response.writeHead(201).end();
  },
  last: (response) => response.writeHead(201, { connection: "close" }).end(),
};

const server = createServer({ cert: readFileSync(certificate), key: readFileSync(key), minVersion: "TLSv1.2" });
server.on("secureConnection", (socket) => (socket.number = ++connections));
server.on("request", (request, response) => {
  const parts = [];
  request.on("data", (part) => parts.push(part));
  request.on("end", async () => {
    const body = Buffer.concat(parts);
    const origin = `https://127.0.0.1:${server.address().port}`;
    let wrong;
    await check(request, body, origin).catch((error) => (wrong = error.message));
    const times = (seen.get(request.url) ?? 0) + 1;
    seen.set(request.url, times);
    const { ttl, urgency, topic } = request.headers;
    const line = { path: request.url, ttl, urgency, topic, size: body.length, times, connection: request.socket.number };
    if (!process.env.QUILLARD_PUSH_SERVICE_QUIET) console.log(JSON.stringify({ ...line, wrong }));
    if (wrong) return response.writeHead(400).end(wrong);
    const [, answer] = request.url.split("/");
    if (special[answer]) return special[answer](response, origin, times);
    response.writeHead(Number(answer)).end();
  });
});
server.listen(0, "127.0.0.1", () => console.log(server.address().port));
