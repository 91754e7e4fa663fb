import { beforeEach, describe, expect, it } from "vitest";
import { FakeComputer, PhoneWorld, sampleApproval, sampleButton, sampleID } from "../core/testing";
import { readOptions, type Options } from "./options";
import { PairingInput } from "./pairingInput";
import { TerminalPhone } from "./terminalPhone";

const one = sampleID(1);
let world: PhoneWorld;
let printed: string[];
let status: number | undefined;
let terminal: TerminalPhone;
let mac: FakeComputer;
/** Until the list came. */
let printedBefore: string[];

function options(...words: string[]): Options {
  const reading = readOptions(words);
  if (reading.kind !== "options") throw new Error("These are no options.");
  return reading.options;
}

/** A terminal that shows a paired computer; what it printed until the list came is cleared. */
async function shown(approvals: readonly unknown[], ...words: string[]): Promise<void> {
  mac = await world.pair("mac");
  terminal = new TerminalPhone("mac", world.phone, options(...words), world.environment(), {
    print: (line) => printed.push(line),
    end: (ended) => (status = ended),
  });
  world.phone.state.subscribe((state) => terminal.show(state));
  await world.join(mac);
  printedBefore = printed.splice(0);
  await world.list(mac, approvals);
}

async function typed(...lines: string[]): Promise<void> {
  for (const line of lines) terminal.take(line);
  await world.time.settle();
}

async function settled(change: Readonly<Record<string, unknown>>): Promise<void> {
  const { decisionID, command } = await world.lastSent(mac);
  await world.result(mac, decisionID, { ...Object(command), ...change });
}

function sent(): readonly string[] {
  return world.network.socket("mac").sent;
}

beforeEach(async () => {
  world = new PhoneWorld();
  printed = [];
  status = undefined;
  await world.start();
});

describe("A prompt in a terminal", () => {
  it("is printed with all that helps to decide, and with numbered buttons", async () => {
    await shown([sampleApproval(1, { isFallbackDetection: true })]);
    expect(printed).toEqual([
      "* Disk Tool: Erase disk?  (since 1 min ago)",
      "    Erasing cannot be undone.",
      "    Are you sure?",
      "    (Recognised by its looks only.)",
      "    1  “Cancel”",
      "    2  “Allow” (recommended)",
    ]);
  });

  it("gives no number to a button that takes no presses", async () => {
    const buttons = [sampleButton("Cancel"), { ...sampleButton("Allow"), isEnabled: false }];
    await shown([sampleApproval(1, { buttons })]);
    expect(printed.slice(3)).toEqual(["    1  “Cancel”", "    -  “Allow” (takes no presses)"]);
  });

  it("that requires direct access says why, and numbers only the safe dismissals", async () => {
    const directAccessReason = "This dialog asks for a password.";
    await shown([sampleApproval(1, { requiresDirectAccess: true, directAccessReason })]);
    expect(printed.slice(3)).toEqual([
      "    Only to be dismissed from here: This dialog asks for a password.",
      "    1  “Cancel”",
      "    -  “Allow” (recommended)",
    ]);
  });

  it("never reaches the terminal with control characters", async () => {
    const evil = "\u001B]0;title\u0007\u001B[2J\r\u009B31m\u202E";
    const error = `Because${evil}`;
    const buttons = [sampleButton(`OK${evil}`)];
    const change = { appName: `App${evil}`, windowTitle: evil, messageLines: [`a\n${evil}`], buttons };
    await shown([
      sampleApproval(1, { ...change, requiresDirectAccess: true, directAccessReason: evil }),
      sampleApproval(2, change),
    ]);
    await typed("1", "yes");
    await settled({ status: "failed", error });
    await world.result(
      mac,
      "X",
      { approvalID: one, buttonLabel: evil, status: "failed", error },
      { deviceID: "D", deviceName: evil },
    );
    expect(printed.length).toBeGreaterThan(9);
    for (const line of printed) expect(line).not.toMatch(/[\u0000-\u001F\u007F-\u009F\u202E]/u);
    expect(printed.join("\n")).toContain("⟨U+001B⟩");
  });

  it("is printed once, and again when it has changed", async () => {
    await shown([sampleApproval(1)]);
    const lines = printed.length;
    await world.list(mac, [sampleApproval(1)]);
    expect(printed).toHaveLength(lines);
    await world.list(mac, [sampleApproval(1, { messageLines: ["Another text."] })]);
    expect(printed).toContain("    Another text.");
    await world.list(mac, []);
    expect(printed.slice(-2)).toEqual([
      "Nothing waits.",
      "Gone: answered at the computer, or closed by itself. (Disk Tool: Erase disk?)",
    ]);
  });
});

