import { beforeEach, describe, expect, it } from "vitest";
import { DecisionLog, type DecisionRecord } from "./decisionLog";

const start = 1_000_000;
const pressed = { approvalID: "P", buttonLabel: "Allow", status: "accepted" } as const;
let log: DecisionLog;

function record(decisionID: string, change: Partial<DecisionRecord> = {}): DecisionRecord {
  return {
    decisionID,
    approvalID: "P",
    buttonLabel: "Allow",
    status: "sending",
    decidedAt: start,
    appName: "App",
    windowTitle: "Title",
    mayHaveArrived: false,
    ...change,
  };
}

beforeEach(() => {
  log = new DecisionLog([], start);
  log.add(record("D"));
});

describe("A decision without an answer", () => {
  it("never went out: after a minute it is undelivered, and not before", () => {
    expect(log.expire(start + 59_999)).toEqual([]);
    expect(log.expire(start + 60_000)).toMatchObject([{ status: "undelivered", settledAt: start + 60_000 }]);
    expect(log.expire(start + 60_001)).toEqual([]);
  });

  it("was delivered: after a minute it is not known what became of it", () => {
    log.handedOver("D");
    log.receipt("D", true, undefined, start + 1);
    expect(log.find("D")?.status).toBe("delivered");
    expect(log.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("went out without a receipt: it may have arrived", () => {
    log.handedOver("D");
    expect(log.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("was under way when the connection broke: a later refusal proves nothing", () => {
    log.handedOver("D");
    log.connectionLost();
    log.handedOver("D");
    expect(log.receipt("D", false, "macNotConnected", start + 5)).toBeUndefined();
    expect(log.find("D")?.status).toBe("sending");
    expect(log.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("of an earlier visit may have arrived, and lives no longer for a clock that was set back", () => {
    log = new DecisionLog([record("old", { decidedAt: start + 9_000_000 })], start);
    expect(log.expire(start + 59_999)).toEqual([]);
    expect(log.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });
});

describe("A receipt", () => {
  it.each([
    ["macNotConnected", "The computer is not connected to the relay. Nothing was pressed."],
    ["macBusy", "Too much waits for the computer already. Nothing was pressed."],
    ["something new", "The relay did not pass it on. Nothing was pressed."],
    [undefined, "The relay did not pass it on. Nothing was pressed."],
  ])("of nothing delivered settles it, in words: %s", (reason, error) => {
    log.handedOver("D");
    expect(log.receipt("D", false, reason, start + 7)).toMatchObject({
      status: "undelivered",
      error,
      settledAt: start + 7,
    });
  });

  it("of nothing delivered settles nothing while another sending is under way", () => {
    log.handedOver("D");
    log.handedOver("D");
    expect(log.receipt("D", false, "macBusy", start)).toBeUndefined();
    expect(log.receipt("D", true, undefined, start)).toBeUndefined();
    expect(log.find("D")?.status).toBe("delivered");
  });

  it("that was not asked for, or names nothing, is nothing", () => {
    expect(log.receipt("D", false, "macBusy", start)).toBeUndefined();
    expect(log.receipt("other", false, "macBusy", start)).toBeUndefined();
    expect(log.find("D")?.status).toBe("sending");
  });

  it("that comes after the computer's word changes nothing", () => {
    log.handedOver("D");
    log.result("D", pressed, start + 1);
    log.receipt("D", false, "macBusy", start + 2);
    expect(log.find("D")?.status).toBe("accepted");
  });
});

describe("The computer's word", () => {
  it("counts whenever it comes: after the minute, and after a refusal by the relay", () => {
    log.expire(start + 60_000);
    expect(log.result("D", { ...pressed, status: "failed", error: "Why" }, start + 90_000)).toMatchObject({
      status: "failed",
      error: "Why",
      settledAt: start + 60_000,
    });
  });

  it("leaves no words of ours behind", () => {
    log.expire(start + 60_000);
    expect(log.result("D", pressed, start + 90_000)).not.toHaveProperty("error");
  });

  it("about another prompt or button settles nothing", () => {
    expect(log.result("D", { ...pressed, approvalID: "Q" }, start)).toBeUndefined();
    expect(log.result("D", { ...pressed, buttonLabel: "allow" }, start)).toBeUndefined();
    expect(log.result("E", pressed, start)).toBeUndefined();
    expect(log.find("D")?.status).toBe("sending");
  });
});

describe("A prompt may be decided again", () => {
  it.each([
    ["sending", false],
    ["delivered", false],
    ["accepted", false],
    ["undelivered", true],
    ["unanswered", true],
    ["failed", true],
    ["notFound", true],
    ["requiresDirectAccess", true],
  ] as const)("after %s: %s", (status, may) => {
    log = new DecisionLog([record("D", { status, settledAt: start })], start);
    expect(log.mayDecide("P", start)).toBe(may);
    expect(log.mayDecide("Q", start)).toBe(true);
  });

  it("a minute after it was accepted and is still there, and immediately when it went and came back", () => {
    log.result("D", pressed, start);
    expect(log.mayDecide("P", start + 59_999)).toBe(false);
    expect(log.nextChange(start)).toBe(start + 60_000);
    expect(log.mayDecide("P", start + 60_000)).toBe(true);
    expect(log.nextChange(start + 60_000)).toBeUndefined();
    log.promptGone("P");
    expect(log.mayDecide("P", start)).toBe(true);
    expect(log.on("P", start)).toBeUndefined();
  });

  it("not while a decision is open, though the prompt went and came back", () => {
    log.promptGone("P");
    expect(log.mayDecide("P", start)).toBe(false);
    expect(log.on("P", start)?.decisionID).toBe("D");
  });

  it("immediately when it went before the computer said that it was accepted, and came back", () => {
    log.promptGone("P");
    log.result("D", pressed, start);
    expect(log.on("P", start)).toBeUndefined();
    expect(log.mayDecide("P", start)).toBe(true);
  });
});

describe("The log", () => {
  it("lets a decision be asked while it is open and younger than a minute", () => {
    expect(log.mayAsk("D", start + 59_999)).toBe(true);
    expect(log.mayAsk("D", start + 60_000)).toBe(false);
    expect(log.mayAsk("other", start)).toBe(false);
    log.result("D", pressed, start);
    expect(log.mayAsk("D", start)).toBe(false);
  });

  it("keeps a hundred decisions, and every open one", () => {
    for (let index = 0; index < 150; index += 1) {
      log.add(record(`D${index}`, { approvalID: `P${index}`, status: "failed", settledAt: start }));
    }
    expect(log.all()).toHaveLength(100);
    expect(log.find("D")).toBeDefined();
    expect(log.find("D149")).toBeDefined();
    expect(log.find("D0")).toBeUndefined();
  });

  it("knows of which prompts a button may have been pressed", () => {
    expect(log.mayHavePressed("P")).toBe(true);
    log.handedOver("D");
    log.receipt("D", false, "macBusy", start);
    expect(log.mayHavePressed("P")).toBe(false);
    log.add(record("E", { status: "unanswered" }));
    expect(log.mayHavePressed("P")).toBe(true);
  });
});
