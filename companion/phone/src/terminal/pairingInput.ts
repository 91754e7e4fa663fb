import type { PairingReading } from "../core/model";

const longestInput = 16_384;

/** Puts the lines of standard input together until they are a pairing code; what follows is for the keyboard. */
export class PairingInput {
  private text = "";

  constructor(private readonly read: (text: string) => PairingReading) {}

  /** Absent: more is needed. An invalid reading is final only where no further line can mend it. */
  add(line: string): PairingReading | undefined {
    this.text += `${line}\n`;
    const reading = this.read(this.text);
    if (reading.kind !== "invalid") return reading;
    const mayGrow = this.text.trim() === "" || this.text.trimStart().startsWith("{");
    const isWhole = this.text.trimEnd().endsWith("}");
    return mayGrow && !isWhole && this.text.length < longestInput ? undefined : reading;
  }

  /** There are no further lines. */
  end(): PairingReading {
    return this.read(this.text);
  }
}
