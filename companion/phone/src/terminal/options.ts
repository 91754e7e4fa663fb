// The command line of the terminal phone.

export interface Options {
  /** "-": standard input. */
  readonly pairing: string;
  /** Labels that are pressed without asking, the most wanted first. */
  readonly answers: readonly string[];
  readonly once: boolean;
  /** Absent: it waits for ever. */
  readonly timeoutSeconds?: number;
  readonly name?: string;
}

export type OptionsReading =
  | { readonly kind: "options"; readonly options: Options }
  | { readonly kind: "help" }
  | { readonly kind: "wrong"; readonly problem: string };

export const exitStatus = { accepted: 0, wrongUse: 2, notAccepted: 3, timedOut: 4, ended: 5 } as const;

export const helpText = `Usage: node quillard-phone.mjs [OPTION]...
A phone for Quillard in a terminal: shows what waits on a computer, and answers it.

  --pairing FILE     read the pairing code's text from FILE; - is standard input (the default)
  --answer LABEL     press the button of this label by itself on the first prompt that has one; may be given
                     several times, the most wanted first
  --once             end after one decision is settled
  --timeout SECONDS  end when that long has passed
  --name NAME        what the computer calls this phone
  --help             show this text

Otherwise type the number of a button. A button that grants something asks for "yes" once more.

Exit status: 0 the decision was accepted, 2 wrong use or no usable code, 3 the decision was not accepted, 4 the time was
over, 5 the relay will not have this phone any more. Statuses 0 and 3 come with --once only.
`;

const longestTimeout = 86_400 * 7;

export function readOptions(words: readonly string[]): OptionsReading {
  const given = { pairing: "-", answers: new Array<string>(), once: false };
  let timeoutSeconds: number | undefined;
  let name: string | undefined;
  const rest = words.flatMap(splitAtEquals);
  for (let word = rest.shift(); word !== undefined; word = rest.shift()) {
    if (word === "--help") return { kind: "help" };
    if (word === "--once") {
      given.once = true;
      continue;
    }
    if (!["--pairing", "--answer", "--timeout", "--name"].includes(word)) {
      return { kind: "wrong", problem: `There is no option ${JSON.stringify(word)}.` };
    }
    const value = rest.shift();
    if (value === undefined) return { kind: "wrong", problem: `${word} needs a value.` };
    if (word === "--pairing") given.pairing = value;
    if (word === "--answer") given.answers.push(value);
    if (word === "--name") name = value;
    if (word === "--timeout") {
      timeoutSeconds = secondsFrom(value);
      if (timeoutSeconds === undefined)
        return { kind: "wrong", problem: "--timeout takes a number of seconds." };
    }
  }
  const options = {
    ...given,
    ...(timeoutSeconds !== undefined && { timeoutSeconds }),
    ...(name !== undefined && { name }),
  };
  return { kind: "options", options };
}

function secondsFrom(text: string): number | undefined {
  if (!/^\d{1,9}(\.\d{1,3})?$/.test(text)) return undefined;
  const seconds = Number(text);
  return seconds > 0 && seconds <= longestTimeout ? seconds : undefined;
}

function splitAtEquals(word: string): string[] {
  const parts = /^(--[a-z]+)=(.*)$/s.exec(word);
  return parts ? [parts[1] ?? "", parts[2] ?? ""] : [word];
}
