// The worker that a browser starts for a push and for what a person chooses on a notification, in a browser that does as it is told.

import { beforeEach, describe, expect, it } from "vitest";
import { MemoryStore } from "../core/memoryStore";
import { dismissalTimeout } from "../core/dismissal";
import { pageAnswerTimeout } from "../core/pushAlerts";
import { FakePushDoor, PhoneWorld, sampleApproval, sampleID, type FakeComputer } from "../core/testing";
import type { WorkerMessage } from "../core/workerMessages";
import { AlertWorker, type AlertOptions, type ClickedNotification, type PageWindow } from "./AlertWorker";

const clock = (time: number) => ({ epoch: sampleID(99), time });

function push(number: number, change: object = {}, dataChange: object = {}): string {
  return JSON.stringify({
    web_push: 8030,
    notification: {
      title: `Prompt ${number}`,
      body: "Are you sure?",
      navigate: `https://relay.example/#prompt/${sampleID(number)}`,
      lang: "en",
      dir: "auto",
      tag: `tag-${number}`,
      silent: false,
      data: {
        quillard: 1,
        kind: "prompt",
        pairingID: "mac",
        approvalID: sampleID(number),
        computer: "Studio",
        dismissLabel: "Cancel",
        waiting: 1,
        clock: clock(number),
        ...dataChange,
      },
      ...change,
    },
  });
}

interface Shown extends ClickedNotification {
  readonly options: AlertOptions;
}

/** A page that answers the worker as the test wants. */
class FakeWindow implements PageWindow {
  readonly messages: WorkerMessage[] = [];
  focused = 0;
  mayFocus = true;
  answers: (unknown | Promise<unknown>)[] = [];

  constructor(readonly isVisible: boolean) {}

  focus(): Promise<void> {
    if (!this.mayFocus) return Promise.reject(new Error("Not allowed."));
    this.focused += 1;
    return Promise.resolve();
  }

  send(message: WorkerMessage, answered?: (answer: unknown) => void): void {
    this.messages.push(message);
    if (message.quillard !== "dismiss") return;
    for (const answer of this.answers) void Promise.resolve(answer).then(answered);
  }
}

let world: PhoneWorld;
let door: FakePushDoor;
let mac: FakeComputer;
let worker: AlertWorker;
let screen: Map<string, Shown>;
let shownCount: number;
let windows: FakeWindow[];
let opened: string[];
let refuses: (options: AlertOptions) => boolean;
/** Whether the browser says that it has shown something. */
let answers: boolean;

beforeEach(async () => {
  door = new FakePushDoor();
  world = new PhoneWorld(new MemoryStore());
  await world.start();
  mac = await world.pair("mac");
  world.phone.stop();
  screen = new Map();
  shownCount = 0;
  windows = [];
  opened = [];
  refuses = () => false;
  answers = true;
  worker = new AlertWorker({
    show: (title, options) => {
      if (refuses(options)) return Promise.reject(new TypeError("Not like that."));
      shownCount += 1;
      screen.set(options.tag, {
        title,
        options,
        data: options.data,
        close: () => screen.delete(options.tag),
      });
      return answers ? Promise.resolve() : new Promise(() => {});
    },
    shown: () => Promise.resolve([...screen.values()]),
    windows: () => Promise.resolve(windows),
    open: (place) => {
      opened.push(place);
      return Promise.resolve();
    },
    environment: { ...world.environment(), push: () => Promise.resolve(door) },
  });
});

const bodies = () => [...screen.values()].map(({ options }) => options.body);

function shown(tag: string): Shown {
  const found = screen.get(tag);
  if (!found) throw new Error(`Nothing is shown as ${tag}: ${[...screen.keys()].join(", ")}`);
  return found;
}

