// The button for what grants nothing: one tap.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useId, useRef } from "preact/hooks";
import { visibleText } from "../../core/visibleText";
import { hasJustMoved } from "../touch";

export interface TapButtonProps {
  /** The other program's text, byte for byte. */
  readonly label: string;
  readonly caption?: string;
  readonly isDisabled: boolean;
  readonly onPress: () => void;
  /** A word on what to do, for the line below the buttons. */
  readonly onHint: (hint: string) => void;
}

export function TapButton({ label, caption, isDisabled, onPress, onHint }: TapButtonProps): JSX.Element {
  const captionID = useId();
  // Set while a finger is down that was aimed before the prompts moved.
  const isStray = useRef(false);
  return (
    <button
      type="button"
      class="press press-dismiss"
      disabled={isDisabled}
      aria-describedby={caption === undefined ? undefined : captionID}
      onPointerDown={() => (isStray.current = hasJustMoved())}
      onKeyDown={(event) => {
        isStray.current = false;
        if (event.repeat && (event.key === "Enter" || event.key === " ")) event.preventDefault();
      }}
      onClick={() => {
        const stray = isStray.current;
        isStray.current = false;
        if (isDisabled) return;
        if (stray) onHint(say("The page just moved. To confirm, tap again: %1", visibleText(label)));
        else onPress();
      }}
    >
      <bdi class="press-label">{visibleText(label)}</bdi>
      {caption !== undefined && (
        <span class="press-caption" id={captionID} aria-hidden="true">
          {caption}
        </span>
      )}
    </button>
  );
}
