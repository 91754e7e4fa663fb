// The messages between a phone and the relay, and what is inside their boxes. Reading is strict: a member that is missing,
// mistyped or beyond its limit makes the whole record unreadable. What to do then is the caller's affair.

import { given } from "./given";
import type { ClockStamp } from "./computerClock";
import { DecodingError, dateText, Fields, parseJson, readList } from "./decoding";
import { buttonKind, cautionOf } from "./labels";
import type {
  DecisionStatus,
  Instant,
  NewPhone,
  Pause,
  Prompt,
  PromptButton,
  SentAlert,
  Suppression,
} from "./model";
import { readLog, readLogHead, readSuppressions, type LogExcerpt, type LogHead } from "./reports";
import type { SealedPayload } from "./sealing";

/** A message has at most 1 MiB; a character is at least a byte. */
export const longestMessage = 1024 * 1024;
const mostPrompts = 1000;
const mostLeftOut = 1_000_000;
const mostLines = 1000;
const mostButtons = 200;
const longestText = 100_000;
const longestLabel = 10_000;
const longestName = 256;
const mostNewPhones = 8;
const mostPushes = 8;
/** Seconds: a year and a day. */
export const longestSuppression = 366 * 86_400;

export interface OtherPhone {
  readonly deviceID: string;
  readonly deviceName: string;
}

export type IncomingMessage =
  | {
      readonly type: "snapshot";
      readonly accessibilityTrusted: boolean;
      readonly box: string;
      /** How the computer stands. Absent: nothing is paused, or it or its relay is older. */
      readonly stateBox?: string;
    }
  | { readonly type: "unreadableSnapshot"; readonly problem: string }
  | {
      readonly type: "result";
      readonly decisionID: string;
      readonly box: string;
      readonly phone?: OtherPhone;
    }
  | { readonly type: "clock"; readonly box: string }
  | { readonly type: "suppression"; readonly box: string }
  | {
      readonly type: "computerStatus";
      readonly isConnected: boolean;
      /** Another one for each connection of the computer. Absent: it has none, or the relay is an older one. */
      readonly connection?: number;
      readonly heardSecondsAgo?: number;
    }
  | {
      readonly type: "receipt";
      readonly decisionID: string;
      readonly delivered: boolean;
      readonly reason?: string;
    }
  /** Whether the relay can have this phone woken. `reason`: why not, in the relay's own word. */
  | { readonly type: "pushSubscription"; readonly isSubscribed: boolean; readonly reason?: string }
  | { readonly type: "unknown" };

/** Throws a `DecodingError`; a list that cannot be read is a message of its own, since it must not go unnoticed. */
export function readMessage(text: string): IncomingMessage {
  const fields = new Fields(parseJson(text, longestMessage), "message");
  switch (fields.string("type", longestName)) {
    case "mac.snapshot":
      return readSnapshot(fields);
    case "mac.clock":
      return { type: "clock", box: boxOf(fields, "encryptedClock") };
    case "approval.result":
      return readResult(fields);
    case "approval.suppress":
    case "approval.unsuppress":
      return { type: "suppression", box: boxOf(fields, "encryptedSuppression") };
    case "mac.status":
      return readComputerStatus(fields);
    case "relay.receipt":
      return readReceipt(fields);
    case "push.subscription":
      return readPushSubscription(fields);
    default:
      return { type: "unknown" };
  }
}

function boxOf(fields: Fields, name: string): string {
  return fields.object(name).string("ciphertext", longestMessage);
}

function readSnapshot(fields: Fields): IncomingMessage {
  try {
    const box = boxOf(fields, "encryptedApprovals");
    const stateBox = fields.optionalObject("encryptedState")?.string("ciphertext", longestMessage);
    return given<Extract<IncomingMessage, { type: "snapshot" }>>({
      type: "snapshot",
      accessibilityTrusted: fields.boolean("accessibilityTrusted"),
      box,
      stateBox,
    });
  } catch (error) {
    if (!(error instanceof DecodingError)) throw error;
    return { type: "unreadableSnapshot", problem: error.message };
  }
}

