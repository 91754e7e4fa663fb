import { readFileSync } from "node:fs";
import { describe, expect, it } from "vitest";
import { DecodingError, Fields, instantFrom, parseJson } from "./decoding";
import {
  readClock,
  readMessage,
  readPromptList,
  readResultCommand,
  readSuppressionCommand,
  requestMessage,
  suppressionMessage,
} from "./messages";
import { sampleApproval, sampleButton, sampleID } from "./testing";

const box = {
  version: 1,
  nonce: "AQIDBAUGBwgJCgsM",
  ciphertext: "AQIDBAUGBwgJCgsM+/+/AAAAAAAAAAAAAAAAAAAAAA==",
};

function golden(name: string): string {
  return readFileSync(new URL(`../../../../tests/golden/relay/${name}.json`, import.meta.url), "utf8");
}

function message(members: unknown) {
  return readMessage(JSON.stringify(members));
}

function without(record: Readonly<Record<string, unknown>>, name: string): Readonly<Record<string, unknown>> {
  return Object.fromEntries(Object.entries(record).filter(([key]) => key !== name));
}

describe("Messages", () => {
  it("are read as the computer writes them", () => {
    expect(readMessage(golden("mac-snapshot"))).toEqual({
      type: "snapshot",
      accessibilityTrusted: true,
      box: box.ciphertext,
    });
    expect(readMessage(golden("approval-result"))).toEqual({
      type: "result",
      decisionID: "decision-1",
      box: box.ciphertext,
    });
    for (const name of ["approval-suppress", "approval-unsuppress"]) {
      expect(readMessage(golden(name))).toEqual({ type: "suppression", box: box.ciphertext });
    }
    expect(readResultCommand(golden("command-result"))).toEqual({
      approvalID: "E621E1F8-C36C-495A-93FC-0C247A3E6E5F",
      buttonLabel: "Allow",
      status: "accepted",
    });
    expect(readResultCommand(golden("command-result-error"))).toMatchObject({
      status: "requiresDirectAccess",
      error: "This prompt requires direct Mac access.",
    });
    expect(readSuppressionCommand(golden("command-suppress"))).toMatchObject({ action: "suppress" });
    expect(readSuppressionCommand(golden("command-unsuppress-bare"))).toEqual({
      action: "unsuppress",
      suppressionID: "0F0E0D0C-0B0A-4908-8706-050403020100",
    });
  });

  it("are read as the relay writes them", () => {
    const status = { type: "mac.status", macConnected: true, macConnection: 2, heardSecondsAgo: 4 };
    expect(message(status)).toEqual({
      type: "computerStatus",
      isConnected: true,
      connection: 2,
      heardSecondsAgo: 4,
    });
    expect(message({ type: "mac.status", macConnected: false })).toEqual({
      type: "computerStatus",
      isConnected: false,
    });
    expect(message({ type: "relay.receipt", decisionID: "D", delivered: false, reason: "macBusy" })).toEqual({
      type: "receipt",
      decisionID: "D",
      delivered: false,
      reason: "macBusy",
    });
    const phone = { deviceID: "P", deviceName: "Bo’s phone", platform: "unknown here" };
    expect(message({ type: "approval.result", decisionID: "D", encryptedResult: box, phone })).toMatchObject({
      phone: { deviceID: "P", deviceName: "Bo’s phone" },
    });
  });

  it("of unknown types and with unknown members are no error", () => {
    expect(message({ type: "Mac.Snapshot" })).toEqual({ type: "unknown" });
    expect(message({ type: "phone.status", phoneConnected: 3 })).toEqual({ type: "unknown" });
    expect(message({ type: "mac.status", macConnected: true, more: [1] })).toMatchObject({
      isConnected: true,
    });
  });

  it("about a list that cannot be read are reported, not dropped", () => {
    const snapshot = { type: "mac.snapshot", accessibilityTrusted: true, encryptedApprovals: box };
    for (const name of ["accessibilityTrusted", "encryptedApprovals"]) {
      expect(message(without(snapshot, name)).type).toBe("unreadableSnapshot");
    }
    expect(message({ ...snapshot, encryptedApprovals: { ...box, ciphertext: 5 } }).type).toBe(
      "unreadableSnapshot",
    );
    expect(message({ ...snapshot, accessibilityTrusted: "true" }).type).toBe("unreadableSnapshot");
  });

  it.each([
    ["no JSON", "{"],
    ["nothing", ""],
    ["a list", "[]"],
    ["a text", '"mac.snapshot"'],
    ["null", "null"],
    ["no type", "{}"],
    ["a type that is no text", '{"type":1}'],
    ["a type from the prototype", '{"__proto__":{"type":"mac.status"}}'],
    ["a status without its member", '{"type":"mac.status"}'],
    ["a status that is no truth value", '{"type":"mac.status","macConnected":1}'],
    ["negative seconds", '{"type":"mac.status","macConnected":true,"heardSecondsAgo":-1}'],
    ["a connection that is no number", '{"type":"mac.status","macConnected":true,"macConnection":"1"}'],
    ["parts of seconds", '{"type":"mac.status","macConnected":true,"heardSecondsAgo":0.5}'],
    ["a receipt of nothing", '{"type":"relay.receipt","delivered":true}'],
    ["a subscription that says nothing", '{"type":"push.subscription"}'],
    ["a subscription that says it in a text", '{"type":"push.subscription","subscribed":"true"}'],
    [
      "a subscription with a reason that is none",
      '{"type":"push.subscription","subscribed":false,"reason":1}',
    ],
    ["a receipt that says nothing", '{"type":"relay.receipt","decisionID":"D"}'],
    ["a result without a box", '{"type":"approval.result","decisionID":"D"}'],
    [
      "a result whose phone is a text",
      JSON.stringify({ type: "approval.result", decisionID: "D", encryptedResult: box, phone: "P" }),
    ],
    [
      "a name beyond its limit",
      JSON.stringify({ type: "relay.receipt", decisionID: "D".repeat(257), delivered: true }),
    ],
    ["a suppression without a box", '{"type":"approval.suppress","decisionID":"D"}'],
    [
      "more than a mebibyte",
      JSON.stringify({ type: "mac.status", macConnected: true, more: "x".repeat(1024 * 1024) }),
    ],
  ])("are refused: %s", (_, text) => {
    expect(() => readMessage(text)).toThrow(DecodingError);
  });

  it("of a phone are written with whole seconds, and without null", () => {
    const sealed = { version: 1, nonce: "N", ciphertext: "C" } as const;
    const now = Date.UTC(2026, 2, 1, 12, 34, 56, 789);
    expect(JSON.parse(requestMessage("D", sealed, now))).toEqual({
      type: "approval.request",
      decisionID: "D",
      encryptedRequest: sealed,
      issuedAt: "2026-03-01T12:34:56Z",
    });
    expect(JSON.parse(suppressionMessage("unsuppress", "D", sealed, now))).toMatchObject({
      type: "approval.unsuppress",
      encryptedSuppression: sealed,
    });
  });
});

