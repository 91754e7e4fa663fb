import type { DeviceChange, HttpResponse, Socket, SocketListener, DeviceStatus } from "../environment";

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

  deliver(message: unknown): void {
    this.listener.received(typeof message === "string" ? message : JSON.stringify(message));
  }

  deliverRaw(data: unknown): void {
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

/** Remembers every socket and every request of the phone; nothing happens by itself. */
export class FakeNetwork {
  readonly sockets: FakeSocket[] = [];
  readonly requests: { readonly url: string; readonly bearer: string }[] = [];
  /** The status that answers a request; absent: it is never answered. */
  responseStatus: number | undefined | "unreachable";
  /** Its body. */
  responseText = "";

  readonly openSocket = (url: string, protocols: readonly string[], listener: SocketListener): Socket => {
    const socket = new FakeSocket(new URL(url), protocols, listener);
    this.sockets.push(socket);
    return socket;
  };

  readonly httpGet = (url: string, bearer: string): Promise<HttpResponse> => {
    this.requests.push({ url, bearer });
    if (this.responseStatus === undefined) return new Promise(() => {});
    if (this.responseStatus === "unreachable") return Promise.reject(new Error("Unreachable."));
    return Promise.resolve({ status: this.responseStatus, text: this.responseText });
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

export class FakeDeviceStatus implements DeviceStatus {
  private online = true;
  private readonly listeners = new Set<(what: DeviceChange) => void>();

  isOnline(): boolean {
    return this.online;
  }

  onChange(listener: (what: DeviceChange) => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  goOffline(): void {
    this.online = false;
    this.notify("offline");
  }

  goOnline(): void {
    this.online = true;
    this.notify("online");
  }

  becomeVisible(): void {
    this.notify("visible");
  }

  becomeHidden(): void {
    this.notify("hidden");
  }

  freeze(): void {
    this.notify("frozen");
  }

  private notify(what: DeviceChange): void {
    for (const listener of [...this.listeners]) listener(what);
  }
}
