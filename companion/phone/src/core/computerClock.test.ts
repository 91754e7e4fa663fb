import { describe, expect, it } from "vitest";
import { ComputerClock, elapsed, type ClockStamp, type Moment } from "./computerClock";

const epoch = "5E0C8D3A-1B9F-4E6D-A2C7-9F8E7D6C5B4A";
const other = "00000000-0000-4000-8000-000000000001";
const second = 1000;
const hour = 3600 * second;

const stamp = (time: number, name = epoch): ClockStamp => ({ epoch: name, time });
/** Both clocks of the phone go on together, unless it sleeps. */
const moment = (monotonic: number, asleep = 0): Moment => ({
  monotonic,
  wall: 1_772_000_000_000 + monotonic + asleep,
});

function knowing(time: number, receivedAt: Moment): ComputerClock {
  const clock = new ComputerClock();
  clock.learn(stamp(time), receivedAt);
  return clock;
}

describe("A computer's clock", () => {
  it("is not known before the computer has said what time it is", () => {
    expect(new ComputerClock().at(moment(0))).toBeUndefined();
  });

  it("shows a little less than the stamp and what has passed since", () => {
    const clock = knowing(500_000, moment(2000));
    const at = clock.at(moment(2000 + 10 * second));
    expect(at?.epoch).toBe(epoch);
    expect(at?.time).toBeGreaterThan(510_000 - 500);
    expect(at?.time).toBeLessThan(510_000);
    expect(Number.isInteger(clock.at(moment(2000.123))?.time)).toBe(true);
  });

  it("goes by the stamp that came fastest", () => {
    // The first was on its way for ten seconds, the second for one, the third for a minute.
    const clock = knowing(100_000, moment(10_000));
    clock.learn(stamp(100_500), moment(1_500));
    clock.learn(stamp(110_000), moment(70_000));
    const at = clock.at(moment(71_000))?.time ?? 0;
    expect(at).toBeGreaterThan(100_500 + 69_500 - 500);
    expect(at).toBeLessThan(100_500 + 69_500);
  });

  it("never shows more than the truth, whatever stamps were on their way for, and however the phone's clock drifts", () => {
    let seed = 7;
    const random = () => (seed = (seed * 16807) % 2147483647) / 2147483647;
    for (let run = 0; run < 200; run += 1) {
      const rate = 1 + (random() - 0.5) * 0.001;
      const truth = (monotonic: number) => 1_000_000 + monotonic * rate;
      const clock = new ComputerClock();
      let now = 0;
      for (let step = 0; step < 50; step += 1) {
        now += random() * 100 * second;
        const delay = random() * random() * 90 * second;
        clock.learn(stamp(Math.floor(truth(now - Math.min(delay, now)))), moment(now));
        const tap = now + random() * hour;
        expect(clock.at(moment(tap))?.time).toBeLessThanOrEqual(truth(tap));
        expect(clock.at(moment(now - random() * second))?.time).toBeLessThanOrEqual(truth(now));
      }
    }
  });

  it("lets a tap look older where the phone's own clock stood still in its sleep", () => {
    const clock = knowing(500_000, moment(0));
    // An hour of sleep, of which the monotonic clock shows nothing: the estimate stays behind the truth.
    expect(clock.at(moment(1000, hour))?.time).toBeLessThan(501_000);
    clock.learn(stamp(500_000 + hour + 2000), moment(2000, hour));
    expect(clock.at(moment(3000, hour))?.time).toBeGreaterThan(500_000 + hour + 2000);
  });

  it("does not let a tap from before the phone's sleep look younger by a stamp that came after it", () => {
    const tap = moment(1000);
    const clock = knowing(500_000 + hour, moment(2000, hour));
    expect(clock.at(tap)?.time).toBeLessThan(500_000);
  });

  it("belongs to one run of the computer's agent: the newest that was heard of", () => {
    const clock = knowing(900_000, moment(0));
    clock.learn(stamp(5000, other), moment(1000));
    expect(clock.at(moment(2000))?.epoch).toBe(other);
    expect(clock.at(moment(2000))?.time).toBeLessThan(6001);
  });

  it("has no time before its first moment", () => {
    expect(knowing(10, moment(60_000)).at(moment(0))).toEqual(stamp(0));
  });
});

it("What has passed on a phone is what either of its clocks shows at the most", () => {
  expect(elapsed(moment(0), moment(1000))).toBe(1000);
  expect(elapsed(moment(0), moment(1000, hour))).toBe(1000 + hour);
  expect(elapsed(moment(0), moment(1000, -hour))).toBe(1000);
  expect(elapsed(moment(1000), moment(0))).toBe(0);
});
