// How long a broken connection waits before the next attempt. Milliseconds.

const firstDelay = 1_000;
const longestDelay = 30_000;
/** The relay announced that it restarts: it is back soon, and its clients do not return all at the same time. */
const shortestRestartDelay = 2_000;
const longestRestartDelay = 5_000;

/** Doubles the delay with each failure, up to half a minute, and shortens it at random by up to a half. */
export class RetrySchedule {
  private failures = 0;

  /** `random`: from 0 up to, but not including, 1. */
  constructor(private readonly random: () => number) {}

  /** Counts one more failure. */
  delayAfterFailure(): number {
    const whole = Math.min(firstDelay * 2 ** Math.min(this.failures, 10), longestDelay);
    this.failures += 1;
    return whole * (1 - this.random() / 2);
  }

  /** A restart is no failure: it leaves the count as it is. */
  delayAfterRestart(): number {
    return shortestRestartDelay + this.random() * (longestRestartDelay - shortestRestartDelay);
  }

  /** The next failure counts as the first one. */
  reset(): void {
    this.failures = 0;
  }
}
