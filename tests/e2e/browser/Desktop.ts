import { execFile } from "node:child_process";
import { readFile } from "node:fs/promises";
import { join } from "node:path";
import { promisify } from "node:util";

import { places } from "./places";
import { Program } from "./Program";

const run = promisify(execFile);

export type Toolkit = "gtk3" | "gtk4" | "qt";
export const toolkits: readonly Toolkit[] = ["gtk3", "gtk4", "qt"];

/** What sample programs end with. */
export const closedWithoutAButton = 3;
export const killed = 137;
/** `index`: of the button that was pressed, from 0, in the order in which the program was given them. */
export function pressed(index: number): number {
  return 10 + index;
}

export interface DialogOptions {
  readonly toolkit?: Toolkit;
  readonly title: string;
  readonly text?: string;
  readonly buttons: readonly string[];
  /** Further options of the sample programs, see tests/desktop/README.md. */
  readonly more?: readonly string[];
}

/** A sample program that shows one prompt, and ends with the number of the button that was pressed. */
export class Dialog extends Program {
  /** Without a button, as a program does that has waited for long enough. */
  closeByItself(): Promise<number> {
    return this.signal("SIGUSR1");
  }
}

/** The private desktop that this process runs on: opens dialogs, takes pictures, presses buttons as a person at it does. */
export class Desktop {
  private readonly dialogs: Dialog[] = [];
  private pictures = 0;

  /** Comes back when the dialog is on the screen. */
  async open(options: DialogOptions): Promise<Dialog> {
    const { toolkit = "gtk3", title, text = "May it go on?", buttons, more = [] } = options;
    const args = ["--kind", "dialog", "--title", title, "--text", text];
    for (const label of buttons) args.push("--button", label);
    const dialog = new Dialog(`the dialog "${title}"`, join(places.samples, `${toolkit}_prompt`), [
      ...args,
      ...more,
    ]);
    this.dialogs.push(dialog);
    await dialog.waitForOutput(/^ready$/m);
    return dialog;
  }

  /** What a failed test has left open. */
  async closeAll(): Promise<void> {
    const left = this.dialogs.splice(0).filter((dialog) => dialog.isRunning);
    await Promise.all(left.map((dialog) => dialog.kill()));
  }

  /** The whole screen, PNG. */
  async screenshot(): Promise<Buffer> {
    const file = join(places.temporary, `screen-${String(process.pid)}-${String(this.pictures++)}.png`);
    await run(places.hand, ["screenshot", file]);
    return readFile(file);
  }

  /** Waits until a program's window shows `name` in the row or card named `row`. */
  async see(program: Program, row: string, name: string): Promise<void> {
    await this.hand("see", program, row, name);
  }

  /** Presses a button in that row or card, through the accessibility bus. Waits for the button to be there. */
  async press(program: Program, row: string, label: string): Promise<void> {
    await this.hand("press", program, row, label);
  }

  /** As a person at the desk does. */
  async pressInDialog(dialog: Dialog, label: string): Promise<void> {
    await this.hand("press", dialog, "", label);
  }

  private async hand(verb: "see" | "press", program: Program, row: string, name: string): Promise<void> {
    try {
      await run(places.hand, [verb, String(program.pid), row, name]);
    } catch {
      const { stdout } = await run(places.hand, ["tree", String(program.pid)]);
      throw new Error(
        `There is no "${name}" in "${row}" to ${verb}. The windows of ${program.name}:\n${stdout}`,
      );
    }
  }
}
