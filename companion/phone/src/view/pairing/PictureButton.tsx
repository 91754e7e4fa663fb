// Picks a picture of the code: a photo, or a screenshot of the computer's whole screen.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useRef, useState } from "preact/hooks";
import { readPicture } from "../../codes/readPicture";
import { Symbol } from "../parts/Symbol";

interface PictureButtonProps {
  readonly onText: (text: string) => void;
  readonly onProblem: (problem: string) => void;
}

export function PictureButton({ onText, onProblem }: PictureButtonProps): JSX.Element {
  const input = useRef<HTMLInputElement>(null);
  const [isBusy, setBusy] = useState(false);

  const picked = async (file: File) => {
    setBusy(true);
    try {
      const text = await readPicture(file);
      if (text === undefined)
        onProblem(say("No code was found in this picture. Take it closer, straight, and sharp."));
      else onText(text);
    } catch (error) {
      onProblem(error instanceof Error ? error.message : say("This picture cannot be read."));
    } finally {
      setBusy(false);
    }
  };

  return (
    <>
      <button
        type="button"
        class="button is-wide is-tall"
        disabled={isBusy}
        onClick={() => input.current?.click()}
      >
        <Symbol name="picture" />
        {isBusy ? say("Looking for the code…") : say("Choose a picture of the code")}
      </button>
      <input
        ref={input}
        class="for-ear"
        type="file"
        accept="image/*"
        tabIndex={-1}
        aria-label={say("Picture of the code")}
        onChange={(event) => {
          const file = event.currentTarget.files?.[0];
          // The same picture may be picked again.
          event.currentTarget.value = "";
          if (file) void picked(file);
        }}
      />
    </>
  );
}
