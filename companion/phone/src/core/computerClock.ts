// What time it is on a computer's own clock, as far as a phone can know: so that a decision can say when it was made, and
// the computer need not believe the relay, nor two wall clocks, about how old it is.

import type { Instant } from "./model";

/** A moment on a computer's clock. `epoch` names one run of its agent, `time` is in whole milliseconds. */
export interface ClockStamp {
  readonly epoch: string;
  readonly time: number;
}

/** A moment on this phone, by both of its clocks. The monotonic one may stand still while the phone sleeps. */
export interface Moment {
  readonly monotonic: number;
  readonly wall: Instant;
}

/** How much faster than another one a clock may run, generously. */
const drift = 0.001;
/** A browser rounds the time that it gives. Milliseconds. */
const grain = 250;

/** How long it took at the most that either clock shows: one may have stood still, the other been set back. */
export function elapsed(from: Moment, to: Moment): number {
  return Math.max(0, to.monotonic - from.monotonic, to.wall - from.wall);
}

/**
 * A stamp was made before it came. So an estimate from it lies before the truth, by what it took on its way: a decision
 * may look older than it is, never younger. The same goes for all that is uncertain besides: drift, rounding, sleep.
 *
 * Nothing of it outlives the page: the monotonic clock of the next visit is another one.
 */
export class ComputerClock {
  private best: { readonly stamp: ClockStamp; readonly receivedAt: Moment } | undefined;

  /** A stamp of another epoch takes the place of all earlier ones; of one epoch, the one that leads furthest counts. */
  learn(stamp: ClockStamp, receivedAt: Moment): void {
    const known = this.best?.stamp.epoch === stamp.epoch ? this.estimate(receivedAt) : undefined;
    if (known === undefined || stamp.time >= known) this.best = { stamp, receivedAt };
  }

  /** When that was on the computer's clock, at the earliest. Absent: the computer has not said what time it is. */
  at(moment: Moment): ClockStamp | undefined {
    const estimate = this.estimate(moment);
    if (estimate === undefined || this.best === undefined) return undefined;
    return { epoch: this.best.stamp.epoch, time: Math.max(0, Math.floor(estimate - grain)) };
  }

  private estimate(moment: Moment): number | undefined {
    if (this.best === undefined) return undefined;
    const { stamp, receivedAt } = this.best;
    const since = moment.monotonic - receivedAt.monotonic;
    if (since >= 0) return stamp.time + since * (1 - drift);
    return stamp.time - elapsed(moment, receivedAt) * (1 + drift);
  }
}
