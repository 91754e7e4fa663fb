// Says to the ear which prompts have come in. What was there when the page opened is read as it stands.
import type { JSX } from "preact";
import { useRef } from "preact/hooks";
import type { Computer, Prompt } from "../core/model";
import { newPromptsText } from "./texts";

interface Heard {
  readonly ids: ReadonlySet<string>;
  readonly text: string;
}

function promptsOf(computers: readonly Computer[]): readonly Prompt[] {
  return computers.flatMap((one) => one.prompts ?? []);
}

/** Once heard, a prompt that comes back is no new one. */
function heardNow(before: Heard | undefined, computers: readonly Computer[]): Heard | undefined {
  if (!before && computers.every((one) => one.prompts === undefined)) return undefined;
  const prompts = promptsOf(computers);
  const added = before ? prompts.filter(({ id }) => !before.ids.has(id)) : [];
  const ids = new Set([...(before?.ids ?? []), ...prompts.map(({ id }) => id)]);
  return { ids, text: added.length > 0 ? newPromptsText(added) : (before?.text ?? "") };
}

export function NewPrompts({ computers }: { computers: readonly Computer[] }): JSX.Element {
  const heard = useRef<Heard>();
  heard.current = heardNow(heard.current, computers);
  return (
    <p class="for-ear" role="status">
      {heard.current?.text ?? ""}
    </p>
  );
}