describe("A list of prompts", () => {
  const read = (...approvals: unknown[]) => readPromptList(JSON.stringify(approvals)).prompts;

  /** Asks for nothing that is lost with it. */
  const quiet = { windowTitle: "Use the camera?", messageLines: [] };

  it("keeps the computer's order, and every text as it is", () => {
    const title = "\u202E</b>\u0000 “x”";
    const [first, second] = read(sampleApproval(2, { windowTitle: title }), sampleApproval(1, quiet));
    expect(first).toMatchObject({
      id: sampleID(2),
      windowTitle: title,
      detectedAt: Date.UTC(2026, 2, 1, 11, 59, 0),
    });
    expect(second?.buttons).toEqual([
      { label: "Cancel", isRecommended: false, kind: "dismiss" },
      { label: "Allow", isRecommended: true, kind: "grant" },
    ]);
    expect(read(sampleApproval(3))[0]?.buttons[1]).toMatchObject({ label: "Allow", caution: "destroys" });
  });

  it("takes an identity for the kind's where that is left out or null, and reads identities in either case", () => {
    const lower = sampleID(0xabc).toLowerCase();
    expect(read(without(sampleApproval(1, { id: lower }), "suppressionID"))[0]).toMatchObject({
      id: lower.toUpperCase(),
      suppressionID: lower.toUpperCase(),
    });
    expect(read(sampleApproval(1, { suppressionID: null }))[0]?.suppressionID).toBe(sampleID(1));
  });

  it.each(["bundleIdentifier", "recommendedButtonLabel", "directAccessReason"])(
    "may leave out %s",
    (name) => {
      expect(read(without(sampleApproval(1), name))).toHaveLength(1);
      expect(read(sampleApproval(1, { [name]: null }))).toHaveLength(1);
    },
  );

  it("marks one button as the usual one, of two with the same label the first", () => {
    const buttons = ["OK", "Allow", "Allow"].map(sampleButton);
    expect(read(sampleApproval(1, { buttons }))[0]?.buttons.map((button) => button.isRecommended)).toEqual([
      false,
      true,
      false,
    ]);
  });

  it("knows which buttons take no presses, and never calls one of those the usual one", () => {
    const buttons = [
      { ...sampleButton("Allow"), isEnabled: false },
      { ...sampleButton("Deny"), isEnabled: true },
    ];
    expect(read(sampleApproval(1, { ...quiet, buttons }))[0]?.buttons).toEqual([
      { label: "Allow", isRecommended: false, kind: "grant", isDisabled: true },
      { label: "Deny", isRecommended: false, kind: "dismiss" },
    ]);
  });

  it("takes the computer's word for a safe dismissal whose label does not tell, and for nothing else", () => {
    const buttons = [
      { ...sampleButton("Deny Access"), isKnownDismissal: true },
      { ...sampleButton("Abbrechen"), isKnownDismissal: null },
      { ...sampleButton("Nein"), isKnownDismissal: false },
    ];
    const kinds = read(sampleApproval(1, { buttons }))[0]?.buttons.map((button) => button.kind);
    expect(kinds).toEqual(["dismiss", "grant", "grant"]);
  });

  it("keeps labels that are spelled alike apart", () => {
    const labels = ["Allow", "Аllow", "Allow\u200B", "Allow "];
    const prompt = read(sampleApproval(1, { buttons: labels.map(sampleButton) }))[0];
    expect(prompt?.buttons.map((button) => button.label)).toEqual(labels);
  });

  it.each([
    "id",
    "detectedAt",
    "appName",
    "processIdentifier",
    "windowTitle",
    "windowRole",
    "windowFrame",
    "messageLines",
    "reason",
    "buttons",
    "requiresDirectAccess",
    "isFallbackDetection",
  ])("is refused whole where a prompt lacks %s, or has it null or mistyped", (name) => {
    for (const broken of [without(sampleApproval(1), name), sampleApproval(1, { [name]: null })]) {
      expect(() => read(sampleApproval(2), broken)).toThrow(`approvals[1].${name}: is missing`);
    }
    expect(() => read(sampleApproval(1, { [name]: new Date(NaN).getTime() }))).toThrow(DecodingError);
    expect(() => read(sampleApproval(1, { [name]: { a: 1 } }))).toThrow(DecodingError);
  });

  it.each([
    ["an identity without hyphens", { id: "0".repeat(32) }],
    ["a day without a time", { detectedAt: "2026-03-01" }],
    ["a process that is no integer", { processIdentifier: 1.5 }],
    ["a process beyond 32 bits", { processIdentifier: 2 ** 31 }],
    ["a frame without a side", { windowFrame: { x: 0, y: 0, width: 1 } }],
    ["a frame of texts", { windowFrame: { x: "0", y: 0, width: 1, height: 1 } }],
    ["lines that are numbers", { messageLines: [1] }],
    ["lines as one text", { messageLines: "one" }],
    ["too many lines", { messageLines: new Array(1001).fill("") }],
    ["a button that is a text", { buttons: ["OK"] }],
    ["a button without a label", { buttons: [without(sampleButton("OK"), "label")] }],
    ["a button without a role", { buttons: [without(sampleButton("OK"), "role")] }],
    ["a button that is neither enabled nor not", { buttons: [{ ...sampleButton("OK"), isEnabled: "no" }] }],
    ["a button that may be a dismissal", { buttons: [{ ...sampleButton("OK"), isKnownDismissal: 1 }] }],
    ["a button without a place", { buttons: [without(sampleButton("OK"), "x")] }],
    ["too many buttons", { buttons: new Array(201).fill(sampleButton("OK")) }],
    ["a label beyond its limit", { buttons: [sampleButton("x".repeat(10_001))] }],
    ["a time that is no stamp", { clock: 12 }],
    ["a time without an epoch", { clock: { time: 1 } }],
    ["a time of an epoch without a name", { clock: { epoch: "here", time: 1 } }],
    ["a time before all time", { clock: { epoch: sampleID(9), time: -1 } }],
    ["a time in parts", { clock: { epoch: sampleID(9), time: 0.5 } }],
    ["a time that is no number", { clock: { epoch: sampleID(9), time: "1" } }],
    ["a time beyond all numbers", { clock: { epoch: sampleID(9), time: Number.MAX_SAFE_INTEGER + 1 } }],
    ["nothing that is left out, said aloud", { leftOut: 0 }],
    ["less than nothing that is left out", { leftOut: -1 }],
    ["a part of a prompt that is left out", { leftOut: 1.5 }],
    ["more left out than can be", { leftOut: 1_000_001 }],
    ["left out, as a text", { leftOut: "3" }],
    ["a title beyond its limit", { windowTitle: "x".repeat(100_001) }],
  ])("is refused: %s", (_, change) => {
    expect(() => read(sampleApproval(1, change))).toThrow(DecodingError);
  });

  it("is refused where two prompts have one identity, or there are too many", () => {
    expect(() => read(sampleApproval(1), sampleApproval(1))).toThrow("names two prompts alike");
    expect(() => readPromptList(JSON.stringify(new Array(1001).fill({}))).prompts).toThrow("more than 1000");
    expect(() => readPromptList('{"0":{}}').prompts).toThrow("is not a list");
  });
});

