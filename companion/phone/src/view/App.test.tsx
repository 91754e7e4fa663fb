// @vitest-environment jsdom
import { signal } from "@preact/signals-core";
import { act, cleanup, configure, fireEvent, render, screen, waitFor } from "@testing-library/preact";
import { afterEach, beforeAll, beforeEach, describe, expect, it, vi } from "vitest";
import { computer, kOutcomes, kSceneNow, phone, prompt, scenes, withAlerts } from "../../gallery/scenes";
import type { PairingReading, PhoneActions, PhoneState } from "../core/model";
import { App } from "./App";
import { setClock } from "./clock";
import { loadMore } from "./more";

// What never comes fails; a busy machine does not.
configure({ asyncUtilTimeout: 20_000 });

const offer = {
  pairingID: "studio",
  backendURL: "https://relay.example.org",
  relaySecret: "planted-relay-secret",
  e2eSecret: "planted-end-secret",
};

function actionsWith(reading: PairingReading = { kind: "offer", offer }) {
  return {
    readPairing: vi.fn<PhoneActions["readPairing"]>(() => reading),
    pair: vi.fn<PhoneActions["pair"]>(() => Promise.resolve()),
    renameComputer: vi.fn<PhoneActions["renameComputer"]>(() => Promise.resolve()),
    renameDevice: vi.fn<PhoneActions["renameDevice"]>(() => Promise.resolve()),
    forget: vi.fn<PhoneActions["forget"]>(() => Promise.resolve()),
    decide: vi.fn<PhoneActions["decide"]>(),
    chooseLock: vi.fn<PhoneActions["chooseLock"]>(() => Promise.resolve()),
    removePhone: vi.fn<PhoneActions["removePhone"]>(),
    suppress: vi.fn<PhoneActions["suppress"]>(),
    unsuppress: vi.fn<PhoneActions["unsuppress"]>(),
    suppressFor: vi.fn<PhoneActions["suppressFor"]>(),
    chooseAlerts: vi.fn<PhoneActions["chooseAlerts"]>(),
    chooseAlertContent: vi.fn<PhoneActions["chooseAlertContent"]>(),
    testAlert: vi.fn<PhoneActions["testAlert"]>(),
    connectNow: vi.fn<PhoneActions["connectNow"]>(),
  };
}

function show(state: PhoneState, actions = actionsWith()) {
  const current = signal(state);
  render(<App state={current} actions={actions} />);
  return { current, actions };
}

function paste(text: string): void {
  fireEvent.click(screen.getByRole("button", { name: "Paste the code’s text" }));
  fireEvent.input(screen.getByLabelText("The code’s text"), { target: { value: text } });
  fireEvent.click(screen.getByRole("button", { name: "Continue" }));
}

function at(hash: string): void {
  act(() => {
    location.hash = hash;
    window.dispatchEvent(new Event("hashchange"));
  });
}

beforeAll(() => loadMore());

beforeEach(() => {
  location.hash = "";
  setClock(kSceneNow);
  window.scrollTo = () => undefined;
});

afterEach(cleanup);

describe("the page", () => {
  it.each(Object.keys(scenes))(
    "draws the state %s with one heading of the first level, or says that it opens",
    (name) => {
      const state = scenes[name];
      if (!state) throw new Error("There is no such state.");
      show(state);
      expect(screen.queryAllByRole("heading", { level: 1 })).toHaveLength(state.phase === "loading" ? 0 : 1);
      expect(document.querySelector("main")).not.toBeNull();
    },
  );

  it("says in the title how many prompts wait, on all computers together, and keeps it up", () => {
    const { current } = show(
      phone(
        computer({ prompts: [prompt(1), prompt(2)] }),
        computer({ pairingID: "b", name: "B", prompts: [prompt(3)] }),
      ),
    );
    expect(document.title).toBe("(3) Quillard");
    act(() => void (current.value = phone(computer())));
    expect(document.title).toBe("Quillard");
  });

  it("says why it cannot run", () => {
    show(scenes["unavailable"] as PhoneState);
    expect(screen.getByRole("alert").textContent).toContain("no keys can be kept");
  });

  it("falls back to what waits when it is sent to a computer that it does not know", () => {
    show(phone(computer()));
    at("#/computer/elsewhere");
    expect(screen.getByRole("heading", { name: "Nothing waits" })).toBeTruthy();
  });
});

