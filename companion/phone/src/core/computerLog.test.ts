import { describe, expect, it } from "vitest";
import { ComputerLog } from "./computerLog";
import type { LogEntry } from "./reports";
import { sampleID } from "./testing/fakeComputer";

const digest = (name: string) => name.padStart(64, "0");
const head = (sequence: number, at: number, name = `${sequence}`) => ({ sequence, digest: digest(name), at });
/** Of the run of that number. */
const stamp = (run: number, time: number) => ({ epoch: sampleID(run), time });
const entry = (sequence: number, name = `${sequence}`): LogEntry => ({
  sequence,
  digest: digest(name),
  at: 0,
  event: "outcome",
  appName: "",
  windowTitle: "",
  phones: [],
});
const excerpt = (at: number, ...sequences: number[]) => ({
  head: head(sequences.at(-1) ?? 0, at),
  entries: sequences.map((sequence) => entry(sequence)),
});

describe("The computer's log", () => {
  it("is taken as it is at first", () => {
    const log = new ComputerLog(undefined);
    expect(log.state).toBeUndefined();
    log.learn(head(5, 100), 1);
    expect([log.brokenAt, log.state]).toEqual([undefined, `${digest("5")}:5:100:0:0`]);
  });

  it("may grow, and lose entries at its beginning", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 100), 1);
    log.learn(head(90, 200), 2, [entry(80), entry(90)]);
    expect(log.brokenAt).toBeUndefined();
  });

  it("that has become shorter was cut", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 100), 1);
    log.learn(head(4, 200), 2);
    expect(log.brokenAt).toBe(2);
    log.learn(head(5, 300), 3);
    expect(log.brokenAt).toBe(2);
  });

  it("that has another entry where one is known was changed", () => {
    const one = new ComputerLog(undefined);
    one.learn(head(5, 100), 1);
    one.learn(head(5, 200, "other"), 2);
    expect(one.brokenAt).toBe(2);
    const another = new ComputerLog(undefined);
    another.learn(head(5, 100), 1);
    another.learn(head(7, 200), 2, [entry(5, "other"), entry(7)]);
    expect(another.brokenAt).toBe(2);
  });

  it("is not broken by an older word that the relay held back", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 100), 1);
    expect(log.learn(head(3, 90), 2)).toBe(false);
    expect(log.learn(head(4, 100), 2)).toBe(false);
    expect([log.brokenAt, log.state]).toEqual([undefined, `${digest("5")}:5:100:0:0`]);
  });

  it("is judged by the clock that the computer seals, whatever the day is set to there", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 9000), 1, [], stamp(1, 10));
    expect(log.learn(head(6, 100), 2, [], stamp(1, 20))).toBe(true);
    expect(log.learn(head(4, 9999), 3, [], stamp(1, 15))).toBe(false);
    expect(log.brokenAt).toBeUndefined();
    expect(log.learn(head(4, 50), 4, [], stamp(1, 30))).toBe(true);
    expect(log.brokenAt).toBe(4);
  });

  it("that goes on is news, also of a run whose day was set back", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 9000), 1, [], stamp(1, 10));
    expect(log.learn(head(7, 100), 2, [entry(5), entry(7)], stamp(2, 1))).toBe(true);
    expect(log.brokenAt).toBeUndefined();
    expect(log.learn(head(6, 110), 3, [], stamp(2, 5))).toBe(true);
    expect(log.brokenAt).toBe(3);
  });

  it("is not broken by a word of an earlier run, over visits", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 100), 1, [], stamp(1, 10));
    log.learn(head(8, 50), 2, [], stamp(2, 1));
    const later = new ComputerLog(log.state);
    expect(later.state).toBe(log.state);
    expect(later.learn(head(6, 120), 3, [], stamp(1, 900))).toBe(false);
    expect(later.learn(head(7, 40), 3, [], stamp(3, 1))).toBe(false);
    expect(later.brokenAt).toBeUndefined();
    expect(later.learn(head(7, 60), 4, [], stamp(4, 1))).toBe(true);
    expect(later.brokenAt).toBe(4);
  });

  it("remembers a bounded number of runs", () => {
    const log = new ComputerLog(undefined);
    for (let run = 1; run < 200; run += 1) log.learn(head(run, run), run, [], stamp(run, 1));
    expect(log.state?.length).toBeLessThan(1000);
    expect(log.learn(head(198, 5000), 1, [], stamp(198, 7))).toBe(false);
  });

  it("goes on from what a page kept that did not know of runs", () => {
    const log = new ComputerLog(`${digest("5")}:5:9000:4:0`);
    expect(log.learn(head(6, 100), 2, [], stamp(1, 1))).toBe(true);
    expect(log.learn(head(5, 200), 3, [], stamp(1, 2))).toBe(true);
    expect(log.brokenAt).toBe(3);
  });

  it("gives each entry once, over visits", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(3, 100), 1);
    const sequences = (entries: readonly LogEntry[]) => entries.map(({ sequence }) => sequence);
    expect(sequences(log.takeNew(excerpt(100, 1, 2, 3)))).toEqual([1, 2, 3]);
    const later = new ComputerLog(log.state);
    expect(sequences(later.takeNew(excerpt(200, 2, 3, 4)))).toEqual([4]);
    expect(sequences(later.takeNew(excerpt(300, 3, 4)))).toEqual([]);
  });

  it("is kept from visit to visit, and nothing where it cannot be read", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(5, 100), 1);
    log.learn(head(4, 200), 2);
    const later = new ComputerLog(log.state);
    expect([later.state, later.brokenAt]).toEqual([log.state, 2]);
    for (const text of ["", "x", ":::", "a:b:c:d", "a:-1:2:3", "a:1", "a:1:2:3:4:x:y"]) {
      expect(new ComputerLog(text).state).toBeUndefined();
    }
  });

  it("that was begun anew is read from its beginning", () => {
    const log = new ComputerLog(undefined);
    log.learn(head(30, 100), 1);
    log.takeNew(excerpt(100, 30));
    log.learn(head(2, 200), 2);
    expect(log.takeNew(excerpt(200, 1, 2)).length).toBe(2);
  });
});
