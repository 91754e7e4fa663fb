// What happens on this phone while its page is closed: alerts are shown, and what a person chooses on one is done, or leads to the
// page. Knows no browser: what it needs comes in.

import type { Dismissal } from "../core/dismissal";
import { dismissAlone } from "../core/dismissAlone";
import type { Environment, ShownNotification } from "../core/environment";
import { Phone } from "../core/phone";
import { pageAnswerTimeout, subscribeTimeout } from "../core/pushAlerts";
import { readPush, readPushData, type PushData, type PushText } from "../core/pushText";
import { visibleLines, visibleText } from "../core/visibleText";
import { readPageAnswer, type PageAnswer, type WorkerMessage } from "../core/workerMessages";
import { dismissalText, dismissingText, openLabel, unreadablePush } from "../view/texts";

/** A page of this browser, whether it is seen or not. */
export interface PageWindow {
  readonly isVisible: boolean;
  /** Rejects where the browser does not allow it. */
  focus(): Promise<void>;
  /** `answered`: called with each answer. */
  send(message: WorkerMessage, answered?: (answer: unknown) => void): void;
}

/** As much of a browser's options as is used. */
export interface AlertOptions {
  readonly body: string;
  readonly tag: string;
  readonly lang?: string;
  readonly dir: "auto";
  readonly icon: string;
  readonly silent: boolean;
  readonly requireInteraction: boolean;
  readonly data: unknown;
  readonly actions: readonly { readonly action: string; readonly title: string }[];
}

export interface AlertWorkerDependencies {
  /** Rejects where the system does not take it. */
  show(title: string, options: AlertOptions): Promise<void>;
  shown(): Promise<readonly ShownNotification[]>;
  windows(): Promise<readonly PageWindow[]>;
  /** Opens a page of this origin, path and fragment. */
  open(place: string): Promise<void>;
  /** For what is done without a page. */
  readonly environment: Environment;
}

/** What a person has chosen. */
export interface ClickedNotification extends ShownNotification {
  readonly title: string;
}

const dismissAction = "dismiss";
/** How long a success stays on the screen. Milliseconds. */
const successShownFor = 10_000;
/** Milliseconds. */
const longestShowing = 2000;
/** A page that has taken a dismissal knows its end after a minute and a half at the most. */
const longestAnswer = 100_000;

export class AlertWorker {
  constructor(private readonly dependencies: AlertWorkerDependencies) {}

  /** `text`: absent where a push came without one. A push that shows nothing costs the subscription, so each shows something. */
  async pushed(text: string | undefined): Promise<void> {
    const push = text === undefined ? undefined : readPush(text);
    if (!push) return this.showUnreadable();
    // Some browsers never say that they have shown what takes the place of something, and hold back all pushes until then.
    await this.inTime(this.showPush(push));
    await this.inTime(Promise.allSettled([this.note(push.data), this.closeOlder(push.data)]));
  }

  /** `action`: the button's; empty: the notification itself. */
  async clicked(action: string, notification: ClickedNotification): Promise<void> {
    const now = this.moment();
    const data = readPushData(notification.data);
    notification.close();
    const { approvalID, dismissLabel } = data ?? {};
    if (action !== dismissAction || !data || approvalID === undefined || dismissLabel === undefined)
      return this.lead(approvalID);
    const request = { approvalID, label: dismissLabel, at: now };
    const { title } = notification;
    await this.show(title, data, dismissingText(dismissLabel, data.computer), "silent");
    const found = (await this.byPage(data.pairingID, request)) ?? (await this.alone(data.pairingID, request));
    await this.report(title, data, found.dismissal, found.computerName || data.computer);
  }

  /** The browser's subscription is not good any more: a new one is made and handed over. */
  async subscriptionChanged(): Promise<void> {
    const windows = await this.dependencies.windows();
    for (const window of windows) window.send({ quillard: "subscriptionChanged" });
    if (windows.length > 0) return;
    const { environment } = this.dependencies;
    const { alerts } = await environment.store.load();
    if (!alerts?.isWanted) return;
    const phone = new Phone(environment);
    // It subscribes as each visit of the page does, and tells every computer that it reaches.
    await phone.start();
    await new Promise<void>((resolve) => {
      const cancel = environment.after(2 * subscribeTimeout, resolve);
      phone.state.subscribe(({ computers }) => {
        if (!computers.every(({ alerts: known }) => known?.isSubscribed)) return;
        cancel();
        resolve();
      });
    });
    phone.stop();
  }

  private async showPush({ title, body, tag, language, data }: PushText): Promise<void> {
    const { dismissLabel } = data;
    const actions = [
      ...(dismissLabel === undefined ? [] : [{ action: dismissAction, title: visibleText(dismissLabel) }]),
      ...(data.kind === "prompt" ? [{ action: "open", title: openLabel }] : []),
    ];
    const options: AlertOptions = {
      body: visibleLines(body).join("\n"),
      tag,
      ...(language !== undefined && { lang: language }),
      dir: "auto",
      icon: "/icon-192.png",
      silent: false,
      requireInteraction: data.kind !== "test",
      data: this.dataOf(data),
      actions,
    };
    const { show } = this.dependencies;
    const shownTitle = visibleText(title);
    try {
      await show(shownTitle, options);
    } catch {
      // Some browsers refuse what they do not know, a language for example.
      const { lang: _, ...plain } = options;
      await show(shownTitle, { ...plain, actions: [] });
    }
  }

