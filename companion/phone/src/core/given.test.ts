import { describe, expect, it } from "vitest";
import { given } from "./given";

interface Record {
  readonly name: string;
  readonly count?: number;
  readonly isOpen?: boolean;
}

describe("What is given", () => {
  it("keeps what has a value, in its order", () => {
    expect(Object.entries(given<Record>({ name: "", count: 0, isOpen: false }))).toEqual([
      ["name", ""],
      ["count", 0],
      ["isOpen", false],
    ]);
  });

  it("leaves out what is undefined", () => {
    const record = given<Record>({ name: "one", count: undefined, isOpen: undefined });
    expect(Object.keys(record)).toEqual(["name"]);
  });
});
