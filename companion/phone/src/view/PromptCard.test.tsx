// @vitest-environment jsdom
import { act, cleanup, fireEvent, render, screen, within } from "@testing-library/preact";
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { computer, kSceneNow, prompt, scenes } from "../../gallery/scenes";
import type { Computer, PhoneActions, Prompt } from "../core/model";
import { kHold } from "./parts/HoldButton";
import { PromptCard } from "./PromptCard";
import { givePointerEvents } from "./pointerEvents.testing";

const decide = vi.fn<PhoneActions["decide"]>();
const suppress = vi.fn<PhoneActions["suppress"]>();
const unsuppress = vi.fn<PhoneActions["unsuppress"]>();
const suppressFor = vi.fn<PhoneActions["suppressFor"]>();
const refuse = () => Promise.reject(new Error("not here"));
const actions: PhoneActions = {
  readPairing: () => ({ kind: "invalid", problem: "not here" }),
  pair: refuse,
  renameComputer: refuse,
  renameDevice: refuse,
  forget: refuse,
  chooseAlerts: () => undefined,
  chooseAlertContent: () => undefined,
  testAlert: () => undefined,
  connectNow: () => undefined,
  decide,
  chooseLock: refuse,
  removePhone: () => undefined,
  suppress,
  unsuppress,
  suppressFor,
};

function card(shown: Prompt, of: Computer = computer(), goneAt?: number) {
  const slot = goneAt === undefined ? { prompt: shown } : { prompt: shown, goneAt };
  return <PromptCard slot={slot} computer={of} actions={actions} now={kSceneNow} />;
}

/** The prompt of a scene of the gallery. */
function ofScene(name: string): Prompt {
  const found = scenes[name]?.computers[0]?.prompts?.[0];
  if (!found) throw new Error(`There is no prompt in ${name}.`);
  return found;
}

function hold(button: HTMLElement): void {
  fireEvent.pointerDown(button, { pointerId: 1, isPrimary: true, button: 0, clientX: 1, clientY: 1 });
  act(() => void vi.advanceTimersByTime(kHold));
}

/** The buttons of the prompt, as they are named. */
function offered(): string[] {
  const group = screen.queryByRole("group", { name: "Buttons" });
  return group
    ? within(group)
        .getAllByRole("button")
        .map((button) => button.querySelector("bdi")?.textContent ?? "")
    : [];
}

givePointerEvents();

/** Those of them that can be pressed. */
function pressable(): string[] {
  const group = screen.queryByRole("group", { name: "Buttons" });
  const enabled = group?.querySelectorAll("button:not(:disabled) bdi") ?? [];
  return [...enabled].map((label) => label.textContent ?? "");
}

beforeEach(() => {
  vi.useFakeTimers();
  for (const mock of [decide, suppress, unsuppress, suppressFor]) mock.mockReset();
  vi.spyOn(Element.prototype, "getBoundingClientRect").mockReturnValue(new DOMRect(0, 0, 100, 40));
});

afterEach(() => {
  cleanup();
  vi.useRealTimers();
});