function readResult(fields: Fields): IncomingMessage {
  const decisionID = fields.string("decisionID", longestName);
  const box = boxOf(fields, "encryptedResult");
  const phone = fields.optionalObject("phone");
  if (!phone) return { type: "result", decisionID, box };
  const deviceID = phone.string("deviceID", longestName);
  return {
    type: "result",
    decisionID,
    box,
    phone: { deviceID, deviceName: phone.string("deviceName", longestName) },
  };
}

function readComputerStatus(fields: Fields): IncomingMessage {
  const isConnected = fields.boolean("macConnected");
  const connection = fields.optionalInteger("macConnection", 0, Number.MAX_SAFE_INTEGER);
  const heardSecondsAgo = fields.optionalInteger("heardSecondsAgo", 0, Number.MAX_SAFE_INTEGER);
  return given<Extract<IncomingMessage, { type: "computerStatus" }>>({
    type: "computerStatus",
    isConnected,
    connection,
    heardSecondsAgo,
  });
}

function readReceipt(fields: Fields): IncomingMessage {
  const decisionID = fields.string("decisionID", longestName);
  const delivered = fields.boolean("delivered");
  const reason = fields.optionalString("reason", longestName);
  return given<Extract<IncomingMessage, { type: "receipt" }>>({
    type: "receipt",
    decisionID,
    delivered,
    reason,
  });
}

function readPushSubscription(fields: Fields): IncomingMessage {
  const reason = fields.optionalString("reason", longestName);
  const isSubscribed = fields.boolean("subscribed");
  return given<Extract<IncomingMessage, { type: "pushSubscription" }>>({
    type: "pushSubscription",
    isSubscribed,
    reason,
  });
}

/** How the computer stands. */
export interface ComputerState {
  /** Absent: nothing is paused. */
  readonly pause?: Pause;
  /** It refuses grants for which the phone has not asked for its own lock. */
  readonly wantsLock: boolean;
  /** Newest first. Absent: the computer does not say. */
  readonly suppressions?: readonly Suppression[];
}

/** What the box of the computer's state holds. Throws a `DecodingError`. */
export function readState(text: string): ComputerState {
  const fields = new Fields(parseJson(text, longestMessage, "state"), "state");
  const until = fields.optionalDate("pausedUntil");
  return given<ComputerState>({
    suppressions: readSuppressions(fields),
    wantsLock: fields.optionalBoolean("grantsNeedVerification") === true,
    pause: fields.boolean("isPaused") ? given<Pause>({ until }) : undefined,
  });
}

/** A prompt as the computer reported it, without a decision. */
export type ReportedPrompt = Omit<Prompt, "decision">;

/** What the computer says of a list as a whole, in each of its records. */
export interface ListMarks {
  /** When it was sealed. Absent: the computer does not say, and takes decisions without a time. */
  readonly clock?: ClockStamp;
  /** How many prompts wait besides. */
  readonly leftOut: number;
}

export interface ReportedList extends ListMarks {
  readonly prompts: readonly ReportedPrompt[];
}

/** What the box of a snapshot holds. Throws a `DecodingError`. */
export function readPromptList(text: string): ReportedList {
  const records = readList(
    parseJson(text, longestMessage, "approvals"),
    "approvals",
    mostPrompts,
    (value, path) => ({ prompt: readPrompt(value, path), marks: readMarks(new Fields(value, path)) }),
  );
  const prompts = records.map(({ prompt }) => prompt);
  if (new Set(prompts.map((prompt) => prompt.id)).size !== prompts.length) {
    throw new DecodingError("approvals", "names two prompts alike");
  }
  return { prompts, ...(records[0]?.marks ?? { leftOut: 0 }) };
}

function readMarks(fields: Fields): ListMarks {
  return given<ListMarks>({
    clock: readOptionalClock(fields),
    leftOut: fields.optionalInteger("leftOut", 1, mostLeftOut) ?? 0,
  });
}

function readOptionalClock(fields: Fields): ClockStamp | undefined {
  const stamp = fields.optionalObject("clock");
  return stamp && readStamp(stamp);
}

function readStamp(stamp: Fields): ClockStamp {
  return { epoch: stamp.uuid("epoch"), time: stamp.integer("time", 0, Number.MAX_SAFE_INTEGER) };
}

