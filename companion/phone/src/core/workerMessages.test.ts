import { describe, expect, it } from "vitest";
import { sampleID } from "./testing";
import { readPageAnswer, readWorkerMessage } from "./workerMessages";

const dismiss = {
  quillard: "dismiss",
  pairingID: "mac",
  approvalID: sampleID(1),
  label: "Cancel",
  at: 5,
};

describe("What the worker says to a page", () => {
  it.each([
    dismiss,
    { quillard: "show", approvalID: sampleID(1) },
    { quillard: "received", pairingID: "mac", at: 5 },
    { quillard: "released", pairingID: "mac" },
    { quillard: "subscriptionChanged" },
  ])("is understood: $quillard", (message) => {
    expect(readWorkerMessage({ ...message, later: true })).toEqual(message);
  });

  it.each([
    undefined,
    null,
    "dismiss",
    [],
    {},
    { quillard: "of a later version" },
    { ...dismiss, pairingID: undefined },
    { ...dismiss, approvalID: "1" },
    { ...dismiss, label: 5 },
    { ...dismiss, label: "x".repeat(10_001) },
    { ...dismiss, at: "now" },
    { ...dismiss, at: Number.NaN },
    { quillard: "show" },
    { quillard: "received", pairingID: "mac" },
    { quillard: "released" },
  ])("is ignored where it is something else: %j", (message) => {
    expect(readWorkerMessage(message)).toBeUndefined();
  });
});

describe("What a page answers", () => {
  it("is that it takes it, and what became of it", () => {
    expect(readPageAnswer({ quillard: "taken" })).toEqual({ quillard: "taken" });
    const ended = { quillard: "ended", dismissal: { kind: "gone" }, computerName: "Studio" };
    expect(readPageAnswer(ended)).toEqual(ended);
  });

  it.each([
    undefined,
    null,
    5,
    {},
    { quillard: "ended" },
    { quillard: "ended", dismissal: { kind: "of a later version" } },
    { quillard: "ended", dismissal: { kind: "settled" } },
    { quillard: "ended", dismissal: { kind: "settled", outcome: {} } },
  ])("is ignored where it is something else: %j", (answer) => {
    expect(readPageAnswer(answer)).toBeUndefined();
  });
});
