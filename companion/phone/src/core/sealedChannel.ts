import type { CryptoTools } from "./environment";
import { open, seal, type SealedPayload } from "./sealing";
import { UsedNonces } from "./usedNonces";

/**
 * The boxes of one pairing, in both directions. A nonce counts as used once its box was opened here or sealed here, so
 * that neither an old box nor our own is taken for a new one.
 */
export class SealedChannel {
  private readonly nonces: UsedNonces;

  /** `nonces`: those used on earlier visits, newest last. */
  constructor(
    private readonly crypto: CryptoTools,
    private readonly key: CryptoKey,
    nonces: readonly string[],
  ) {
    this.nonces = new UsedNonces(nonces);
  }

  /** To be stored. Newest last. */
  usedNonces(): readonly string[] {
    return this.nonces.all();
  }

  /** A box with a nonce of its own each time. Absent: it could not be sealed. */
  async seal(value: unknown): Promise<SealedPayload | undefined> {
    try {
      const payload = await seal(this.crypto, this.key, value);
      this.nonces.add(payload.nonce);
      return payload;
    } catch {
      return undefined;
    }
  }

  /** The text, however often it was opened before. Rejects where the box is not of this pairing. */
  async open(box: string): Promise<string> {
    return (await open(this.crypto, this.key, box)).text;
  }

  /** Absent: its nonce was used before. Rejects where the box is not of this pairing. */
  async openOnce(box: string): Promise<string | undefined> {
    const { text, nonce } = await open(this.crypto, this.key, box);
    return this.nonces.add(nonce) ? text : undefined;
  }
}