describe("A list in a terminal", () => {
  it("is empty for another reason while alerts are paused", async () => {
    await shown([]);
    await world.list(mac, [], true, { isPaused: true });
    await world.list(mac, [], true, { isPaused: true, pausedUntil: "2026-03-01T18:30:00Z" });
    await world.list(mac, []);
    expect(printed.filter((line) => /^(Nothing waits|Paused)/.test(line))).toEqual([
      "Nothing waits.",
      "Paused at the computer: what waits there is not shown.",
      expect.stringMatching(
        /^Paused at the computer until 1 Mar 2026,? .*: what waits there is not shown\.$/,
      ),
      "Nothing waits.",
    ]);
  });

  it("says once how many prompts it has no room for", async () => {
    await shown([sampleApproval(1, { leftOut: 3 })]);
    await world.list(mac, [sampleApproval(1, { leftOut: 3 })]);
    await world.list(mac, [sampleApproval(1, { leftOut: 1 })]);
    expect(printed.filter((line) => line.includes("not shown"))).toEqual([
      "3 more prompts are not shown: the list is too long. Look at the computer.",
      "1 more prompt is not shown: the list is too long. Look at the computer.",
    ]);
  });

  it("says that a decision came too late", async () => {
    await shown([sampleApproval(1)]);
    await typed("1");
    await settled({ status: "failed", error: "Late.", reason: "tooLate" });
    expect(printed.at(-1)).toBe(
      "Too late: “Cancel” was asked for, and nothing was pressed. (Disk Tool: Erase disk?)",
    );
  });
});

describe("A number", () => {
  it("of a dismissal presses it immediately", async () => {
    await shown([sampleApproval(1)]);
    await typed("1");
    expect((await world.lastSent(mac)).command).toMatchObject({ approvalID: one, buttonLabel: "Cancel" });
    await settled({ status: "accepted" });
    expect(printed.slice(-2)).toEqual([
      "Asking for “Cancel” ...",
      "Done: “Cancel” was pressed, and the prompt went away. (Disk Tool: Erase disk?)",
    ]);
  });

  it("of a grant asks once more, and takes yes only", async () => {
    await shown([sampleApproval(1)]);
    await typed("2");
    expect(printed.at(-1)).toBe("To press “Allow” (Disk Tool: Erase disk?), type yes:");
    for (const answer of ["", "no", "y", "2"]) {
      await typed(answer);
      expect(printed.at(-1)).toBe("Nothing was pressed.");
      await typed("2");
    }
    expect(sent()).toEqual([]);
    await typed(" Yes ");
    expect((await world.lastSent(mac)).command).toMatchObject({ approvalID: one, buttonLabel: "Allow" });
  });

  it("is never given to another button, so that one typed too late presses nothing", async () => {
    await shown([sampleApproval(1)]);
    await world.list(mac, [sampleApproval(2)]);
    expect(printed).toContain("    3  “Cancel”");
    await typed("1");
    expect(printed.at(-1)).toBe("That prompt is not there any more.");
    expect(sent()).toEqual([]);
  });

  it("whose prompt goes away before the yes presses nothing", async () => {
    await shown([sampleApproval(1)]);
    await typed("2");
    await world.list(mac, []);
    await typed("yes");
    expect(printed.at(-1)).toBe("That cannot be pressed now.");
    expect(sent()).toEqual([]);
  });

  it.each(["0", "3", "-1", "1.5", "Allow", "yes", "9999999"])("that is none is refused: %s", async (line) => {
    await shown([sampleApproval(1)]);
    await typed(line);
    expect(printed.at(-1)).toBe("Type the number of a button.");
    expect(sent()).toEqual([]);
  });
});

