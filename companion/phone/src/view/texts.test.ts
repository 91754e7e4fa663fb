import { describe, expect, it } from "vitest";
import { computer, kSceneNow, prompt } from "../../gallery/scenes";
import type { ComputerAlerts, DecisionStatus, Outcome } from "../core/model";
import {
  ago,
  alertsHelp,
  alertsNotice,
  computerAlertsText,
  decisionText,
  dismissalText,
  headline,
  isUpToDate,
  longAge,
  mayDecide,
  newPromptsText,
  notices,
  outcomeText,
  pauseText,
  shortAge,
  connectionText,
} from "./texts";

const kNow = kSceneNow;

describe("ages", () => {
  it.each([
    [-5, "now", "just now"],
    [0, "now", "just now"],
    [4.9, "now", "just now"],
    [5, "5 s", "5 seconds ago"],
    [59, "59 s", "59 seconds ago"],
    [60, "1 min", "1 minute ago"],
    [3599, "59 min", "59 minutes ago"],
    [3600, "1 h", "1 hour ago"],
    [86399, "23 h", "23 hours ago"],
    [86400, "1 d", "1 day ago"],
    [20 * 86400, "20 d", "20 days ago"],
  ])("of %d s are %s, spoken %s", (seconds, short, long) => {
    expect(shortAge(kNow - seconds * 1000, kNow)).toBe(short);
    expect(longAge(kNow - seconds * 1000, kNow)).toBe(long);
  });

  it("become a part of sentences", () => {
    expect(ago(kNow, kNow)).toBe("just now");
    expect(ago(kNow - 180_000, kNow)).toBe("3 min ago");
  });
});

describe("a pause", () => {
  const local = (day: number, hour: number, minute: number) => new Date(2026, 2, day, hour, minute).getTime();
  const kNoon = local(1, 12, 0);

  it.each([
    [local(1, 18, 30), "Paused at the computer until 18:30"],
    [local(2, 9, 0), "Paused at the computer until tomorrow 09:00"],
    [local(3, 9, 0), "Paused at the computer until Tue 09:00"],
    [kNoon, "Paused at the computer"],
    [undefined, "Paused at the computer"],
  ])("until %s is told by this phone's calendar", (until, text) => {
    expect(pauseText(until === undefined ? {} : { until }, kNoon)).toBe(text);
  });

  it("is a notice of its own", () => {
    expect(notices(computer({ pause: {} }), kNow)).toMatchObject([
      { tone: "quiet", title: "Paused at the computer" },
    ]);
  });
});

describe("what has come in", () => {
  it("is named for the ear, and counted where it is much", () => {
    expect(newPromptsText([prompt(1, { appName: "Disk", windowTitle: "Erase?" })])).toBe(
      "New: Disk: Erase?.",
    );
    const many = [1, 2, 3, 4, 5].map((number) =>
      prompt(number, { appName: "Disk", windowTitle: `${number}` }),
    );
    expect(newPromptsText(many)).toBe("New: Disk: 1. Disk: 2. Disk: 3. And 2 more.");
  });
});

describe("the headline", () => {
  it("never says that nothing waits when that is not known", () => {
    const away = computer({ relay: { kind: "offline" } });
    expect(headline(0, [computer(), computer()])).toBe("Nothing waits");
    expect(headline(0, [computer(), away])).toBe("Not up to date");
    expect(headline(0, [computer(), computer({ pause: {} })])).toBe("Paused");
    expect(headline(1, [computer()])).toBe("1 prompt waits");
    expect(headline(2, [away])).toBe("2 prompts wait");
  });

  it.each([
    ["the relay is away", { relay: { kind: "offline" } }],
    ["the computer is away", { isComputerConnected: false }],
    ["a list could not be read", { hasUnreadableSnapshot: true }],
  ] as const)("takes a list as old when %s", (_, parts) => {
    expect(isUpToDate(computer())).toBe(true);
    expect(isUpToDate(computer(parts))).toBe(false);
  });

  it("takes no list as not up to date", () => {
    const { prompts: _, ...withoutSnapshot } = computer();
    expect(isUpToDate(withoutSnapshot)).toBe(false);
  });
});