/** What a computer says to a phone that has come online. Absent members: it says nothing of that. */
export interface Meeting {
  readonly clock: ClockStamp;
  /** Which phones have joined it unexpectedly. */
  readonly newPhones: readonly NewPhone[];
  readonly suppressions?: readonly Suppression[];
  readonly log?: LogExcerpt;
  /** What became of the last alert for each phone of the pairing, by the key of its subscription. */
  readonly sentAlerts?: ReadonlyMap<string, SentAlert>;
}

/** What the box of the computer's clock holds. Throws a `DecodingError`. */
export function readClock(text: string): Meeting {
  const fields = new Fields(parseJson(text, longestMessage, "clock"), "clock");
  const newPhones =
    fields.value("newPhones") === undefined
      ? []
      : fields.list("newPhones", mostNewPhones, (value, path) => {
          const phone = new Fields(value, path);
          return {
            id: phone.uuid("id"),
            deviceID: phone.string("deviceID", longestName),
            name: phone.string("name", longestName),
            earlierName: phone.string("earlierName", longestName),
            since: phone.date("since"),
          };
        });
  const suppressions = readSuppressions(fields);
  const log = fields.optionalObject("log");
  const sentAlerts = fields.optionalList("pushes", mostPushes, readSentAlert);
  return given<Meeting>({
    clock: readStamp(fields.object("clock")),
    newPhones,
    suppressions,
    log: log && readLog(log),
    sentAlerts: sentAlerts && new Map(sentAlerts.filter((one) => one !== undefined)),
  });
}

/** Absent: the computer has a newer word for what became of it. */
function readSentAlert(fields: Fields): readonly [string, SentAlert] | undefined {
  const p256dh = fields.string("p256dh", longestName);
  const status = sentAlertStatuses.get(fields.string("status", longestName));
  const acceptedAt = fields.optionalDate("acceptedAt");
  const reason = fields.optionalString("reason", longestName);
  if (status === undefined) return undefined;
  return [p256dh, given<SentAlert>({ status, acceptedAt, reason })];
}

const sentAlertStatuses = new Map(
  (["accepted", "replaced", "gone", "refused", "unreachable"] as const).map((status) => [
    status as string,
    status,
  ]),
);

function readPrompt(value: unknown, path: string): ReportedPrompt {
  const fields = new Fields(value, path);
  checkWhatIsNotShown(fields);
  const id = fields.uuid("id");
  const bundleIdentifier = fields.optionalString("bundleIdentifier", longestText);
  const directAccessReason = fields.optionalString("directAccessReason", longestText);
  const windowTitle = fields.string("windowTitle", longestText);
  const messageLines = fields.strings("messageLines", mostLines, longestText);
  return given<ReportedPrompt>({
    id,
    suppressionID: fields.optionalUuid("suppressionID") ?? id,
    detectedAt: fields.date("detectedAt"),
    appName: fields.string("appName", longestText),
    bundleIdentifier,
    windowTitle,
    messageLines,
    reason: fields.string("reason", longestText),
    buttons: readButtons(fields, { title: windowTitle, lines: messageLines }),
    requiresDirectAccess: fields.boolean("requiresDirectAccess"),
    directAccessReason,
    isFallbackDetection: fields.boolean("isFallbackDetection"),
  });
}

/** A record that lacks these is not the one that was agreed on, and nothing else in it can be relied upon. */
function checkWhatIsNotShown(fields: Fields): void {
  fields.integer("processIdentifier", -(2 ** 31), 2 ** 31 - 1);
  fields.string("windowRole", longestText);
  const frame = fields.object("windowFrame");
  for (const name of ["x", "y", "width", "height"]) frame.number(name);
}

/** What a prompt says. */
interface Says {
  readonly title: string;
  readonly lines: readonly string[];
}

function readButtons(fields: Fields, says: Says): PromptButton[] {
  const recommended = fields.optionalString("recommendedButtonLabel", longestLabel);
  const buttons = fields.list("buttons", mostButtons, (value, path) => {
    const button = new Fields(value, path);
    for (const name of ["x", "y", "width", "height"]) button.number(name);
    button.string("role", longestText);
    return {
      label: button.string("label", longestLabel),
      isDisabled: button.optionalBoolean("isEnabled") === false,
      isKnownDismissal: button.optionalBoolean("isKnownDismissal") === true,
    };
  });
  // Of two buttons with the same label the first is the usual choice, as it is the one that is pressed.
  const usual = recommended === undefined ? -1 : buttons.findIndex((button) => button.label === recommended);
  return buttons.map(({ label, isDisabled, isKnownDismissal }, index) =>
    given<PromptButton>({
      label,
      isRecommended: index === usual && !isDisabled,
      ...kindOf(label, isKnownDismissal, says),
      isDisabled: isDisabled || undefined,
    }),
  );
}

