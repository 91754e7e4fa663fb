// Says to the ear which prompts have come in. What was there when the page opened is read as it stands.
import type { JSX } from "preact";
import { useRef } from "preact/hooks";
import type { Computer, Prompt } from "../core/model";
import { trim } from "../core/bounded";
import { newPromptsText } from "./texts";

const kRemembered = 1000;

interface Announced {
  readonly ids: ReadonlySet<string>;
  readonly text: string;
}

function promptsOf(computers: readonly Computer[]): readonly Prompt[] {
  return computers.flatMap((one) => one.prompts ?? []);
}

/** Once announced, a prompt that comes back is no new one. */
function announcedNow(before: Announced | undefined, computers: readonly Computer[]): Announced | undefined {
  if (!before && computers.every((one) => one.prompts === undefined)) return undefined;
  const prompts = promptsOf(computers);
  const added = before ? prompts.filter(({ id }) => !before.ids.has(id)) : [];
  const ids = new Set(before?.ids);
  for (const { id } of prompts) {
    ids.delete(id);
    ids.add(id);
  }
  trim(ids, Math.max(kRemembered, prompts.length));
  return { ids, text: added.length > 0 ? newPromptsText(added) : (before?.text ?? "") };
}

export function NewPrompts({ computers }: { computers: readonly Computer[] }): JSX.Element {
  const announced = useRef<Announced>();
  announced.current = announcedNow(announced.current, computers);
  return (
    <p class="for-ear" role="status">
      {announced.current?.text ?? ""}
    </p>
  );
}
