// A name that is changed in place. The button to save it stays until the name is stored, and a failure is shown.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useId, useLayoutEffect, useRef, useState } from "preact/hooks";

export const kLongestName = 64;

interface NameFieldProps {
  readonly label: string;
  /** As it is stored. */
  readonly value: string;
  /** Resolves once the name is stored. Rejects with an Error whose message is for people. */
  readonly onSave: (name: string) => Promise<void>;
}

export function NameField({ label, value, onSave }: NameFieldProps): JSX.Element {
  const id = useId();
  const [text, setText] = useState(value);
  const [isSaving, setSaving] = useState(false);
  const [problem, setProblem] = useState<string>();
  // A name that was changed elsewhere is taken over; what is typed meanwhile stays as long as there is none.
  const known = useRef(value);
  useLayoutEffect(() => {
    if (known.current !== value) setText(value);
    known.current = value;
  }, [value]);
  const name = text.trim();
  const isChanged = name !== "" && name !== value;
  const save = (event: Event) => {
    event.preventDefault();
    if (!isChanged || isSaving) return;
    setProblem(undefined);
    setSaving(true);
    onSave(name)
      .then(
        // It may be stored in another spelling, even in the one that was there before.
        () => setText((typed) => (typed.trim() === name ? known.current : typed)),
        (error: unknown) =>
          setProblem(error instanceof Error ? error.message : say("The name could not be stored.")),
      )
      .finally(() => setSaving(false));
  };
  return (
    <form class="card field" onSubmit={save}>
      <label for={id}>{label}</label>
      <div class="field-row">
        <input
          id={id}
          type="text"
          value={text}
          maxLength={kLongestName}
          autocomplete="off"
          enterkeyhint="done"
          onInput={(event) => setText(event.currentTarget.value)}
        />
        {isChanged && (
          <button type="submit" class="button is-primary" disabled={isSaving}>
            {isSaving ? say("Saving…") : say("Save")}
          </button>
        )}
      </div>
      {problem !== undefined && <p role="alert">{problem}</p>}
    </form>
  );
}
