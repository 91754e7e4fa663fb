// What a push says. The computer has sealed it for this browser, which has opened it; it is read as strictly as all that comes
// from outside.

import { Fields, parseJson } from "./decoding";
import type { ClockStamp } from "./computerClock";
import type { Instant } from "./model";

const longestPush = 4096;
const longestText = 2000;
const longestName = 256;
const mostWaiting = 1_000_000;

/** What a notification keeps of the push that it was shown for. */
export interface PushData {
  /** prompt: about one. several: about more than one, none of them named. test: a person asked for it. */
  readonly kind: "prompt" | "several" | "test";
  readonly pairingID: string;
  /** Of a prompt. */
  readonly approvalID?: string;
  /** What the computer calls itself. */
  readonly computer: string;
  /** The label of a safe dismissal. Absent: there is none, or it may not stand on the lock screen. */
  readonly dismissLabel?: string;
  /** How many prompts wait there, this one included. */
  readonly waiting: number;
  /** When it was sealed. */
  readonly clock: ClockStamp;
  /** When it was shown, by this phone's clock. Absent: it has not been yet. */
  readonly shownAt?: Instant;
}

export interface PushText {
  readonly title: string;
  readonly body: string;
  /** Names what it is about, without saying it: a later word takes the place of an earlier one. */
  readonly tag: string;
  readonly language?: string;
  readonly data: PushData;
}

/** Absent: it is nothing that can be understood. */
export function readPush(text: string): PushText | undefined {
  try {
    const fields = new Fields(parseJson(text, longestPush, "push"), "push");
    if (fields.integer("web_push", 8030, 8030) !== 8030) return undefined;
    const notification = fields.object("notification");
    const language = notification.optionalString("lang", 35);
    const title = notification.string("title", longestText);
    if (title.trim() === "") return undefined;
    return {
      title,
      body: notification.optionalString("body", longestText) ?? "",
      tag: notification.string("tag", 64),
      ...(language !== undefined && { language }),
      data: dataFrom(notification.object("data")),
    };
  } catch {
    return undefined;
  }
}

/** Of a notification that is on the screen. Absent: it is none of ours, or of a version that said something else. */
export function readPushData(value: unknown): PushData | undefined {
  try {
    return dataFrom(new Fields(value, "data"));
  } catch {
    return undefined;
  }
}

function dataFrom(fields: Fields): PushData {
  fields.integer("quillard", 1, 1);
  const kind = fields.string("kind", 16);
  if (kind !== "prompt" && kind !== "several" && kind !== "test") throw fields.error("kind", "is not known");
  const dismissLabel = fields.optionalString("dismissLabel", 100);
  const clock = fields.object("clock");
  const shownAt = fields.optionalNumber("shownAt");
  return {
    kind,
    pairingID: fields.string("pairingID", 128),
    ...(kind === "prompt" && { approvalID: fields.uuid("approvalID") }),
    computer: fields.string("computer", longestName),
    ...(kind === "prompt" && dismissLabel !== undefined && dismissLabel !== "" && { dismissLabel }),
    waiting: fields.integer("waiting", 0, mostWaiting),
    clock: { epoch: clock.uuid("epoch"), time: clock.integer("time", 0, Number.MAX_SAFE_INTEGER) },
    ...(shownAt !== undefined && { shownAt }),
  };
}
