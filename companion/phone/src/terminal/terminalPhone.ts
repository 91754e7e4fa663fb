// A phone that is a terminal: prints what waits, takes numbers, and knows when it has done what it was asked for.

import type { After } from "../core/environment";
import type {
  Computer,
  Instant,
  Outcome,
  PhoneActions,
  PhoneState,
  Prompt,
  PromptButton,
} from "../core/model";
import { exitStatus, type Options } from "./options";
import {
  emptyLine,
  leftOutLine,
  outcomeLine,
  promptLines,
  quoted,
  relayLine,
  sleepLine,
  titleOf,
} from "./texts";

export interface Terminal {
  print(line: string): void;
  /** Called once. */
  end(status: number): void;
}

export interface TerminalDependencies {
  now(): Instant;
  readonly after: After;
}

interface Choice {
  readonly approvalID: string;
  readonly label: string;
}

export class TerminalPhone {
  /** A number is never given twice, so that one typed too late presses nothing else. */
  private readonly choices: Choice[] = [];
  private readonly numbers = new Map<string, number>();
  /** A prompt as it was printed: printed anew when anything but its decision differs. */
  private readonly printed = new Map<string, string>();
  private readonly printedOutcomes = new Map<string, string>();
  private readonly answered = new Set<string>();
  private readonly refusedAnswers = new Set<string>();
  private asking: Choice | undefined;
  private lastStatus = "";
  private lastEmptiness: string | undefined;
  private lastLeftOut: string | undefined;
  private hasReportedUnreadable = false;
  private hasSaidThatItSleeps = false;
  private hasEnded = false;
  private computer: Computer | undefined;
  private readonly cancelTimeout: () => void;

  constructor(
    private readonly pairingID: string,
    private readonly actions: PhoneActions,
    private readonly options: Options,
    private readonly dependencies: TerminalDependencies,
    private readonly terminal: Terminal,
  ) {
    const { timeoutSeconds } = options;
    this.cancelTimeout =
      timeoutSeconds === undefined
        ? () => {}
        : dependencies.after(timeoutSeconds * 1000, () => {
            this.terminal.print("The time is over.");
            this.end(exitStatus.timedOut);
          });
  }

  /** Takes the newest state; prints what is new in it. */
  show(state: PhoneState): void {
    this.computer = state.computers.find((computer) => computer.pairingID === this.pairingID);
    if (!this.computer || this.hasEnded) return;
    this.showStatus(this.computer);
    this.sayOnce(this.computer);
    this.showList(this.computer);
    this.showOutcomes(this.computer);
    this.answer(this.computer);
    this.endIfOver(this.computer);
  }

  /** A line from the keyboard. */
  take(line: string): void {
    if (this.hasEnded) return;
    const text = line.trim();
    const { asking } = this;
    this.asking = undefined;
    if (asking) this.confirm(asking, text);
    else if (text !== "") this.choose(text);
  }

  private confirm(choice: Choice, text: string): void {
    if (text.toLowerCase() === "yes") this.press(choice);
    else this.terminal.print("Nothing was pressed.");
  }

  private choose(text: string): void {
    const choice = /^\d{1,6}$/.test(text) ? this.choices[Number(text) - 1] : undefined;
    if (!choice) {
      this.terminal.print("Type the number of a button.");
      return;
    }
    const found = this.find(choice);
    if (!found) this.terminal.print("That prompt is not there any more.");
    else if (found.button.kind !== "grant") this.press(choice);
    else {
      this.asking = choice;
      this.terminal.print(`To press ${quoted(choice.label)} (${titleOf(found.prompt)}), type yes:`);
    }
  }

  private find(choice: Choice): { readonly prompt: Prompt; readonly button: PromptButton } | undefined {
    const prompt = this.computer?.prompts?.find((candidate) => candidate.id === choice.approvalID);
    const button = prompt?.buttons.find((candidate) => candidate.label === choice.label);
    return prompt && button ? { prompt, button } : undefined;
  }

  private press(choice: Choice): void {
    const before = this.find(choice)?.prompt.decision?.decisionID;
    this.actions.decide(this.pairingID, choice.approvalID, choice.label);
    const made = this.find(choice)?.prompt.decision;
    const isPressed = made !== undefined && made.decisionID !== before;
    this.terminal.print(isPressed ? `Asking for ${quoted(choice.label)} ...` : "That cannot be pressed now.");
  }

