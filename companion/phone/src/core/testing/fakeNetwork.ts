import type { Answer, Socket, SocketListener, Surroundings } from "../environment";

/** The other end of one WebSocket of the phone. */
export class FakeSocket implements Socket {
  readonly sent: string[] = [];
  state: "opening" | "open" | "closed" = "opening";

  constructor(
    readonly url: URL,
    readonly protocols: readonly string[],
    private readonly listener: SocketListener,
  ) {}

  open(): void {
    this.state = "open";
    this.listener.opened();
  }

  say(message: unknown): void {
    this.listener.received(typeof message === "string" ? message : JSON.stringify(message));
  }

  sayRaw(data: unknown): void {
    this.listener.received(data);
  }

  /** 1006 is what a browser reports of everything that has no close code. */
  end(code = 1006): void {
    this.state = "closed";
    this.listener.closed(code);
  }

  send(text: string): void {
    if (this.state !== "open") throw new Error("The connection is closed.");
    this.sent.push(text);
  }

  close(): void {
    this.state = "closed";
  }
}

/** Remembers every socket and every question of the phone; nothing happens by itself. */
export class FakeNetwork {
  readonly sockets: FakeSocket[] = [];
  readonly questions: { readonly url: string; readonly bearer: string }[] = [];
  /** What a question is answered; absent: it never is. */
  answer: number | undefined | "unreachable";

  readonly openSocket = (url: string, protocols: readonly string[], listener: SocketListener): Socket => {
    const socket = new FakeSocket(new URL(url), protocols, listener);
    this.sockets.push(socket);
    return socket;
  };

  readonly ask = (url: string, bearer: string): Promise<Answer> => {
    this.questions.push({ url, bearer });
    if (this.answer === undefined) return new Promise(() => {});
    if (this.answer === "unreachable") return Promise.reject(new Error("Unreachable."));
    return Promise.resolve({ status: this.answer });
  };

  /** The newest socket of a pairing, or of any. */
  socket(pairingID?: string): FakeSocket {
    const found = this.sockets.findLast(
      (socket) => pairingID === undefined || socket.url.searchParams.get("pairing") === pairingID,
    );
    if (!found) throw new Error("No connection was tried.");
    return found;
  }
}

export class FakeSurroundings implements Surroundings {
  private online = true;
  private readonly listeners = new Set<(what: "online" | "offline" | "seen") => void>();

  isOnline(): boolean {
    return this.online;
  }

  onChange(listener: (what: "online" | "offline" | "seen") => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  goOffline(): void {
    this.online = false;
    this.tell("offline");
  }

  goOnline(): void {
    this.online = true;
    this.tell("online");
  }

  beSeen(): void {
    this.tell("seen");
  }

  private tell(what: "online" | "offline" | "seen"): void {
    for (const listener of this.listeners) listener(what);
  }
}
