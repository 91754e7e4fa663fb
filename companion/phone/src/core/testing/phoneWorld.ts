import { webcrypto } from "node:crypto";
import type { CryptoTools, Environment } from "../environment";
import { MemoryStore } from "../memoryStore";
import type { Computer, Outcome, Prompt } from "../model";
import { Phone } from "../phone";
import type { Store } from "../store";
import { FakeComputer, sampleID, type PhoneMessage } from "./fakeComputer";
import { FakeNetwork, FakeDeviceStatus, type FakeSocket } from "./fakeNetwork";
import { countedCrypto, VirtualTime } from "./virtualTime";

/** A phone in a world of its own: virtual time, a network that does as it is told, a store that forgets at the end. */
export class PhoneWorld {
  readonly network = new FakeNetwork();
  readonly deviceStatus = new FakeDeviceStatus();
  readonly crypto: CryptoTools;
  readonly time: VirtualTime;
  /** What `random` gives; 0 makes every wait as long as it can be. */
  chance = 0;
  phone: Phone;

  constructor(
    readonly store: Store = new MemoryStore(),
    private readonly change: Partial<Environment> = {},
  ) {
    const { crypto, underWay } = countedCrypto(webcrypto);
    this.crypto = crypto;
    this.time = new VirtualTime(underWay);
    this.phone = new Phone(this.environment());
  }

  environment(): Environment {
    return {
      now: this.time.now,
      monotonicNow: this.time.monotonicNow,
      after: this.time.after,
      random: () => this.chance,
      crypto: this.crypto,
      openSocket: this.network.openSocket,
      httpGet: this.network.httpGet,
      store: this.store,
      deviceStatus: this.deviceStatus,
      relayOrigin: "https://relay.example",
      deviceName: "Ana’s phone",
      platform: "iOS",
      ...this.change,
    };
  }

  async start(): Promise<void> {
    await this.phone.start();
    await this.time.settle();
  }

  /** The page is closed and opened again. */
  async reload(): Promise<void> {
    this.phone.stop();
    this.phone = new Phone(this.environment());
    await this.start();
  }

  /** A computer whose code was read, and whose pairing a person agreed to. Not connected yet. */
  async pair(name: string): Promise<FakeComputer> {
    const computer = new FakeComputer(this.crypto, name);
    const reading = this.phone.readPairing(computer.pairingText());
    if (reading.kind !== "offer") throw new Error(`The code was not taken: ${JSON.stringify(reading)}`);
    await this.phone.pair(reading.offer, name);
    await this.time.settle();
    return computer;
  }

  /** Paired, connected, and with a list. */
  async connected(name: string, approvals: readonly unknown[]): Promise<FakeComputer> {
    const computer = await this.pair(name);
    await this.join(computer);
    await this.list(computer, approvals);
    return computer;
  }

  /** The relay takes the phone's newest connection, and says that the computer is there. */
  async join(computer: FakeComputer, macConnected = true): Promise<FakeSocket> {
    const socket = this.network.socket(computer.pairingID);
    socket.open();
    socket.deliver({ type: "mac.status", macConnected, heardSecondsAgo: 0 });
    await this.time.settle();
    return socket;
  }

  async list(
    computer: FakeComputer,
    approvals: readonly unknown[],
    trusted = true,
    state?: unknown,
  ): Promise<void> {
    this.network.socket(computer.pairingID).deliver(await computer.snapshot(approvals, trusted, state));
    await this.time.settle();
  }

  /** The last message that the phone sent on its newest connection. */
  async lastSent(computer: FakeComputer): Promise<PhoneMessage> {
    const text = this.network.socket(computer.pairingID).sent.at(-1);
    if (text === undefined) throw new Error("The phone has sent nothing.");
    return computer.read(text);
  }

  /** Decides on the first sample prompt, and gives the decision's name. */
  async decided(computer: FakeComputer, label = "Allow"): Promise<string> {
    this.phone.decide(computer.pairingID, sampleID(1), label);
    await this.time.settle();
    return (await this.lastSent(computer)).decisionID;
  }

  async receipt(
    computer: FakeComputer,
    decisionID: string,
    delivered: boolean,
    reason?: string,
  ): Promise<void> {
    this.network.socket(computer.pairingID).deliver({ type: "relay.receipt", decisionID, delivered, reason });
    await this.time.settle();
  }

  async result(computer: FakeComputer, decisionID: string, command: unknown, phone?: unknown): Promise<void> {
    this.network.socket(computer.pairingID).deliver(await computer.result(decisionID, command, phone));
    await this.time.settle();
  }

  computer(pairingID: string): Computer {
    const found = this.phone.state.value.computers.find((computer) => computer.pairingID === pairingID);
    if (!found) throw new Error(`No computer is called ${pairingID}.`);
    return found;
  }

  prompt(pairingID: string, id: string): Prompt {
    const found = this.computer(pairingID).prompts?.find((prompt) => prompt.id === id);
    if (!found) throw new Error(`Nothing of the name ${id} waits.`);
    return found;
  }

  /** What the phone knows of its decision on the first sample prompt. */
  decision(pairingID = "mac"): Prompt["decision"] {
    return this.prompt(pairingID, sampleID(1)).decision;
  }

  outcomes(pairingID = "mac"): readonly Outcome[] {
    return this.computer(pairingID).outcomes;
  }

  /** What the phone sent on its newest connection. */
  sent(pairingID = "mac"): readonly string[] {
    return this.network.socket(pairingID).sent;
  }
}
