// Where an alert has led: to exactly that prompt, or to a word of what became of it.
import type { JSX } from "preact";
import { useLayoutEffect, useRef } from "preact/hooks";
import type { Computer } from "../core/model";
import { Symbol } from "./parts/Symbol";
import { goTo } from "./routes";
import { soughtText } from "./texts";
import { noteMoved } from "./touch";

interface SoughtPromptProps {
  readonly approvalID: string;
  /** All of them. */
  readonly computers: readonly Computer[];
}

export function SoughtPrompt({ approvalID, computers }: SoughtPromptProps): JSX.Element | null {
  const wasFound = useRef(false);
  const text = soughtText(approvalID, computers);
  // What became of it later stands in its place on the page.
  const isFound = wasFound.current || text === undefined;
  useLayoutEffect(() => {
    if (!isFound || wasFound.current) return;
    wasFound.current = true;
    const cards = [...document.querySelectorAll<HTMLElement>("[data-prompt]")];
    const card = cards.find(({ dataset }) => dataset.prompt === approvalID);
    if (!card) return;
    card.classList.add("is-sought");
    card.scrollIntoView({ block: "center" });
    card.focus({ preventScroll: true });
    noteMoved();
  });
  if (isFound || !text) return null;
  return (
    <div class="card notice is-quiet">
      <Symbol name="bell" />
      <div class="notice-text">
        <p class="notice-title" role="status">
          {text.title}
        </p>
        <p dir="auto">{text.detail}</p>
        <button type="button" class="button" onClick={() => goTo({ page: "home" })}>
          OK
        </button>
      </div>
    </div>
  );
}
