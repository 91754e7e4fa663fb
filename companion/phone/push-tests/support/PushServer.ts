// A push service: takes posts over TLS, as strictly as the standards have it, and hands them to browsers that are connected to it, or as
// soon as they are.
import { execFileSync } from "node:child_process";
import { randomUUID } from "node:crypto";
import { readFileSync } from "node:fs";
import type { IncomingMessage, ServerResponse } from "node:http";
import { createServer } from "node:https";
import type { AddressInfo } from "node:net";
import { join } from "node:path";
import { WebSocketServer, type WebSocket } from "ws";

interface Waiting {
  readonly channelID: string;
  readonly version: string;
  readonly data: string;
}

export class PushServer {
  /** What browsers said of each push: 100 is shown to a worker, 101 could not be decrypted. */
  readonly codes: number[] = [];
  /** By which statuses posts were answered. */
  readonly answers: number[] = [];
  /** What was wrong with posts. */
  readonly problems: string[] = [];
  /** Subscriptions that ended, with the browser's reason: 201 for too many silent pushes. */
  readonly ended: number[] = [];
  private readonly channels = new Set<string>();
  private readonly waiting: Waiting[] = [];
  private browser: WebSocket | undefined;
  private uaid = randomUUID();

  private constructor(
    private readonly https: ReturnType<typeof createServer>,
    private readonly sockets: WebSocketServer,
    readonly authority: string,
  ) {}

  /** `folder`: for its certificate. */
  static async start(folder: string): Promise<PushServer> {
    const [key, certificate] = [join(folder, "push.key"), join(folder, "push.pem")];
    const subject = ["-subj", "/CN=push", "-addext", "subjectAltName=IP:127.0.0.1"];
    const files = ["-keyout", key, "-out", certificate];
    const form = [
      "req",
      "-x509",
      "-newkey",
      "ec",
      "-pkeyopt",
      "ec_paramgen_curve:P-256",
      "-nodes",
      "-days",
      "2",
    ];
    execFileSync("openssl", [...form, ...files, ...subject], { stdio: "ignore" });
    const https = createServer({ key: readFileSync(key), cert: readFileSync(certificate) });
    const sockets = new WebSocketServer({
      host: "127.0.0.1",
      port: 0,
      handleProtocols: () => "push-notification",
    });
    const server = new PushServer(https, sockets, certificate);
    https.on("request", (request, response) => void server.take(request, response));
    sockets.on("connection", (socket) => server.connected(socket));
    await new Promise<void>((resolve) => https.listen(0, "127.0.0.1", resolve));
    return server;
  }

  /** Where browsers connect. */
  get url(): string {
    return `ws://127.0.0.1:${(this.sockets.address() as AddressInfo).port}/`;
  }

  /** Where the relay posts. */
  get host(): string {
    return `127.0.0.1:${(this.https.address() as AddressInfo).port}`;
  }

  /** It forgets all subscriptions, which the browser learns when it connects again. */
  forgetAll(): void {
    this.channels.clear();
    this.uaid = randomUUID();
    this.browser?.terminate();
  }

  stop(): void {
    this.browser?.terminate();
    this.sockets.close();
    this.https.closeAllConnections();
    this.https.close();
  }

  private connected(socket: WebSocket): void {
    this.browser = socket;
    socket.on("message", (data) => this.heard(socket, JSON.parse(String(data))));
  }

  private heard(socket: WebSocket, message: Record<string, unknown>): void {
    const say = (answer: object) => socket.send(JSON.stringify(answer));
    const { messageType, channelID } = message as { messageType?: string; channelID?: string };
    switch (messageType) {
      case undefined:
        say({});
        return;
      case "hello":
        say({ messageType, status: 200, uaid: this.uaid, use_webpush: true, broadcasts: {} });
        for (const one of this.waiting) this.hand(one);
        return;
      case "register":
        this.channels.add(channelID ?? "");
        say({ messageType, channelID, status: 200, pushEndpoint: `https://${this.host}/push/${channelID}` });
        return;
      case "unregister":
        this.channels.delete(channelID ?? "");
        this.ended.push(Number(message["code"]));
        say({ messageType, channelID, status: 200 });
        return;
      case "ack":
        for (const { version, code } of message["updates"] as { version: string; code: number }[]) {
          const index = this.waiting.findIndex((one) => one.version === version);
          if (index >= 0) this.waiting.splice(index, 1);
          this.codes.push(code);
        }
        return;
    }
  }

  private hand({ channelID, version, data }: Waiting): void {
    if (this.browser?.readyState !== 1) return;
    const headers = { encoding: "aes128gcm" };
    this.browser.send(JSON.stringify({ messageType: "notification", channelID, version, data, headers }));
  }

  private async take(request: IncomingMessage, response: ServerResponse): Promise<void> {
    const parts: Buffer[] = [];
    for await (const part of request) parts.push(part as Buffer);
    const body = Buffer.concat(parts);
    const status = this.judge(request, body);
    this.answers.push(status);
    response
      .writeHead(status, status === 201 ? { location: `https://${this.host}/m/1`, ttl: "60" } : {})
      .end();
    if (status !== 201) return;
    this.accept(request.url?.split("/").at(-1) ?? "", body);
  }

  /** Hands that body to its only subscriber, as if it had been posted. */
  deliver(body: Buffer): void {
    const [channelID] = this.channels;
    if (channelID === undefined || this.channels.size > 1) throw new Error("There is not one subscription.");
    this.accept(channelID, body);
  }

  private accept(channelID: string, body: Buffer): void {
    const one = { channelID, version: randomUUID(), data: body.toString("base64url") };
    this.waiting.push(one);
    this.hand(one);
  }

  private judge({ method, url, headers }: IncomingMessage, body: Buffer): number {
    if (method !== "POST") return 405;
    if (!this.channels.has(url?.split("/").at(-1) ?? "")) return 410;
    const wrong = [
      !/^vapid t=[\w-]+\.[\w-]+\.[\w-]+, ?k=[\w-]{87}$/.test(headers.authorization ?? "") && "authorization",
      headers["content-encoding"] !== "aes128gcm" && "content-encoding",
      !/^\d+$/.test(String(headers["ttl"])) && "ttl",
      headers["urgency"] !== "high" && "urgency",
      !/^[0-9a-f]{32}$/.test(String(headers["topic"])) && "topic",
      (body.length < 103 || body.length > 4096) && "body",
    ].filter((one) => one !== false);
    this.problems.push(...wrong);
    return wrong.length === 0 ? 201 : 400;
  }
}
