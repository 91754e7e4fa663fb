const mostKept = 512;

/**
 * The boxes that a phone has opened or sealed, by their nonces, so that none is opened a second time: whoever holds the
 * wire could otherwise hand an old result to a new decision, or our own box back to us. Bounded; the oldest go first.
 */
export class UsedNonces {
  private readonly nonces: Set<string>;

  constructor(nonces: readonly string[]) {
    this.nonces = new Set(nonces.slice(-mostKept));
  }

  /** False: it was used before. */
  add(nonce: string): boolean {
    if (this.nonces.has(nonce)) return false;
    this.nonces.add(nonce);
    for (const oldest of this.nonces) {
      if (this.nonces.size <= mostKept) break;
      this.nonces.delete(oldest);
    }
    return true;
  }

  /** Newest last. */
  all(): readonly string[] {
    return [...this.nonces];
  }
}
