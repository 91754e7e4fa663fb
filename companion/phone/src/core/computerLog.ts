// The computer's log as this phone has heard of it: what it has seen of it, and whether it is still the same one.

import type { Instant } from "./model";
import type { LogEntry, LogExcerpt, LogHead } from "./reports";

export interface StoredLog {
  readonly head: LogHead;
  /** Entries up to this one are in the history. */
  readonly seen: number;
  /** When this phone last noticed that entries were cut or changed. */
  readonly brokenAt?: Instant;
}

export class ComputerLog {
  constructor(private stored: StoredLog | undefined) {}

  /** To be stored. Absent: the computer has not said anything of a log. */
  get state(): StoredLog | undefined {
    return this.stored;
  }

  get brokenAt(): Instant | undefined {
    return this.stored?.brokenAt;
  }

  /**
   * The chain of entries only ever grows: one that is shorter than it was, or has another entry where one is known, was cut
   * or changed. An older word, which a relay may have held back, says nothing. Whether anything changed.
   */
  learn(head: LogHead, now: Instant, entries: readonly LogEntry[] = []): boolean {
    const known = this.stored?.head;
    if (!known) {
      this.stored = { head, seen: 0 };
      return true;
    }
    if (head.at < known.at || (head.at === known.at && head.sequence <= known.sequence)) return false;
    const there = [head, ...entries].find((entry) => entry.sequence === known.sequence);
    const isBroken = head.sequence < known.sequence || (there !== undefined && there.digest !== known.digest);
    const seen = head.sequence < known.sequence ? 0 : (this.stored?.seen ?? 0);
    this.stored = { ...this.stored, head, seen, ...(isBroken && { brokenAt: now }) };
    return true;
  }

  /** The entries that this phone has not seen, oldest first; each once. */
  takeNew({ head, entries }: LogExcerpt): readonly LogEntry[] {
    const seen = this.stored?.seen ?? 0;
    const fresh = entries.filter((entry) => entry.sequence > seen);
    const last = fresh.at(-1)?.sequence;
    if (last !== undefined) this.stored = { head, ...this.stored, seen: last };
    return fresh;
  }
}