describe("a prompt", () => {
  it("says who asks, what, since when, and why it is here", () => {
    render(card(prompt(1)));
    expect(screen.getByText("Terminal")).toBeTruthy();
    expect(screen.getByRole("heading", { name: /would like to access files/ })).toBeTruthy();
    expect(screen.getByText(/The build script asked for it/)).toBeTruthy();
    expect(screen.getByText("42 seconds ago")).toBeTruthy();
    expect(screen.getByText("A dialog with the buttons of a permission prompt")).toBeTruthy();
    expect(screen.getByText("org.example.terminal")).toBeTruthy();
  });

  it("has exactly its own buttons, in its order, and marks the recommended one", () => {
    render(card(prompt(1)));
    expect(offered()).toEqual(["Don’t Allow", "Allow"]);
    expect(screen.getByRole("button", { name: "Allow" }).textContent).toContain("Recommended");
    expect(screen.getByRole("button", { name: "Don’t Allow" }).textContent).not.toContain("Recommended");
  });

  it("shows a button that takes no presses in grey, and does not press it", () => {
    const buttons = [
      { label: "Cancel", isRecommended: false, kind: "dismiss" as const, isDisabled: true as const },
      { label: "Install", isRecommended: false, kind: "grant" as const, isDisabled: true as const },
      { label: "Later", isRecommended: false, kind: "postpone" as const },
    ];
    render(card(prompt(1, { buttons })));
    expect(offered()).toEqual(["Cancel", "Install", "Later"]);
    expect(pressable()).toEqual(["Later"]);
    fireEvent.click(screen.getByRole("button", { name: "Cancel" }));
    hold(screen.getByRole("button", { name: "Install" }));
    expect(decide).not.toHaveBeenCalled();
  });

  it("is dismissed by one tap, with the label byte for byte", () => {
    render(card(prompt(1)));
    fireEvent.click(screen.getByRole("button", { name: "Don’t Allow" }));
    expect(decide.mock.calls).toEqual([["studio", prompt(1).id, "Don’t Allow"]]);
  });

  it("is granted by a hold, not by a tap", () => {
    render(card(prompt(1)));
    const allow = screen.getByRole("button", { name: "Allow" });
    fireEvent.click(allow);
    expect(decide).not.toHaveBeenCalled();
    hold(allow);
    expect(decide.mock.calls).toEqual([["studio", prompt(1).id, "Allow"]]);
  });

  it("sends labels back as they came, however they look", () => {
    render(card(ofScene("hidden")));
    expect(offered()).toEqual(["Don't Allow", "Allow", "Аllow", "All⟨U+200B⟩ow"]);
    hold(screen.getByRole("button", { name: "All⟨U+200B⟩ow" }));
    hold(screen.getByRole("button", { name: "Аllow" }));
    expect(decide.mock.calls.map((call) => call[2])).toEqual(["All\u200bow", "\u0410llow"]);
  });

  it("makes visible what would turn texts around, and breaks lines where they break", () => {
    render(card(ofScene("hidden")));
    expect(screen.getByRole("heading", { name: "Open ⟨U+202E⟩gpj.exe⟨U+202C⟩?" })).toBeTruthy();
    expect(screen.getByText("Terminal⟨U+202E⟩")).toBeTruthy();
    expect(screen.getByText("zero⟨U+200B⟩width")).toBeTruthy();
    expect(document.body.textContent).not.toMatch(/[\u202a-\u202e\u200b]/);
  });

  it("takes markup in texts for text", () => {
    render(card(prompt(1, { windowTitle: "<img src=x onerror=alert(1)>", messageLines: ["<b>bold</b>"] })));
    expect(document.querySelector("img, b")).toBeNull();
    expect(screen.getByRole("heading").textContent).toBe("<img src=x onerror=alert(1)>");
  });

  it("has a title even where the window has none", () => {
    render(card(prompt(1, { windowTitle: "  ", appName: "" })));
    expect(screen.getByRole("heading", { name: "A window without a title" })).toBeTruthy();
    expect(screen.getByText("An unnamed program")).toBeTruthy();
  });

  it("folds forty lines, says how many are left, and shows them all when asked", () => {
    render(card(ofScene("manyButtons")));
    expect(offered()).toHaveLength(8);
    expect(screen.queryByText(/^Item 40:/)).toBeNull();
    fireEvent.click(screen.getByRole("button", { name: "Show 30 more lines" }));
    expect(screen.getByText(/^Item 40:/)).toBeTruthy();
  });

  it("says when it was recognised by its looks only", () => {
    render(card(prompt(1, { isFallbackDetection: true })));
    expect(screen.getByText(/Recognised by its looks only/)).toBeTruthy();
  });

  it("is muted by one tap, and that can be taken back where it stood", () => {
    const shown = prompt(1);
    const { rerender } = render(card(shown));
    fireEvent.click(screen.getByRole("button", { name: "Don’t show this again" }));
    expect(suppress.mock.calls).toEqual([["studio", shown.id]]);
    const { suppressionID } = shown;
    const muted = computer({
      suppressions: [{ suppressionID, at: kSceneNow, appName: "", windowTitle: "" }],
    });
    rerender(card(shown, muted, kSceneNow));
    fireEvent.click(screen.getByRole("button", { name: "Undo" }));
    expect(unsuppress.mock.calls).toEqual([["studio", suppressionID]]);
    fireEvent.click(screen.getByRole("button", { name: "Only for a day" }));
    fireEvent.click(screen.getByRole("button", { name: "For a week" }));
    expect(suppressFor.mock.calls).toEqual([
      ["studio", suppressionID, 86_400],
      ["studio", suppressionID, 604_800],
    ]);
  });
});

describe("a prompt that requires direct access", () => {
  it("says why, and offers only what dismisses it", () => {
    render(card(ofScene("directAccess")));
    expect(
      screen.getByText("It asks for a password, which is only ever typed at the computer."),
    ).toBeTruthy();
    expect(offered()).toEqual(["Deny"]);
  });

  it("offers nothing where no button dismisses it", () => {
    const buttons = [
      { label: "OK", isRecommended: true, kind: "grant" },
      { label: "Later", isRecommended: false, kind: "postpone" },
    ] as const;
    render(card(prompt(1, { requiresDirectAccess: true, buttons })));
    expect(offered()).toEqual([]);
    expect(screen.getByText("Only at Studio Mac")).toBeTruthy();
  });
});

