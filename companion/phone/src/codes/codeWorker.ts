// Looks for codes beside the page, so that the page stays alive meanwhile.
import { findCode } from "./findCode";
import type { Effort } from "./findCode";
import type { Pixels } from "./pixels";

export interface CodeRequest {
  readonly id: number;
  readonly pixels: Pixels;
  readonly effort: Effort;
}

export interface CodeAnswer {
  readonly id: number;
  /** Absent: there is no code in it. */
  readonly text?: string;
}

self.onmessage = (event: MessageEvent<CodeRequest>) => {
  const { id, pixels, effort } = event.data;
  const text = findCode(pixels, effort);
  const answer: CodeAnswer = text === undefined ? { id } : { id, text };
  self.postMessage(answer);
};
