// Keeps the keyboard's and the screen reader's place when what had it is answered, switched off or taken away: otherwise
// the focus falls back to the top of the page.
import { useEffect, useLayoutEffect, useRef } from "preact/hooks";

interface Place {
  readonly card: Element;
  /** Among the cards. */
  readonly index: number;
}

const kCard = ".prompt";

function isLost(list: Element): boolean {
  const focused = document.activeElement;
  return !focused || focused === document.body || (list.contains(focused) && focused.matches(":disabled"));
}

function focus(element: Element | null | undefined): void {
  if (element instanceof HTMLElement) element.focus({ preventScroll: true });
}

/** The cards in `list` and its `.computer-head` can take the focus. */
export function useKeepFocus(list: { readonly current: HTMLElement | null }): void {
  const place = useRef<Place>();

  useEffect(() => {
    const section = list.current;
    if (!section) return undefined;
    const came = ({ target }: FocusEvent) => {
      const card = target instanceof Element ? target.closest(kCard) : null;
      place.current = card ? { card, index: [...section.querySelectorAll(kCard)].indexOf(card) } : undefined;
    };
    // What is there and switched on has lost it to the person's own doing.
    const went = ({ target }: FocusEvent) => {
      if (target instanceof Element && target.isConnected && !target.matches(":disabled"))
        place.current = undefined;
    };
    section.addEventListener("focusin", came);
    section.addEventListener("focusout", went);
    return () => {
      section.removeEventListener("focusin", came);
      section.removeEventListener("focusout", went);
    };
  }, []);

  useLayoutEffect(() => {
    const section = list.current;
    const before = place.current;
    if (!section || !before || !isLost(section)) return;
    const cards = section.querySelectorAll(kCard);
    if (before.card.isConnected) focus(before.card);
    else focus(cards[Math.min(before.index, cards.length - 1)] ?? section.querySelector(".computer-head"));
  });
}
