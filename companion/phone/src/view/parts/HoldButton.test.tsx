// @vitest-environment jsdom
import { act, cleanup, fireEvent, render, screen } from "@testing-library/preact";
import { afterEach, beforeEach, describe, expect, it, vi } from "vitest";
import { HoldButton, kHold, kSecondActivation } from "./HoldButton";
import type { HoldButtonProps } from "./HoldButton";
import { givePointerEvents } from "../pointerEvents.testing";

const onConfirm = vi.fn();
const onHint = vi.fn();

function drawn(parts: Partial<HoldButtonProps> = {}) {
  return (
    <HoldButton
      label="Allow"
      caption="Hold"
      subject="prompt 1"
      isRecommended={false}
      isDisabled={false}
      onConfirm={onConfirm}
      onHint={onHint}
      {...parts}
    />
  );
}

function button(): HTMLElement {
  return screen.getByRole("button");
}

function pass(milliseconds: number): void {
  act(() => void vi.advanceTimersByTime(milliseconds));
}

const kInside = { clientX: 50, clientY: 20, isPrimary: true, button: 0, pointerId: 1 };

function press(): void {
  fireEvent.pointerDown(button(), kInside);
}

/** As a browser does: the pointer goes up, and a click follows. */
function release(): void {
  fireEvent.pointerUp(button(), kInside);
  fireEvent.click(button(), { detail: 1 });
}

givePointerEvents();

beforeEach(() => {
  vi.useFakeTimers();
  onConfirm.mockReset();
  onHint.mockReset();
  vi.spyOn(Element.prototype, "getBoundingClientRect").mockReturnValue(new DOMRect(0, 0, 100, 40));
});

afterEach(() => {
  cleanup();
  vi.useRealTimers();
});

describe("a button that grants, held by a finger", () => {
  it("is pressed when it is full, not earlier", () => {
    render(drawn());
    press();
    pass(kHold - 1);
    expect(onConfirm).not.toHaveBeenCalled();
    pass(1);
    expect(onConfirm).toHaveBeenCalledTimes(1);
  });

  it("is pressed once, however long it is held, and not again by the click that follows", () => {
    render(drawn());
    press();
    pass(20 * kHold);
    release();
    pass(kSecondActivation);
    expect(onConfirm).toHaveBeenCalledTimes(1);
    expect(onHint).not.toHaveBeenCalledWith(expect.stringContaining("again"));
  });

  it("is not pressed by a tap, nor by two, nor by ten", () => {
    render(drawn());
    for (let tap = 0; tap < 10; ++tap) {
      press();
      pass(80);
      release();
      pass(120);
    }
    pass(kSecondActivation);
    expect(onConfirm).not.toHaveBeenCalled();
    expect(onHint).toHaveBeenLastCalledWith("Keep holding the button to confirm: Allow");
  });

  it("is not pressed when let go just before it is full", () => {
    render(drawn());
    press();
    pass(kHold - 1);
    release();
    pass(kHold);
    expect(onConfirm).not.toHaveBeenCalled();
  });

  it.each([
    ["the finger leaves the button", () => fireEvent.pointerMove(window, { ...kInside, clientX: 101 })],
    ["a second finger comes down", () => fireEvent.pointerDown(document.body, { ...kInside, pointerId: 2 })],
    ["the page is scrolled", () => fireEvent.scroll(document)],
    ["the browser takes the finger for something else", () => fireEvent.pointerCancel(button(), kInside)],
    ["the page is left", () => fireEvent.blur(window)],
    ["the page is hidden", () => fireEvent(document, new Event("visibilitychange"))],
  ])("is not pressed when %s", (_, disturb) => {
    render(drawn());
    press();
    pass(kHold - 100);
    disturb();
    pass(kHold);
    expect(onConfirm).not.toHaveBeenCalled();
  });

  it("goes on being held when the finger moves within it", () => {
    render(drawn());
    press();
    fireEvent.pointerMove(window, { ...kInside, clientX: 99, clientY: 39 });
    pass(kHold);
    expect(onConfirm).toHaveBeenCalledTimes(1);
  });

  it.each([
    ["is about something else", { subject: "prompt 2" }],
    ["has another label", { label: "Allow All" }],
    ["may not be pressed any more", { isDisabled: true }],
  ])("is not pressed when what is held meanwhile %s", (_, change) => {
    const { rerender } = render(drawn());
    press();
    pass(kHold - 1);
    rerender(drawn(change));
    pass(kHold);
    expect(onConfirm).not.toHaveBeenCalled();
  });

  it("is not pressed when it went away meanwhile", () => {
    const { unmount } = render(drawn());
    press();
    pass(kHold - 1);
    unmount();
    pass(kHold);
    expect(onConfirm).not.toHaveBeenCalled();
  });

  it("takes neither another mouse button nor a second finger for a hold", () => {
    render(drawn());
    fireEvent.pointerDown(button(), { ...kInside, button: 2 });
    fireEvent.pointerDown(button(), { ...kInside, isPrimary: false, pointerId: 3 });
    pass(kHold);
    expect(onConfirm).not.toHaveBeenCalled();
  });
});

describe("a button that grants, activated without a finger", () => {
  it("asks first, and is pressed by the second activation", () => {
    render(drawn());
    fireEvent.click(button());
    expect(onConfirm).not.toHaveBeenCalled();
    expect(onHint).toHaveBeenLastCalledWith("Hold, or activate again, to confirm: Allow");
    fireEvent.click(button());
    expect(onConfirm).toHaveBeenCalledTimes(1);
    expect(onHint).toHaveBeenLastCalledWith(undefined);
  });

  it("waits for the second activation until just before the time is over", () => {
    render(drawn());
    fireEvent.click(button());
    pass(kSecondActivation - 1);
    fireEvent.click(button());
    expect(onConfirm).toHaveBeenCalledTimes(1);
  });

  it("asks anew when the second activation comes too late", () => {
    render(drawn());
    fireEvent.click(button());
    pass(kSecondActivation);
    fireEvent.click(button());
    expect(onConfirm).not.toHaveBeenCalled();
    fireEvent.click(button());
    expect(onConfirm).toHaveBeenCalledTimes(1);
  });

  it("asks anew when what it is about changed in between", () => {
    const { rerender } = render(drawn());
    fireEvent.click(button());
    rerender(drawn({ subject: "prompt 1, other words" }));
    fireEvent.click(button());
    expect(onConfirm).not.toHaveBeenCalled();
  });

  it("does not take a key that is kept down for two activations", () => {
    render(drawn());
    fireEvent.keyDown(button(), { key: "Enter" });
    fireEvent.click(button());
    // The browser makes no click of a repeated key whose default was prevented.
    expect(fireEvent.keyDown(button(), { key: "Enter", repeat: true })).toBe(false);
    expect(fireEvent.keyDown(button(), { key: " ", repeat: true })).toBe(false);
  });

  it("does not take a tap for the second activation", () => {
    render(drawn());
    fireEvent.click(button());
    press();
    pass(50);
    release();
    expect(onConfirm).not.toHaveBeenCalled();
  });
});

describe("the appearance of a button that grants", () => {
  it("bears the label as its name, and how to press it as its description", () => {
    render(drawn({ label: "Allow" }));
    expect(screen.getByRole("button", { name: "Allow", description: "Hold" })).toBeTruthy();
  });

  it("shows what is hidden in a label", () => {
    render(drawn({ label: "All\u200bow\u202e" }));
    expect(screen.getByRole("button", { name: "All⟨U+200B⟩ow⟨U+202E⟩" })).toBeTruthy();
  });
});
