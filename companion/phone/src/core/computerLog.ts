// The computer's log as this phone has heard of it: what it has seen of it, and whether it is still the same one.

import type { Instant } from "./model";
import type { LogEntry, LogExcerpt, LogHead } from "./reports";

export class ComputerLog {
  /** When this phone last noticed that entries were cut or changed. */
  brokenAt: Instant | undefined;
  private head: LogHead | undefined;
  /** Entries up to this one are in the history. */
  private seen = 0;

  /** `stored`: as `state` gave it. What cannot be read is nothing. */
  constructor(stored = "") {
    const [digest = "", ...rest] = stored.split(":");
    const [sequence = 0, at = 0, seen = 0, brokenAt] = rest.map(Number);
    if (/^\w+(:[\d.]+){3}/.test(stored)) {
      this.head = { digest, sequence, at };
      this.seen = seen;
    }
    if (brokenAt) this.brokenAt = brokenAt;
  }

  /** To be stored. Absent: the computer has not said anything of a log. */
  get state(): string | undefined {
    const { head, seen, brokenAt } = this;
    return head && [head.digest, head.sequence, head.at, seen, brokenAt ?? 0].join(":");
  }

  /**
   * The chain of entries only ever grows: one that is shorter than it was, or has another entry where one is known, was cut
   * or changed. An older word, which a relay may have held back, says nothing. False: this was one.
   */
  learn(head: LogHead, now: Instant, entries: readonly LogHead[] = []): boolean {
    const known = this.head ?? { ...head, at: 0 };
    if (head.at < known.at || (head.at === known.at && head.sequence <= known.sequence)) return false;
    const there = [head, ...entries].find((entry) => entry.sequence === known.sequence);
    if (head.sequence < known.sequence) this.seen = 0;
    if (head.sequence < known.sequence || (there && there.digest !== known.digest)) this.brokenAt = now;
    this.head = head;
    return true;
  }

  /** The entries that this phone has not seen, oldest first; each once. */
  takeNew({ entries }: LogExcerpt): readonly LogEntry[] {
    const fresh = entries.filter((entry) => entry.sequence > this.seen);
    this.seen = fresh.at(-1)?.sequence ?? this.seen;
    return fresh;
  }
}
