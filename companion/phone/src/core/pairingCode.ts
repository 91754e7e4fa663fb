// Reading of what a computer's code holds. A person scanned or pasted it, so every refusal is a sentence for them.

import { say } from "../language/say";
import { DecodingError, Fields, parseJson } from "./decoding";
import type { PairingOffer, PairingReading } from "./model";

/** A code holds about 350 characters; pasted text may be anything. */
const longestText = 4096;
const secretPattern = /^[0-9a-f]{64}$/;
const pairingIDPattern = /^[a-z0-9_-]{1,128}$/;
const notOurs = say("This is not a Quillard pairing code.");
const damaged = say("This pairing code is damaged. Show it again on the computer, and scan it anew.");

/**
 * The relay's base in its one spelling: scheme, host and port. Absent: not one. An unsafe base (`http://`) is one for the
 * computer itself only; whether it may be used is decided by the caller's origin.
 */
export function relayBase(text: string): string | undefined {
  let url: URL;
  try {
    url = new URL(text);
  } catch {
    return undefined;
  }
  const isPlain =
    url.pathname === "/" &&
    url.search === "" &&
    url.hash === "" &&
    url.username === "" &&
    url.password === "";
  const isWeb = url.protocol === "https:" || url.protocol === "http:";
  return isPlain && isWeb ? url.origin : undefined;
}

/** Whether what is sent to this base stays on this computer. */
function isLoopback(base: string): boolean {
  const host = new URL(base).hostname;
  return host === "localhost" || host === "[::1]" || /^127(\.\d{1,3}){3}$/.test(host);
}

/**
 * `relayOrigin`: the only relay that may be used; absent: any that is safe. `isPaired`: whether a name is known already.
 */
export function readPairingCode(
  text: string,
  relayOrigin: string | undefined,
  isPaired: (pairingID: string) => boolean,
): PairingReading {
  try {
    const offer = offerFrom(text);
    if (relayOrigin !== undefined && offer.backendURL !== relayOrigin) {
      return { kind: "otherRelay", backendURL: offer.backendURL };
    }
    if (relayOrigin === undefined && offer.backendURL.startsWith("http:") && !isLoopback(offer.backendURL)) {
      return invalid(say("This code names a relay without encryption, on another computer. It is not used."));
    }
    if (isPaired(offer.pairingID)) return { kind: "alreadyPaired", pairingID: offer.pairingID };
    return { kind: "offer", offer };
  } catch (error) {
    if (error instanceof PairingCodeProblem) return invalid(error.message);
    if (error instanceof DecodingError) return invalid(damaged);
    throw error;
  }
}

class PairingCodeProblem extends Error {}

function offerFrom(text: string): PairingOffer {
  const fields = fieldsOf(text.trim());
  checkKind(fields);
  const backendURL = relayBase(fields.string("backendURL", 512));
  if (backendURL === undefined) throw fields.error("backendURL", "is not a relay's base");
  return {
    pairingID: matching(fields, "pairingID", pairingIDPattern),
    backendURL,
    relaySecret: matching(fields, "relaySecret", secretPattern),
    e2eSecret: matching(fields, "e2eSecret", secretPattern),
  };
}

function fieldsOf(text: string): Fields {
  if (text === "") throw new PairingCodeProblem(say("There is no text in this."));
  try {
    return new Fields(parseJson(text, longestText), "code");
  } catch {
    // Begun like a code and cut off: more helpful than to call it a foreign text.
    throw new PairingCodeProblem(
      text.startsWith("{") && text.includes("quillard.pairing") ? damaged : notOurs,
    );
  }
}

function checkKind(fields: Fields): void {
  let type: string | undefined;
  try {
    type = fields.optionalString("type", 64);
  } catch {
    type = undefined;
  }
  if (type !== "quillard.pairing") throw new PairingCodeProblem(notOurs);
  const version = fields.integer("version", 0, Number.MAX_SAFE_INTEGER);
  if (version !== 1) {
    throw new PairingCodeProblem(
      say(
        "This pairing code is of version %1, and this phone knows version 1 only. Update the older of the two.",
        version,
      ),
    );
  }
}

function matching(fields: Fields, name: string, pattern: RegExp): string {
  const value = fields.string(name, 256);
  if (!pattern.test(value)) throw fields.error(name, "is malformed");
  return value;
}

function invalid(problem: string): PairingReading {
  return { kind: "invalid", problem };
}