describe("how it stands with a computer", () => {
  it.each([
    [{}, "good", "Connected, heard just now"],
    [
      { isComputerConnected: false, lastReceivedAt: kNow - 180_000 },
      "warn",
      "Not connected, heard 3 min ago",
    ],
    [{ relay: { kind: "waiting", nextAttemptAt: kNow } }, "warn", "No relay, heard just now"],
    [{ relay: { kind: "offline" } }, "warn", "Offline, heard just now"],
    [{ relay: { kind: "takenOver" } }, "warn", "Open in another tab"],
    [{ relay: { kind: "revoked" } }, "warn", "Not paired any more"],
    [{ relay: { kind: "removed" } }, "warn", "Not paired any more"],
    [{ relay: { kind: "refused" } }, "warn", "Not paired any more"],
  ] as const)("is one line: %j", (parts, tone, text) => {
    expect(connectionText(computer(parts), kNow)).toEqual({ tone, text });
  });

  it("is no claim that it is connected while the relay has not said so", () => {
    const { isComputerConnected: _, ...withoutStatus } = computer();
    expect(connectionText(withoutStatus, kNow).tone).toBe("quiet");
  });

  it("counts down to the next try of the relay", () => {
    const waiting = computer({ relay: { kind: "waiting", nextAttemptAt: kNow + 6500 } });
    expect(notices(waiting, kNow)[0]).toMatchObject({ detail: "Next try in 7 s.", action: "tryNow" });
    expect(notices(waiting, kNow + 6499)[0]?.detail).toBe("Next try in 1 s.");
    expect(notices(waiting, kNow + 6500)[0]?.detail).toBe("Trying again…");
  });

  it("is spared of notices while all is well", () => {
    expect(notices(computer(), kNow)).toEqual([]);
  });

  it("says how many prompts are not shown, and where to look", () => {
    const told = (promptsLeftOut: number) => notices(computer({ promptsLeftOut }), kNow);
    expect(told(1)).toEqual([
      {
        tone: "warn",
        title: "1 more prompt is not shown",
        detail: "The list is too long. Look at Studio Mac for it.",
      },
    ]);
    expect(told(3)).toMatchObject([
      {
        title: "3 more prompts are not shown",
        detail: "The list is too long. Look at Studio Mac for them.",
      },
    ]);
  });

  it("lists every problem", () => {
    const computerWithProblems = computer({
      isComputerConnected: false,
      accessibilityTrusted: false,
      hasUnreadableSnapshot: true,
      promptsLeftOut: 2,
      storageProblem: "The storage is full.",
    });
    expect(notices(computerWithProblems, kNow).map((notice) => notice.title)).toEqual([
      "Studio Mac is not connected",
      "Studio Mac cannot see its windows",
      "A list came that cannot be read",
      "2 more prompts are not shown",
      "The last changes are not stored",
    ]);
    expect(notices(computerWithProblems, kNow).at(-1)?.detail).toContain("The storage is full.");
  });
});

const kStatuses: readonly DecisionStatus[] = [
  "sending",
  "delivered",
  "undelivered",
  "unanswered",
  "accepted",
  "failed",
  "notFound",
  "requiresDirectAccess",
  "tooLate",
];

describe("what became of a decision", () => {
  const decision = (status: DecisionStatus, error?: string) => ({
    decisionID: "D",
    approvalID: "A",
    buttonLabel: "Allow",
    status,
    decidedAt: kNow,
    ...(error === undefined ? {} : { error }),
  });

  it("reads differently for each way that it can go", () => {
    const texts = kStatuses.map((status) => decisionText(decision(status), "Studio Mac").text);
    expect(new Set(texts).size).toBe(kStatuses.length);
  });

  it("is called done only when the computer says so", () => {
    const good = kStatuses.filter((status) => decisionText(decision(status), "Studio Mac").tone === "good");
    expect(good).toEqual(["accepted"]);
  });

  it("says that it is not known where it is not", () => {
    expect(decisionText(decision("unanswered"), "Studio Mac").text).toContain("not known");
  });

  it("brings the reason of a failure, with what is hidden in it made visible", () => {
    expect(decisionText(decision("failed", "Bad\u202eluck."), "Studio Mac").text).toBe(
      "“Allow” did not work. Bad⟨U+202E⟩luck.",
    );
  });

  it("is waited for before another one may be made", () => {
    const open = kStatuses.filter((status) => mayDecide(prompt(1, { decision: decision(status) })));
    expect(open).toEqual([
      "undelivered",
      "unanswered",
      "failed",
      "notFound",
      "requiresDirectAccess",
      "tooLate",
    ]);
    expect(mayDecide(prompt(1))).toBe(true);
  });
});

describe("the history", () => {
  const outcome = (parts: Partial<Outcome>): Outcome => ({
    key: "1",
    approvalID: "A",
    at: kNow,
    appName: "Terminal",
    windowTitle: "Title",
    status: "accepted",
    ...parts,
  });

  it("names who decided", () => {
    expect(outcomeText(outcome({ buttonLabel: "Allow" })).text).toBe("“Allow” pressed from here");
    expect(outcomeText(outcome({ buttonLabel: "Allow", otherPhone: "Ben’s phone" })).text).toBe(
      "“Allow” pressed: chosen on Ben’s phone",
    );
    expect(outcomeText(outcome({ status: "goneByItself" })).text).toBe(
      "Answered at the computer, or closed by itself",
    );
    expect(outcomeText(outcome({ status: "suppressed" })).text).toBe("Not shown any more");
  });

  it("lets another phone's name move nothing about, and keeps what joins its letters", () => {
    const text = (name: string) => outcomeText(outcome({ buttonLabel: "No", otherPhone: name })).text;
    expect(text("A\u202EB\nC")).toContain("on A B C");
    expect(text("👩‍👧")).toContain("on 👩‍👧");
  });
});

