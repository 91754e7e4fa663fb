// The button for what grants something. One tap never presses it: a finger holds it until it is full. Who cannot hold
// (a keyboard, a screen reader, a switch) activates it twice instead.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useId, useLayoutEffect, useRef, useState } from "preact/hooks";
import { visibleText } from "../../core/visibleText";
import { isTouched } from "../touch";

/** How long it is held. Milliseconds. */
export const kHold = 700;
/** How long a first activation waits for the second one. */
export const kSecondActivation = 8000;
// The click comes right after the pointer went up.
const kClickFollows = 350;

export interface HoldButtonProps {
  /** The other program's text, byte for byte. */
  readonly label: string;
  readonly caption: string;
  /** What the press would be about, as one text: when it changes, whatever was begun is void. */
  readonly subject: string;
  readonly isRecommended: boolean;
  /** Why it is not to be given lightly. Such a button never has the friendly colour. */
  readonly caution?: string | undefined;
  readonly isDisabled: boolean;
  readonly onConfirm: () => void;
  /** A word on what to do, or nothing, for the line below the buttons. */
  readonly onHint: (hint: string | undefined) => void;
}

type Phase = "idle" | "holding" | "asked";

interface Hold {
  readonly pointerId: number;
  readonly end: () => void;
}

function isInside(element: Element, event: PointerEvent): boolean {
  const box = element.getBoundingClientRect();
  return (
    event.clientX >= box.left &&
    event.clientX <= box.right &&
    event.clientY >= box.top &&
    event.clientY <= box.bottom
  );
}

/** Follows one hold until it ends. `onEnd` is called once; leaving, scrolling, another finger, and the page's going end it. */
function followHold(
  button: Element,
  pointerId: number,
  onFull: () => void,
  onEnd: (isShort: boolean) => void,
): Hold {
  const listening = new AbortController();
  const options = { capture: true, signal: listening.signal };
  const finish = (then: () => void) => {
    if (listening.signal.aborted) return;
    clearTimeout(timer);
    listening.abort();
    then();
  };
  const cancel = () => finish(() => onEnd(false));
  const timer = setTimeout(() => finish(onFull), kHold);
  window.addEventListener("pointerdown", (event) => event.pointerId !== pointerId && cancel(), options);
  window.addEventListener("pointermove", (event) => !isInside(button, event) && cancel(), options);
  window.addEventListener("pointerup", () => finish(() => onEnd(true)), options);
  window.addEventListener("pointercancel", cancel, options);
  window.addEventListener("scroll", cancel, options);
  window.addEventListener("blur", cancel, { signal: listening.signal });
  document.addEventListener("visibilitychange", cancel, options);
  return { pointerId, end: cancel };
}

/** Calls `over` when the click that may follow this pointer has been, or will not be any more. */
function expectClick(pointerId: number, over: () => void): void {
  const listening = new AbortController();
  const options = { capture: true, signal: listening.signal };
  const ended = (event: PointerEvent) => {
    if (event.pointerId !== pointerId) return;
    listening.abort();
    setTimeout(over, kClickFollows);
  };
  window.addEventListener("pointerup", ended, options);
  window.addEventListener("pointercancel", ended, options);
}

export function HoldButton(props: HoldButtonProps): JSX.Element {
  const { label, caption, subject, isRecommended, caution, isDisabled, onConfirm, onHint } = props;
  const [phase, setPhase] = useState<Phase>("idle");
  const captionID = useId();
  const button = useRef<HTMLButtonElement>(null);
  const hold = useRef<Hold>();
  const asked = useRef<ReturnType<typeof setTimeout>>();
  // The next click is one that a finger or a mouse makes, as opposed to a keyboard or a screen reader.
  const isPointed = useRef(false);
  const pointed = useRef(0);
  // The newest one, for whatever was begun before the last drawing.
  const confirm = useRef(onConfirm);
  confirm.current = onConfirm;
  const shown = visibleText(label);
  const warning = caution === undefined ? "" : `${caution}. `;
  const look = caution !== undefined ? "is-grave" : isRecommended ? "is-recommended" : "";

  const rest = () => {
    clearTimeout(asked.current);
    asked.current = undefined;
    setPhase("idle");
  };

  // What was begun for another prompt, or for this one as it was, is void: before anything else can happen.
  useLayoutEffect(
    () => () => {
      hold.current?.end();
      if (asked.current !== undefined) onHint(undefined);
      rest();
    },
    [subject, label, isDisabled],
  );

  const begin = (event: PointerEvent) => {
    if (isDisabled || !event.isPrimary || event.button !== 0 || !button.current) return;
    isPointed.current = true;
    // A newer touch expects a click of its own.
    const mine = ++pointed.current;
    expectClick(event.pointerId, () => {
      if (mine === pointed.current) isPointed.current = false;
    });
    hold.current?.end();
    rest();
    onHint(undefined);
    setPhase("holding");
    const full = () => {
      hold.current = undefined;
      setPhase("idle");
      navigator.vibrate?.(12);
      confirm.current();
    };
    const ended = (isShort: boolean) => {
      hold.current = undefined;
      setPhase("idle");
      if (isShort) onHint(say("%1Keep holding the button to confirm: %2", warning, shown));
    };
    hold.current = followHold(button.current, event.pointerId, full, ended);
  };

  const activate = () => {
    if (isDisabled) return;
    if (isPointed.current) return;
    if (asked.current !== undefined) {
      rest();
      onHint(undefined);
      confirm.current();
      return;
    }
    setPhase("asked");
    onHint(say("%1Hold, or activate again, to confirm: %2", warning, shown));
    asked.current = setTimeout(() => {
      rest();
      onHint(undefined);
    }, kSecondActivation);
  };

  return (
    <button
      ref={button}
      type="button"
      class={`press press-grant ${look} is-${phase}`}
      disabled={isDisabled}
      aria-describedby={captionID}
      onPointerDown={begin}
      onClick={activate}
      // A key that is kept down repeats itself: that is no second decision.
      onKeyDown={(event) => {
        isPointed.current = false;
        if (event.repeat && (event.key === "Enter" || event.key === " ")) event.preventDefault();
      }}
      onContextMenu={(event) => isTouched() && event.preventDefault()}
    >
      <span class="press-fill" aria-hidden="true" />
      <bdi class="press-label">{shown}</bdi>
      <span class="press-caption" id={captionID} aria-hidden="true">
        {caption}
      </span>
    </button>
  );
}
