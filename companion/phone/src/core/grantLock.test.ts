import { beforeEach, describe, expect, it } from "vitest";
import { createGrantLock, type GrantLock } from "./grantLock";
import type { ReportedPrompt } from "./messages";
import { PromptList } from "./promptList";

const prompt = (id: string, windowTitle = "Erase?"): ReportedPrompt => ({
  id,
  suppressionID: id,
  detectedAt: 0,
  appName: "Disk Tool",
  windowTitle,
  messageLines: [],
  reason: "",
  buttons: [],
  requiresDirectAccess: false,
  isFallbackDetection: false,
});

let list: PromptList;
let grants: string[];
let answer: { open: () => void; refuse: () => void };
let isThere: boolean;
let isChosen: boolean;
let lock: GrantLock;

beforeEach(() => {
  list = new PromptList();
  list.replace([prompt("one"), prompt("two")], true);
  grants = [];
  isThere = true;
  isChosen = false;
  lock = createGrantLock({
    lock: {
      isThere: () => isThere,
      isChosen: () => isChosen,
      open: () =>
        new Promise((resolve, reject) => {
          answer = { open: resolve, refuse: () => reject(new Error("Not recognised.")) };
        }),
    },
    list,
    grant: (approvalID, buttonLabel) => grants.push(`${approvalID} ${buttonLabel}`),
    changed: () => {},
  });
});

describe("The lock before grants", () => {
  it("is asked for where the computer or a person wants it, and missing where there is none", () => {
    expect(lock.state()).toBeUndefined();
    lock.require(true);
    expect(lock.state()).toBe("asked");
    isThere = false;
    expect(lock.state()).toBe("missing");
    lock.require(false);
    expect(lock.state()).toBeUndefined();
    isChosen = true;
    expect(lock.state()).toBe("missing");
  });

  it("lets one grant through at a time", async () => {
    const opening = lock.open("one", "Erase");
    await lock.open("two", "Erase");
    expect(lock.on("one")).toEqual({ buttonLabel: "Erase" });
    expect(lock.on("two")).toBeUndefined();
    answer.open();
    await opening;
    expect(grants).toEqual(["one Erase"]);
    expect(lock.on("one")).toBeUndefined();
  });

  it("keeps why it did not let a grant through until the next one", async () => {
    const opening = lock.open("one", "Erase");
    answer.refuse();
    await opening;
    expect(grants).toEqual([]);
    expect(lock.on("one")).toEqual({ buttonLabel: "Erase", problem: "Not recognised." });
    const next = lock.open("two", "Erase");
    expect(lock.on("one")).toBeUndefined();
    answer.open();
    await next;
    expect(grants).toEqual(["two Erase"]);
  });

  it("grants nothing that has changed or gone meanwhile", async () => {
    for (const prompts of [[prompt("one", "Erase all?")], []]) {
      list.replace([prompt("one")], true);
      const opening = lock.open("one", "Erase");
      list.replace(prompts, true);
      answer.open();
      await opening;
      expect(lock.on("one")?.problem).toBe("The prompt has changed meanwhile. Nothing was sent.");
    }
    expect(grants).toEqual([]);
  });

  it("grants nothing that was given up", async () => {
    const opening = lock.open("one", "Erase");
    lock.forget("two");
    expect(lock.on("one")).toEqual({ buttonLabel: "Erase" });
    lock.forget();
    answer.open();
    await opening;
    expect(grants).toEqual([]);
  });
});