describe("A list", () => {
  const clock = { epoch: sampleID(9), time: Number.MAX_SAFE_INTEGER };
  const readList = (...approvals: unknown[]) => readPromptList(JSON.stringify(approvals));

  it("says when it was sealed, and how many prompts are missing", () => {
    const marks = { clock, leftOut: 3 };
    expect(readList(sampleApproval(1, marks), sampleApproval(2, marks))).toMatchObject({ clock, leftOut: 3 });
  });

  it("of an older computer says neither, nor does an empty one", () => {
    expect(readList(sampleApproval(1))).toMatchObject({ leftOut: 0 });
    expect(readList(sampleApproval(1)).clock).toBeUndefined();
    expect(readList()).toEqual({ prompts: [], leftOut: 0 });
  });

  it("is refused where a later record of it cannot be read", () => {
    expect(() => readList(sampleApproval(1, { clock }), sampleApproval(2, { clock: {} }))).toThrow("epoch");
  });
});

describe("A computer's clock", () => {
  const epoch = sampleID(9);

  it("is an epoch and a whole number", () => {
    const text = JSON.stringify({ clock: { epoch: epoch.toLowerCase(), time: 12, more: 1 }, more: 2 });
    expect(readClock(text)).toEqual({ clock: { epoch, time: 12 }, newPhones: [] });
    expect(readMessage('{"type":"mac.clock","encryptedClock":{"ciphertext":"QQ=="}}')).toEqual({
      type: "clock",
      box: "QQ==",
    });
  });

  it.each([
    "",
    "[]",
    "{}",
    '{"clock":null}',
    '{"clock":7}',
    '{"clock":[]}',
    '{"clock":{"time":1}}',
    `{"clock":{"epoch":"${epoch}"}}`,
    `{"clock":{"epoch":"${epoch}","time":null}}`,
    `{"clock":{"epoch":"${epoch}","time":-1}}`,
    `{"clock":{"epoch":"${epoch}","time":0.5}}`,
    `{"clock":{"epoch":"${epoch}","time":1e400}}`,
    `{"clock":{"epoch":"${epoch}","time":NaN}}`,
    `{"clock":{"epoch":"${epoch}","time":"1"}}`,
    `{"clock":{"epoch":"${epoch}","time":true}}`,
    `{"clock":{"epoch":"${epoch}","time":9007199254740992}}`,
    `{"clock":{"epoch":7,"time":1}}`,
    `{"clock":{"epoch":"x","time":1}}`,
    `{"epoch":"${epoch}","time":1}`,
  ])("is nothing else: %s", (text) => {
    expect(() => readClock(text)).toThrow(DecodingError);
  });
});