  private showStatus(computer: Computer): void {
    const parts = [relayLine(computer)];
    if (computer.isComputerConnected === true) parts.push("The computer is connected.");
    if (computer.isComputerConnected === false) parts.push("The computer is not connected.");
    if (computer.accessibilityTrusted === false) parts.push("It may not look at windows: see its settings.");
    const status = parts.join(" ");
    if (status !== this.lastStatus) this.terminal.print(status);
    this.lastStatus = status;
    if (computer.hasUnreadableSnapshot && !this.hasReportedUnreadable) {
      this.terminal.print("A list came that this phone cannot read. Pair anew if this stays so.");
    }
    this.hasReportedUnreadable = computer.hasUnreadableSnapshot;
  }

  /** Nothing wakes a terminal, which is said rather than found out. */
  private sayOnce({ relay }: Computer): void {
    if (this.hasSaidThatItSleeps || relay.kind !== "connected") return;
    this.hasSaidThatItSleeps = true;
    this.terminal.print(sleepLine);
  }

  private showList(computer: Computer): void {
    const { prompts } = computer;
    if (!prompts) return;
    const emptiness = prompts.length === 0 ? emptyLine(computer) : undefined;
    if (emptiness !== undefined && emptiness !== this.lastEmptiness) this.terminal.print(emptiness);
    this.lastEmptiness = emptiness;
    for (const id of this.printed.keys()) {
      if (!prompts.some((prompt) => prompt.id === id)) this.printed.delete(id);
    }
    for (const prompt of prompts) this.showPrompt(prompt);
    const leftOut = leftOutLine(computer);
    if (leftOut !== undefined && leftOut !== this.lastLeftOut) this.terminal.print(leftOut);
    this.lastLeftOut = leftOut;
  }

  private showPrompt(prompt: Prompt): void {
    const { decision: _, ...shown } = prompt;
    const rendered = JSON.stringify(shown);
    if (this.printed.get(prompt.id) === rendered) return;
    this.printed.set(prompt.id, rendered);
    const numbers = prompt.buttons.map((button) =>
      button.isDisabled || (prompt.requiresDirectAccess && button.kind !== "dismiss")
        ? undefined
        : this.number(prompt.id, button.label),
    );
    for (const line of promptLines(prompt, numbers, this.dependencies.now())) this.terminal.print(line);
  }

  private number(approvalID: string, label: string): number {
    const key = `${approvalID} ${label}`;
    const known = this.numbers.get(key);
    if (known !== undefined) return known;
    const number = this.choices.push({ approvalID, label });
    this.numbers.set(key, number);
    return number;
  }

  private showOutcomes(computer: Computer): void {
    // Newest first there; printed in the order in which they came.
    for (const outcome of [...computer.outcomes].reverse()) {
      const line = outcomeLine(outcome);
      if (this.printedOutcomes.get(outcome.key) === line) continue;
      this.printedOutcomes.set(outcome.key, line);
      this.terminal.print(line);
    }
  }

  private answer(computer: Computer): void {
    for (const prompt of computer.prompts ?? []) {
      if (this.options.once && this.answered.size > 0) return;
      if (!this.answered.has(prompt.id)) this.answerPrompt(prompt);
    }
  }

  private answerPrompt(prompt: Prompt): void {
    const label = this.options.answers.find((wanted) =>
      prompt.buttons.some((button) => button.label === wanted),
    );
    const button = prompt.buttons.find((candidate) => candidate.label === label);
    if (label === undefined || !button || button.isDisabled) return;
    if (prompt.requiresDirectAccess && button.kind !== "dismiss") {
      if (!this.refusedAnswers.has(prompt.id))
        this.terminal.print(`${quoted(label)} can only be pressed there.`);
      this.refusedAnswers.add(prompt.id);
      return;
    }
    this.answered.add(prompt.id);
    // This runs while a state is being shown: what becomes of it stands in one that is shown later.
    this.terminal.print(`Asking for ${quoted(label)} ...`);
    this.actions.decide(this.pairingID, prompt.id, label);
  }

  private endIfOver(computer: Computer): void {
    if (this.options.once) {
      const settled = computer.outcomes.find((outcome) => isOwnDecision(outcome));
      if (settled) this.end(settled.status === "accepted" ? exitStatus.accepted : exitStatus.notAccepted);
    }
    if (["takenOver", "revoked", "removed", "refused"].includes(computer.relay.kind))
      this.end(exitStatus.ended);
  }

  private end(status: number): void {
    if (this.hasEnded) return;
    this.hasEnded = true;
    this.cancelTimeout();
    this.terminal.end(status);
  }
}

function isOwnDecision(outcome: Outcome): boolean {
  return outcome.buttonLabel !== undefined && outcome.otherPhone === undefined;
}
