import { describe, expect, it } from "vitest";
import { prompt } from "../../gallery/scenes";
import { alikeOf, arrange, kLinger } from "./steadyList";
import type { Slot } from "./steadyList";

function ids(slots: readonly Slot[]): string[] {
  return slots.map((slot) => slot.prompt.id.slice(-1) + (slot.goneAt === undefined ? "" : " gone"));
}

describe("prompts that look the same", () => {
  it("are counted, without those that are gone or differ in a button", () => {
    const other = prompt(3, { buttons: [{ label: "Allow", isRecommended: true, kind: "grant" }] });
    const before = arrange([], [prompt(1), prompt(2), other, prompt(4)], 0, true);
    const slots = arrange(before, [prompt(1), prompt(2), other], 1, true);
    expect(slots.map((slot) => alikeOf(slot, slots))).toEqual([
      { number: 1, count: 2 },
      { number: 2, count: 2 },
      undefined,
      undefined,
    ]);
  });
});

describe("the arrangement of prompts", () => {
  it("begins in the computer's order", () => {
    expect(ids(arrange([], [prompt(2), prompt(1)], 0, true))).toEqual(["2", "1"]);
  });

  it("lets new prompts come in below, wherever the computer lists them", () => {
    const first = arrange([], [prompt(2)], 0, true);
    expect(ids(arrange(first, [prompt(1), prompt(2), prompt(3)], 0, true))).toEqual(["2", "1", "3"]);
  });

  it("keeps the place of a prompt that is gone until just before it has lingered", () => {
    const first = arrange([], [prompt(1), prompt(2)], 0, true);
    const gone = arrange(first, [prompt(2)], 1000, true);
    expect(ids(gone)).toEqual(["1 gone", "2"]);
    expect(ids(arrange(gone, [prompt(2)], 1000 + kLinger - 1, true))).toEqual(["1 gone", "2"]);
    expect(ids(arrange(gone, [prompt(2)], 1000 + kLinger, true))).toEqual(["2"]);
  });

  it("gives up no place while a finger is down", () => {
    const gone = arrange(arrange([], [prompt(1), prompt(2)], 0, true), [prompt(2)], 0, true);
    expect(ids(arrange(gone, [prompt(2)], 10 * kLinger, false))).toEqual(["1 gone", "2"]);
  });

  it("takes a prompt that comes back in its old place", () => {
    const gone = arrange(arrange([], [prompt(1), prompt(2)], 0, true), [prompt(2)], 0, true);
    expect(ids(arrange(gone, [prompt(2), prompt(1)], 100, true))).toEqual(["1", "2"]);
  });

  it("shows the newest words of a prompt", () => {
    const first = arrange([], [prompt(1)], 0, true);
    const next = arrange(first, [prompt(1, { windowTitle: "Another" })], 1, true);
    expect(next[0]?.prompt.windowTitle).toBe("Another");
  });
});
