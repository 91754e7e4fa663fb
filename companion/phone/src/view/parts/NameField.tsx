// A name that is changed in place, and kept when the person says so.
import type { JSX } from "preact";
import { useId, useLayoutEffect, useRef, useState } from "preact/hooks";

export const kLongestName = 64;

interface NameFieldProps {
  readonly label: string;
  readonly value: string;
  readonly onSave: (name: string) => Promise<void>;
}

export function NameField({ label, value, onSave }: NameFieldProps): JSX.Element {
  const id = useId();
  const [text, setText] = useState(value);
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
    if (!isChanged) return;
    setProblem(undefined);
    onSave(name).catch((error: unknown) =>
      setProblem(error instanceof Error ? error.message : "The name could not be kept."),
    );
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
          <button type="submit" class="button is-primary">
            Save
          </button>
        )}
      </div>
      {problem !== undefined && <p role="alert">{problem}</p>}
    </form>
  );
}
