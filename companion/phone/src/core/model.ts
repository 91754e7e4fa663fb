// What the page knows and what a person can do with it: the seam between the core, which talks to relays and keeps the
// secrets, and the views, which draw one `PhoneState` and call `PhoneActions`. Plain values; a change is a new object.

/** A date as milliseconds since 1970, UTC. */
export type Instant = number;

/** One button of a prompt. The label is the other program's text, byte for byte: show it through `visibleText`. */
export interface PromptButton {
  readonly label: string;
  /** Marked by the computer as the usual choice. */
  readonly isRecommended: boolean;
  /**
   * dismiss: one tap, and allowed even where direct access is required. postpone: one tap. grant: everything else, and
   * asks for a deliberate gesture.
   */
  readonly kind: "dismiss" | "postpone" | "grant";
  /** Takes no presses there now: shown grey, never offered. Absent: it takes them. */
  readonly isDisabled?: true;
  /**
   * Why a grant is not to be given lightly. destroys: something is lost with it. lasting: it holds for later times, too.
   * stranger: it trusts a key or a certificate that the computer does not know. Absent: nothing of the kind is known.
   */
  readonly caution?: "destroys" | "lasting" | "stranger" | undefined;
}

export interface Prompt {
  /** Names the prompt in decisions. Upper-case UUID. */
  readonly id: string;
  /** Names this kind of prompt in suppressions. Upper-case UUID. */
  readonly suppressionID: string;
  readonly detectedAt: Instant;
  readonly appName: string;
  readonly bundleIdentifier?: string;
  readonly windowTitle: string;
  readonly messageLines: readonly string[];
  /** Why the computer took this window for a prompt. */
  readonly reason: string;
  readonly buttons: readonly PromptButton[];
  /** Can be dismissed from here, never granted. */
  readonly requiresDirectAccess: boolean;
  readonly directAccessReason?: string;
  /** Recognised by its looks only. */
  readonly isFallbackDetection: boolean;
  /** The newest decision on it, made here. Absent: none, or it is long settled. */
  readonly decision?: Decision;
  /** A grant that waits for this phone's own lock, or, with a `problem`, that it did not let through. */
  readonly unlocking?: { readonly buttonLabel: string; readonly problem?: string };
}

/**
 * sending: not handed over yet. delivered: with the computer, which has not answered yet. undelivered: never reached it;
 * nothing was pressed. unanswered: delivered, and no answer came within a minute: it is not known what became of it.
 * tooLate: it reached the computer more than a minute after it was made; nothing was pressed. The others are the
 * computer's own words, too.
 */
export type DecisionStatus =
  | "sending"
  | "delivered"
  | "undelivered"
  | "unanswered"
  | "accepted"
  | "failed"
  | "notFound"
  | "requiresDirectAccess"
  | "tooLate";

export interface Decision {
  readonly decisionID: string;
  readonly approvalID: string;
  readonly buttonLabel: string;
  readonly status: DecisionStatus;
  /** What is known of a failure, in the computer's or the relay's words for people. */
  readonly error?: string;
  readonly decidedAt: Instant;
  readonly settledAt?: Instant;
}

/** What became of a prompt that is not on the list any more, or of a decision. Newest first; at most 50 a computer. */
export interface Outcome {
  readonly key: string;
  /** The prompt that it is about. */
  readonly approvalID: string;
  readonly at: Instant;
  readonly appName: string;
  readonly windowTitle: string;
  /** Absent: the prompt went away without any phone: answered at the computer, or it closed by itself. */
  readonly buttonLabel?: string;
  /** goneByItself: see buttonLabel. suppressed: was muted. */
  readonly status: DecisionStatus | "goneByItself" | "suppressed";
  readonly error?: string;
  /** The name of another phone that decided. Absent: this one, or none. */
  readonly otherPhone?: string;
}

