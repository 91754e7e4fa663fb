// Asks the worker for codes. One owner; closed by it.
import type { CodeAnswer, CodeRequest } from "./codeWorker";
import type { Effort } from "./findCode";
import type { Pixels } from "./pixels";

export class CodeReader {
  private readonly worker = new Worker(new URL("./codeWorker.ts", import.meta.url), { type: "module" });
  private readonly waiting = new Map<number, (text: string | undefined) => void>();
  private nextID = 1;

  constructor() {
    this.worker.onmessage = (event: MessageEvent<CodeAnswer>) => {
      const { id, text } = event.data;
      const resolve = this.waiting.get(id);
      this.waiting.delete(id);
      resolve?.(text);
    };
    this.worker.onerror = () => this.answerAll();
  }

  /** The picture's numbers move to the worker: they are empty here afterwards. Absent: no code in it. */
  read(pixels: Pixels, effort: Effort): Promise<string | undefined> {
    return new Promise((resolve) => {
      const id = this.nextID++;
      this.waiting.set(id, resolve);
      const plain = { data: pixels.data, width: pixels.width, height: pixels.height };
      const question: CodeRequest = { id, pixels: plain, effort };
      this.worker.postMessage(question, [pixels.data.buffer]);
    });
  }

  /** Whatever waits is answered with "none". */
  close(): void {
    this.worker.terminate();
    this.answerAll();
  }

  private answerAll(): void {
    const resolves = [...this.waiting.values()];
    this.waiting.clear();
    for (const resolve of resolves) resolve(undefined);
  }
}
