import { describe, expect, it } from "vitest";
import { SuppressionList } from "./suppressionList";

const names = { appName: "Notes", windowTitle: "Rate this program?" };

describe("What is suppressed", () => {
  it("is newest first, each kind once", () => {
    const list = new SuppressionList([{ suppressionID: "A", at: 1, ...names }], []);
    list.add("B", names, 2);
    list.add("A", names, 3);
    expect(list.all().map(({ suppressionID, at }) => [suppressionID, at])).toEqual([
      ["A", 3],
      ["B", 2],
    ]);
    list.remove("A");
    expect([list.has("A"), list.has("B")]).toEqual([false, true]);
  });

  it("is at most 500 kinds", () => {
    const list = new SuppressionList([], []);
    for (let index = 0; index <= 500; index += 1) list.add(`${index}`, names, index);
    expect([list.all().length, list.has("0"), list.has("1")]).toEqual([500, false, true]);
  });
});

describe("A command for the computer", () => {
  it("is pending until it is written; of two about one kind the newer counts", () => {
    const stored = { decisionID: "1", action: "suppress", suppressionID: "A" } as const;
    const list = new SuppressionList([], [stored]);
    list.enqueue({ decisionID: "2", action: "suppress", suppressionID: "B" });
    list.enqueue({ decisionID: "3", action: "unsuppress", suppressionID: "A" });
    expect(list.pending().map((command) => command.decisionID)).toEqual(["2", "3"]);
    expect([list.isPending("1"), list.isPending("2")]).toEqual([false, true]);
    list.written("2", 0, 4);
    expect(list.pending().map((command) => command.decisionID)).toEqual(["3"]);
    expect(list.open().map((command) => command.decisionID)).toEqual(["2", "3"]);
  });
});
