import type { After, CryptoTools } from "../environment";
import type { Instant } from "../model";

// Taken before a test puts its own timers in their place.
const realImmediate = globalThis.setImmediate;

interface Timer {
  readonly at: Instant;
  readonly action: () => void;
}

/** A clock that stands still until it is advanced, and the timers that hang on it. */
export class VirtualTime {
  private time: Instant = Date.UTC(2026, 2, 1, 12, 0, 0);
  /** By how much the wall clock was set, and went on in sleep. */
  private shift = Date.UTC(2026, 2, 1, 11, 0, 0);
  private readonly timers = new Set<Timer>();

  constructor(private readonly work: () => number) {}

  readonly now = (): Instant => this.time;

  readonly monotonicNow = (): number => this.time - this.shift;

  readonly after: After = (milliseconds, action) => {
    const timer = { at: this.time + milliseconds, action };
    this.timers.add(timer);
    return () => this.timers.delete(timer);
  };

  /** Runs what falls due, in order, up to and including the end; what it starts is waited for each time. */
  async advance(milliseconds: number): Promise<void> {
    const end = this.time + milliseconds;
    await this.settle();
    for (let timer = this.next(end); timer; timer = this.next(end)) {
      this.timers.delete(timer);
      this.time = Math.max(this.time, timer.at);
      timer.action();
      await this.settle();
    }
    this.time = end;
  }

  /** The wall clock is set, as a person or a network would do; no timer runs. */
  set(instant: Instant): void {
    this.shift += instant - this.time;
    this.time = instant;
  }

  /** The device sleeps, and its monotonic clock with it; no timer runs. */
  sleep(milliseconds: number): void {
    this.set(this.time + milliseconds);
  }

  /** Waits until nothing that was begun is under way any more. No time passes. */
  async settle(): Promise<void> {
    for (let quietRounds = 0; quietRounds < 3; quietRounds += 1) {
      await new Promise((resolve) => realImmediate(resolve));
      if (this.work() > 0) quietRounds = 0;
    }
  }

  private next(end: Instant): Timer | undefined {
    const due = [...this.timers].filter((timer) => timer.at <= end);
    return due.sort((one, other) => one.at - other.at)[0];
  }
}

/** Real cryptography that knows how much of it is under way. */
export function countedCrypto(crypto: CryptoTools): { readonly crypto: CryptoTools; underWay(): number } {
  let count = 0;
  const counted = <Result>(promise: Promise<Result>): Promise<Result> => {
    count += 1;
    return promise.finally(() => (count -= 1));
  };
  const subtle = new Proxy(crypto.subtle, {
    get(target, name) {
      const member: unknown = Reflect.get(target, name, target);
      if (typeof member !== "function") return member;
      return (...details: unknown[]) => {
        const outcome: unknown = Reflect.apply(member, target, details);
        return outcome instanceof Promise ? counted(outcome) : outcome;
      };
    },
  });
  return {
    crypto: { subtle, getRandomValues: (array) => crypto.getRandomValues(array) },
    underWay: () => count,
  };
}
