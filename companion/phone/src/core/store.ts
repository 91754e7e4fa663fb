// What a phone keeps between two visits: per pairing its keys and its notes. An interface, with a binding for browsers in
// `indexedDBStore.ts` and one that forgets in `memoryStore.ts`.

import type { DecisionRecord } from "./decisionLog";
import type { LockKey } from "./environment";
import type { SuppressionCommand } from "./messages";
import type { Instant, Outcome, PhoneAlerts, Suppression } from "./model";

/** A pairing's unchanging part. */
export interface PairingKeys {
  readonly pairingID: string;
  readonly backendURL: string;
  /** The phone's own random name in this pairing. */
  readonly deviceID: string;
  readonly pairedAt: Instant;
  /** Opens and seals what travels. Not extractable. */
  readonly key: CryptoKey;
  /** The relay's bearer. It has to be sent as text, so it cannot be a non-extractable key. */
  readonly token: string;
}

/** An outcome, and the prompt that it is about. */
export interface StoredOutcome extends Outcome {
  readonly approvalID: string;
}

/** What is to be sent to the computer about a kind of prompt, until the computer is known to have it. */
export interface PendingSuppression extends SuppressionCommand {
  readonly decisionID: string;
  /** When the relay has written it to a connection of the computer. Absent: it has not yet. */
  readonly writtenAt?: Instant;
  /** Which connection that was, as the relay counts them. Absent: the relay did not say. */
  readonly writtenTo?: number;
}

/** A pairing's changing part. */
export interface PairingNotes {
  readonly name: string;
  readonly outcomes: readonly StoredOutcome[];
  readonly suppressions: readonly Suppression[];
  readonly pendingSuppressions: readonly PendingSuppression[];
  /** Newest last. */
  readonly decisions: readonly DecisionRecord[];
  /** Boxes that must not be opened a second time. Newest last. */
  readonly usedNonces: readonly string[];
  /** See `ComputerLog.state`. Absent: the computer has said nothing of a log. */
  readonly log?: string;
  /** Why the relay will not have this phone any more. Absent: nothing of the kind is known. */
  readonly ended?: "revoked" | "removed";
}

export interface StoredPairing extends PairingKeys {
  readonly notes: PairingNotes;
}

/** `isChosen`: by a person, for all grants; else it is there for computers that want it. */
export interface StoredLock extends LockKey {
  readonly isChosen: boolean;
}

/** What a person chose about alerts. */
export interface StoredAlerts {
  readonly isWanted: boolean;
  readonly shows: PhoneAlerts["shows"];
  /** Of the newest subscription that was sealed for a computer; 0: none was. */
  readonly sequence: number;
}

export interface StoredPhone {
  /** Absent: nobody has chosen. */
  readonly alerts?: StoredAlerts;
  /** When the last alert of a pairing was received. Absent: none was, of any. */
  readonly alertTimes?: ReadonlyMap<string, Instant>;
  /** Absent: this phone's lock was never asked for. */
  readonly lock?: StoredLock;
  /** Absent: never named by a person. */
  readonly deviceName?: string;
  /** In the order of pairing. */
  readonly pairings: readonly StoredPairing[];
}

/** Everything rejects with an Error whose message is for people. */
export interface Store {
  load(): Promise<StoredPhone>;
  add(pairing: StoredPairing): Promise<void>;
  /** Nothing happens where the pairing is not kept any more: another tab may have forgotten it. */
  saveNotes(pairingID: string, notes: PairingNotes): Promise<void>;
  saveDeviceName(name: string): Promise<void>;
  /** Absent: it is forgotten. */
  saveLock(lock: StoredLock | undefined): Promise<void>;
  /** `change`: called with what is kept, absent where nobody has chosen, and nobody writes between. Gives what is to be kept. */
  changeAlerts(change: (kept: StoredAlerts | undefined) => StoredAlerts): Promise<void>;
  /** Written by the worker that is woken, and by nobody else. Nothing happens where the pairing is not kept any more. */
  saveAlertTime(pairingID: string, at: Instant): Promise<void>;
  /** And when its last alert was received. */
  remove(pairingID: string): Promise<void>;
}
