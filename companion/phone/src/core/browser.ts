// The environment that a browser gives.

import { say } from "../language/say";
import type {
  DeviceLock,
  HttpResponse,
  Environment,
  Socket,
  SocketListener,
  DeviceStatus,
} from "./environment";
import { IndexedDBStore } from "./indexedDBStore";

const requestTimeout = 10_000;

export function browserEnvironment(): Environment {
  // A page that came without encryption from another computer has no such thing, whatever the types say.
  const crypto: Crypto | undefined = globalThis.crypto as Crypto | undefined;
  if (!crypto?.subtle) {
    throw new Error("This page has to be opened over https, or this browser is too old to keep secrets.");
  }
  return {
    ...sharedEnvironment(crypto, async () => navigator.storage.persist()),
    deviceStatus: browserDeviceStatus(),
    lock: browserLock,
    push: async () => (await import("./pushDoor")).pageDoor(),
    relayOrigin: relayOrigin(),
  };
}

/** What the page has in common with its worker. `persist`: asks the browser to keep what is stored. */
export function sharedEnvironment(
  crypto: Crypto,
  persist: () => Promise<unknown>,
): Omit<Environment, "deviceStatus" | "push"> {
  const { name, device } = platform(navigator.userAgent);
  return {
    now: () => Date.now(),
    monotonicNow: () => performance.now(),
    after: (milliseconds, action) => {
      const timer = setTimeout(action, milliseconds);
      return () => clearTimeout(timer);
    },
    random: () => Math.random(),
    crypto,
    openSocket: openWebSocket,
    httpGet,
    store: new IndexedDBStore(crypto, factory(), persist),
    deviceName: device,
    platform: name,
  };
}

/** Its own part of the page, which only those fetch who use it. */
const browserLock: DeviceLock = {
  isThere: async () =>
    typeof PublicKeyCredential === "function" &&
    (await PublicKeyCredential.isUserVerifyingPlatformAuthenticatorAvailable()),
  enrol: async () => (await import("./lock")).enrol(),
  check: async (key) => (await import("./lock")).check(key),
};

/** A page that is served from elsewhere names its relay; any other belongs to the relay that it came from. */
function relayOrigin(): string {
  const named = document.querySelector<HTMLMetaElement>('meta[name="quillard-relay"]')?.content;
  return named === undefined ? location.origin : new URL(named).origin;
}

function openWebSocket(url: string, protocols: readonly string[], listener: SocketListener): Socket {
  const socket = new WebSocket(url, [...protocols]);
  socket.onopen = () => listener.opened();
  socket.onmessage = (event: MessageEvent<unknown>) => listener.received(event.data);
  // An error carries no details, and a close follows it.
  socket.onclose = (event) => listener.closed(event.code);
  return {
    send: (text) => {
      // A browser takes messages after the end, and throws them away without a word.
      if (socket.readyState !== WebSocket.OPEN) throw new Error("The connection is closed.");
      socket.send(text);
    },
    close: () => socket.close(),
  };
}

/** Some browsers throw where data is switched off. */
function factory(): IDBFactory | undefined {
  try {
    return globalThis.indexedDB as IDBFactory | undefined;
  } catch {
    return undefined;
  }
}

async function httpGet(url: string, bearer: string): Promise<HttpResponse> {
  const ending = new AbortController();
  const timer = setTimeout(() => ending.abort(), requestTimeout);
  try {
    const answer = await fetch(url, {
      headers: { authorization: `Bearer ${bearer}` },
      cache: "no-store",
      credentials: "omit",
      redirect: "error",
      referrerPolicy: "no-referrer",
      signal: ending.signal,
    });
    return { status: answer.status, text: await answer.text() };
  } finally {
    clearTimeout(timer);
  }
}

function browserDeviceStatus(): DeviceStatus {
  return {
    isOnline: () => navigator.onLine,
    onChange: (listener) => {
      const ending = new AbortController();
      const { signal } = ending;
      const becameVisible = () => listener("visible");
      addEventListener("online", () => listener("online"), { signal });
      addEventListener("offline", () => listener("offline"), { signal });
      // A page that was kept aside comes back without being loaded.
      addEventListener("pageshow", becameVisible, { signal });
      addEventListener("pagehide", () => listener("frozen"), { signal });
      document.addEventListener("freeze", () => listener("frozen"), { signal });
      document.addEventListener("visibilitychange", () => listener(document.visibilityState), { signal });
      return () => ending.abort();
    },
  };
}

/** Good enough to tell one's phones apart; nothing depends on it. */
export function platform(userAgent: string): { readonly name: string; readonly device: string } {
  const known: readonly (readonly [RegExp, string, string])[] = [
    [/iPhone|iPod/, "iOS", "iPhone"],
    [/iPad/, "iPadOS", "iPad"],
    [/Android/, "Android", say("Android phone")],
    [/Macintosh/, "macOS", say("Browser on a Mac")],
    [/Windows/, "Windows", say("Browser on Windows")],
    [/Linux/, "Linux", say("Browser on Linux")],
  ];
  const match = known.find(([pattern]) => pattern.test(userAgent));
  return match ? { name: match[1], device: match[2] } : { name: "Web", device: "Browser" };
}
