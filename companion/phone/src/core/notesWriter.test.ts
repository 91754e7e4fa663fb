import { beforeEach, describe, expect, it } from "vitest";
import { NotesWriter } from "./notesWriter";
import type { PairingNotes, Store } from "./store";

const notes: PairingNotes = {
  name: "Studio",
  outcomes: [],
  suppressions: [],
  pendingSuppressions: [],
  decisions: [],
  usedNonces: [],
};

interface Write {
  readonly pairingID: string;
  readonly end: () => void;
  readonly fail: (error: Error) => void;
}

let writes: Write[];
let changes: number;
let writer: NotesWriter;

beforeEach(() => {
  writes = [];
  changes = 0;
  const store: Pick<Store, "saveNotes"> = {
    saveNotes: (pairingID) =>
      new Promise<void>((end, fail) => {
        writes.push({ pairingID, end, fail });
      }),
  };
  writer = new NotesWriter(
    store,
    "studio",
    () => notes,
    () => (changes += 1),
  );
});

describe("Notes", () => {
  it("that are stored leave no problem, and those that are not leave theirs until a later write", async () => {
    const failed = writer.save();
    writes[0]?.fail(new Error("Full."));
    expect(await failed).toBe(false);
    expect([writer.problem, changes]).toEqual(["Full.", 1]);
    const stored = writer.save();
    expect(writer.problem).toBe("Full.");
    writes[1]?.end();
    expect(await stored).toBe(true);
    expect([writer.problem, changes]).toEqual([undefined, 2]);
    expect(writes.map((write) => write.pairingID)).toEqual(["studio", "studio"]);
  });

  it("say something also where the store says nothing", async () => {
    const failed = writer.save();
    writes[0]?.fail(new Error(""));
    await failed;
    expect(writer.problem).toBe("It could not be stored.");
  });

  it("are as stored as the newest write of them, whichever ends last", async () => {
    const saves = [writer.save(), writer.save()];
    writes[1]?.end();
    writes[0]?.fail(new Error("Full."));
    expect(await Promise.all(saves)).toEqual([false, true]);
    expect([writer.problem, changes]).toEqual([undefined, 0]);
  });

  it("written for a change that is taken back reject, and leave no problem", async () => {
    const written = writer.write();
    writes[0]?.fail(new Error("Full."));
    await expect(written).rejects.toThrow("Full.");
    expect([writer.problem, changes]).toEqual([undefined, 0]);
  });

  it("are not written once it is stopped, and what was under way is not reported", async () => {
    const failed = writer.save();
    writer.stop();
    writes[0]?.fail(new Error("Full."));
    await failed;
    await writer.save();
    expect([writes.length, writer.problem, changes]).toEqual([1, undefined, 0]);
  });
});
