import type { PushDoor, PushSubscriptionKeys, ShownNotification } from "../environment";

/** A notification that is on the screen until it is closed. */
export interface FakeNotification extends ShownNotification {
  isClosed: boolean;
}

/** A browser with a push service, which does as it is told. It has one subscription at a time, and counts them. */
export class FakePushDoor implements PushDoor {
  supported: ReturnType<PushDoor["support"]> = "available";
  permitted: ReturnType<PushDoor["permission"]> = "granted";
  /** What the person answers; absent: the question stays open. */
  answer: ReturnType<PushDoor["permission"]> | undefined = "granted";
  /** What `subscribe` does. */
  service: "answers" | "refuses" | "hangs" = "answers";
  asked = 0;
  subscribed: (PushSubscriptionKeys & { readonly key: string }) | undefined;
  made = 0;
  readonly notifications: FakeNotification[] = [];
  readonly wentTo: string[] = [];
  readonly page = "https://relay.example/";
  readonly language = "en-GB";
  private readonly listeners = new Set<Parameters<PushDoor["onMessage"]>[0]>();

  support(): ReturnType<PushDoor["support"]> {
    return this.supported;
  }

  permission(): ReturnType<PushDoor["permission"]> {
    return this.permitted;
  }

  ask(): ReturnType<PushDoor["ask"]> {
    this.asked += 1;
    const { answer } = this;
    if (answer === undefined) return new Promise(() => {});
    this.permitted = answer;
    return Promise.resolve(answer);
  }

  subscribe(key: string, isAnew: boolean): Promise<PushSubscriptionKeys> {
    if (this.service === "hangs") return new Promise(() => {});
    if (this.service === "refuses") return Promise.reject(new Error("AbortError"));
    if (!this.subscribed || isAnew || this.subscribed.key !== key) {
      this.made += 1;
      const endpoint = `https://push.example/${this.made}`;
      this.subscribed = { endpoint, p256dh: `p256dh-${this.made}`, auth: `auth-${this.made}`, key };
    }
    const { endpoint, p256dh, auth } = this.subscribed;
    return Promise.resolve({ endpoint, p256dh, auth });
  }

  unsubscribe(): Promise<void> {
    this.subscribed = undefined;
    return Promise.resolve();
  }

  shown(): Promise<readonly ShownNotification[]> {
    return Promise.resolve(this.notifications.filter(({ isClosed }) => !isClosed));
  }

  onMessage(listener: Parameters<PushDoor["onMessage"]>[0]): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  goTo(approvalID: string): void {
    this.wentTo.push(approvalID);
  }

  /** Puts a notification on the screen. */
  show(data: unknown): FakeNotification {
    const notification: FakeNotification = {
      data,
      isClosed: false,
      close: () => void (notification.isClosed = true),
    };
    this.notifications.push(notification);
    return notification;
  }

  /** The worker says something to the page. Gives what the page answers, as it comes. */
  say(message: unknown): unknown[] {
    const answers: unknown[] = [];
    for (const listener of this.listeners) listener(message, (answer) => answers.push(answer));
    return answers;
  }
}
