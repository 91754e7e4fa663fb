// The code's text, where there is neither a camera nor a picture.
import { said, say } from "../../language/say";
import type { JSX } from "preact";
import { useId, useState } from "preact/hooks";
import { Symbol } from "../parts/Symbol";

interface PastedTextProps {
  readonly problem: string | undefined;
  readonly onText: (text: string) => void;
  readonly onCancel: () => void;
}

export function PastedText({ problem, onText, onCancel }: PastedTextProps): JSX.Element {
  const id = useId();
  const [text, setText] = useState("");
  return (
    <form
      class="card ask"
      onSubmit={(event) => {
        event.preventDefault();
        if (text.trim() !== "") onText(text);
      }}
    >
      <div class="field-plain">
        <label for={id}>{say("The code’s text")}</label>
        <textarea
          id={id}
          rows={5}
          value={text}
          autocomplete="off"
          autocapitalize="off"
          autocorrect="off"
          spellcheck={false}
          placeholder={'{"type": "quillard.pairing", …}'}
          onInput={(event) => setText(event.currentTarget.value)}
        />
      </div>
      <p class="aside">
        {said(
          say(
            "On the computer, %1 prints it. It holds secrets: bring it here by a way that nobody else reads.",
          ),
          <code>quillard pair --text</code>,
        )}
      </p>
      {problem !== undefined && (
        <p class="problem" role="alert">
          <Symbol name="warning" />
          <span>{problem}</span>
        </p>
      )}
      <div class="row">
        <button type="button" class="button" onClick={onCancel}>
          {say("Cancel")}
        </button>
        <button type="submit" class="button is-primary" disabled={text.trim() === ""}>
          {say("Continue")}
        </button>
      </div>
    </form>
  );
}
