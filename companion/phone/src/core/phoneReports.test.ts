// What a computer tells besides the prompts reaches the page: what is muted, and what was decided meanwhile.
import { describe, expect, it } from "vitest";
import { readClock, readState } from "./messages";
import { OutcomeHistory } from "./outcomeHistory";
import { SuppressionList } from "./suppressionList";
import { sampleID } from "./testing/fakeComputer";

const kind = (number: number, members: object = {}) => ({
  suppressionID: sampleID(number),
  appName: "Notes",
  windowTitle: `Kind ${number}`,
  since: "2026-03-01T12:00:00Z",
  ...members,
});
const read = (state: object) => readState(JSON.stringify(state));
const clock = { epoch: sampleID(1), time: 5 };

describe("The state of a computer", () => {
  it("says what is muted there, and until when", () => {
    const { pause, suppressions } = read({
      isPaused: false,
      suppressions: [kind(1, { until: "2026-03-02T12:00:00Z" }), kind(2, { endsWithRun: true })],
    });
    expect(pause).toBeUndefined();
    expect(
      suppressions?.map(({ suppressionID, until, endsWithRun }) => [suppressionID, until, endsWithRun]),
    ).toEqual([
      [sampleID(1), Date.UTC(2026, 2, 2, 12), undefined],
      [sampleID(2), undefined, true],
    ]);
  });

  it("of an older computer says nothing of that", () => {
    expect(read({ isPaused: true })).toEqual({ pause: {}, wantsLock: false });
    expect(readClock(JSON.stringify({ clock }))).toEqual({ clock, newPhones: [] });
  });

  it.each([
    [{ suppressions: 1 }],
    [{ suppressions: [1] }],
    [{ suppressions: [kind(1, { suppressionID: "1" })] }],
    [{ suppressions: [kind(1, { since: "yesterday" })] }],
    [{ suppressions: [kind(1, { appName: undefined })] }],
    [{ suppressions: Array.from({ length: 1001 }, (_, index) => kind(index)) }],
  ])("that is malformed is not read: %#", (members) => {
    expect(() => read({ isPaused: false, ...members })).toThrow();
    expect(() => readClock(JSON.stringify({ clock, ...members }))).toThrow();
  });
});

describe("An excerpt of the log", () => {
  const digest = "a".repeat(64);
  const head = { sequence: 2, digest, at: "2026-03-01T12:00:00Z" };
  const entry = {
    sequence: 2,
    digest,
    at: "2026-03-01T11:00:00Z",
    event: "outcome",
    appName: "A",
    windowTitle: "B",
  };
  const log = (members: object) => () =>
    readClock(JSON.stringify({ clock, log: { head, entries: [], ...members } }));

  it("is read with what it has", () => {
    expect(log({ entries: [{ ...entry, phones: ["Ana"], status: "accepted" }] })().log?.entries[0]).toEqual({
      ...entry,
      at: Date.UTC(2026, 2, 1, 11),
      phones: ["Ana"],
      status: "accepted",
    });
  });

  it.each([
    [{ head: undefined }],
    [{ head: { ...head, digest: "a".repeat(65) } }],
    [{ head: { ...head, sequence: -1 } }],
    [{ entries: 1 }],
    [{ entries: [{ ...entry, sequence: 0.5 }] }],
    [{ entries: [{ ...entry, at: 5 }] }],
    [{ entries: [{ ...entry, phones: [1] }] }],
    [{ entries: Array.from({ length: 1001 }, () => entry) }],
  ])("that is malformed is not read: %#", (members) => {
    expect(log(members)).toThrow();
  });
});

describe("What the computer says is muted", () => {
  const names = { appName: "Notes", windowTitle: "Rate?" };
  const ids = (list: SuppressionList) => list.all().map(({ suppressionID }) => suppressionID);
  const reported = (suppressionID: string) => ({ suppressionID, at: 0, appName: "", windowTitle: "" });

  it("takes the place of what this phone thought", () => {
    const list = new SuppressionList([{ suppressionID: "OLD", at: 0, ...names }], []);
    list.report([reported("A"), reported("B")], 100_000);
    expect(ids(list)).toEqual(["A", "B"]);
    list.report([], 100_000);
    expect(ids(list)).toEqual([]);
  });

  it("keeps the names that only this phone knows", () => {
    const list = new SuppressionList([{ suppressionID: "A", at: 0, ...names }], []);
    list.report([reported("A")], 100_000);
    expect(list.all()[0]).toMatchObject(names);
  });

  it("leaves what was just asked of it as it was asked", () => {
    const list = new SuppressionList(
      [{ suppressionID: "MUTED", at: 0, ...names }],
      [
        { decisionID: "1", action: "suppress", suppressionID: "MUTED" },
        { decisionID: "2", action: "unsuppress", suppressionID: "SHOWN" },
      ],
    );
    list.report([reported("SHOWN")], 100_000);
    expect(ids(list)).toEqual(["MUTED"]);
    list.written("1", 100_000, undefined);
    list.add("NEW", names, 100_000);
    list.report([], 101_000);
    expect(ids(list)).toEqual(["NEW"]);
    list.report([], 106_000);
    expect(ids(list)).toEqual([]);
  });
});

describe("The history", () => {
  const outcome = (key: string, at: number, members: object = {}) =>
    ({ key, approvalID: key, at, appName: "A", windowTitle: "B", status: "accepted", ...members }) as const;

  it("takes in what comes from the log by its time, each once", () => {
    const history = new OutcomeHistory([outcome("new", 300), outcome("old", 100)]);
    expect(history.insert(outcome("between", 200))).toBe(true);
    expect(history.insert(outcome("between", 200))).toBe(false);
    expect(history.all().map(({ key }) => key)).toEqual(["new", "between", "old"]);
  });

  it("knows better than that something has gone by itself", () => {
    const history = new OutcomeHistory([outcome("decided", 100)]);
    const gone = outcome("log-1", 90, { approvalID: "decided", status: "goneByItself" });
    expect(history.insert(gone)).toBe(false);
  });
});