describe("a decision on a prompt", () => {
  it.each([
    ["sending", "Sending “Allow”…"],
    ["delivered", "“Allow” is with Studio Mac…"],
    ["accepted", "“Allow” pressed, the prompt is gone."],
  ])("that is %s is shown in its place, and leaves nothing to press", (scene, words) => {
    render(card(ofScene(scene)));
    expect(screen.getByRole("status").textContent).toBe(words);
    expect(pressable()).toEqual([]);
  });

  it.each([
    ["failed", "“Allow” did not work. The prompt is still there."],
    ["tooLate", /came too late at Studio Mac. Nothing was pressed. You can decide again./],
    ["unanswered", /It is not known whether it was pressed/],
  ])("that %s is shown in its place, and may be made again", (scene, words) => {
    render(card(ofScene(scene)));
    expect(screen.getByText(words)).toBeTruthy();
    expect(pressable()).toEqual(["Don’t Allow", "Allow"]);
  });

  it("cannot be made while it would not reach the computer", () => {
    for (const away of [
      computer({ isComputerConnected: false }),
      computer({ relay: { kind: "connecting" } }),
    ]) {
      render(card(prompt(1), away));
      fireEvent.click(screen.getByRole("button", { name: "Don’t Allow" }));
      hold(screen.getByRole("button", { name: "Allow" }));
      cleanup();
    }
    expect(decide).not.toHaveBeenCalled();
  });

  it("is over when the prompt is gone: what became of it stands in its place", () => {
    const gone = prompt(1);
    const outcome = {
      key: "1",
      approvalID: gone.id,
      at: kSceneNow,
      appName: gone.appName,
      windowTitle: gone.windowTitle,
      buttonLabel: "Allow",
      status: "accepted",
      otherPhone: "Ben’s phone",
    } as const;
    render(card(gone, computer({ outcomes: [outcome] }), kSceneNow));
    expect(screen.getByRole("status").textContent).toBe("“Allow” pressed: chosen on Ben’s phone");
    expect(pressable()).toEqual([]);
  });

  it("is not made by a hold on a prompt whose words changed under the finger", () => {
    const { rerender } = render(card(prompt(1)));
    const allow = screen.getByRole("button", { name: "Allow" });
    fireEvent.pointerDown(allow, { pointerId: 1, isPrimary: true, button: 0, clientX: 1, clientY: 1 });
    act(() => void vi.advanceTimersByTime(kHold - 1));
    rerender(card(prompt(1, { messageLines: ["Something else entirely."] })));
    act(() => void vi.advanceTimersByTime(kHold));
    expect(decide).not.toHaveBeenCalled();
  });
});

describe("A grant that is not to be given lightly", () => {
  const looks = (name: string) => screen.getByRole("button", { name }).className;

  it.each([
    ["destroys", "Something is lost · hold"],
    ["lasting", "For later times, too · hold"],
    ["stranger", "Unknown identity · hold"],
  ] as const)("never has the friendly colour, and says why: %s", (caution, said) => {
    const buttons = [
      { label: "Cancel", isRecommended: false, kind: "dismiss" },
      { label: "OK", isRecommended: true, kind: "grant", caution },
    ] as const;
    render(card(prompt(1, { buttons })));
    expect(looks("OK")).toContain("is-grave");
    expect(looks("OK")).not.toContain("is-recommended");
    const described = screen.getByRole("button", { name: "OK" }).getAttribute("aria-describedby") ?? "";
    expect(document.getElementById(described)?.textContent).toBe(said);
    fireEvent.click(screen.getByRole("button", { name: "OK" }));
    expect(screen.getByRole("status").textContent).toMatch(
      `${said.split(" · ")[0]}. Hold, or activate again`,
    );
  });

  it("alone has that look", () => {
    render(card(prompt(1)));
    expect(looks("Allow")).toContain("is-recommended");
    expect(looks("Allow")).not.toContain("is-grave");
  });
});

describe("A grant that waits for this phone's lock", () => {
  it("says so, and leaves nothing to press meanwhile", () => {
    render(card(ofScene("unlocking"), scenes.unlocking?.computers[0]));
    expect(screen.getByRole("status").textContent).toBe("“Allow” waits for this phone’s lock…");
    expect(pressable()).toEqual([]);
  });

  it("that stayed shut says why, and can be tried again", () => {
    const problem = "This phone’s lock was not opened. Nothing was sent.";
    render(card(prompt(1, { unlocking: { buttonLabel: "Allow", problem } }), computer({ lock: "asked" })));
    expect(screen.getByRole("status").textContent).toBe(problem);
    expect(pressable()).toEqual(["Don’t Allow", "Allow"]);
    expect(screen.getByText("Recommended · hold, then unlock")).toBeTruthy();
  });

  it("is not offered where the computer wants the lock and there is none", () => {
    render(card(prompt(1), computer({ lock: "missing" })));
    expect(pressable()).toEqual(["Don’t Allow"]);
  });
});