/** A kind of prompt that is not shown any more: as the computer says, or as this phone asked it to. */
export interface Suppression {
  readonly suppressionID: string;
  readonly at: Instant;
  readonly appName: string;
  readonly windowTitle: string;
  /** Absent: until somebody shows it again. */
  readonly until?: Instant;
  /** It also ends with the program at the computer. */
  readonly endsWithRun?: true;
}

/**
 * The way to the relay. offline: this phone has no network. waiting: broken, tried again at `nextAttemptAt`.
 * takenOver: another tab of this browser has the connection. revoked: the computer unpaired its phones. removed: it
 * removed this one. refused: the relay does not know this pairing or its token.
 */
export type RelayConnection =
  | {
      readonly kind: "connecting" | "connected" | "offline" | "takenOver" | "revoked" | "removed" | "refused";
    }
  | { readonly kind: "waiting"; readonly nextAttemptAt: Instant };

/** Alerts are paused at the computer: its list is empty, whatever waits there. */
export interface Pause {
  /** Absent: until somebody ends it there. */
  readonly until?: Instant;
}

/** A phone that joined a pairing of the computer which had its phone already: somebody else has that code. */
export interface NewPhone {
  /** Names it to the computer. Upper-case UUID. */
  readonly id: string;
  readonly deviceID: string;
  readonly name: string;
  /** The phone whose code it was. */
  readonly earlierName: string;
  readonly since: Instant;
}

/** What became of the last alert that a computer sent to this phone, by the computer's word. */
export interface SentAlert {
  /** replaced: by a newer one that had not been sent yet. */
  readonly status: "accepted" | "replaced" | "gone" | "refused" | "unreachable";
  /** When a push service last took one. Absent: it never did. */
  readonly acceptedAt?: Instant;
  /** The relay's word for why it was not. */
  readonly reason?: string;
}

/** How alerts of one computer reach this phone while its page is closed. */
export interface ComputerAlerts {
  /** Whether its relay can have this phone woken. Absent: it has not said so in this visit. */
  readonly isSubscribed?: boolean;
  /** When this phone last received one, on its own clock. Absent: never. */
  readonly receivedAt?: Instant;
  readonly sent?: SentAlert;
}

/** Why alerts cannot be had although a person wants them. */
export type AlertProblem =
  /** The relay wakes no phones, or not through this browser's push service. */
  | "relayWakesNone"
  | "serviceNotAllowed"
  | "relayUnreachable"
  /** The push service of this browser has not answered, or has refused. */
  | "serviceSilent"
  | "serviceRefused"
  /** This phone could not keep the choice. */
  | "notStored";

/** Whether this phone is woken while its page is closed. */
export interface PhoneAlerts {
  /**
   * blocked: the person, or the system, allows this page no notifications. homeScreenFirst: an iPhone wakes only pages on its home
   * screen, which pair there. none: this browser cannot.
   */
  readonly support: "available" | "blocked" | "homeScreenFirst" | "none";
  /** As a person chose. Absent: nobody has yet. */
  readonly isWanted?: boolean;
  /** What stands on the lock screen: who asks and what, or only that a prompt waits at the computer. */
  readonly shows: "prompt" | "computer";
  /** Under way: the browser or its push service is being asked. */
  readonly isBusy: boolean;
  readonly problem?: AlertProblem;
}

