// @vitest-environment jsdom
import { describe, expect, it } from "vitest";
import { problemWith } from "./CameraScanner";

describe("what is wrong with the camera", () => {
  it.each([
    ["NotAllowedError", /may not be used/],
    ["SecurityError", /may not be used/],
    ["NotFoundError", /There is no camera here/],
    ["OverconstrainedError", /There is no camera here/],
    ["NotReadableError", /in use by another program/],
    ["AbortError", /cannot be used here/],
  ])("is told by the name %s, of whatever class the error is", (name, words) => {
    expect(problemWith(new DOMException("", name))).toMatch(words);
    // In WebKit the error of a missing camera is no DOMException.
    expect(problemWith({ name, constraint: "facingMode" })).toMatch(words);
  });

  it.each([undefined, null, "no", 7, {}])("has words also for %j", (error) => {
    expect(problemWith(error)).toMatch(/cannot be used here/);
  });
});
