import { describe, expect, it } from "vitest";
import { RetrySchedule } from "./retrySchedule";

describe("The schedule of retries", () => {
  it("doubles each delay up to half a minute, and begins anew after a reset", () => {
    const schedule = new RetrySchedule(() => 0);
    const delays = Array.from({ length: 7 }, () => schedule.delayAfterFailure());
    expect(delays).toEqual([1_000, 2_000, 4_000, 8_000, 16_000, 30_000, 30_000]);
    schedule.reset();
    expect(schedule.delayAfterFailure()).toBe(1_000);
  });

  it("shortens a delay by up to a half", () => {
    expect(new RetrySchedule(() => 0.5).delayAfterFailure()).toBe(750);
    expect(new RetrySchedule(() => 0.999_999).delayAfterFailure()).toBeGreaterThan(500);
  });

  it("waits 2 to 5 s for a restart, which is no failure", () => {
    expect(new RetrySchedule(() => 0).delayAfterRestart()).toBe(2_000);
    const schedule = new RetrySchedule(() => 0.5);
    expect(schedule.delayAfterRestart()).toBe(3_500);
    expect(schedule.delayAfterFailure()).toBe(750);
  });
});