describe("pairing", () => {
  it("names the relay, asks for a name, shows no secret, and pairs only when a person agrees", async () => {
    const { actions } = show(phone());
    paste("code");
    expect(actions.readPairing).toHaveBeenCalledWith("code");
    expect(screen.getByText("relay.example.org")).toBeTruthy();
    expect(document.body.innerHTML).not.toContain("planted-");
    expect(actions.pair).not.toHaveBeenCalled();
    fireEvent.input(screen.getByLabelText("Name of the computer"), { target: { value: " Studio " } });
    fireEvent.click(screen.getByRole("button", { name: "Pair" }));
    await waitFor(() => expect(actions.pair.mock.calls).toEqual([[offer, "Studio"]]));
    expect(actions.renameDevice).not.toHaveBeenCalled();
  });

  it("says why it did not work, and can be tried again", async () => {
    const actions = actionsWith();
    actions.pair.mockRejectedValueOnce(new Error("The phone has no room for keys."));
    show(phone(), actions);
    paste("code");
    fireEvent.click(screen.getByRole("button", { name: "Pair" }));
    await screen.findByText("The phone has no room for keys.");
    fireEvent.click(screen.getByRole("button", { name: "Pair" }));
    await waitFor(() => expect(actions.pair).toHaveBeenCalledTimes(2));
  });

  it("says what is wrong with a text, and keeps it for mending", () => {
    show(phone(), actionsWith({ kind: "invalid", problem: "This is not a pairing code." }));
    paste("nonsense");
    expect(screen.getByRole("alert").textContent).toContain("This is not a pairing code.");
    expect(screen.getByLabelText<HTMLTextAreaElement>("The code’s text").value).toBe("nonsense");
  });

  it("follows no address of another relay but one of the web", () => {
    show(phone(), actionsWith({ kind: "otherRelay", backendURL: "javascript:alert(1)" }));
    paste("code");
    expect(screen.getByText("This computer uses another relay")).toBeTruthy();
    expect(screen.queryByRole("link")).toBeNull();
  });
});

describe("a computer's page", () => {
  it("forgets only when asked twice", async () => {
    const { actions } = show(phone(computer()));
    at("#/computer/studio");
    fireEvent.click(screen.getByRole("button", { name: "Forget this computer" }));
    expect(actions.forget).not.toHaveBeenCalled();
    fireEvent.click(screen.getByRole("button", { name: "Keep" }));
    fireEvent.click(screen.getByRole("button", { name: "Forget this computer" }));
    fireEvent.click(screen.getByRole("button", { name: "Forget" }));
    await waitFor(() => expect(actions.forget.mock.calls).toEqual([["studio"]]));
  });

  it("lists what is muted, and shows it again", () => {
    const { actions } = show(scenes["muted"] as PhoneState);
    at("#/muted/studio");
    fireEvent.click(screen.getByRole("button", { name: "Show again: Rate this program?" }));
    expect(actions.unsuppress).toHaveBeenCalledTimes(1);
    expect(screen.getByText("A window without a title")).toBeTruthy();
    expect(screen.getByText("Until you show it again")).toBeTruthy();
    expect(screen.getByText("Until tomorrow 12:00")).toBeTruthy();
  });

  it.each([
    ["relayAway", "Try now"],
    ["takenOver", "Use it here"],
  ])("that is %s offers to connect: %s", (scene, name) => {
    const { actions } = show(scenes[scene] as PhoneState);
    fireEvent.click(screen.getByRole("button", { name }));
    expect(actions.connectNow.mock.calls).toEqual([["studio"]]);
  });
});

