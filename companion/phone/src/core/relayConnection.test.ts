import { beforeEach, describe, expect, it } from "vitest";
import { RelayConnection } from "./relayConnection";
import { PhoneWorld } from "./testing";
import type { FakeSocket } from "./testing";

let world: PhoneWorld;
let connection: RelayConnection;
let events: string[];

beforeEach(() => {
  world = new PhoneWorld();
  events = [];
  connection = new RelayConnection(
    {
      backendURL: "https://relay.example:8443",
      pairingID: "mac-1",
      token: "t".repeat(64),
      deviceID: "DEVICE-1",
      deviceName: () => "Ana’s & Bo’s phone",
    },
    world.environment(),
    {
      stateChanged: () => events.push(connection.state.kind),
      connected: () => events.push("(connected)"),
      disconnected: () => events.push("(disconnected)"),
      message: (text) => events.push(text),
    },
  );
});

function connected(): FakeSocket {
  connection.start();
  const socket = world.network.socket();
  socket.open();
  return socket;
}

function attempts(): number {
  return world.network.sockets.length;
}

describe("The way to the relay", () => {
  it("names itself in the query, and its token only among the subprotocols", () => {
    connection.start();
    const { url, protocols } = world.network.socket();
    expect(url.origin + url.pathname).toBe("wss://relay.example:8443/ws");
    expect(Object.fromEntries(url.searchParams)).toEqual({
      role: "phone",
      pairing: "mac-1",
      deviceID: "DEVICE-1",
      deviceName: "Ana’s & Bo’s phone",
      platform: "iOS",
    });
    expect(protocols).toEqual(["quillard.v1", `quillard.bearer.${"t".repeat(64)}`]);
    expect(url.href).not.toContain("ttt");
  });

  it("is connecting until the relay takes it, and passes on texts only", () => {
    const socket = connected();
    socket.deliver({ type: "anything" });
    socket.deliverRaw(new ArrayBuffer(3));
    expect(events).toEqual(["connecting", "connected", "(connected)", '{"type":"anything"}']);
  });

  it("sends nothing before it is open or after it is closed", () => {
    connection.start();
    expect(connection.send("early")).toBe(false);
    const socket = world.network.socket();
    socket.open();
    expect(connection.send("in time")).toBe(true);
    socket.end();
    expect(connection.send("late")).toBe(false);
    expect(socket.sent).toEqual(["in time"]);
  });

  it("waits 1 s, then twice as long each time, and never more than 30 s", async () => {
    world.network.responseStatus = 200;
    connection.start();
    for (const [index, wait] of [1, 2, 4, 8, 16, 30, 30].entries()) {
      expect(attempts()).toBe(index + 1);
      world.network.socket().end();
      expect(connection.state).toEqual({ kind: "waiting", nextAttemptAt: world.time.now() + wait * 1000 });
      await world.time.advance(wait * 1000 - 1);
      expect(attempts()).toBe(index + 1);
      await world.time.advance(1);
    }
  });

  it("shortens each wait by up to half at random", () => {
    world.chance = 0.999;
    connected().end(1013);
    const { state } = connection;
    expect(state.kind === "waiting" && state.nextAttemptAt - world.time.now()).toBeCloseTo(500.5);
  });

  it("begins with the first wait again after a connection that held for half a minute, not after a shorter one", async () => {
    const waitAfter = async (lasting: number) => {
      const socket = world.network.socket();
      socket.open();
      await world.time.advance(lasting);
      socket.end();
      const { state } = connection;
      const wait = state.kind === "waiting" ? state.nextAttemptAt - world.time.now() : 0;
      await world.time.advance(wait);
      return wait;
    };
    connection.start();
    expect(await waitAfter(0)).toBe(1000);
    expect(await waitAfter(29_999)).toBe(2000);
    expect(await waitAfter(30_000)).toBe(1000);
  });

  it("gives a relay that is stopping two to five seconds", () => {
    world.chance = 0.5;
    connected().end(1012);
    expect(connection.state).toEqual({ kind: "waiting", nextAttemptAt: world.time.now() + 3500 });
  });

  it.each([
    [4001, "takenOver"],
    [4002, "revoked"],
    [4003, "removed"],
  ])("rests after the close code %i, until a person asks", async (code, kind) => {
    connected().end(code);
    expect(connection.state.kind).toBe(kind);
    world.deviceStatus.becomeVisible();
    world.deviceStatus.goOffline();
    world.deviceStatus.goOnline();
    await world.time.advance(3_600_000);
    expect(attempts()).toBe(1);
    expect(connection.state.kind).toBe(kind);
    connection.connectNow();
    expect(attempts()).toBe(2);
  });

  it.each([
    [401, "refused"],
    [403, "removed"],
    [410, "revoked"],
  ])("learns from the answer %i why it was refused", async (status, kind) => {
    world.network.responseStatus = status;
    connection.start();
    world.network.socket().end();
    await world.time.settle();
    expect(connection.state.kind).toBe(kind);
    expect(world.network.requests).toEqual([
      { url: "https://relay.example:8443/api/pairings/mac-1?deviceID=DEVICE-1", bearer: "t".repeat(64) },
    ]);
    await world.time.advance(3_600_000);
    expect(attempts()).toBe(1);
  });

  it.each([200, 400, 429, 503, "unreachable" as const])(
    "goes on trying after the answer %s",
    async (answer) => {
      world.network.responseStatus = answer;
      connection.start();
      world.network.socket().end();
      await world.time.settle();
      expect(connection.state.kind).toBe("waiting");
      await world.time.advance(1000);
      expect(attempts()).toBe(2);
    },
  );

  it("does not believe an old answer once it is connected", async () => {
    let answer: (answer: { status: number }) => void = () => {};
    const environment = {
      ...world.environment(),
      ask: () => new Promise<{ status: number }>((done) => (answer = done)),
    };
    connection = new RelayConnection(
      { backendURL: "https://r", pairingID: "p", token: "t", deviceID: "d", deviceName: () => "n" },
      environment,
      { stateChanged: () => {}, connected: () => {}, disconnected: () => {}, message: () => {} },
    );
    connection.start();
    world.network.socket().end();
    await world.time.advance(1000);
    world.network.socket().open();
    answer({ status: 401 });
    await world.time.settle();
    expect(connection.state.kind).toBe("connected");
  });

  it("does not ask why a connection ended that had been open", () => {
    connected().end(1006);
    expect(world.network.requests).toEqual([]);
  });

  it("gives up a handshake after 15 s", async () => {
    connection.start();
    await world.time.advance(14_999);
    expect(connection.state.kind).toBe("connecting");
    await world.time.advance(1);
    expect(connection.state.kind).toBe("waiting");
    world.network.socket().open();
    expect(connection.state.kind).toBe("waiting");
  });

  it("takes 50 s of silence for the end, and connects anew immediately", async () => {
    const socket = connected();
    await world.time.advance(30_000);
    socket.deliver("a sign of life");
    await world.time.advance(49_999);
    expect(attempts()).toBe(1);
    await world.time.advance(1);
    expect(attempts()).toBe(2);
    expect(socket.state).toBe("closed");
    expect(events.slice(-2)).toEqual(["(disconnected)", "connecting"]);
  });

  it("connects anew when the page is visible again after 25 s of silence, not sooner", async () => {
    connected();
    await world.time.advance(24_999);
    world.deviceStatus.becomeVisible();
    expect(attempts()).toBe(1);
    world.time.set(world.time.now() + 1);
    world.deviceStatus.becomeVisible();
    expect(attempts()).toBe(2);
  });

  it("does not wait any longer once the page is visible, or there is a network again", async () => {
    connected().end();
    world.deviceStatus.becomeVisible();
    expect(attempts()).toBe(2);
    world.deviceStatus.goOffline();
    expect(connection.state.kind).toBe("offline");
    await world.time.advance(3_600_000);
    expect(attempts()).toBe(2);
    world.deviceStatus.goOnline();
    expect(attempts()).toBe(3);
  });

  it("tries nothing without a network", () => {
    world.deviceStatus.goOffline();
    connection.start();
    expect(connection.state.kind).toBe("offline");
    expect(attempts()).toBe(0);
  });

  it("takes no further notice of a socket that it has given up", async () => {
    const old = connected();
    await world.time.advance(50_000);
    world.network.socket().open();
    events.length = 0;
    old.deliver("from the past");
    old.end(4002);
    expect(events).toEqual([]);
    expect(connection.state.kind).toBe("connected");
  });

  it("tries once only when a person asks many times, and leaves a good connection alone", () => {
    const socket = connected();
    connection.connectNow();
    expect(attempts()).toBe(1);
    expect(socket.state).toBe("open");
  });

  it("rests from the start where an earlier visit ended for good", () => {
    connection.start("removed");
    expect(connection.state.kind).toBe("removed");
    expect(attempts()).toBe(0);
  });

  it("reports and tries nothing any more once it is stopped", async () => {
    const socket = connected();
    connection.stop();
    events.length = 0;
    socket.deliver("late");
    socket.end();
    world.deviceStatus.becomeVisible();
    connection.connectNow();
    await world.time.advance(3_600_000);
    expect(events).toEqual([]);
    expect(attempts()).toBe(1);
  });

  it("waits where a socket cannot even be made", () => {
    const environment = {
      ...world.environment(),
      openSocket: () => {
        throw new Error("No sockets.");
      },
    };
    connection = new RelayConnection(
      { backendURL: "https://r", pairingID: "p", token: "t", deviceID: "d", deviceName: () => "n" },
      environment,
      { stateChanged: () => {}, connected: () => {}, disconnected: () => {}, message: () => {} },
    );
    connection.start();
    expect(connection.state.kind).toBe("waiting");
  });
});