describe("A result", () => {
  it("that came too late says so by its reason, and says which decision it answers, and when", () => {
    const clock = { epoch: sampleID(9), time: 12 };
    const text = { ...result, status: "failed", error: "Late.", reason: "tooLate", decisionID: "D", clock };
    expect(readResultCommand(JSON.stringify(text))).toEqual({
      ...result,
      status: "tooLate",
      error: "Late.",
      decisionID: "D",
      clock,
    });
  });

  it("is what it says where its reason is another one, or does not fit", () => {
    const read = (change: object) => readResultCommand(JSON.stringify({ ...result, ...change })).status;
    expect(read({ status: "failed", reason: "tired" })).toBe("failed");
    expect(read({ status: "accepted", reason: "tooLate" })).toBe("accepted");
  });

  it.each([
    { reason: 7 },
    { decisionID: 7 },
    { decisionID: "x".repeat(257) },
    { clock: 7 },
    { clock: { time: 1 } },
  ])("is refused with %j", (change) => {
    expect(() => readResultCommand(JSON.stringify({ ...result, ...change }))).toThrow(DecodingError);
  });

  const result = { approvalID: sampleID(1), buttonLabel: "Allow", status: "accepted" };

  it.each([
    ["accepted", "accepted"],
    ["failed", "failed"],
    ["not_found", "notFound"],
    ["requires_direct_access", "requiresDirectAccess"],
  ])("says %s", (status, known) => {
    expect(readResultCommand(JSON.stringify({ ...result, status })).status).toBe(known);
  });

  it.each([
    ["an unknown status", { ...result, status: "Accepted" }],
    ["a status of our own making", { ...result, status: "undelivered" }],
    ["an error that is no text", { ...result, error: 4 }],
    ["no prompt", without(result, "approvalID")],
    ["no label", without(result, "buttonLabel")],
    ["a request", without(result, "status")],
    ["a list of prompts", []],
  ])("is refused: %s", (_, value) => {
    expect(() => readResultCommand(JSON.stringify(value))).toThrow(DecodingError);
  });
});

