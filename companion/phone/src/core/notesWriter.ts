import { say } from "../language/say";
import type { PairingNotes, Store } from "./store";

/**
 * Writes the notes of one pairing, whole each time, and knows whether the newest ones are stored. A page that cannot
 * write goes on with what it has in memory, and the views report it: see `problem`.
 */
export class NotesWriter {
  private unsaved: string | undefined;
  private begun = 0;
  /** The newest write whose end is known. */
  private ended = 0;
  private isStopped = false;

  /** `notes`: read at the beginning of each write. `changed`: called when `problem` is another one. */
  constructor(
    private readonly store: Pick<Store, "saveNotes">,
    private readonly pairingID: string,
    private readonly notes: () => PairingNotes,
    private readonly changed: () => void,
  ) {}

  /** Why the newest notes are not stored, as a sentence for people. Absent: they are, or a write is under way. */
  get problem(): string | undefined {
    return this.unsaved;
  }

  /** False: not stored; then `problem` says why. Never rejects. */
  async save(): Promise<boolean> {
    const number = this.begun + 1;
    try {
      await this.write();
      return true;
    } catch (error) {
      const problem =
        error instanceof Error && error.message !== "" ? error.message : say("It could not be stored.");
      this.end(number, problem);
      return false;
    }
  }

  /**
   * Resolves once the notes are stored. Rejects with an Error whose message is for people, and leaves `problem` as it is:
   * for a change that the caller takes back when it fails.
   */
  async write(): Promise<void> {
    if (this.isStopped) return;
    this.begun += 1;
    const number = this.begun;
    await this.store.saveNotes(this.pairingID, this.notes());
    this.end(number, undefined);
  }

  /** For good: nothing is written from here on. */
  stop(): void {
    this.isStopped = true;
  }

  /** Writes hold everything, so an older one that ends late changes nothing. */
  private end(number: number, problem: string | undefined): void {
    if (number < this.ended || this.isStopped) return;
    this.ended = number;
    if (problem === this.unsaved) return;
    this.unsaved = problem;
    this.changed();
  }
}
