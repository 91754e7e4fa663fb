import { beforeEach, describe, expect, it } from "vitest";
import { readPromptList, type ReportedPrompt } from "./messages";
import { PromptList } from "./promptList";
import { sampleApproval, sampleID } from "./testing";

function prompts(...numbers: readonly number[]): ReportedPrompt[] {
  return [
    ...readPromptList(
      JSON.stringify(numbers.map((number) => sampleApproval(number, { appName: `A${number}` }))),
    ).prompts,
  ];
}

let list: PromptList;

beforeEach(() => {
  list = new PromptList();
});

describe("The list of prompts", () => {
  it("is absent until the first one, which is another thing than empty", () => {
    expect([list.prompts, list.accessibilityTrusted, list.isUnreadable]).toEqual([
      undefined,
      undefined,
      false,
    ]);
    expect(list.replace([], true)).toEqual([]);
    expect([list.prompts, list.accessibilityTrusted]).toEqual([[], true]);
  });

  it("gives what is gone, and finds only what is there", () => {
    list.replace(prompts(1, 2, 3), true);
    expect(list.replace(prompts(2), true).map((prompt) => prompt.id)).toEqual([sampleID(1), sampleID(3)]);
    expect(list.find(sampleID(1))).toBeUndefined();
    expect(list.find(sampleID(2))?.appName).toBe("A2");
  });

  it("stays when a newer one cannot be read, until one can", () => {
    list.replace(prompts(1), true);
    list.markUnreadable();
    expect([list.isUnreadable, list.prompts?.length]).toEqual([true, 1]);
    list.replace(prompts(), false);
    expect([list.isUnreadable, list.accessibilityTrusted]).toEqual([false, false]);
  });

  it("remembers the names of the last 200 prompts, gone ones too", () => {
    list.replace(prompts(1, 2), true);
    for (let number = 3; number <= 201; number += 1) list.replace(prompts(1, number), true);
    expect(list.namesOf(sampleID(1))?.appName).toBe("A1");
    expect(list.namesOf(sampleID(2))).toBeUndefined();
    expect(list.namesOf(sampleID(3))).toEqual({ appName: "A3", windowTitle: "Erase disk?" });
  });
});
