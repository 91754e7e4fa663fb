import { given } from "./given";
import type { PushSubscriptionKeys } from "./environment";
import type { SealedChannel } from "./sealedChannel";
import type { ComputerAlerts, Instant, SentAlert } from "./model";

/** What a computer and its relay need to have this phone woken. */
export interface AlertOffer extends PushSubscriptionKeys {
  /** The relay's, that the subscription was made with. */
  readonly relayKey: string;
  readonly shows: "prompt" | "computer";
  readonly page: string;
  /** Of the page: BCP 47. */
  readonly language: string;
  /** Another number for each time that it is sealed, greater than all before. Never rejects. */
  readonly sequence: () => Promise<number>;
}

export interface SessionAlertsDependencies {
  readonly deviceID: string;
  readonly channel: SealedChannel;
  /** As the person calls it. */
  computerName(): string;
  isConnected(): boolean;
  /** False: nothing went out. */
  send(text: string): boolean;
  changed(): void;
}

const longestComputerName = 100;

/** As many of its first characters as have room in that many bytes of UTF-8. */
function textOfBytes(text: string, most: number): string {
  const encoder = new TextEncoder();
  let length = 0;
  const fitting = [...text].filter((character) => (length += encoder.encode(character).length) <= most);
  return fitting.join("");
}

/**
 * One computer's part in waking this phone: hands the subscription over, takes it back, says when the page sleeps, and
 * knows what relay and computer say about it.
 *
 * The relay gets the endpoint, which the computer has no use for; the computer gets the keys, sealed.
 */
export class SessionAlerts {
  private offered: AlertOffer | undefined;
  /** Names what was handed over last: the computer takes nothing that was sealed before it. */
  private newest: Promise<number> | undefined;
  private isAsleep = false;
  private isSubscribed: boolean | undefined;
  private receivedAt: Instant | undefined;
  private sent: ReadonlyMap<string, SentAlert> = new Map();
  private report: (reason: string | undefined) => void = () => {};

  constructor(private readonly dependencies: SessionAlertsDependencies) {}

  /** Absent: nothing is known. */
  state(): ComputerAlerts | undefined {
    const { isSubscribed, receivedAt, offered } = this;
    const sent = offered && this.sent.get(offered.p256dh);
    if (isSubscribed === undefined && receivedAt === undefined && !sent) return undefined;
    return given<ComputerAlerts>({
      isSubscribed,
      receivedAt,
      sent,
    });
  }

  /** `listener`: called with each word of the relay about the subscription; absent: it has it. */
  onReport(listener: (reason: string | undefined) => void): void {
    this.report = listener;
  }

  /** Handed over now, or as soon as there is a connection, and anew with each until the relay has it. */
  offer(offer: AlertOffer): void {
    this.offered = offer;
    this.isSubscribed = undefined;
    void this.handOver(offer);
  }

  /** Nothing happens without a connection: then the browser's own word to its push service has to do. */
  takeBack(): void {
    this.newest = this.offered = undefined;
    this.isSubscribed = undefined;
    if (this.dependencies.isConnected()) this.dependencies.send(JSON.stringify({ type: "push.unsubscribe" }));
    this.dependencies.changed();
  }

  /** The computer's alerts name it as this phone does. */
  computerRenamed(): void {
    if (this.offered) void this.handOver(this.offered);
  }

  connected(): void {
    if (this.offered && this.isSubscribed !== true) void this.handOver(this.offered);
    if (this.isAsleep) this.sayAsleep();
  }

  /** Whether the page is hidden, so that its person sees nothing on it. */
  setAsleep(isAsleep: boolean): void {
    if (this.isAsleep === isAsleep) return;
    this.isAsleep = isAsleep;
    this.sayAsleep();
  }

  relayReported(isSubscribed: boolean, reason: string | undefined): void {
    this.isSubscribed = isSubscribed;
    this.dependencies.changed();
    if (this.offered) this.report(isSubscribed ? undefined : (reason ?? "unknown"));
  }

  /** By the key of each phone's subscription. */
  computerReported(sent: ReadonlyMap<string, SentAlert>): void {
    this.sent = sent;
    this.dependencies.changed();
  }

  received(at: Instant): void {
    if (this.receivedAt !== undefined && this.receivedAt >= at) return;
    this.receivedAt = at;
    this.dependencies.changed();
  }

  private sayAsleep(): void {
    // Who cannot be woken is as good as awake: its computer could do nothing about it.
    if (!this.offered && this.isAsleep) return;
    if (!this.dependencies.isConnected()) return;
    this.dependencies.send(JSON.stringify({ type: "phone.asleep", asleep: this.isAsleep }));
  }

  private async handOver(offer: AlertOffer): Promise<void> {
    const { deviceID, channel } = this.dependencies;
    if (!this.dependencies.isConnected()) return;
    const { endpoint, relayKey: key, p256dh, auth, shows, page, language } = offer;
    const computer = textOfBytes(this.dependencies.computerName(), longestComputerName);
    const newest = (this.newest = offer.sequence());
    const sequence = await newest;
    const encryptedSubscription = await channel.seal({
      deviceID,
      p256dh,
      auth,
      shows,
      page,
      language,
      computer,
      sequence,
    });
    if (!encryptedSubscription || this.newest !== newest) return;
    this.dependencies.send(JSON.stringify({ type: "push.subscribe", endpoint, key, encryptedSubscription }));
  }
}
