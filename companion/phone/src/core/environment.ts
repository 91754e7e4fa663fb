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

/** The response of a relay. */
export interface HttpResponse {
  readonly status: number;
  /** Its body. Absent: it was not read. */
  readonly text?: string;
}

/** The network and the screen, as far as they can be known. */
export interface DeviceStatus {
  /** False only where it is known that there is no network. */
  isOnline(): boolean;
  /** The returned function ends it. */
  onChange(listener: (what: DeviceChange) => void): () => void;
}

/** Network gained or lost; the page is seen again, or not any more. frozen: nothing runs from here on until it is seen. */
export type DeviceChange = "online" | "offline" | "visible" | "hidden" | "frozen";

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

/** What a push service gave this browser, as it tells it to others: base64url without padding. */
export interface PushSubscriptionKeys {
  readonly endpoint: string;
  /** 65 bytes. */
  readonly p256dh: string;
  /** 16 bytes. */
  readonly auth: string;
}

/** A notification that is on this phone's screen, as far as it is ours. */
export interface ShownNotification {
  /** What it was shown with: bytes from outside, of this or an older version. */
  readonly data: unknown;
  close(): void;
}

/** What wakes this phone while its page is closed: the browser's push service, and a worker that it starts for a push. */
export interface PushDoor {
  /** homeScreenFirst: an iPhone does it only for pages on its home screen. none: this browser cannot. */
  support(): "available" | "homeScreenFirst" | "none";
  /** Whether notifications may be shown. default: nobody was asked yet. */
  permission(): "granted" | "denied" | "default";
  /** Has the browser ask the person; only right after a touch. Some browsers never answer. */
  ask(): Promise<"granted" | "denied" | "default">;
  /**
   * The browser's subscription for that key of a relay: the one that is there, or a new one. One for another key is taken
   * back first, and with `isAnew` any. Rejects where the browser refuses; may never answer.
   */
  subscribe(key: string, isAnew: boolean): Promise<PushSubscriptionKeys>;
  /** Rejects, or never answers, where the push service cannot be reached. */
  unsubscribe(): Promise<void>;
  /** Of what the worker has shown. Empty where there is no worker. */
  shown(): Promise<readonly ShownNotification[]>;
  /** What the worker asks of this page. `reply` answers it. The returned function ends it. */
  onMessage(listener: (message: unknown, reply: (answer: unknown) => void) => void): () => void;
  /** Leads the person to that prompt on the page. */
  goTo(approvalID: string): void;
  /** The page's own address, without a fragment. */
  readonly page: string;
  /** In which the page speaks: BCP 47. */
  readonly language: string;
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
  /** A part of its own, which not every phone needs. Absent: nothing can wake this phone. */
  readonly push?: () => Promise<PushDoor>;
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