describe("a name", () => {
  function type(name: string): void {
    fireEvent.input(screen.getByLabelText("What the computers call it"), { target: { value: name } });
  }

  it("is saved when it is stored, not earlier", async () => {
    const actions = actionsWith();
    let stored = (): void => undefined;
    actions.renameDevice.mockImplementation(() => new Promise<void>((resolve) => (stored = resolve)));
    const { current } = show(phone(computer()), actions);
    at("#/phone");
    type("Ben’s phone");
    fireEvent.click(screen.getByRole("button", { name: "Save" }));
    const button = await screen.findByRole<HTMLButtonElement>("button", { name: "Saving…" });
    expect(button.disabled).toBe(true);
    expect(actions.renameDevice.mock.calls).toEqual([["Ben’s phone"]]);
    current.value = { ...current.value, deviceName: "Ben’s phone" };
    stored();
    await waitFor(() => expect(screen.queryByRole("button", { name: /^Sav/ })).toBeNull());
    expect(screen.queryByRole("alert")).toBeNull();
  });

  it("that cannot be stored says why, and can be saved again", async () => {
    const actions = actionsWith();
    actions.renameDevice.mockRejectedValueOnce(new Error("The storage is full."));
    show(phone(computer()), actions);
    at("#/phone");
    type("Ben’s phone");
    fireEvent.click(screen.getByRole("button", { name: "Save" }));
    await screen.findByText("The storage is full.");
    fireEvent.click(await screen.findByRole("button", { name: "Save" }));
    await waitFor(() => expect(actions.renameDevice).toHaveBeenCalledTimes(2));
  });

  it("that is stored in the spelling it had is shown in that", async () => {
    const { current } = show(phone(computer()));
    at("#/phone");
    const before = current.value.deviceName;
    type(`${before}\u200b`);
    fireEvent.click(screen.getByRole("button", { name: "Save" }));
    const field = screen.getByLabelText<HTMLInputElement>("What the computers call it");
    await waitFor(() => expect(field.value).toBe(before));
  });
});

describe("the focus", () => {
  const focusedCard = () => document.activeElement?.closest(".prompt")?.getAttribute("aria-label");
  const first = prompt(1, { windowTitle: "First?" });
  const second = prompt(2, { windowTitle: "Second?" });

  it("stays at a prompt whose buttons are switched off by the answer", () => {
    const { current } = show(phone(computer({ prompts: [first, second] })));
    act(() => screen.getAllByRole("button", { name: "Don’t Allow" })[0]?.focus());
    const decision = scenes.sending?.computers[0]?.prompts?.[0]?.decision;
    if (!decision) throw new Error("The scene has no decision.");
    act(() => void (current.value = phone(computer({ prompts: [{ ...first, decision }, second] }))));
    expect(document.activeElement?.matches(":disabled")).toBe(false);
    expect(focusedCard()).toBe("First?");
  });

  it("stays there also when the prompt above goes in the same moment", () => {
    const { current } = show(
      phone(computer({ prompts: [first, second, prompt(3, { windowTitle: "Third?" })] })),
    );
    act(() => screen.getAllByRole("button", { name: "Don’t Allow" })[1]?.focus());
    act(
      () =>
        void (current.value = phone(computer({ prompts: [second, prompt(3, { windowTitle: "Third?" })] }))),
    );
    const decision = scenes.sending?.computers[0]?.prompts?.[0]?.decision;
    if (!decision) throw new Error("The scene has no decision.");
    act(() => setClock(kSceneNow + 7000));
    const decided = [{ ...second, decision }, prompt(3, { windowTitle: "Third?" })];
    act(() => void (current.value = phone(computer({ prompts: decided }))));
    expect(focusedCard()).toBe("Second?");
  });

  it("goes to the next prompt, and to the computer after the last one", () => {
    const { current } = show(phone(computer({ prompts: [first, second] })));
    act(() => screen.getAllByRole("button", { name: "Don’t Allow" })[0]?.focus());
    const gone = (prompts: readonly (typeof first)[], seconds: number) => {
      act(() => void (current.value = phone(computer({ prompts }))));
      act(() => setClock(kSceneNow + seconds * 1000));
    };
    gone([second], 7);
    expect(focusedCard()).toBe("Second?");
    gone([], 14);
    expect(document.activeElement?.classList.contains("computer-head")).toBe(true);
  });

  it("is not taken from where the person went", () => {
    const { current } = show(phone(computer({ prompts: [first, second] })));
    act(() => screen.getAllByRole("button", { name: "Don’t Allow" })[0]?.focus());
    act(() => screen.getByRole("link", { name: "Pair another computer" }).focus());
    act(() => void (current.value = phone(computer({ prompts: [second] }))));
    act(() => setClock(kSceneNow + 7000));
    expect(document.activeElement?.getAttribute("aria-label")).toBe("Pair another computer");
  });
});