describe("A push", () => {
  it("shows who asks and what, with its dismissal as a button, until the person answers", async () => {
    await worker.pushed(push(1));
    const { title, options } = shown("tag-1");
    expect(title).toBe("Prompt 1");
    expect(options).toMatchObject({
      body: "Are you sure?",
      lang: "en",
      silent: false,
      requireInteraction: true,
    });
    expect(options.actions).toEqual([
      { action: "dismiss", title: "Cancel" },
      { action: "open", title: "Open" },
    ]);
  });

  it("shows texts of other programs as they are, and what would hide in them written out", async () => {
    await worker.pushed(
      push(1, { title: "A\u202eB", body: "one\ntwo\u200bthree" }, { dismissLabel: "No\u0007" }),
    );
    const { title, options } = shown("tag-1");
    expect(title).toBe("A⟨U+202E⟩B");
    expect(options.body).toBe("one\ntwo⟨U+200B⟩three");
    expect(options.actions[0]?.title).toBe("No⟨U+0007⟩");
  });

  it("offers no answer where the computer gives none, and leads to the page all the same", async () => {
    await worker.pushed(push(1, {}, { dismissLabel: undefined }));
    expect(shown("tag-1").options.actions).toEqual([{ action: "open", title: "Open" }]);
    await worker.pushed(push(2, {}, { kind: "several", waiting: 3 }));
    expect(shown("tag-2").options.actions).toEqual([]);
  });

  it.each([undefined, "", "no JSON", push(1, { title: "" }), push(1, {}, { kind: "of a later version" })])(
    "that cannot be read (%s) shows something, since a silent one costs the subscription",
    async (text) => {
      await worker.pushed(text);
      expect([...screen.values()].map(({ title }) => title)).toEqual(["Something waits at a computer"]);
      const [notification] = screen.values();
      if (notification) await worker.clicked("", notification);
      expect(opened).toEqual(["/"]);
    },
  );

  it("shows something where the system does not take all of it", async () => {
    refuses = ({ lang, actions }) => lang !== undefined || actions.length > 0;
    await worker.pushed(push(1));
    expect(shown("tag-1").options.body).toBe("Are you sure?");
  });

  it("is shown each time: in a hundred everyday prompts none stays silent", async () => {
    for (let number = 1; number <= 100; number += 1) {
      const kinds = [
        push(number),
        push(number, {}, { waiting: 2 }),
        push(number - 1),
        push(number, {}, { kind: "several", waiting: 4 }),
        push(number, {}, { kind: "test" }),
      ];
      const before = shownCount;
      await worker.pushed(kinds[number % kinds.length]);
      expect(shownCount).toBe(before + 1);
    }
  });

  it("does not hold back the next one where the browser never says that it was shown", async () => {
    answers = false;
    let isDone = false;
    void worker.pushed(push(1)).then(() => (isDone = true));
    await world.time.settle();
    expect([shown("tag-1").title, isDone]).toEqual(["Prompt 1", false]);
    await world.time.advance(2000);
    expect(isDone).toBe(true);
  });

  it("is shown where the phone cannot keep that it came", async () => {
    world.store.saveAlertTime = () => Promise.reject(new Error("Full."));
    await worker.pushed(push(1));
    expect(shown("tag-1").title).toBe("Prompt 1");
  });

  it("is known to the page, and kept as the last one that came", async () => {
    windows.push(new FakeWindow(false));
    await worker.pushed(push(1));
    const at = world.time.now();
    expect(windows[0]?.messages).toEqual([{ quillard: "received", pairingID: "mac", at }]);
    expect((await world.store.load()).alertTimes).toEqual(new Map([["mac", at]]));
  });

  it("of the only prompt that waits closes what was shown before it, and nothing that is newer or of others", async () => {
    await worker.pushed(push(1, {}, { waiting: 2 }));
    await worker.pushed(push(9, {}, { waiting: 2 }));
    await worker.pushed(push(2, {}, { waiting: 2, pairingID: "other" }));
    await worker.pushed(push(3, {}, { kind: "test" }));
    await worker.pushed(push(4, {}, { waiting: 2, clock: { epoch: sampleID(98), time: 1 } }));
    await worker.pushed(push(5));
    expect([...screen.keys()].sort()).toEqual(["tag-2", "tag-3", "tag-4", "tag-5", "tag-9"]);
  });
});

/** The same numbers for the same seed, from 0 to 1. */
function randomNumbers(seed: number): () => number {
  let state = seed;
  return () => {
    state = (Math.imul(state, 1_664_525) + 1_013_904_223) >>> 0;
    return state / 2 ** 32;
  };
}

