import { MemoryStore } from "../memoryStore";
import type { PairingNotes } from "../store";

/** A store that is as slow as the test wants, or cannot write. Reads, pairings and removals are never held. */
export class HeldStore extends MemoryStore {
  /** Writes that begin while this is set wait for `release`. */
  isHolding = false;
  /** Writes that begin while this is set fail with it, once they are released. */
  problem: string | undefined;
  private readonly held: (() => void)[] = [];

  /** Ends the writes that wait, oldest first. Later ones wait again while `isHolding`. */
  release(): void {
    for (const end of this.held.splice(0)) end();
  }

  override async saveNotes(pairingID: string, notes: PairingNotes): Promise<void> {
    await this.turn();
    await super.saveNotes(pairingID, notes);
  }

  override async saveDeviceName(name: string): Promise<void> {
    await this.turn();
    await super.saveDeviceName(name);
  }

  private async turn(): Promise<void> {
    const { problem } = this;
    if (this.isHolding) await new Promise<void>((resolve) => this.held.push(resolve));
    if (problem !== undefined) throw new Error(problem);
  }
}
