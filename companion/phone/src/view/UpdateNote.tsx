import { say } from "../language/say";
import type { JSX } from "preact";

export function UpdateNote({ onTake }: { onTake: () => void }): JSX.Element {
  return (
    <aside class="toast" role="status">
      <span>{say("A new version is ready")}</span>
      <button type="button" class="button is-primary" onClick={onTake}>
        {say("Reload")}
      </button>
    </aside>
  );
}
