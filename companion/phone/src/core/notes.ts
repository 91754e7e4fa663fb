// The changing part of what is kept about a pairing, as text. What an older version of this page wrote, or a browser
// damaged, must not keep the pairing itself from working: what cannot be read of it is left out.

import { given } from "./given";
import { Fields, parseJson } from "./decoding";
import type { DecisionRecord } from "./decisionLog";
import type { DecisionStatus, Suppression } from "./model";
import { longestSuppression } from "./messages";
import type { PairingNotes, PendingSuppression, StoredOutcome } from "./store";

const longest = 16 * 1024 * 1024;
const most = 10_000;
const longestText = 100_000;
const defaultName = "Computer";
/** The member that pairings stored earlier have, too. */
const nonces = "seenNonces";

const decisionStatuses: ReadonlySet<string> = new Set<DecisionStatus>([
  "sending",
  "delivered",
  "undelivered",
  "unanswered",
  "accepted",
  "failed",
  "notFound",
  "requiresDirectAccess",
  "tooLate",
]);

function isDecisionStatus(text: string): text is DecisionStatus {
  return decisionStatuses.has(text);
}

function isOutcomeStatus(text: string): text is StoredOutcome["status"] {
  return isDecisionStatus(text) || text === "goneByItself" || text === "suppressed";
}

export function textOfNotes(notes: PairingNotes): string {
  const { usedNonces, ...others } = notes;
  return JSON.stringify({ ...others, [nonces]: usedNonces });
}

export function notesFrom(text: string): PairingNotes {
  const empty = { outcomes: [], suppressions: [], pendingSuppressions: [], decisions: [], usedNonces: [] };
  let fields: Fields;
  try {
    fields = new Fields(parseJson(text, longest, "notes"), "notes");
  } catch {
    return { name: defaultName, ...empty };
  }
  const ended = readable(() => fields.optionalString("ended", 16));
  return given<PairingNotes>({
    name: readable(() => fields.string("name", 256)) ?? defaultName,
    outcomes: elements(fields, "outcomes", outcome),
    suppressions: elements(fields, "suppressions", suppression),
    pendingSuppressions: elements(fields, "pendingSuppressions", pendingSuppression),
    decisions: elements(fields, "decisions", decision),
    usedNonces: readable(() => fields.strings(nonces, most, 64)) ?? [],
    ended: ended === "revoked" || ended === "removed" ? ended : undefined,
    log: readable(() => fields.optionalString("log", 256)),
  });
}

function readable<Value>(read: () => Value): Value | undefined {
  try {
    return read();
  } catch {
    return undefined;
  }
}

function elements<Element>(fields: Fields, name: string, read: (fields: Fields) => Element): Element[] {
  const all = readable(() =>
    fields.list(name, most, (value, path) => readable(() => read(new Fields(value, path)))),
  );
  return (all ?? []).filter((element) => element !== undefined);
}

function names(fields: Fields): { appName: string; windowTitle: string } {
  return {
    appName: fields.string("appName", longestText),
    windowTitle: fields.string("windowTitle", longestText),
  };
}

function outcome(fields: Fields): StoredOutcome {
  const status = fields.string("status", 32);
  if (!isOutcomeStatus(status)) throw fields.error("status", "is not known");
  return given<StoredOutcome>({
    key: fields.string("key", 256),
    approvalID: fields.uuid("approvalID"),
    at: fields.number("at"),
    ...names(fields),
    status,
    buttonLabel: fields.optionalString("buttonLabel", longestText),
    error: fields.optionalString("error", longestText),
    otherPhone: fields.optionalString("otherPhone", longestText),
  });
}

function suppression(fields: Fields): Suppression {
  return given<Suppression>({
    suppressionID: fields.uuid("suppressionID"),
    at: fields.number("at"),
    ...names(fields),
    until: fields.optionalNumber("until"),
    endsWithRun: fields.optionalBoolean("endsWithRun") === true || undefined,
  });
}

function pendingSuppression(fields: Fields): PendingSuppression {
  const action = fields.string("action", 16);
  if (action !== "suppress" && action !== "unsuppress") throw fields.error("action", "is not known");
  return given<PendingSuppression>({
    decisionID: fields.string("decisionID", 64),
    action,
    approvalID: fields.optionalUuid("approvalID"),
    suppressionID: fields.uuid("suppressionID"),
    lasts: fields.optionalInteger("lasts", 0, longestSuppression),
    writtenAt: fields.optionalNumber("writtenAt"),
    writtenTo: fields.optionalNumber("writtenTo"),
  });
}

function decision(fields: Fields): DecisionRecord {
  const status = fields.string("status", 32);
  if (!isDecisionStatus(status)) throw fields.error("status", "is not known");
  const box = fields.optionalObject("box");
  return given<DecisionRecord>({
    decisionID: fields.string("decisionID", 64),
    approvalID: fields.uuid("approvalID"),
    buttonLabel: fields.string("buttonLabel", longestText),
    status,
    error: fields.optionalString("error", longestText),
    decidedAt: fields.number("decidedAt"),
    settledAt: fields.optionalNumber("settledAt"),
    ...names(fields),
    mayHaveArrived: fields.boolean("mayHaveArrived"),
    box: box && {
      version: 1,
      nonce: box.string("nonce", 64),
      ciphertext: box.string("ciphertext", longestText),
    },
  });
}