describe("a new prompt", () => {
  it("is announced by its title, unless it was there when the page opened or comes back", () => {
    const old = prompt(1, { windowTitle: "Old?" });
    const fresh = prompt(2, { windowTitle: "Fresh?" });
    const { current } = show(phone(computer({ prompts: [old] })));
    const announced = () => screen.getAllByRole("status").some((one) => one.textContent?.startsWith("New:"));
    expect(announced()).toBe(false);
    act(() => void (current.value = phone(computer({ prompts: [old, fresh] }))));
    expect(screen.getByText("New: Terminal: Fresh?.")).toBeTruthy();
    act(() => void (current.value = phone(computer({ prompts: [] }))));
    act(() => void (current.value = phone(computer({ prompts: [old, fresh] }))));
    expect(screen.queryByText(/^New: .*Old/)).toBeNull();
  });
});

describe("prompts", () => {
  it("that look the same are counted", () => {
    show(scenes.alike ?? phone());
    expect(screen.getByText(/^1 of 2 that look the same/)).toBeTruthy();
    expect(screen.getByText(/^2 of 2 that look the same/)).toBeTruthy();
  });

  it("of a computer that unpaired this phone vanish at once", () => {
    const { current } = show(phone(computer({ prompts: [prompt(1, { windowTitle: "Erase?" })] })));
    const { prompts: _none, ...ended } = computer({ relay: { kind: "revoked" } });
    act(() => void (current.value = phone(ended)));
    expect(screen.queryByRole("heading", { name: "Erase?" })).toBeNull();
    expect(screen.getByText(/unpaired its phones/)).toBeTruthy();
  });

  it("are not said to be none where the computer cannot see them", () => {
    show(scenes.untrusted ?? phone());
    expect(screen.getByRole("heading", { name: "Prompts are not seen" })).toBeTruthy();
    expect(screen.getByText(/cannot see its windows/)).toBeTruthy();
    expect(screen.queryByText("All is quiet")).toBeNull();
    cleanup();
    show(phone(computer({ accessibilityTrusted: false }), computer({ pairingID: "other", name: "Other" })));
    expect(screen.getAllByText("Nothing waits.")).toHaveLength(1);
  });

  it("show what a program asks where windows cannot be seen", () => {
    show(scenes.untrustedAndAsked ?? phone());
    expect(screen.getByRole("heading", { name: "1 prompt waits" })).toBeTruthy();
    expect(screen.getByText(/^Asked by \/usr\/bin\/backup/)).toBeTruthy();
    expect(screen.getByText(/cannot see its windows/)).toBeTruthy();
  });

  it("are not said to be answered while alerts are paused", () => {
    show(scenes.paused ?? phone());
    expect(screen.getByRole("heading", { name: "Paused" })).toBeTruthy();
    expect(screen.getByText(/^Paused at the computer until/)).toBeTruthy();
    expect(screen.queryByText("All is quiet")).toBeNull();
  });
});