describe("alerts", () => {
  const minute = 60_000;
  const text = (alerts?: ComputerAlerts) => computerAlertsText(alerts, kNow);
  const accepted = (ago: number) => ({ status: "accepted", acceptedAt: kNow - ago }) as const;

  it("say how they fare, and nothing that is not known", () => {
    expect(text()).toEqual({ tone: "quiet", text: "Not known: the relay has not said yet." });
    expect(text({ isSubscribed: true }).text).toBe("Ready. None has come yet: try one.");
    expect(text({ isSubscribed: false, receivedAt: kNow }).tone).toBe("warn");
    expect(text({ isSubscribed: true, receivedAt: kNow - 58 * minute })).toEqual({
      tone: "good",
      text: expect.stringMatching(/^Alerts reach this phone: last one at \d\d:\d\d$/),
    });
    expect(text({ receivedAt: kNow - 24 * 60 * minute }).text).toMatch(/last one at yesterday \d\d:\d\d$/);
    expect(text({ receivedAt: kNow - 100 * 24 * 60 * minute }).text).toMatch(/at \d+ \w+, \d\d:\d\d$/);
  });

  it("that were sent and have not come are told apart from those that are on their way", () => {
    expect(text({ isSubscribed: true, sent: accepted(minute / 2) }).tone).toBe("quiet");
    expect(text({ isSubscribed: true, sent: accepted(2 * minute) }).text).toMatch(
      /has not been noticed here/,
    );
    expect(text({ sent: accepted(2 * minute), receivedAt: kNow - 2 * minute + 1000 }).tone).toBe("good");
    for (const status of ["gone", "refused", "unreachable"] as const)
      expect(text({ isSubscribed: true, receivedAt: kNow - minute, sent: { status } }).tone).toBe("warn");
  });

  it("give help for the device and browser that they are to come to", () => {
    const agents = [
      ["iOS", ""],
      ["Android", "Firefox/153"],
      ["Android", "Chrome/156"],
      ["Linux", "Firefox/153"],
      ["macOS", ""],
    ] as const;
    const helps = agents.map(([platform, agent]) => alertsHelp(platform, agent).join(" "));
    expect(new Set(helps).size).toBe(helps.length);
    expect(helps[0]).toContain("home screen");
    expect(helps[1]).toContain("Firefox");
    expect(helps[1]).not.toContain("Chrome");
  });

  it("have words for each problem", () => {
    const problems = [
      "relayWakesNone",
      "serviceNotAllowed",
      "relayUnreachable",
      "serviceSilent",
      "serviceRefused",
      "notStored",
    ] as const;
    const base = { support: "available", isWanted: true, shows: "prompt", isBusy: false } as const;
    const details = problems.map((problem) => alertsNotice({ ...base, problem })?.detail);
    expect(new Set(details).size).toBe(problems.length);
    expect(alertsNotice(base)).toBeUndefined();
    expect(alertsNotice({ ...base, isWanted: false, problem: "serviceSilent" })).toBeUndefined();
  });

  it("say what became of a dismissal, and warn of all but those that need nothing more", () => {
    const outcome = {
      key: "D",
      approvalID: "A",
      at: kNow,
      appName: "Disk Tool",
      windowTitle: "Erase?",
      buttonLabel: "Cancel",
      status: "accepted",
    } as const;
    const kinds = ["changed", "unreachable", "ended", "paused", "unknown"] as const;
    const warned = kinds.map((kind) => dismissalText({ kind }, "Studio"));
    expect(warned.map(({ tone }) => tone)).toEqual(kinds.map(() => "warn"));
    expect(new Set(warned.map((one) => one.text)).size).toBe(kinds.length);
    expect(dismissalText({ kind: "settled", outcome }, "Studio")).toEqual(outcomeText(outcome));
    expect(dismissalText({ kind: "gone" }, "Studio").tone).toBe("quiet");
    expect(
      dismissalText({ kind: "gone", outcome: { ...outcome, otherPhone: "Bo’s phone" } }, "Studio").text,
    ).toBe("It was gone already, and nothing was pressed. “Cancel” pressed: chosen on Bo’s phone");
  });
});
