// The way to the relay, for one pairing: keeps a WebSocket open for as long as that makes sense, and reports its state.
//
// connecting -> connected -> waiting -> connecting ...; offline while there is no network. Until a person asks again it
// rests in takenOver, revoked, removed and refused. A phone's system kills sockets in the background without a word, so
// silence is checked whenever the page is visible again, and by a watchdog.

import type { DeviceChange, Environment, Socket } from "./environment";
import type { RelayConnection as State } from "./model";
import { RetrySchedule } from "./retrySchedule";

/** The relay sends something every 20 s. */
const longestSilence = 50_000;
/** Silence after which a connection is not believed when the page is visible again. */
const suspiciousSilence = 25_000;
const handshakeLimit = 15_000;
/** A connection that held for as long was a good one: the next wait is the first again. */
const steadyAfter = 30_000;

export interface RelayDetails {
  readonly backendURL: string;
  readonly pairingID: string;
  readonly token: string;
  readonly deviceID: string;
  deviceName(): string;
}

export interface RelayListener {
  stateChanged(): void;
  /** From here on what is sent goes out, until `disconnected`. */
  connected(): void;
  disconnected(): void;
  message(text: string): void;
}

const finalStates: ReadonlySet<State["kind"]> = new Set(["takenOver", "revoked", "removed", "refused"]);
const statesOfCloseCodes: ReadonlyMap<number, State> = new Map([
  [4001, { kind: "takenOver" }],
  [4002, { kind: "revoked" }],
  [4003, { kind: "removed" }],
] as const);
const statesOfAnswers: ReadonlyMap<number, State> = new Map([
  [401, { kind: "refused" }],
  [403, { kind: "removed" }],
  [410, { kind: "revoked" }],
] as const);
const restarting = 1012;

/** A browser cannot set headers, so the token is offered as the name of a subprotocol. */
function protocolsFor(token: string): readonly string[] {
  return ["quillard.v1", `quillard.bearer.${token}`];
}

export class RelayConnection {
  state: State = { kind: "connecting" };

  private socket: Socket | undefined;
  private isRunning = false;
  private isOpen = false;
  private readonly retries: RetrySchedule;
  /** Names the current socket. */
  private sockets = 0;
  private openings = 0;
  private openedAt = 0;
  private lastReceivedAt = 0;
  private cancelTimer: () => void = () => {};
  private endDeviceStatus: () => void = () => {};

  constructor(
    private readonly details: RelayDetails,
    private readonly environment: Environment,
    private readonly listener: RelayListener,
  ) {
    this.retries = new RetrySchedule(() => environment.random());
  }

  /** `rest`: what an earlier visit ended with; then nothing is tried until a person asks. */
  start(rest?: "revoked" | "removed"): void {
    if (this.isRunning) return;
    this.isRunning = true;
    this.endDeviceStatus = this.environment.deviceStatus.onChange((what) => this.deviceStatusChanged(what));
    if (rest) this.enter({ kind: rest });
    else this.attempt();
  }

  /** For good. The listener is not called any more. */
  stop(): void {
    this.isRunning = false;
    this.endDeviceStatus();
    this.drop();
  }

  /** Also out of a state that is final otherwise. A connection that is there stays. */
  connectNow(): void {
    if (!this.isRunning || this.state.kind === "connected") return;
    this.retries.reset();
    this.attempt();
  }

  /** Anew, since what the relay was sent at joining has changed. */
  reconnect(): void {
    if (this.isRunning && !finalStates.has(this.state.kind)) this.attempt();
  }

  /** False: not connected; nothing went out. */
  send(text: string): boolean {
    if (!this.isOpen || !this.socket) return false;
    try {
      this.socket.send(text);
      return true;
    } catch {
      return false;
    }
  }

  private attempt(): void {
    this.drop();
    if (!this.environment.deviceStatus.isOnline()) {
      this.enter({ kind: "offline" });
      return;
    }
    this.enter({ kind: "connecting" });
    this.sockets += 1;
    const number = this.sockets;
    // What an older socket still delivers is ignored.
    const ifCurrent = (action: () => void) => {
      if (this.sockets === number) action();
    };
    try {
      this.socket = this.environment.openSocket(this.url(), protocolsFor(this.details.token), {
        opened: () => ifCurrent(() => this.opened()),
        received: (data) => ifCurrent(() => this.received(data)),
        closed: (code) => ifCurrent(() => this.closed(code)),
      });
    } catch {
      this.waitForNextAttempt();
      return;
    }
    this.timer(handshakeLimit, () => this.failedToOpen());
  }