describe("a phone that joined unexpectedly", () => {
  it("is named, and removed with the phone whose code it had when asked twice", () => {
    const { actions } = show(scenes.newPhone ?? phone());
    expect(screen.getByText(/has joined Studio Mac with the code of/).textContent).toBe(
      "Mallory’s phone has joined Studio Mac with the code of Ann’s iPhone",
    );
    fireEvent.click(screen.getByRole("button", { name: "Remove…" }));
    expect(actions.removePhone).not.toHaveBeenCalled();
    fireEvent.click(screen.getByRole("button", { name: "Remove both" }));
    expect(actions.removePhone).toHaveBeenCalledWith("studio", "00000000-0000-4000-8000-000000000700");
  });
});

describe("this phone's lock", () => {
  function atPhone(isLockChosen?: boolean) {
    const state = { ...phone(computer()), ...(isLockChosen !== undefined && { isLockChosen }) };
    const shown = show(state);
    at("#/phone");
    return shown;
  }

  it("is chosen by a press, and says why that did not work", async () => {
    const { actions } = atPhone(false);
    actions.chooseLock.mockRejectedValueOnce(new Error("Not recognised."));
    fireEvent.click(screen.getByRole("button", { name: "Ask before each grant" }));
    expect(actions.chooseLock).toHaveBeenCalledWith(true);
    await waitFor(() => expect(screen.getByRole("alert").textContent).toContain("Not recognised."));
  });

  it("is given up by a press", () => {
    const { actions } = atPhone(true);
    fireEvent.click(screen.getByRole("button", { name: "Ask no more" }));
    expect(actions.chooseLock).toHaveBeenCalledWith(false);
  });

  it("is said to be missing where the browser cannot ask for it", () => {
    atPhone();
    expect(screen.getByText(/This browser cannot ask for a face/)).toBeTruthy();
    expect(screen.queryByRole("button", { name: "Ask before each grant" })).toBeNull();
  });
});

describe("alerts", () => {
  it("are asked for once there is a computer, in words that say why, and may be declined", () => {
    const { actions, current } = show(withAlerts({}, computer()));
    expect(screen.getByText(/A prompt waits unseen until/)).toBeTruthy();
    fireEvent.click(screen.getByRole("button", { name: "Not now" }));
    fireEvent.click(screen.getByRole("button", { name: "Turn on alerts" }));
    expect(actions.chooseAlerts.mock.calls).toEqual([[false], [true]]);
    act(() => void (current.value = withAlerts({ isWanted: false }, computer())));
    expect(screen.queryByText(/A prompt waits unseen until/)).toBeNull();
  });

  it("are not asked for where the browser has none, or this is not known yet", () => {
    show(withAlerts({ support: "none" }, computer()));
    expect(screen.queryByRole("button", { name: "Turn on alerts" })).toBeNull();
    cleanup();
    show(phone(computer()));
    expect(screen.queryByRole("button", { name: "Turn on alerts" })).toBeNull();
  });

  it("lead an iPhone to the home screen, where it pairs", () => {
    show(withAlerts({ support: "homeScreenFirst" }, computer()));
    expect(screen.getByText(/pair there with a new code/).textContent).toContain("Add to Home Screen");
    expect(screen.queryByRole("button", { name: "Turn on alerts" })).toBeNull();
  });

  it("say on this phone's page when the last one came, for each computer, and send a test", () => {
    const { actions } = show(scenes.alerts ?? phone());
    at("#/phone");
    const time = new Date(kSceneNow - 58 * 60_000).toLocaleTimeString("en-GB", { timeStyle: "short" });
    expect(screen.getByText(`Alerts reach this phone: last one at ${time}`)).toBeTruthy();
    expect(screen.getByText("Ready. None has come yet: try one.")).toBeTruthy();
    fireEvent.click(screen.getByRole("button", { name: "Send a test alert from Laptop" }));
    expect(actions.testAlert.mock.calls).toEqual([["laptop"]]);
    const away = screen.getByRole<HTMLButtonElement>("button", { name: /Build machine/ });
    expect(away.disabled).toBe(true);
  });

  it("show on the lock screen what a person chooses", () => {
    const { actions } = show(scenes.alerts ?? phone());
    at("#/phone");
    expect(screen.getByRole<HTMLInputElement>("radio", { name: /Who asks/ }).checked).toBe(true);
    fireEvent.click(screen.getByRole("radio", { name: /Only that a prompt waits/ }));
    expect(actions.chooseAlertContent.mock.calls).toEqual([["computer"]]);
  });

  it("are switched off and on again there", () => {
    const { actions, current } = show(scenes.alerts ?? phone());
    at("#/phone");
    fireEvent.click(screen.getByRole("button", { name: "Turn off alerts" }));
    act(() => void (current.value = scenes.noAlerts ?? phone()));
    expect(screen.getByText("No alerts while this page is closed")).toBeTruthy();
    fireEvent.click(screen.getByRole("button", { name: "Turn on alerts" }));
    expect(actions.chooseAlerts.mock.calls).toEqual([[false], [true]]);
  });

  it.each(["alertsBlocked", "alertsRefused"])("that do not come say so, and what to do: %s", (scene) => {
    show(scenes[scene] ?? phone());
    fireEvent.click(screen.getByRole("link", { name: "What to do" }));
    at("#/phone");
    expect(screen.getByText("When alerts do not come")).toBeTruthy();
  });
});

