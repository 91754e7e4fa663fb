// The computer's log as this phone has heard of it: what it has seen of it, and whether it is still the same one.

import type { ClockStamp } from "./computerClock";
import type { Instant } from "./model";
import type { LogEntry, LogExcerpt, LogHead } from "./reports";

const mostEarlierRuns = 16;
const kept = /^\w+(:[\d.]+){3,4}(:[\w-]+:\d+:[\w,-]*)?$/;

export class ComputerLog {
  /** When this phone last noticed that entries were cut or changed. */
  brokenAt: Instant | undefined;
  private head: LogHead | undefined;
  /** When the head was told. Absent: an earlier page has stored it, which kept no stamps. */
  private toldAt: ClockStamp | undefined;
  /** Runs of the agent that are over, oldest first. */
  private earlierRuns: readonly string[] = [];
  /** Entries up to this one are in the history. */
  private seen = 0;

  /** `stored`: as `state` gave it. What cannot be read is nothing. */
  constructor(stored = "") {
    if (!kept.test(stored)) return;
    const [digest = "", sequence, at, seen, brokenAt, epoch, time, earlierRuns] = stored.split(":");
    this.head = { digest, sequence: Number(sequence), at: Number(at) };
    this.seen = Number(seen);
    if (Number(brokenAt)) this.brokenAt = Number(brokenAt);
    if (epoch !== undefined) this.toldAt = { epoch, time: Number(time) };
    if (earlierRuns) this.earlierRuns = earlierRuns.split(",");
  }

  /** To be stored. Absent: the computer has not said anything of a log. */
  get state(): string | undefined {
    const { head, seen, brokenAt, toldAt } = this;
    if (!head) return undefined;
    const told = toldAt ? [toldAt.epoch, toldAt.time, this.earlierRuns.join(",")] : [];
    return [head.digest, head.sequence, head.at, seen, brokenAt ?? 0, ...told].join(":");
  }

  /**
   * The chain of entries only ever grows: one that is shorter than it was, or has another entry where one is known, was cut
   * or changed. An older word, which a relay may have held back, says nothing. False: this was one.
   *
   * `toldAt`: as the computer has sealed it with the word. Absent: only the day and time of the head tell how old it is.
   */
  learn(head: LogHead, now: Instant, entries: readonly LogHead[] = [], toldAt?: ClockStamp): boolean {
    const known = this.head ?? { ...head, at: 0 };
    if (this.head && this.isOlder(head, this.head, toldAt)) return false;
    const there = [head, ...entries].find((entry) => entry.sequence === known.sequence);
    if (head.sequence < known.sequence) this.seen = 0;
    if (head.sequence < known.sequence || (there && there.digest !== known.digest)) this.brokenAt = now;
    this.head = head;
    this.noteRun(toldAt);
    return true;
  }

  /** The entries that this phone has not seen, oldest first; each once. */
  takeNew({ entries }: LogExcerpt): readonly LogEntry[] {
    const fresh = entries.filter((entry) => entry.sequence > this.seen);
    this.seen = fresh.at(-1)?.sequence ?? this.seen;
    return fresh;
  }

  /**
   * Within a run of the agent its own clock tells. A run that is not known is a later one, or an earlier one of which this
   * phone has never heard: what makes the chain longer is news in any case, and where it is shorter the day and time
   * decide, which may have been set.
   */
  private isOlder(head: LogHead, known: LogHead, toldAt: ClockStamp | undefined): boolean {
    const isNoLonger = head.sequence <= known.sequence;
    if (toldAt && toldAt.epoch === this.toldAt?.epoch) {
      return toldAt.time < this.toldAt.time || (toldAt.time === this.toldAt.time && isNoLonger);
    }
    if (toldAt && this.earlierRuns.includes(toldAt.epoch)) return true;
    if (toldAt && head.sequence >= known.sequence) return false;
    return head.at < known.at || (!toldAt && head.at === known.at && isNoLonger);
  }

  private noteRun(toldAt: ClockStamp | undefined): void {
    const before = this.toldAt?.epoch;
    if (before !== undefined && toldAt && before !== toldAt.epoch) {
      this.earlierRuns = [...this.earlierRuns, before].slice(-mostEarlierRuns);
    }
    this.toldAt = toldAt ?? this.toldAt;
  }
}
