// What a computer tells its phones besides the prompts: which kinds are muted, and what was decided while a phone was away.

import { Fields } from "./decoding";
import { given } from "./given";
import type { Instant, Suppression } from "./model";

const most = 1000;
const longest = 10_000;

/** The newest entry of the computer's log, and when it said so. */
export interface LogHead {
  readonly sequence: number;
  readonly digest: string;
  readonly at: Instant;
}

export interface LogEntry extends LogHead {
  readonly event: string;
  readonly approvalID?: string;
  readonly appName: string;
  readonly windowTitle: string;
  readonly decisionID?: string;
  readonly buttonLabel?: string;
  readonly status?: string;
  readonly error?: string;
  readonly phones?: readonly string[];
}

export interface LogExcerpt {
  readonly head: LogHead;
  /** Oldest first. */
  readonly entries: readonly LogEntry[];
}

/** What a prompt is called, of a record that may be damaged. */
export function namesFrom(fields: Fields): { appName: string; windowTitle: string } {
  return { appName: fields.string("appName", longest), windowTitle: fields.string("windowTitle", longest) };
}

/** Absent: the computer says nothing of it. Throws a `DecodingError`. */
export function readSuppressions(fields: Fields): readonly Suppression[] | undefined {
  return fields.optionalList("suppressions", most, (kind) => {
    return given<Suppression>({
      suppressionID: kind.uuid("suppressionID"),
      at: kind.date("since"),
      ...namesFrom(kind),
      until: kind.optionalDate("until"),
      endsWithRun: kind.optionalBoolean("endsWithRun") || undefined,
    });
  });
}

export function readLogHead(fields: Fields): LogHead {
  return {
    sequence: fields.integer("sequence", 0, Number.MAX_SAFE_INTEGER),
    digest: fields.string("digest", 64),
    at: fields.date("at"),
  };
}

/** Throws a `DecodingError`. */
export function readLog(log: Fields): LogExcerpt {
  const entries = log.optionalList("entries", most, (fields) => {
    const text = (name: string) => fields.optionalString(name, longest);
    return given<LogEntry>({
      ...readLogHead(fields),
      event: fields.string("event", longest),
      ...namesFrom(fields),
      decisionID: text("decisionID"),
      buttonLabel: text("buttonLabel"),
      status: text("status"),
      error: text("error"),
      approvalID: fields.optionalUuid("approvalID"),
      phones: fields.value("phones") === undefined ? undefined : fields.strings("phones", most, longest),
    });
  });
  return { head: readLogHead(log.object("head")), entries: entries ?? [] };
}
