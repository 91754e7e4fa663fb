// The phone in a terminal. Built into one file that needs nothing but Node.

import { readFile } from "node:fs/promises";
import { createInterface } from "node:readline";
import type { Environment } from "../core/environment";
import type { PairingOffer, PairingReading } from "../core/model";
import { Phone } from "../core/phone";
import { visibleText } from "../core/visibleText";
import { nodeEnvironment } from "./nodeEnvironment";
import { exitStatus, helpText, readOptions, type Options } from "./options";
import { PairingInput } from "./pairingInput";
import { TerminalPhone } from "./terminalPhone";

function print(line: string): void {
  process.stdout.write(`${line}\n`);
}

/** What was printed goes out first, even into a pipe. */
function exitWith(status: number): void {
  process.stdout.write("", () => process.exit(status));
}

function giveUp(problem: string): void {
  process.stderr.write(`quillard-phone: ${visibleText(problem)}\n`);
  exitWith(exitStatus.wrongUse);
}

/** Pairs with what the code names, and shows it from then on. */
async function paired(phone: Phone, offer: PairingOffer, options: Options, environment: Environment) {
  await phone.pair(offer, "Computer");
  const end = (status: number) => {
    phone.stop();
    exitWith(status);
  };
  const terminal = new TerminalPhone(offer.pairingID, phone, options, environment, { print, end });
  phone.state.subscribe((state) => terminal.show(state));
  return terminal;
}

async function run(options: Options): Promise<void> {
  const environment = nodeEnvironment(options.name);
  const phone = new Phone(environment);
  await phone.start();

  let terminal: TerminalPhone | undefined;
  const taken = async (reading: PairingReading) => {
    if (reading.kind === "offer") terminal = await paired(phone, reading.offer, options, environment);
    else giveUp(reading.kind === "invalid" ? reading.problem : "This pairing code cannot be used here.");
  };

  let input: PairingInput | undefined;
  if (options.pairing === "-") {
    input = new PairingInput((text) => phone.readPairing(text));
    if (process.stdin.isTTY) print("Paste the text of the pairing code:");
  } else {
    await taken(phone.readPairing(await readFile(options.pairing, { encoding: "utf8" })));
  }

  // The code's lines come first, where it is read from here; all others are choices.
  const takeLine = (line: string) => {
    const reading = input?.add(line);
    if (!input) terminal?.take(line);
    if (!reading) return;
    input = undefined;
    taken(reading).catch(failed);
  };
  const keyboard = createInterface({ input: process.stdin, terminal: false });
  keyboard.on("line", takeLine);
  keyboard.on("close", () => {
    if (input) taken(input.end()).catch(failed);
  });
}

function failed(error: unknown): void {
  giveUp(error instanceof Error ? error.message : String(error));
}

const reading = readOptions(process.argv.slice(2));
if (reading.kind === "help") process.stdout.write(helpText);
else if (reading.kind === "wrong") giveUp(`${reading.problem} Try --help.`);
else run(reading.options).catch(failed);