describe("An answer given beforehand", () => {
  it("presses the first prompt's button of that label, once", async () => {
    await shown(
      [sampleApproval(1, { buttons: [sampleButton("allow")] }), sampleApproval(2)],
      "--answer",
      "Allow",
    );
    await world.time.settle();
    expect((await world.lastSent(mac)).command).toMatchObject({
      approvalID: sampleID(2),
      buttonLabel: "Allow",
    });
    await settled({ status: "failed" });
    await world.list(mac, [sampleApproval(2, { windowTitle: "Changed" })]);
    expect(sent()).toHaveLength(1);
    expect(status).toBeUndefined();
  });

  it("prefers the labels in their order", async () => {
    await shown([sampleApproval(1)], "--answer=Deny", "--answer=Cancel", "--answer=Allow");
    await world.time.settle();
    expect((await world.lastSent(mac)).command).toMatchObject({ buttonLabel: "Cancel" });
  });

  it("does not grant where direct access is required, and says so once", async () => {
    await shown([sampleApproval(1, { requiresDirectAccess: true })], "--answer", "Allow");
    await world.list(mac, [sampleApproval(1, { requiresDirectAccess: true })]);
    expect(sent()).toEqual([]);
    expect(printed.filter((line) => line.includes("can only be pressed there"))).toHaveLength(1);
  });

  it.each([
    ["accepted", 0],
    ["failed", 3],
    ["not_found", 3],
    ["requires_direct_access", 3],
  ])("once ends with what came of it: %s with %i", async (came, expected) => {
    await shown([sampleApproval(1), sampleApproval(2)], "--answer", "Allow", "--once");
    await world.time.settle();
    expect(sent()).toHaveLength(1);
    expect(status).toBeUndefined();
    await settled({ status: came });
    expect(status).toBe(expected);
    await typed("1");
    expect(sent()).toHaveLength(1);
  });

  it("once does not end with the decision of another phone", async () => {
    await shown([sampleApproval(1)], "--once");
    const theirs = { approvalID: one, buttonLabel: "Allow", status: "accepted" };
    await world.result(mac, "X", theirs, { deviceID: "D", deviceName: "Bo" });
    expect(printed.at(-1)).toContain("by Bo");
    expect(status).toBeUndefined();
  });

  it("that is not answered ends with the time-out, at its second and not before", async () => {
    await shown([], "--answer", "Allow", "--once", "--timeout", "20");
    await world.time.advance(19_999);
    expect(status).toBeUndefined();
    await world.time.advance(1);
    expect(status).toBe(4);
  });
});

describe("What the terminal prints of the connection", () => {
  it("is each change of the relay and the computer, once", async () => {
    await shown([]);
    world.network.socket("mac").deliver({ type: "mac.status", macConnected: false });
    world.network.socket("mac").deliver({ type: "mac.status", macConnected: false });
    await world.time.settle();
    world.network.socket("mac").deliver('{"type":"mac.snapshot"}');
    await world.time.settle();
    world.network.socket("mac").end();
    expect(printed.slice(-4)).toEqual([
      "Nothing waits.",
      "Connected to the relay. The computer is not connected.",
      "A list came that this phone cannot read. Pair anew if this stays so.",
      "The relay cannot be reached; it is tried again.",
    ]);
  });

  it("is, once, that nothing wakes a terminal", async () => {
    await shown([]);
    world.network.socket("mac").end();
    await world.time.advance(5000);
    await world.join(mac);
    const line = "A terminal cannot be woken: prompts are shown here while this program runs.";
    expect([...printedBefore, ...printed].filter((one) => one === line)).toHaveLength(1);
  });

  it.each([4001, 4002, 4003])("is the end after the close code %i", async (code) => {
    await shown([]);
    world.network.socket("mac").end(code);
    expect(status).toBe(5);
  });
});

describe("The command line", () => {
  it("has its usual values", () => {
    expect(options()).toEqual({ pairing: "-", answers: [], once: false });
    expect(options("--pairing", "FILE", "--name=Bo", "--timeout", "1.5")).toEqual({
      pairing: "FILE",
      answers: [],
      once: false,
      name: "Bo",
      timeoutSeconds: 1.5,
    });
    expect(readOptions(["--once", "--help"])).toEqual({ kind: "help" });
  });

  it.each([
    ["--what"],
    ["word"],
    ["--answer"],
    ["--timeout", "soon"],
    ["--timeout", "0"],
    ["--timeout", "-1"],
    ["--timeout", "1e9"],
  ])("is refused: %s %s", (...words) => {
    expect(readOptions(words).kind).toBe("wrong");
  });
});

describe("A pairing code from standard input", () => {
  const read = (lines: readonly string[]) => {
    const input = new PairingInput((text) => world.phone.readPairing(text));
    return lines.map((line) => input.add(line)?.kind);
  };
  const code = (): unknown => JSON.parse(new FakeComputer(world.crypto, "mac").pairingText());

  it("may stand on one line or on many, after empty ones", () => {
    expect(read(["", JSON.stringify(code())])).toEqual([undefined, "offer"]);
    const lines = JSON.stringify(code(), null, 2).split("\n");
    expect(read(lines)).toEqual([...lines.slice(1).map(() => undefined), "offer"]);
  });

  it("is refused as soon as it cannot become one", () => {
    expect(read(["hello"])).toEqual(["invalid"]);
    expect(read(['{"type":"other"}'])).toEqual(["invalid"]);
    expect(read(["{", "x".repeat(20_000)])).toEqual([undefined, "invalid"]);
  });

  it("that never comes is refused at the end", () => {
    expect(new PairingInput((text) => world.phone.readPairing(text)).end()).toMatchObject({
      kind: "invalid",
      problem: "There is no text in this.",
    });
  });
});