describe("a prompt to which an alert has led", () => {
  const where = `#prompt/${prompt(2).id}`;
  const scrolled = vi.fn();

  beforeEach(() => {
    scrolled.mockClear();
    Element.prototype.scrollIntoView = scrolled;
    at(where);
  });

  it("has the focus, and is brought into view once", () => {
    const { current } = show(
      phone(computer({ prompts: [prompt(1), prompt(2, { windowTitle: "Second?" })] })),
    );
    expect(document.activeElement?.getAttribute("aria-label")).toBe("Second?");
    const more = [prompt(3), prompt(1), prompt(2, { windowTitle: "Second?" })];
    act(() => void (current.value = phone(computer({ prompts: more }))));
    expect(scrolled).toHaveBeenCalledTimes(1);
    expect(screen.queryByText(/That prompt/)).toBeNull();
  });

  it("is looked for until the list is there", () => {
    const { prompts: _none, ...opening } = computer({ relay: { kind: "connecting" } });
    const { current } = show(phone(opening));
    expect(screen.getByText("Looking for that prompt…")).toBeTruthy();
    act(() => void (current.value = phone(computer({ prompts: [prompt(2)] }))));
    expect(screen.queryByText("Looking for that prompt…")).toBeNull();
    expect(scrolled).toHaveBeenCalledTimes(1);
  });

  it("is said to be gone where it is, with what became of it", () => {
    const { current } = show(phone(computer({ prompts: [prompt(1)] })));
    expect(screen.getByText("It was answered elsewhere, or closed by itself.")).toBeTruthy();
    const [outcome] = kOutcomes;
    if (!outcome) throw new Error("There is no such scene.");
    const outcomes = [{ ...outcome, approvalID: prompt(2).id }];
    act(() => void (current.value = phone(computer({ prompts: [prompt(1)], outcomes }))));
    expect(screen.getByText(/Documents folder.: “Allow” pressed from here/)).toBeTruthy();
    fireEvent.click(screen.getByRole("button", { name: "OK" }));
    at("#/");
    expect(screen.queryByText("That prompt is gone")).toBeNull();
  });

  it.each([
    ["is not connected", { isComputerConnected: false }],
    ["cannot be reached", { relay: { kind: "offline" } as const }],
    ["is paused", { pause: {} }],
    ["does not list all", { promptsLeftOut: 2 }],
    ["may not look at windows", { accessibilityTrusted: false }],
  ])("is not said to be gone while its computer %s", (_name, parts) => {
    show(phone(computer({ prompts: [], ...parts })));
    expect(screen.getByText("It is not known whether that prompt still waits")).toBeTruthy();
  });
});
