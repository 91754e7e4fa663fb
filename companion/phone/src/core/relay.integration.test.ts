// The phone's core and the terminal phone against the real relay, with a fake computer.

import { spawn, type ChildProcessByStdio } from "node:child_process";
import { webcrypto } from "node:crypto";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";
import type { Readable, Writable } from "node:stream";
import { afterAll, afterEach, beforeAll, describe, expect, it, vi } from "vitest";
import { build } from "vite";
import { WebSocket } from "ws";
import { nodeEnvironment } from "../terminal/nodeEnvironment";
import { createPhone, type RunningPhone } from "./createPhone";
import { FakeComputer, sampleApproval, sampleID, type PhoneMessage } from "./testing";

const program = process.env["QUILLARD_RELAY_PROGRAM"];
if (!program) {
  console.warn(
    "The phone is not tried with the real relay: QUILLARD_RELAY_PROGRAM does not name its program.",
  );
}
const waitOptions = { timeout: 15_000, interval: 20 };
const one = sampleID(1);

class Relay {
  private process: ChildProcessByStdio<null, Readable, Readable> | undefined;
  url = "";
  output = "";

  constructor(private readonly folder: string) {}

  async start(port = 0): Promise<void> {
    const words = ["--listen", `127.0.0.1:${port}`, "--database", join(this.folder, "relay.sqlite")];
    const child = spawn(program ?? "", words, { stdio: ["ignore", "pipe", "pipe"] });
    this.process = child;
    child.stderr.on("data", (data) => (this.output += String(data)));
    for await (const line of createInterface({ input: child.stdout })) {
      const ready = /^Listening on (http:\/\/\S+)$/.exec(line);
      if (!ready?.[1]) continue;
      this.url = ready[1];
      return;
    }
    throw new Error(`The relay did not start: ${this.output}`);
  }

  async stop(): Promise<void> {
    const child = this.process;
    this.process = undefined;
    if (!child || child.exitCode !== null) return;
    const ended = new Promise((resolve) => child.once("exit", resolve));
    child.kill("SIGTERM");
    await ended;
  }

  get port(): number {
    return Number(new URL(this.url).port);
  }
}

/** The computer's end of a real connection. */
class ConnectedComputer extends FakeComputer {
  readonly requests: PhoneMessage[] = [];
  private socket: WebSocket | undefined;

  constructor(pairingID: string, backendURL: string) {
    super(webcrypto, pairingID, backendURL);
  }

  async register(): Promise<number> {
    const answer = await fetch(`${this.backendURL}/api/pairings/${this.pairingID}/relay-token`, {
      method: "PUT",
      headers: { authorization: `Bearer ${this.relaySecret}`, "content-type": "application/json" },
      body: '{"client":"mac","version":1}',
    });
    return answer.status;
  }

  async connect(): Promise<void> {
    const url = `${this.backendURL.replace("http", "ws")}/ws?role=mac&pairing=${this.pairingID}`;
    const socket = new WebSocket(url, { headers: { authorization: `Bearer ${this.relaySecret}` } });
    socket.on("message", (data) => void this.received(String(data)));
    await new Promise((resolve, reject) => socket.once("open", resolve).once("error", reject));
    this.socket = socket;
  }

  send(text: string): void {
    this.socket?.send(text);
  }

  disconnect(): void {
    this.socket?.terminate();
  }

  private async received(text: string): Promise<void> {
    if (text.includes('"approval.')) this.requests.push(await this.read(text));
  }
}

if (!program) console.warn("Skipped: QUILLARD_RELAY_PROGRAM does not name a relay to talk to.");

