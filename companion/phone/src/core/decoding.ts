// Reading of JSON that others wrote. Everything is checked by hand, sizes included; what does not fit is a
// `DecodingError` that names the member. Members that are not asked for are ignored.

import type { Instant } from "./model";
import { parseStrictJson } from "./strictJson";

export class DecodingError extends Error {
  constructor(path: string, problem: string) {
    super(`${path}: ${problem}`);
    this.name = "DecodingError";
  }
}

function isObject(value: unknown): value is Readonly<Record<string, unknown>> {
  return typeof value === "object" && value !== null && !Array.isArray(value);
}

/** `limit`: characters. */
export function parseJson(text: string, limit: number, path = "message"): unknown {
  if (text.length > limit) throw new DecodingError(path, `is longer than ${limit} characters`);
  const value = parseStrictJson(text);
  if (value === undefined) throw new DecodingError(path, "is not JSON");
  return value;
}

const datePattern =
  /^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(?:\.(\d{1,9}))?(?:Z|([+-])(\d{2}):(\d{2}))$/;

/** ISO 8601 with seconds, with or without a fraction of them. Absent: not such a date. */
export function instantFrom(text: string): Instant | undefined {
  const parts = datePattern.exec(text);
  if (!parts) return undefined;
  const [year, month, day, hour, minute, second] = parts.slice(1, 7).map(Number) as [
    number,
    number,
    number,
    number,
    number,
    number,
  ];
  const atUTC = new Date(Date.UTC(year, month - 1, day, hour, minute, second));
  // A 30th of February would roll over into March.
  const isReal =
    atUTC.getUTCMonth() === month - 1 &&
    atUTC.getUTCDate() === day &&
    hour < 24 &&
    minute < 60 &&
    second < 60 &&
    year >= 1900;
  if (!isReal) return undefined;
  const fraction = parts[7] === undefined ? 0 : Math.floor(Number(`0.${parts[7]}`) * 1000);
  const offset = parts[8] === undefined ? 0 : Number(parts[9]) * 60 + Number(parts[10]);
  return atUTC.getTime() + fraction - (parts[8] === "-" ? -offset : offset) * 60_000;
}

/** Whole seconds, UTC. */
export function dateText(instant: Instant): string {
  return new Date(instant).toISOString().slice(0, 19) + "Z";
}

const uuidPattern = /^[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}$/;

/** The members of one object. */
export class Fields {
  private readonly members: Readonly<Record<string, unknown>>;

  constructor(
    value: unknown,
    readonly path: string,
  ) {
    if (!isObject(value)) throw new DecodingError(path, "is not an object");
    this.members = value;
  }

  /** `limit`: characters. */
  string(name: string, limit: number): string {
    return this.checkedText(name, this.required(name), limit);
  }

  /** Missing and null are both absent. */
  optionalString(name: string, limit: number): string | undefined {
    const value = this.member(name);
    return value === undefined ? undefined : this.checkedText(name, value, limit);
  }

  boolean(name: string): boolean {
    const value = this.required(name);
    if (typeof value !== "boolean") throw this.error(name, "is not true or false");
    return value;
  }

  /** Missing and null are both absent. */
  optionalBoolean(name: string): boolean | undefined {
    return this.member(name) === undefined ? undefined : this.boolean(name);
  }

  number(name: string): number {
    const value = this.required(name);
    if (typeof value !== "number" || !Number.isFinite(value)) throw this.error(name, "is not a number");
    return value;
  }

  optionalNumber(name: string): number | undefined {
    return this.member(name) === undefined ? undefined : this.number(name);
  }

  integer(name: string, least: number, most: number): number {
    const value = this.number(name);
    if (!Number.isInteger(value) || value < least || value > most) {
      throw this.error(name, `is not a whole number from ${least} to ${most}`);
    }
    return value;
  }

  optionalInteger(name: string, least: number, most: number): number | undefined {
    return this.member(name) === undefined ? undefined : this.integer(name, least, most);
  }

  date(name: string): Instant {
    const instant = instantFrom(this.string(name, 64));
    if (instant === undefined) throw this.error(name, "Expected ISO-8601 date string.");
    return instant;
  }

  optionalDate(name: string): Instant | undefined {
    return this.member(name) === undefined ? undefined : this.date(name);
  }

  /** In upper case, however it was written. */
  uuid(name: string): string {
    const text = this.string(name, 36).toUpperCase();
    if (!uuidPattern.test(text)) throw this.error(name, "is not a UUID");
    return text;
  }

  optionalUuid(name: string): string | undefined {
    return this.member(name) === undefined ? undefined : this.uuid(name);
  }

  object(name: string): Fields {
    return new Fields(this.required(name), `${this.path}.${name}`);
  }

  optionalObject(name: string): Fields | undefined {
    return this.member(name) === undefined ? undefined : this.object(name);
  }

  /** `most`: elements. */
  list<Element>(name: string, most: number, read: (value: unknown, path: string) => Element): Element[] {
    return readList(this.required(name), `${this.path}.${name}`, most, read);
  }

  /** Objects. Missing and null are both absent. */
  optionalList<Element>(
    name: string,
    most: number,
    read: (fields: Fields) => Element,
  ): Element[] | undefined {
    if (this.member(name) === undefined) return undefined;
    return this.list(name, most, (value, path) => read(new Fields(value, path)));
  }

  strings(name: string, most: number, limit: number): string[] {
    return this.list(name, most, (value, path) => {
      if (typeof value !== "string" || value.length > limit) {
        throw new DecodingError(path, `is not a text of at most ${limit} characters`);
      }
      return value;
    });
  }

  /** Whatever it is; undefined where it is missing. */
  value(name: string): unknown {
    return this.member(name);
  }

  error(name: string, problem: string): DecodingError {
    return new DecodingError(`${this.path}.${name}`, problem);
  }

  private checkedText(name: string, value: unknown, limit: number): string {
    if (typeof value !== "string") throw this.error(name, "is not a text");
    if (value.length > limit) throw this.error(name, `is longer than ${limit} characters`);
    return value;
  }

  private required(name: string): unknown {
    const value = this.member(name);
    if (value === undefined) throw this.error(name, "is missing");
    return value;
  }

  private member(name: string): unknown {
    // Only own members: an inherited "constructor" must not be found on the prototype.
    const value = Object.hasOwn(this.members, name) ? this.members[name] : undefined;
    return value === null ? undefined : value;
  }
}

export function readList<Element>(
  value: unknown,
  path: string,
  most: number,
  read: (value: unknown, path: string) => Element,
): Element[] {
  if (!Array.isArray(value)) throw new DecodingError(path, "is not a list");
  if (value.length > most) throw new DecodingError(path, `has more than ${most} elements`);
  return value.map((element: unknown, index) => read(element, `${path}[${index}]`));
}