function kindOf(
  label: string,
  isKnownDismissal: boolean,
  says: Says,
): Pick<PromptButton, "kind" | "caution"> {
  const kind = buttonKind(label, isKnownDismissal);
  const caution = kind === "grant" ? cautionOf(label, says.title, says.lines) : undefined;
  return { kind, ...(caution && { caution }) };
}

export type ResultStatus = Extract<
  DecisionStatus,
  "accepted" | "failed" | "notFound" | "requiresDirectAccess" | "tooLate"
>;

export interface Result {
  readonly approvalID: string;
  readonly buttonLabel: string;
  readonly status: ResultStatus;
  readonly error?: string;
  /** The decision that it answers: the computer's word. Absent: it says none, and the relay's has to do. */
  readonly decisionID?: string;
  /** When it was sealed. */
  readonly clock?: ClockStamp;
  /** The name of the phone of another pairing that decided. Absent: it is one of this pairing, or not known. */
  readonly decidedBy?: string;
  readonly logHead?: LogHead;
}

export const resultStatuses: ReadonlyMap<string, ResultStatus> = new Map([
  ["accepted", "accepted"],
  ["failed", "failed"],
  ["not_found", "notFound"],
  ["requires_direct_access", "requiresDirectAccess"],
] as const);

/** What the box of a result holds. Throws a `DecodingError`. */
export function readResultCommand(text: string): Result {
  const fields = new Fields(parseJson(text, longestMessage, "result"), "result");
  const status = resultStatuses.get(fields.string("status", longestName));
  if (status === undefined) throw fields.error("status", "is not known");
  const error = fields.optionalString("error", longestText);
  const isTooLate = fields.optionalString("reason", longestName) === "tooLate" && status === "failed";
  const decisionID = fields.optionalString("decisionID", longestName);
  const clock = readOptionalClock(fields);
  const decidedBy = fields.optionalString("decidedBy", longestName);
  const logHead = fields.optionalObject("logHead");
  return given<Result>({
    approvalID: fields.uuid("approvalID"),
    buttonLabel: fields.string("buttonLabel", longestLabel),
    status: isTooLate ? "tooLate" : status,
    error,
    decisionID,
    clock,
    decidedBy,
    logHead: logHead && readLogHead(logHead),
  });
}

export interface SuppressionCommand {
  readonly action: "suppress" | "unsuppress";
  readonly approvalID?: string;
  readonly suppressionID: string;
  /** Seconds; 0: until somebody shows it again. Absent: an older phone's, until the program at the computer ends. */
  readonly lasts?: number;
}

/** What the box of a suppression holds; its own action counts, not the message's type. Throws a `DecodingError`. */
export function readSuppressionCommand(text: string): SuppressionCommand {
  const fields = new Fields(parseJson(text, longestMessage, "suppression"), "suppression");
  const action = fields.string("action", longestName);
  if (action !== "suppress" && action !== "unsuppress") throw fields.error("action", "is not known");
  const approvalID = fields.optionalUuid("approvalID");
  const suppressionID = fields.uuid("suppressionID");
  const lasts = fields.optionalInteger("lasts", 0, longestSuppression);
  return given<SuppressionCommand>({
    action,
    approvalID,
    suppressionID,
    lasts,
  });
}

export function requestMessage(decisionID: string, encryptedRequest: SealedPayload, now: Instant): string {
  return JSON.stringify({ type: "approval.request", decisionID, encryptedRequest, issuedAt: dateText(now) });
}

export function suppressionMessage(
  action: SuppressionCommand["action"],
  decisionID: string,
  encryptedSuppression: SealedPayload,
  now: Instant,
): string {
  const type = `approval.${action}`;
  return JSON.stringify({ type, decisionID, encryptedSuppression, issuedAt: dateText(now) });
}
