import type { ClockStamp } from "./computerClock";
import type { Instant, NewPhone } from "./model";

const newPhoneTime = 24 * 3600_000;

/** The phones that joined this phone's computer unexpectedly, as the computer told last. */
export class NewPhones {
  private phones: readonly NewPhone[] = [];
  private toldAt: ClockStamp | undefined;

  /** Those of the last day, but for this one. */
  others(deviceID: string, now: Instant): readonly NewPhone[] {
    return this.phones.filter((phone) => phone.deviceID !== deviceID && now - phone.since < newPhoneTime);
  }

  /** A relay may bring an older word later, which does not count. Whether there may be others than before. */
  learn(phones: readonly NewPhone[], clock: ClockStamp): boolean {
    const told = this.toldAt;
    if (told?.epoch === clock.epoch && clock.time < told.time) return false;
    this.toldAt = clock;
    const mayDiffer = this.phones.length > 0 || phones.length > 0;
    this.phones = phones;
    return mayDiffer;
  }
}
