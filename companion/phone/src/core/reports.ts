// What a computer tells its phones besides the prompts: which kinds are muted, and what was decided while a phone was away.

import { DecodingError, Fields } from "./decoding";
import type { Instant, Suppression } from "./model";

const mostKinds = 1000;
const mostEntries = 200;
const mostPhones = 64;
const longest = 10_000;
const digits = /^[0-9a-f]{64}$/;

/** The newest entry of the computer's log, and when it said so. */
export interface LogHead {
  readonly sequence: number;
  readonly digest: string;
  readonly at: Instant;
}

export interface LogEntry {
  readonly sequence: number;
  readonly digest: string;
  readonly at: Instant;
  readonly event: string;
  readonly approvalID?: string;
  readonly decisionID?: string;
  readonly appName: string;
  readonly windowTitle: string;
  readonly buttonLabel?: string;
  readonly status?: string;
  readonly error?: string;
  readonly phones: readonly string[];
}

export interface LogExcerpt {
  readonly head: LogHead;
  /** Oldest first. */
  readonly entries: readonly LogEntry[];
}

/** Absent: the computer says nothing of it. Throws a `DecodingError`. */
export function readSuppressions(fields: Fields): readonly Suppression[] | undefined {
  if (fields.value("suppressions") === undefined) return undefined;
  return fields.list("suppressions", mostKinds, (value, path) => {
    const kind = new Fields(value, path);
    const until = kind.optionalDate("until");
    return {
      suppressionID: kind.uuid("suppressionID"),
      at: kind.date("since"),
      appName: kind.string("appName", longest),
      windowTitle: kind.string("windowTitle", longest),
      ...(until !== undefined && { until }),
      ...(kind.optionalBoolean("endsWithRun") === true && { endsWithRun: true as const }),
    };
  });
}

export function readLogHead(fields: Fields): LogHead {
  return { ...place(fields), at: fields.date("at") };
}

/** Absent: the computer says nothing of it. Throws a `DecodingError`. */
export function readLog(fields: Fields): LogExcerpt | undefined {
  const log = fields.optionalObject("log");
  if (!log) return undefined;
  return {
    head: readLogHead(log.object("head")),
    entries: log.list("entries", mostEntries, (value, path) => readEntry(new Fields(value, path))),
  };
}

function readEntry(fields: Fields): LogEntry {
  const approvalID = fields.optionalUuid("approvalID");
  const texts: Record<string, string> = {};
  for (const name of ["decisionID", "buttonLabel", "status", "error"]) {
    const text = fields.optionalString(name, longest);
    if (text !== undefined) texts[name] = text;
  }
  return {
    ...place(fields),
    at: fields.date("at"),
    event: fields.string("event", longest),
    appName: fields.string("appName", longest),
    windowTitle: fields.string("windowTitle", longest),
    phones: fields.value("phones") === undefined ? [] : fields.strings("phones", mostPhones, longest),
    ...(approvalID !== undefined && { approvalID }),
    ...texts,
  };
}

function place(fields: Fields): { sequence: number; digest: string } {
  const digest = fields.string("digest", 64);
  if (!digits.test(digest)) throw new DecodingError(`${fields.path}.digest`, "is not a digest");
  return { sequence: fields.integer("sequence", 0, Number.MAX_SAFE_INTEGER), digest };
}
