// All that the core asks of its surroundings, so that it runs in a page, in a terminal, and in tests in virtual time.

import type { Instant } from "./model";
import type { Store } from "./store";

/** Calls `action` once, after `milliseconds`; the returned function takes that back. */
export type After = (milliseconds: number, action: () => void) => () => void;

/** As much of a WebSocket as the core needs. */
export interface Socket {
  /** Throws where it is not open. */
  send(text: string): void;
  /** Nothing is to be heard from it any more, though something may be. */
  close(): void;
}

/** What a socket tells; never before `openSocket` has returned. Whatever goes wrong ends in `closed`. */
export interface SocketListener {
  opened(): void;
  /** A text, or else something that is no message. */
  received(data: unknown): void;
  closed(code: number): void;
}

/** What a relay answered to a question. The body is left unread: the status says it all. */
export interface Answer {
  readonly status: number;
}

/** The network and the screen, as far as they can be known. */
export interface Surroundings {
  /** False only where it is known that there is no network. */
  isOnline(): boolean;
  /** Network gained or lost, or the page is seen again. The returned function ends it. */
  onChange(listener: (what: "online" | "offline" | "seen") => void): () => void;
}

export interface Environment {
  now(): Instant;
  after: After;
  /** From 0 up to, but not including, 1; for waits only. */
  random(): number;
  readonly crypto: CryptoTools;
  openSocket(url: string, protocols: readonly string[], listener: SocketListener): Socket;
  /** GET, not cached. Rejects where there was no answer, or none within ten seconds. */
  ask(url: string, bearer: string): Promise<Answer>;
  readonly store: Store;
  readonly surroundings: Surroundings;
  /** The only relay that this phone may talk to, as `https://host:port`. Absent: any. */
  readonly relayOrigin?: string;
  /** What the phone is called until a person names it. */
  readonly deviceName: string;
  /** Shown to people at the computer: "iOS". At most 32 characters. */
  readonly platform: string;
}

export type CryptoTools = Pick<Crypto, "subtle" | "getRandomValues">;
