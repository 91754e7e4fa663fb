import { describe, expect, it } from "vitest";
import type { DecisionStatus } from "./model";
import { OutcomeHistory } from "./outcomeHistory";

const names = { appName: "Disk Tool", windowTitle: "Erase disk?" };

function subject(key: string, at: number, approvalID = "P") {
  return { key, approvalID, at, ...names };
}

function decided(status: DecisionStatus, settledAt: number) {
  const decision = { decisionID: "D", approvalID: "P", buttonLabel: "Allow", decidedAt: 0, ...names };
  return { ...decision, status, settledAt, mayHaveArrived: true };
}

describe("The history", () => {
  it("is newest first, with each key once", () => {
    const history = new OutcomeHistory([]);
    history.addDecision(decided("unanswered", 1));
    history.addSuppressed(subject("S", 2, "Q"), "Bo’s phone");
    history.addDecision(decided("accepted", 3));
    expect(history.all()).toEqual([
      { ...subject("D", 3), buttonLabel: "Allow", status: "accepted" },
      { ...subject("S", 2, "Q"), status: "suppressed", otherPhone: "Bo’s phone" },
    ]);
  });

  it.each([
    ["accepted", 59_999, ["accepted"]],
    ["failed", 0, ["failed"]],
    ["accepted", 60_000, ["accepted", "goneByItself"]],
    ["undelivered", 0, ["undelivered", "goneByItself"]],
    ["requiresDirectAccess", 0, ["requiresDirectAccess", "goneByItself"]],
  ] as const)("takes %s after %i ms for the reason why a prompt went, or not", (status, at, expected) => {
    const history = new OutcomeHistory([]);
    history.addGoneByItself(subject("G", 0));
    history.addDecision(decided(status, at));
    expect(history.all().map((outcome) => outcome.status)).toEqual(expected);
  });

  it("explains neither another prompt's end, nor an end by muting", () => {
    const history = new OutcomeHistory([]);
    history.addGoneByItself(subject("G", 0));
    history.addGoneByItself(subject("H", 0, "Q"));
    history.addSuppressed(subject("S", 0));
    history.addDecision(decided("accepted", 1));
    expect(history.all().map((outcome) => outcome.key)).toEqual(["D", "S", "H"]);
  });

  it("keeps the newest 50, and begins with what is stored", () => {
    const history = new OutcomeHistory([{ ...subject("stored", 0), status: "goneByItself" }]);
    for (let index = 0; index < 49; index += 1) history.addGoneByItself(subject(`${index}`, 0, `${index}`));
    expect(history.all().at(-1)?.key).toBe("stored");
    history.addGoneByItself(subject("newest", 0, "N"));
    expect([history.all().length, history.all()[0]?.key, history.all().at(-1)?.key]).toEqual([
      50,
      "newest",
      "0",
    ]);
  });
});
