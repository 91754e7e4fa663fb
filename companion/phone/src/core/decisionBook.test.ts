import { beforeEach, describe, expect, it } from "vitest";
import { DecisionBook, type DecisionRecord } from "./decisionBook";

const start = 1_000_000;
const pressed = { approvalID: "P", buttonLabel: "Allow", status: "accepted" } as const;
let book: DecisionBook;

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
  book = new DecisionBook([], start);
  book.add(record("D"));
});

describe("A decision that nobody answers", () => {
  it("never went out: after a minute it is undelivered, and not before", () => {
    expect(book.expire(start + 59_999)).toEqual([]);
    expect(book.expire(start + 60_000)).toMatchObject([{ status: "undelivered", settledAt: start + 60_000 }]);
    expect(book.expire(start + 60_001)).toEqual([]);
  });

  it("was delivered: after a minute it is not known what became of it", () => {
    book.handedOver("D");
    book.receipt("D", true, undefined, start + 1);
    expect(book.find("D")?.status).toBe("delivered");
    expect(book.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("went out without a receipt: it may have arrived", () => {
    book.handedOver("D");
    expect(book.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("was under way when the connection broke: a later refusal proves nothing", () => {
    book.handedOver("D");
    book.connectionLost();
    book.handedOver("D");
    expect(book.receipt("D", false, "macNotConnected", start + 5)).toBeUndefined();
    expect(book.find("D")?.status).toBe("sending");
    expect(book.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });

  it("of an earlier visit may have arrived, and lives no longer for a clock that was set back", () => {
    book = new DecisionBook([record("old", { decidedAt: start + 9_000_000 })], start);
    expect(book.expire(start + 59_999)).toEqual([]);
    expect(book.expire(start + 60_000)).toMatchObject([{ status: "unanswered" }]);
  });
});

describe("A receipt", () => {
  it.each([
    ["macNotConnected", "The computer is not connected to the relay. Nothing was pressed."],
    ["macBusy", "Too much waits for the computer already. Nothing was pressed."],
    ["something new", "The relay did not pass it on. Nothing was pressed."],
    [undefined, "The relay did not pass it on. Nothing was pressed."],
  ])("of nothing delivered settles it, in words: %s", (reason, error) => {
    book.handedOver("D");
    expect(book.receipt("D", false, reason, start + 7)).toMatchObject({
      status: "undelivered",
      error,
      settledAt: start + 7,
    });
  });

  it("of nothing delivered settles nothing while another sending is under way", () => {
    book.handedOver("D");
    book.handedOver("D");
    expect(book.receipt("D", false, "macBusy", start)).toBeUndefined();
    expect(book.receipt("D", true, undefined, start)).toBeUndefined();
    expect(book.find("D")?.status).toBe("delivered");
  });

  it("that was not asked for, or names nothing, is nothing", () => {
    expect(book.receipt("D", false, "macBusy", start)).toBeUndefined();
    expect(book.receipt("other", false, "macBusy", start)).toBeUndefined();
    expect(book.find("D")?.status).toBe("sending");
  });

  it("that comes after the computer's word changes nothing", () => {
    book.handedOver("D");
    book.result("D", pressed, start + 1);
    book.receipt("D", false, "macBusy", start + 2);
    expect(book.find("D")?.status).toBe("accepted");
  });
});

describe("The computer's word", () => {
  it("counts whenever it comes: after the minute, and after a refusal by the relay", () => {
    book.expire(start + 60_000);
    expect(book.result("D", { ...pressed, status: "failed", error: "Why" }, start + 90_000)).toMatchObject({
      status: "failed",
      error: "Why",
      settledAt: start + 60_000,
    });
  });

  it("leaves no words of ours behind", () => {
    book.expire(start + 60_000);
    expect(book.result("D", pressed, start + 90_000)).not.toHaveProperty("error");
  });

  it("about another prompt or button settles nothing", () => {
    expect(book.result("D", { ...pressed, approvalID: "Q" }, start)).toBeUndefined();
    expect(book.result("D", { ...pressed, buttonLabel: "allow" }, start)).toBeUndefined();
    expect(book.result("E", pressed, start)).toBeUndefined();
    expect(book.find("D")?.status).toBe("sending");
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
    book = new DecisionBook([record("D", { status, settledAt: start })], start);
    expect(book.mayDecide("P", start)).toBe(may);
    expect(book.mayDecide("Q", start)).toBe(true);
  });

  it("a minute after it was accepted and is still there, and at once when it went and came back", () => {
    book.result("D", pressed, start);
    expect(book.mayDecide("P", start + 59_999)).toBe(false);
    expect(book.nextChange(start)).toBe(start + 60_000);
    expect(book.mayDecide("P", start + 60_000)).toBe(true);
    expect(book.nextChange(start + 60_000)).toBeUndefined();
    book.promptGone("P");
    expect(book.mayDecide("P", start)).toBe(true);
    expect(book.on("P", start)).toBeUndefined();
  });

  it("not while a decision is open, though the prompt went and came back", () => {
    book.promptGone("P");
    expect(book.mayDecide("P", start)).toBe(false);
  });
});

describe("The book", () => {
  it("lets a decision be asked while it is open and younger than a minute", () => {
    expect(book.mayAsk("D", start + 59_999)).toBe(true);
    expect(book.mayAsk("D", start + 60_000)).toBe(false);
    expect(book.mayAsk("other", start)).toBe(false);
    book.result("D", pressed, start);
    expect(book.mayAsk("D", start)).toBe(false);
  });

  it("keeps a hundred decisions, and every open one", () => {
    for (let index = 0; index < 150; index += 1) {
      book.add(record(`D${index}`, { approvalID: `P${index}`, status: "failed", settledAt: start }));
    }
    expect(book.all()).toHaveLength(100);
    expect(book.find("D")).toBeDefined();
    expect(book.find("D149")).toBeDefined();
    expect(book.find("D0")).toBeUndefined();
  });

  it("knows of which prompts a button may have been pressed", () => {
    expect(book.mayHavePressed("P")).toBe(true);
    book.handedOver("D");
    book.receipt("D", false, "macBusy", start);
    expect(book.mayHavePressed("P")).toBe(false);
    book.add(record("E", { status: "unanswered" }));
    expect(book.mayHavePressed("P")).toBe(true);
  });
});