  private showUnreadable(): Promise<void> {
    const { title, detail } = unreadablePush;
    return this.dependencies.show(title, {
      body: detail,
      tag: "unreadable",
      dir: "auto",
      icon: "/icon-192.png",
      silent: false,
      requireInteraction: false,
      data: null,
      actions: [],
    });
  }

  /** Takes the place of the prompt's notification. Whoever chooses it is led there. */
  private show(title: string, data: PushData, text: string, how: "silent" | "aloud"): Promise<void> {
    const { dismissLabel: _, ...rest } = data;
    return this.dependencies.show(title, {
      body: text,
      tag: `answer ${data.approvalID ?? ""}`,
      dir: "auto",
      icon: "/icon-192.png",
      silent: how === "silent",
      requireInteraction: false,
      data: this.dataOf(rest),
      actions: [],
    });
  }

  private dataOf(data: PushData): unknown {
    return { ...data, quillard: 1, shownAt: this.dependencies.environment.now() };
  }

  /** That it has come, for the page and for later. */
  private async note({ pairingID }: PushData): Promise<void> {
    const { environment, windows } = this.dependencies;
    const at = environment.now();
    for (const window of await windows()) window.send({ quillard: "received", pairingID, at });
    await environment.store.saveAlertTime(pairingID, at);
  }

  /** Where only this prompt waits, what was shown earlier of that computer is settled. */
  private async closeOlder({ kind, pairingID, approvalID, waiting, clock }: PushData): Promise<void> {
    if (kind !== "prompt" || waiting !== 1) return;
    await this.closeWhere(
      (other) =>
        other.pairingID === pairingID &&
        other.approvalID !== approvalID &&
        other.clock.epoch === clock.epoch &&
        other.clock.time <= clock.time,
    );
  }

  private async closeWhere(isOver: (data: PushData) => boolean): Promise<void> {
    for (const notification of await this.dependencies.shown()) {
      const data = readPushData(notification.data);
      if (data && data.kind !== "test" && isOver(data)) notification.close();
    }
  }

  /** To exactly that prompt; absent: to the page. */
  private async lead(approvalID: string | undefined): Promise<void> {
    const windows = await this.dependencies.windows();
    const window = windows.find(({ isVisible }) => isVisible) ?? windows[0];
    try {
      if (!window) throw new Error("No page is open.");
      await window.focus();
      if (approvalID !== undefined) window.send({ quillard: "show", approvalID });
    } catch {
      await this.dependencies.open(approvalID === undefined ? "/" : `/#prompt/${approvalID}`);
    }
  }

  /** A page that is open has the connection, and does it. Absent: none is, or none answered. */
  private async byPage(
    pairingID: string,
    { approvalID, label, at }: { approvalID: string; label: string; at: { wall: number } },
  ): Promise<Extract<PageAnswer, { quillard: "ended" }> | undefined> {
    const windows = await this.dependencies.windows();
    if (windows.length === 0) return undefined;
    const { after } = this.dependencies.environment;
    const message = { quillard: "dismiss", pairingID, approvalID, label, at: at.wall } as const;
    return new Promise((resolve) => {
      let cancel = after(pageAnswerTimeout, () => resolve(undefined));
      const answered = (value: unknown) => {
        const answer = readPageAnswer(value);
        if (!answer) return;
        cancel();
        if (answer.quillard === "ended") resolve(answer);
        else
          cancel = after(longestAnswer, () =>
            resolve({ quillard: "ended", dismissal: { kind: "unknown" }, computerName: "" }),
          );
      };
      for (const window of windows) window.send(message, answered);
    });
  }

  private async alone(
    pairingID: string,
    request: Parameters<typeof dismissAlone>[2],
  ): Promise<{ dismissal: Dismissal; computerName?: string }> {
    const { environment, windows } = this.dependencies;
    const done = await dismissAlone(environment, pairingID, request).catch(() => undefined);
    if (!done) return { dismissal: { kind: "unreachable" } };
    // A page that slept through it has lost its connection to this, and knows nothing of what came of it.
    for (const window of await windows()) window.send({ quillard: "released", pairingID });
    const { waiting } = done;
    if (waiting) {
      await this.closeWhere(
        (data) =>
          data.pairingID === pairingID && data.approvalID !== undefined && !waiting.has(data.approvalID),
      ).catch(() => undefined);
    }
    return done;
  }

  private async report(
    title: string,
    data: PushData,
    dismissal: Dismissal,
    computerName: string,
  ): Promise<void> {
    const { tone, text } = dismissalText(dismissal, computerName);
    await this.show(title, data, text, tone === "warn" ? "aloud" : "silent");
    if (tone !== "good") return;
    await new Promise<void>((resolve) => this.dependencies.environment.after(successShownFor, resolve));
    for (const notification of await this.dependencies.shown()) {
      const shown = readPushData(notification.data);
      if (shown?.approvalID === data.approvalID) notification.close();
    }
  }

  /** Resolves after a while in any case; rejects where the work does so before. */
  private inTime(work: Promise<unknown>): Promise<void> {
    return new Promise((resolve, reject) => {
      const cancel = this.dependencies.environment.after(longestShowing, resolve);
      work.then(() => resolve(), reject).finally(cancel);
    });
  }

  private moment(): { readonly monotonic: number; readonly wall: number } {
    const { environment } = this.dependencies;
    return { monotonic: environment.monotonicNow(), wall: environment.now() };
  }
}
