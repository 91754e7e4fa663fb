// The environment that Node gives, version 18 and newer.

import { webcrypto } from "node:crypto";
import { request as plainRequest } from "node:http";
import { request as secureRequest } from "node:https";
import { hostname } from "node:os";
import { WebSocket } from "ws";
import type { HttpResponse, CryptoTools, Environment, Socket, SocketListener } from "../core/environment";
import { MemoryStore } from "../core/memoryStore";
import { longestMessage } from "../core/messages";

const requestTimeout = 10_000;

export function nodeEnvironment(name: string | undefined): Environment {
  return {
    now: () => Date.now(),
    monotonicNow: () => performance.now(),
    after: (milliseconds, action) => {
      const timer = setTimeout(action, milliseconds);
      return () => clearTimeout(timer);
    },
    random: () => Math.random(),
    crypto: nodeCrypto(),
    openSocket: openWebSocket,
    httpGet,
    // One visit, one pairing: nothing is left behind on this machine.
    store: new MemoryStore(),
    deviceStatus: { isOnline: () => true, onChange: () => () => {} },
    deviceName: name ?? `Terminal on ${hostname()}`,
    platform: "Terminal",
  };
}

/** The same interface as a browser's, under names of its own. */
function nodeCrypto(): CryptoTools {
  return webcrypto;
}

function openWebSocket(url: string, protocols: readonly string[], listener: SocketListener): Socket {
  const socket = new WebSocket(url, [...protocols], {
    maxPayload: longestMessage,
    followRedirects: false,
    perMessageDeflate: false,
  });
  socket.on("open", () => listener.opened());
  socket.on("message", (data, isBinary) => listener.received(isBinary ? data : String(data)));
  // An error without a listener would end the program; a close follows it.
  socket.on("error", () => {});
  socket.on("close", (code) => listener.closed(code));
  return { send: (text) => sendOn(socket, text), close: () => socket.close() };
}

function sendOn(socket: WebSocket, text: string): void {
  if (socket.readyState !== WebSocket.OPEN) throw new Error("The connection is closed.");
  socket.send(text);
}

/** Not by `fetch`, which warns of itself on the oldest Node that this is for. */
function httpGet(url: string, bearer: string): Promise<HttpResponse> {
  return new Promise((resolve, reject) => {
    const request = url.startsWith("https:") ? secureRequest : plainRequest;
    const asked = request(url, { headers: { authorization: `Bearer ${bearer}` }, timeout: requestTimeout });
    asked.on("response", (answer) => {
      answer.resume();
      resolve({ status: answer.statusCode ?? 0 });
    });
    asked.on("timeout", () => asked.destroy(new Error("The relay did not answer.")));
    asked.on("error", reject);
    asked.end();
  });
}