export interface Computer {
  readonly pairingID: string;
  /** Given by the person. */
  readonly name: string;
  readonly pairedAt: Instant;
  readonly relay: RelayConnection;
  /** Absent: not known, since the relay is not connected or has not reported it. */
  readonly isComputerConnected?: boolean;
  /** When the computer was last heard of, on this phone's clock. Absent: never. */
  readonly lastReceivedAt?: Instant;
  /** Whether the computer may read windows at all. Absent: no snapshot yet. */
  readonly accessibilityTrusted?: boolean;
  /** Absent: no snapshot yet, which is another thing than an empty list. In the computer's order. */
  readonly prompts?: readonly Prompt[];
  /** How many more prompts wait there that the list has no room for. Absent: none. */
  readonly promptsLeftOut?: number;
  /** Absent: alerts are not paused, or the computer does not say. */
  readonly pause?: Pause;
  /**
   * Of grants, as this phone and the computer want it. asked: this phone's own lock comes first. missing: the computer wants
   * that, and this phone cannot. Absent: no lock is wanted.
   */
  readonly lock?: "asked" | "missing";
  /** Phones that have joined it unexpectedly within a day. Absent: none. */
  readonly newPhones?: readonly NewPhone[];
  /** A snapshot came that this phone could not open or read. */
  readonly hasUnreadableSnapshot: boolean;
  readonly outcomes: readonly Outcome[];
  readonly suppressions: readonly Suppression[];
  /** Absent: nothing is known of that. */
  readonly alerts?: ComputerAlerts;
  /** When this phone noticed that the computer's log was cut or changed. Absent: it never did. */
  readonly logBrokenAt?: Instant;
  /** Why the newest changes are not stored on this phone. Absent: they are, or are being stored. */
  readonly storageProblem?: string;
}

export interface PhoneState {
  /** loading: the stored pairings are being read. unavailable: this browser cannot keep keys; `problem` says why. */
  readonly phase: "loading" | "ready" | "unavailable";
  readonly problem?: string;
  /** What the computers call this phone. */
  readonly deviceName: string;
  /** Whether a person chose that grants wait for this phone's own lock. Absent: this browser cannot ask for it. */
  readonly isLockChosen?: boolean;
  /** Absent: not known yet, or there is no computer that could send any. */
  readonly alerts?: PhoneAlerts;
  /** In the order of pairing. */
  readonly computers: readonly Computer[];
}

/** What was read from a code, before a person agrees to it. Holds secrets: never shown, never stored but as keys. */
export interface PairingOffer {
  readonly pairingID: string;
  readonly backendURL: string;
  readonly relaySecret: string;
  readonly e2eSecret: string;
}

export type PairingReading =
  | { readonly kind: "offer"; readonly offer: PairingOffer }
  /** otherRelay: the computer uses another relay, whose page is at `backendURL`. */
  | { readonly kind: "otherRelay"; readonly backendURL: string }
  | { readonly kind: "alreadyPaired"; readonly pairingID: string }
  /** `problem`: a sentence for people. */
  | { readonly kind: "invalid"; readonly problem: string };

export interface PhoneActions {
  /** `text`: what the code holds. */
  readPairing(text: string): PairingReading;
  /** Stores it and connects. Rejects with an Error whose message is for people. */
  pair(offer: PairingOffer, computerName: string): Promise<void>;
  /** Resolves, and shows the new name, once it is stored. Rejects with an Error whose message is for people. */
  renameComputer(pairingID: string, name: string): Promise<void>;
  /** As `renameComputer`; the relay learns of it then. */
  renameDevice(name: string): Promise<void>;
  /** Removes its keys, list and history from this phone. */
  forget(pairingID: string): Promise<void>;
  decide(pairingID: string, approvalID: string, buttonLabel: string): void;
  /** Asks for this phone's own lock first, in both directions. Rejects with an Error whose message is for people. */
  chooseLock(isChosen: boolean): Promise<void>;
  /** Has the computer take back the pairing of this phone, see `NewPhone`. */
  removePhone(pairingID: string, id: string): void;
  suppress(pairingID: string, approvalID: string): void;
  unsuppress(pairingID: string, suppressionID: string): void;
  /** Of what is suppressed: ends `seconds` from now; 0: never by itself. */
  suppressFor(pairingID: string, suppressionID: string, seconds: number): void;
  /**
   * Whether this phone is woken while its page is closed. Switching it on may have the browser ask the person, so it belongs right after a
   * touch. What came of it is part of the state.
   */
  chooseAlerts(isWanted: boolean): void;
  chooseAlertContent(shows: PhoneAlerts["shows"]): void;
  /** Has the computer send one now. */
  testAlert(pairingID: string): void;
  /** Also takes the connection back from another tab. */
  connectNow(pairingID: string): void;
}
