// All that the core needs from outside, so that it runs in a page, in a terminal, and in tests in virtual time.

import type { Instant } from "./model";
import type { Store } from "./store";

/** Calls `action` once, after `milliseconds`; the returned function takes that back. */
export type After = (milliseconds: number, action: () => void) => () => void;

/** As much of a WebSocket as the core needs. */
export interface Socket {
  /** Throws where it is not open. */
  send(text: string): void;
  /** The listener ignores what still arrives after this. */
  close(): void;
}

/** What a socket reports; never before `openSocket` has returned. Whatever goes wrong ends in `closed`. */
export interface SocketListener {
  opened(): void;
  /** A text, or else something that is no message. */
  received(data: unknown): void;
  closed(code: number): void;
}

/** The response of a relay. The body is not read: the status is all that is needed. */
export interface HttpResponse {
  readonly status: number;
}

/** The network and the screen, as far as they can be known. */
export interface DeviceStatus {
  /** False only where it is known that there is no network. */
  isOnline(): boolean;
  /** Network gained or lost, or the page becomes visible again. The returned function ends it. */
  onChange(listener: (what: "online" | "offline" | "visible") => void): () => void;
}

/** What this phone's lock is known by. */
export interface LockKey {
  /** Base64. */
  readonly credentialID: string;
  /** Base64 of its SubjectPublicKeyInfo. */
  readonly publicKey: string;
  /** As COSE numbers them: -7 or -257. */
  readonly algorithm: number;
}

/**
 * The phone's own lock: a face, a finger, a code. Both operations ask for it, and reject with an Error whose message is for
 * people where the person was not recognised.
 */
export interface DeviceLock {
  isThere(): Promise<boolean>;
  enrol(): Promise<LockKey>;
  check(key: LockKey): Promise<void>;
}

export interface Environment {
  now(): Instant;
  /** Milliseconds since some moment of this visit. Never set; may stand still while the device sleeps. */
  monotonicNow(): number;
  after: After;
  /** From 0 up to, but not including, 1; for waits only. */
  random(): number;
  readonly crypto: CryptoTools;
  openSocket(url: string, protocols: readonly string[], listener: SocketListener): Socket;
  /** GET, not cached. Rejects where there was no answer, or none within ten seconds. */
  httpGet(url: string, bearer: string): Promise<HttpResponse>;
  readonly store: Store;
  readonly deviceStatus: DeviceStatus;
  /** Absent: there is none that could be asked. */
  readonly lock?: DeviceLock;
  /** The only relay that this phone may talk to, as `https://host:port`. Absent: any. */
  readonly relayOrigin?: string;
  /** What the phone is called until a person names it. */
  readonly deviceName: string;
  /** Shown to people at the computer: "iOS". At most 32 characters. */
  readonly platform: string;
}

/** As much of WebCrypto as the core needs, which browsers and Node declare in slightly different ways. */
export interface CryptoTools {
  getRandomValues(bytes: Uint8Array<ArrayBuffer>): Uint8Array<ArrayBuffer>;
  readonly subtle: {
    digest(algorithm: "SHA-256", data: Uint8Array<ArrayBuffer>): Promise<ArrayBuffer>;
    importKey(
      format: "raw",
      data: ArrayBuffer,
      algorithm: "AES-GCM",
      isExtractable: boolean,
      usages: ("encrypt" | "decrypt")[],
    ): Promise<CryptoKey>;
    generateKey(
      algorithm: { readonly name: "AES-GCM"; readonly length: 256 },
      isExtractable: boolean,
      usages: ("encrypt" | "decrypt")[],
    ): Promise<CryptoKey>;
    encrypt(algorithm: Cipher, key: CryptoKey, data: Uint8Array<ArrayBuffer>): Promise<ArrayBuffer>;
    decrypt(algorithm: Cipher, key: CryptoKey, data: Uint8Array<ArrayBuffer>): Promise<ArrayBuffer>;
  };
}

export interface Cipher {
  readonly name: "AES-GCM";
  readonly iv: Uint8Array<ArrayBuffer>;
}