describe.skipIf(!program)("With the real relay", () => {
  const folder = mkdtempSync(join(tmpdir(), "quillard-phone-"));
  const phones: RunningPhone[] = [];
  const computers: ConnectedComputer[] = [];
  const relay = new Relay(folder);
  let terminalProgram = "";

  beforeAll(async () => {
    await relay.start();
    const outDir = join(folder, "terminal");
    await build({ configFile: "vite.terminal.config.ts", logLevel: "error", build: { outDir } });
    terminalProgram = join(outDir, "quillard-phone.mjs");
  });

  afterEach(() => {
    for (const phone of phones.splice(0)) phone.stop();
    for (const computer of computers.splice(0)) computer.disconnect();
  });

  afterAll(async () => {
    await relay.stop();
    rmSync(folder, { recursive: true });
  });

  async function computer(pairingID: string): Promise<ConnectedComputer> {
    const made = new ConnectedComputer(pairingID, relay.url);
    computers.push(made);
    expect(await made.register()).toBe(204);
    await made.connect();
    return made;
  }

  function phoneNamed(name: string): RunningPhone {
    const phone = createPhone(nodeEnvironment(name));
    phones.push(phone);
    return phone;
  }

  async function paired(mac: ConnectedComputer, name: string): Promise<RunningPhone> {
    const phone = phoneNamed(name);
    await vi.waitFor(() => expect(phone.state.value.phase).toBe("ready"), waitOptions);
    const reading = phone.actions.readPairing(mac.pairingText());
    if (reading.kind !== "offer") throw new Error("The code was not taken.");
    await phone.actions.pair(reading.offer, name);
    return phone;
  }

  const first = (phone: RunningPhone) => phone.state.value.computers[0];

  async function sees(phone: RunningPhone, expected: Readonly<Record<string, unknown>>): Promise<void> {
    await vi.waitFor(() => expect(first(phone)).toMatchObject(expected), waitOptions);
  }

  async function asked(mac: ConnectedComputer, count: number): Promise<PhoneMessage> {
    await vi.waitFor(() => expect(mac.requests).toHaveLength(count), waitOptions);
    const request = mac.requests.at(-1);
    if (!request) throw new Error("Nothing was asked.");
    return request;
  }

  it("a prompt is shown, decided and reported, on the other phone as well", async () => {
    const mac = await computer("e2e-1");
    mac.send(await mac.snapshot([sampleApproval(1)]));
    const [ana, bo] = [await paired(mac, "Ana’s phone"), await paired(mac, "Bo’s phone")];
    for (const phone of [ana, bo]) await sees(phone, { isComputerConnected: true, prompts: [{ id: one }] });
    ana.actions.decide("e2e-1", one, "Allow");
    const request = await asked(mac, 1);
    const { decisionID } = request;
    expect(request.command).toEqual({ approvalID: one, buttonLabel: "Allow", decisionID });
    await sees(ana, { prompts: [{ decision: { status: "delivered" } }] });
    mac.send(
      await mac.result(request.decisionID, { approvalID: one, buttonLabel: "Allow", status: "accepted" }),
    );
    mac.send(await mac.snapshot([]));
    await sees(ana, { prompts: [], outcomes: [{ status: "accepted", buttonLabel: "Allow" }] });
    await sees(bo, { prompts: [], outcomes: [{ status: "accepted", otherPhone: "Ana’s phone" }] });
    expect(first(bo)?.outcomes).toHaveLength(1);
    expect(first(ana)?.outcomes[0]).not.toHaveProperty("otherPhone");
  });

  it("a decision says when it was made, by a clock that the relay passed on and does not keep", async () => {
    const mac = await computer("e2e-6");
    const epoch = sampleID(9);
    mac.send(await mac.snapshot([sampleApproval(1, { clock: { epoch, time: 1000 } })]));
    const phone = await paired(mac, "Ana’s phone");
    await sees(phone, { isComputerConnected: true, prompts: [{ id: one }] });
    mac.send(await mac.clock({ epoch, time: 9_000_000 }));
    mac.send(await mac.snapshot([sampleApproval(1, { clock: { epoch, time: 2000 }, leftOut: 2 })]));
    await sees(phone, { promptsLeftOut: 2 });
    phone.actions.decide("e2e-6", one, "Allow");
    const { command } = await asked(mac, 1);
    const { tappedAt } = Object(command);
    expect(tappedAt.epoch).toBe(epoch);
    expect(tappedAt.time).toBeGreaterThan(9_000_000 - 1000);
    expect(tappedAt.time).toBeLessThan(9_000_000 + 60_000);
  });

  it("a decision while the computer is away is undelivered, and the phone says that it is away", async () => {
    const mac = await computer("e2e-2");
    mac.send(await mac.snapshot([sampleApproval(1)]));
    const phone = await paired(mac, "Ana’s phone");
    await sees(phone, { isComputerConnected: true, prompts: [{ id: one }] });
    mac.disconnect();
    await sees(phone, { isComputerConnected: false });
    expect(first(phone)?.lastReceivedAt).toBeGreaterThan(Date.now() - 60_000);
    phone.actions.decide("e2e-2", one, "Cancel");
    await sees(phone, { prompts: [{ decision: { status: "undelivered" } }] });
  });

  it("a muted kind of prompt is muted on the other phone too", async () => {
    const mac = await computer("e2e-3");
    mac.send(await mac.snapshot([sampleApproval(1)]));
    const [ana, bo] = [await paired(mac, "Ana’s phone"), await paired(mac, "Bo’s phone")];
    for (const phone of [ana, bo]) await sees(phone, { prompts: [{ id: one }] });
    ana.actions.suppress("e2e-3", one);
    expect((await asked(mac, 1)).command).toMatchObject({
      action: "suppress",
      suppressionID: sampleID(1001),
    });
    for (const phone of [ana, bo])
      await sees(phone, { prompts: [], suppressions: [{ appName: "Disk Tool" }] });
    bo.actions.unsuppress("e2e-3", sampleID(1001));
    await sees(ana, { prompts: [{ id: one }], suppressions: [] });
  });

  it("a decision outlives a restart of the relay, as the same box", async () => {
    const mac = await computer("e2e-4");
    mac.send(await mac.snapshot([sampleApproval(1)]));
    const phone = await paired(mac, "Ana’s phone");
    await sees(phone, { prompts: [{ id: one }] });
    phone.actions.decide("e2e-4", one, "Allow");
    const before = await asked(mac, 1);
    const { port } = relay;
    await relay.stop();
    await relay.start(port);
    await mac.connect();
    const again = await asked(mac, 2);
    expect(again.decisionID).toBe(before.decisionID);
    expect(again.nonce).toBe(before.nonce);
    mac.send(
      await mac.result(again.decisionID, { approvalID: one, buttonLabel: "Allow", status: "accepted" }),
    );
    await sees(phone, { outcomes: [{ status: "accepted" }] });
  });

  it("a pairing that the relay does not know is refused, and one that was revoked is told apart", async () => {
    const unknown = await paired(new ConnectedComputer("e2e-unregistered", relay.url), "Ana’s phone");
    await sees(unknown, { relay: { kind: "refused" } });
    const mac = await computer("e2e-5");
    const phone = await paired(mac, "Ana’s phone");
    await sees(phone, { relay: { kind: "connected" } });
    mac.send(JSON.stringify({ type: "phone.unpair", issuedAt: "2026-03-01T12:34:56Z" }));
    await sees(phone, { relay: { kind: "revoked" } });
    const later = await paired(mac, "Bo’s phone");
    await sees(later, { relay: { kind: "revoked" } });
  });

  it("a phone that the computer has closed knows it, and comes back only when it is asked to", async () => {
    const mac = await computer("e2e-6");
    const deviceIDs: string[] = [];
    const { openSocket, ...rest } = nodeEnvironment("Ana’s phone");
    const phone = createPhone({
      ...rest,
      openSocket: (url, protocols, listener) => {
        deviceIDs.push(new URL(url).searchParams.get("deviceID") ?? "");
        return openSocket(url, protocols, listener);
      },
    });
    phones.push(phone);
    await vi.waitFor(() => expect(phone.state.value.phase).toBe("ready"), waitOptions);
    const reading = phone.actions.readPairing(mac.pairingText());
    if (reading.kind === "offer") await phone.actions.pair(reading.offer, "mac");
    await sees(phone, { relay: { kind: "connected" } });
    mac.send(
      JSON.stringify({ type: "phone.unpair", deviceID: deviceIDs[0], issuedAt: "2026-03-01T12:34:56Z" }),
    );
    await sees(phone, { relay: { kind: "removed" } });
    phone.actions.connectNow("e2e-6");
    await sees(phone, { relay: { kind: "connected" } });
  });

  describe("the phone in a terminal", () => {
    const running: ChildProcessByStdio<Writable, Readable, null>[] = [];
    afterEach(() => {
      for (const child of running.splice(0)) child.kill();
    });

    function terminal(...words: string[]) {
      const child = spawn(process.execPath, [terminalProgram, ...words], {
        stdio: ["pipe", "pipe", "inherit"],
      });
      running.push(child);
      let output = "";
      child.stdout.on("data", (data) => (output += String(data)));
      const status = new Promise<number | null>((resolve) => child.once("exit", resolve));
      const waitForOutput = (text: string) => vi.waitFor(() => expect(output).toContain(text), waitOptions);
      return { child, status, waitForOutput };
    }

    it("answers by itself from a file, and ends with what came of it", async () => {
      const mac = await computer("e2e-7");
      mac.send(await mac.snapshot([sampleApproval(1)]));
      const file = join(folder, "code.json");
      writeFileSync(file, mac.pairingText());
      const { status, waitForOutput } = terminal(
        "--pairing",
        file,
        "--answer",
        "Allow",
        "--once",
        "--name",
        "Script",
      );
      const request = await asked(mac, 1);
      mac.send(
        await mac.result(request.decisionID, { approvalID: one, buttonLabel: "Allow", status: "accepted" }),
      );
      expect(await status).toBe(0);
      await waitForOutput("Done: “Allow” was pressed");
    });

    it("takes the code and numbers from its input", async () => {
      const mac = await computer("e2e-8");
      mac.send(await mac.snapshot([sampleApproval(1)]));
      const { child, status, waitForOutput } = terminal("--once");
      child.stdin.write(`${mac.pairingText()}\n`);
      await waitForOutput("2  “Allow” (recommended)");
      child.stdin.write("2\n");
      await waitForOutput("type yes:");
      child.stdin.write("yes\n");
      const request = await asked(mac, 1);
      mac.send(
        await mac.result(request.decisionID, { approvalID: one, buttonLabel: "Allow", status: "not_found" }),
      );
      expect(await status).toBe(3);
    });

    it("ends when its time is over, and when its pairing is not known", async () => {
      const mac = await computer("e2e-9");
      const late = terminal("--timeout", "1", "--once");
      late.child.stdin.end(mac.pairingText());
      expect(await late.status).toBe(4);
      const unknown = terminal();
      unknown.child.stdin.end(new FakeComputer(webcrypto, "e2e-10", relay.url).pairingText());
      expect(await unknown.status).toBe(5);
    });
  });
});