describe("10,000 events", () => {
  it.each([1, 2, 3, 4])("show each push, and lead where they say (seed %i)", async (seed) => {
    const random = randomNumbers(seed);
    const roll = (sides: number) => Math.floor(random() * sides);
    const anyPush = (number: number): string | undefined => {
      const waiting = 1 + roll(4);
      switch (roll(10)) {
        case 0:
          return push(number, {}, { kind: "several", waiting });
        case 1:
          return push(number, {}, { kind: "test", waiting });
        case 2:
          return push(number, {}, { pairingID: "other", waiting });
        case 3:
          return push(number, {}, { clock: { epoch: sampleID(90 + roll(3)), time: roll(1000) }, waiting });
        case 4:
          return push(number, {}, { dismissLabel: undefined, waiting });
        case 5:
          return push(number).slice(0, roll(300));
        case 6:
          return roll(2) === 0 ? undefined : push(number, { title: 7 });
        default:
          return push(number, {}, { waiting });
      }
    };
    let pushes = 0;
    let clicks = 0;
    for (let event = 0; event < 2500; event += 1) {
      const any = [...screen.values()][roll(Math.max(1, screen.size))];
      const chance = roll(10);
      if (chance < 6) {
        const before = shownCount;
        refuses =
          roll(5) === 0 ? ({ lang, actions }) => lang !== undefined || actions.length > 0 : () => false;
        await worker.pushed(anyPush(1 + roll(80)));
        expect(shownCount).toBe(before + 1);
        expect([...screen.values()].every(({ title }) => title.trim() !== "")).toBe(true);
        expect(screen.size).toBeGreaterThan(0);
        pushes += 1;
      } else if (any && chance < 8) {
        opened = [];
        await worker.clicked(roll(2) === 0 ? "" : "open", any);
        expect(opened).toHaveLength(1);
        const number = /^Prompt (\d+)$/.exec(any.title)?.[1];
        const isOfOne = number !== undefined && any.options.actions.length > 0;
        if (isOfOne) expect(opened[0]).toBe(`/#prompt/${sampleID(Number(number))}`);
        clicks += 1;
      } else {
        any?.close();
      }
    }
    expect(pushes).toBeGreaterThan(1000);
    expect(clicks).toBeGreaterThan(100);
  });
});

describe("A notification that is chosen", () => {
  beforeEach(() => worker.pushed(push(1)));

  it("opens the page at exactly that prompt", async () => {
    await worker.clicked("", shown("tag-1"));
    expect([opened, screen.size]).toEqual([[`/#prompt/${sampleID(1)}`], 0]);
  });

  it("leads a page that is open there, one that is seen before others", async () => {
    windows.push(new FakeWindow(false), new FakeWindow(true));
    await worker.clicked("open", shown("tag-1"));
    expect(windows.map(({ focused }) => focused)).toEqual([0, 1]);
    expect(windows[1]?.messages).toEqual([{ quillard: "show", approvalID: sampleID(1) }]);
    expect(opened).toEqual([]);
  });

  it("opens a page of its own where an open one cannot be brought up", async () => {
    const window = new FakeWindow(true);
    window.mayFocus = false;
    windows.push(window);
    await worker.clicked("", shown("tag-1"));
    expect(opened).toEqual([`/#prompt/${sampleID(1)}`]);
  });

  it("has no button that could grant: whatever else was pressed leads to the page", async () => {
    await worker.clicked("allow", shown("tag-1"));
    expect(opened).toEqual([`/#prompt/${sampleID(1)}`]);
    expect(world.network.sockets).toHaveLength(1);
  });
});

