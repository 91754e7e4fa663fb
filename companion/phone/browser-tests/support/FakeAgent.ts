// A computer as the relay and the phones see it: it registers, connects, shows prompts, and answers decisions as the test wants.
import { randomUUID, webcrypto } from "node:crypto";
import WebSocket from "ws";
import { FakeComputer } from "../../src/core/testing";
import type { PhoneMessage } from "../../src/core/testing/fakeComputer";

export interface Request {
  readonly decisionID: string;
  readonly approvalID: string;
  readonly buttonLabel: string;
  /** The phone says that it has asked for its own lock. */
  readonly isUserVerified: boolean;
}

function memberOf(value: unknown, name: string): string {
  const member: unknown = typeof value === "object" && value !== null ? Reflect.get(value, name) : undefined;
  return typeof member === "string" ? member : "";
}

export class FakeAgent {
  private readonly computer: FakeComputer;
  private socket: WebSocket | undefined;
  private readonly messages: PhoneMessage[] = [];
  private readonly waiting: ((message: PhoneMessage) => void)[] = [];

  constructor(private readonly relayURL: string) {
    this.computer = new FakeComputer(webcrypto as unknown as Crypto, randomUUID(), relayURL);
  }

  /** Those that are paired, as the relay names them. */
  phones: readonly { readonly deviceID: string; readonly connected: boolean; readonly asleep?: boolean }[] =
    [];
  /** Those of them that can be woken. */
  subscriptions: readonly {
    readonly deviceID: string;
    readonly subscriptionID: string;
    readonly encryptedSubscription: { readonly ciphertext: string };
  }[] = [];

  get pairingID(): string {
    return this.computer.pairingID;
  }

  /** What a phone has sealed for its computer. */
  open(ciphertext: string): Promise<unknown> {
    return this.computer.open(ciphertext);
  }

  /** Has the relay post that body. */
  push(message: object): void {
    this.send(JSON.stringify({ type: "push.send", ...message }));
  }

  get pairingText(): string {
    return this.computer.pairingText();
  }

  /** The code's text as another relay's computer would give it. */
  pairingTextOf(backendURL: string): string {
    return this.computer.pairingText({ backendURL });
  }

  async connect(): Promise<void> {
    const { pairingID, relaySecret } = this.computer;
    const authorization = `Bearer ${relaySecret}`;
    const answer = await fetch(`${this.relayURL}/api/pairings/${pairingID}/relay-token`, {
      method: "PUT",
      headers: { authorization, "content-type": "application/json" },
      body: JSON.stringify({ client: "mac", version: 1 }),
    });
    if (answer.status !== 204) throw new Error(`The relay answered a registration with ${answer.status}.`);
    const socket = new WebSocket(`${this.relayURL.replace("http", "ws")}/ws?role=mac&pairing=${pairingID}`, {
      headers: { authorization },
    });
    this.socket = socket;
    socket.on("message", (data) => void this.take(String(data)));
    // A relay that is killed resets its connections.
    socket.on("error", () => undefined);
    await new Promise((resolve, reject) => {
      socket.once("open", resolve);
      socket.once("close", reject);
    });
  }

  disconnect(): void {
    this.socket?.terminate();
    this.socket = undefined;
  }

  async show(approvals: readonly unknown[], accessibilityTrusted = true, state?: unknown): Promise<void> {
    this.send(await this.computer.snapshot(approvals, accessibilityTrusted, state));
  }

  /** A list that no phone can open. */
  async showSealedOtherwise(): Promise<void> {
    const other = new FakeComputer(webcrypto as unknown as Crypto, randomUUID(), this.relayURL);
    this.send(await other.snapshot([]));
  }

  /** The next thing that a phone asks for, earlier ones first. */
  async nextMessage(): Promise<PhoneMessage> {
    const first = this.messages.shift();
    return first ?? new Promise((resolve) => this.waiting.push(resolve));
  }

  async request(): Promise<Request> {
    const { type, decisionID, command } = await this.nextMessage();
    if (type !== "approval.request") throw new Error(`A decision was awaited, and ${type} came.`);
    return {
      decisionID,
      approvalID: memberOf(command, "approvalID"),
      buttonLabel: memberOf(command, "buttonLabel"),
      isUserVerified: Reflect.get(command as object, "userVerified") === true,
    };
  }

  /** Whether a message of a phone has not been taken by the test yet. */
  get hasMessages(): boolean {
    return this.messages.length > 0;
  }

  async answer(request: Request, status: string, error?: string): Promise<void> {
    const { decisionID, approvalID, buttonLabel } = request;
    this.send(await this.computer.result(decisionID, { approvalID, buttonLabel, status, error }));
  }

  unpair(): void {
    this.send(
      JSON.stringify({ type: "phone.unpair", issuedAt: new Date().toISOString().replace(/\.\d+/, "") }),
    );
  }

  private send(text: string): void {
    this.socket?.send(text);
  }

  private async take(text: string): Promise<void> {
    const type = memberOf(JSON.parse(text), "type");
    if (type === "phone.status") {
      this.phones = Reflect.get(JSON.parse(text), "phones");
      return;
    }
    if (type === "push.subscriptions") {
      this.subscriptions = Reflect.get(JSON.parse(text), "subscriptions");
      return;
    }
    if (type === "push.result") return;
    const message = await this.computer.read(text);
    const next = this.waiting.shift();
    if (next) next(message);
    else this.messages.push(message);
  }
}