  private url(): string {
    const { backendURL, pairingID, deviceID } = this.details;
    const query = new URLSearchParams({
      role: "phone",
      pairing: pairingID,
      deviceID,
      deviceName: this.details.deviceName(),
      platform: this.environment.platform,
    });
    return `${backendURL.replace(/^http/, "ws")}/ws?${query.toString()}`;
  }

  private opened(): void {
    this.isOpen = true;
    this.openings += 1;
    this.openedAt = this.lastReceivedAt = this.environment.now();
    this.watch();
    this.enter({ kind: "connected" });
    this.listener.connected();
  }

  private received(data: unknown): void {
    this.lastReceivedAt = this.environment.now();
    // Messages are texts; a relay that sends anything else keeps the connection alive, and is ignored.
    if (typeof data === "string") this.listener.message(data);
  }

  private watch(): void {
    const left = this.lastReceivedAt + longestSilence - this.environment.now();
    this.timer(Math.min(Math.max(left, 0), longestSilence), () => {
      if (this.silence() >= longestSilence) this.attempt();
      else this.watch();
    });
  }

  /** A clock that was set back makes no silence. */
  private silence(): number {
    return this.environment.now() - this.lastReceivedAt;
  }

  private closed(code: number): void {
    const wasOpen = this.isOpen;
    const wasSteady = wasOpen && this.environment.now() - this.openedAt >= steadyAfter;
    this.drop();
    if (wasSteady) this.retries.reset();
    const end = statesOfCloseCodes.get(code);
    if (end) this.enter(end);
    else if (!wasOpen) this.findOutWhy();
    else if (code === restarting) this.waitFor(this.retries.delayAfterRestart());
    else this.waitForNextAttempt();
  }

  private failedToOpen(): void {
    this.drop();
    this.waitForNextAttempt();
  }

  /** A browser does not expose with which status a WebSocket was refused. */
  private findOutWhy(): void {
    this.waitForNextAttempt();
    const asked = this.openings;
    const { backendURL, pairingID, token, deviceID } = this.details;
    const place = `${backendURL}/api/pairings/${encodeURIComponent(pairingID)}`;
    this.environment.httpGet(`${place}?deviceID=${encodeURIComponent(deviceID)}`, token).then(
      (answer) => {
        const end = statesOfAnswers.get(answer.status);
        // Meanwhile something newer may have been learnt; a further attempt under way is nothing that was learnt.
        const isNews = this.openings === asked && !finalStates.has(this.state.kind);
        if (!end || !this.isRunning || !isNews) return;
        this.drop();
        this.enter(end);
      },
      () => {},
    );
  }

  private waitForNextAttempt(): void {
    this.waitFor(this.retries.delayAfterFailure());
  }

  private waitFor(milliseconds: number): void {
    if (!this.environment.deviceStatus.isOnline()) {
      this.enter({ kind: "offline" });
      return;
    }
    this.timer(milliseconds, () => this.attempt());
    this.enter({ kind: "waiting", nextAttemptAt: this.environment.now() + milliseconds });
  }

  private deviceStatusChanged(what: DeviceChange): void {
    if (!this.isRunning || finalStates.has(this.state.kind)) return;
    if (what === "hidden" || what === "frozen") return;
    if (what === "offline") {
      this.drop();
      this.enter({ kind: "offline" });
      return;
    }
    const isDead = this.state.kind === "connected" && this.silence() >= suspiciousSilence;
    if (this.state.kind === "waiting" || this.state.kind === "offline" || isDead) this.attempt();
  }

  private timer(milliseconds: number, action: () => void): void {
    this.cancelTimer();
    this.cancelTimer = this.environment.after(milliseconds, action);
  }

  /** What the socket still delivers is ignored. */
  private drop(): void {
    this.cancelTimer();
    const { socket, isOpen } = this;
    this.socket = undefined;
    this.isOpen = false;
    this.sockets += 1;
    try {
      socket?.close();
    } catch {
      // It was closed already.
    }
    if (isOpen) this.listener.disconnected();
  }

  private enter(state: State): void {
    this.state = state;
    this.listener.stateChanged();
  }
}