describe("A suppression", () => {
  it.each([
    ["an unknown action", { action: "mute", suppressionID: sampleID(1) }],
    ["no kind", { action: "suppress", approvalID: sampleID(1) }],
    ["a kind that is no identity", { action: "suppress", suppressionID: "all" }],
    ["a prompt that is no identity", { action: "suppress", suppressionID: sampleID(1), approvalID: "all" }],
  ])("is refused: %s", (_, value) => {
    expect(() => readSuppressionCommand(JSON.stringify(value))).toThrow(DecodingError);
  });
});

describe("A date", () => {
  it.each([
    ["2026-03-01T12:34:56Z", Date.UTC(2026, 2, 1, 12, 34, 56)],
    ["2026-03-01T12:34:56.789Z", Date.UTC(2026, 2, 1, 12, 34, 56, 789)],
    ["2026-03-01T12:34:56.7899Z", Date.UTC(2026, 2, 1, 12, 34, 56, 789)],
    ["2026-03-01T12:34:56+01:30", Date.UTC(2026, 2, 1, 11, 4, 56)],
    ["2024-02-29T00:00:00-00:15", Date.UTC(2024, 1, 29, 0, 15, 0)],
  ])("is read: %s", (text, instant) => {
    expect(instantFrom(text)).toBe(instant);
  });

  it.each([
    "",
    "2026-03-01",
    "2026-03-01 12:34:56Z",
    "2026-03-01T12:34:56",
    "2026-03-01T12:34Z",
    "2026-02-30T12:34:56Z",
    "2026-13-01T12:34:56Z",
    "2026-03-01T24:00:00Z",
    "2026-03-01T12:60:00Z",
    "2026-03-01t12:34:56z",
    "2026-03-01T12:34:56Z ",
    "+002026-03-01T12:34:56Z",
  ])("is refused: %s", (text) => {
    expect(instantFrom(text)).toBeUndefined();
    expect(() => new Fields({ at: text }, "record").date("at")).toThrow("Expected ISO-8601 date string.");
  });
});

describe("JSON of others", () => {
  it("is measured before it is read, and may be nested deeply without harm", () => {
    expect(() => parseJson("[1]", 2)).toThrow("longer than 2");
    const deep = "[".repeat(200_000) + "]".repeat(200_000);
    expect(() => readMessage(deep)).toThrow(DecodingError);
  });
});