describe("The dismissal of a notification", () => {
  let ended: boolean;

  async function press(): Promise<void> {
    ended = false;
    void worker.clicked("dismiss", shown("tag-1")).then(() => (ended = true));
    await world.time.settle();
  }

  beforeEach(() => worker.pushed(push(1)));

  it("is carried out without a page, and its success is shown for a moment", async () => {
    await press();
    expect(bodies()).toEqual(["Sending “Cancel” to Studio…"]);
    await world.join(mac);
    await world.list(mac, [sampleApproval(1)]);
    const { decisionID } = await world.lastSent(mac);
    const result = { approvalID: sampleID(1), buttonLabel: "Cancel", status: "accepted" };
    await world.result(mac, decisionID, result);
    expect(bodies()).toEqual(["“Cancel” pressed from here"]);
    expect(ended).toBe(false);
    await world.time.advance(10_000);
    expect([ended, screen.size]).toEqual([true, 0]);
  });

  it("that comes too late says that the prompt is gone", async () => {
    await press();
    await world.join(mac);
    await world.list(mac, []);
    expect(bodies()).toEqual(["It was gone already, and nothing was pressed."]);
    expect(ended).toBe(true);
  });

  it("that reaches nobody says so, and still leads to the prompt", async () => {
    await press();
    await world.time.advance(dismissalTimeout);
    expect(bodies()).toEqual(["mac could not be reached, and nothing was pressed. It may still wait."]);
    const [notification] = screen.values();
    if (notification) await worker.clicked("", notification);
    expect(opened).toEqual([`/#prompt/${sampleID(1)}`]);
  });

  it("closes the notifications of what was answered meanwhile", async () => {
    await worker.pushed(push(2, {}, { waiting: 2 }));
    await worker.pushed(push(3, {}, { waiting: 2 }));
    await press();
    await world.join(mac);
    await world.list(mac, [sampleApproval(3)]);
    expect([...screen.keys()].sort()).toEqual([`answer ${sampleID(1)}`, "tag-3"]);
  });

  it("is left to a page that is open, whose connection stays as it is", async () => {
    const window = new FakeWindow(false);
    const outcome = {
      key: "D",
      approvalID: sampleID(1),
      at: 1,
      appName: "",
      windowTitle: "",
      buttonLabel: "Cancel",
    };
    let end: (answer: unknown) => void = () => {};
    window.answers = [{ quillard: "taken" }, new Promise((resolve) => (end = resolve))];
    windows.push(window);
    await press();
    await world.time.advance(pageAnswerTimeout + 1);
    expect(window.messages.at(-1)).toMatchObject({
      quillard: "dismiss",
      label: "Cancel",
      approvalID: sampleID(1),
    });
    const dismissal = { kind: "settled", outcome: { ...outcome, status: "accepted" } };
    end({ quillard: "ended", dismissal, computerName: "Ana’s computer" });
    await world.time.settle();
    expect(bodies()).toEqual(["“Cancel” pressed from here"]);
    expect(world.network.sockets).toHaveLength(1);
  });

  it("is carried out alone where the page sleeps, which is told afterwards", async () => {
    windows.push(new FakeWindow(false));
    await press();
    await world.time.advance(pageAnswerTimeout);
    expect(world.network.sockets).toHaveLength(2);
    await world.join(mac);
    await world.list(mac, []);
    expect(windows[0]?.messages.at(-1)).toEqual({ quillard: "released", pairingID: "mac" });
    expect(ended).toBe(true);
  });

  it("that a page took and lost is not called done", async () => {
    const window = new FakeWindow(false);
    window.answers = [
      { quillard: "taken" },
      { quillard: "ended", dismissal: { kind: "of a later version" } },
      5,
    ];
    windows.push(window);
    await press();
    await world.time.advance(100_000);
    expect(bodies()).toEqual(["It is not known what became of it. Open Quillard to see."]);
    expect(world.network.sockets).toHaveLength(1);
  });

  it("of a computer that this phone has forgotten presses nothing", async () => {
    await world.store.remove("mac");
    await press();
    expect(bodies()).toEqual(["This phone is not paired with Studio any more. Nothing was pressed."]);
  });
});

describe("A subscription that the browser has lost", () => {
  const key = `B${"k".repeat(86)}`;
  const subscriptions = () => world.sent().filter((text) => text.includes("push.subscribe"));

  beforeEach(() => {
    world.network.responseStatus = 200;
    world.network.responseText = JSON.stringify({ key });
  });

  async function change(): Promise<() => boolean> {
    let isDone = false;
    void worker.subscriptionChanged().then(() => (isDone = true));
    for (let turns = 0; world.network.sockets.length < 2 && turns < 1000; turns += 1)
      await new Promise((resolve) => setTimeout(resolve));
    await world.time.settle();
    return () => isDone;
  }

  it("is made anew and handed over without a page", async () => {
    await world.store.changeAlerts(() => ({ isWanted: true, shows: "computer", sequence: 0 }));
    const isDone = await change();
    await world.join(mac);
    for (let turns = 0; subscriptions().length === 0 && turns < 1000; turns += 1)
      await new Promise((resolve) => setTimeout(resolve));
    expect(subscriptions()).toHaveLength(1);
    world.network.socket("mac").deliver({ type: "push.subscription", subscribed: true });
    await world.time.settle();
    expect(isDone()).toBe(true);
    expect(world.network.socket("mac").state).toBe("closed");
  });

  it("is left to a page that is open", async () => {
    await world.store.changeAlerts(() => ({ isWanted: true, shows: "prompt", sequence: 0 }));
    windows.push(new FakeWindow(false));
    await worker.subscriptionChanged();
    expect(windows[0]?.messages).toEqual([{ quillard: "subscriptionChanged" }]);
    expect(world.network.sockets).toHaveLength(1);
  });

  it("that nobody wants stays lost", async () => {
    await worker.subscriptionChanged();
    expect([world.network.sockets.length, door.made]).toEqual([1, 0]);
  });
});
