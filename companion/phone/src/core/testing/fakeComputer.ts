import type { CryptoTools } from "../environment";
import { keyFrom, open, seal } from "../sealing";

/** A member of an approval that is another one than usual. */
export type ApprovalChange = Readonly<Record<string, unknown>>;

export function sampleID(number: number): string {
  return `00000000-0000-4000-8000-${number.toString(16).toUpperCase().padStart(12, "0")}`;
}

export function sampleButton(label: string): Readonly<Record<string, unknown>> {
  return { label, role: "AXButton", x: 20, y: 120, width: 80, height: 24 };
}

/** A prompt as the computer writes it; every member is filled in but the text of direct access. */
export function sampleApproval(
  number: number,
  change: ApprovalChange = {},
): Readonly<Record<string, unknown>> {
  return {
    id: sampleID(number),
    suppressionID: sampleID(1000 + number),
    detectedAt: "2026-03-01T11:59:00Z",
    appName: "Disk Tool",
    bundleIdentifier: "com.example.disktool",
    processIdentifier: 412,
    windowTitle: "Erase disk?",
    windowRole: "AXWindow/AXDialog",
    windowFrame: { x: 100, y: 200, width: 400, height: 180 },
    messageLines: ["Erasing cannot be undone.", "Are you sure?"],
    reason: "Erasing cannot be undone.",
    buttons: [sampleButton("Cancel"), sampleButton("Allow")],
    recommendedButtonLabel: "Allow",
    requiresDirectAccess: false,
    isFallbackDetection: false,
    ...change,
  };
}

/** What the computer says of a decision on the first sample prompt. */
export function sampleResult(status: string, change: ApprovalChange = {}): Readonly<Record<string, unknown>> {
  return { approvalID: sampleID(1), buttonLabel: "Allow", status, ...change };
}

/** The computer's side of one pairing: writes its messages, and reads the phone's. */
export class FakeComputer {
  readonly relaySecret: string;
  readonly e2eSecret: string;

  constructor(
    private readonly crypto: CryptoTools,
    readonly pairingID: string,
    readonly backendURL = "https://relay.example",
  ) {
    const digits = Array.from(pairingID, (character) => character.charCodeAt(0).toString(16)).join("");
    this.relaySecret = `a${digits}`.padEnd(64, "0").slice(0, 64);
    this.e2eSecret = `b${digits}`.padEnd(64, "0").slice(0, 64);
  }

  pairingText(change: ApprovalChange = {}): string {
    const { backendURL, pairingID, relaySecret, e2eSecret } = this;
    const code = {
      type: "quillard.pairing",
      version: 1,
      backendURL,
      pairingID,
      relaySecret,
      e2eSecret,
      ...change,
    };
    return JSON.stringify(code).replaceAll("/", "\\/");
  }

  async seal(value: unknown): Promise<unknown> {
    return seal(this.crypto, await keyFrom(this.crypto, this.e2eSecret), value);
  }

  /** What a box of the phone holds. Rejects where it was not sealed for this computer. */
  async open(ciphertext: string): Promise<unknown> {
    const { text } = await open(this.crypto, await keyFrom(this.crypto, this.e2eSecret), ciphertext);
    return JSON.parse(text);
  }

  /** `state`: how the computer stands. Absent: it says nothing of that. */
  async snapshot(
    approvals: readonly unknown[],
    accessibilityTrusted = true,
    state?: unknown,
  ): Promise<string> {
    return JSON.stringify({
      ...(state !== undefined && { encryptedState: await this.seal(state) }),
      type: "mac.snapshot",
      observedAt: "2026-03-01T12:00:00Z",
      accessibilityTrusted,
      encryptedApprovals: await this.seal(approvals),
      approvalCount: approvals.length,
      snapshotID: "ax1:0",
    });
  }

  /** What the computer says of the time by itself. */
  async clock(clock: unknown): Promise<string> {
    return this.sealedClock({ clock });
  }

  /** The same message, whatever is in its box. */
  async sealedClock(content: unknown): Promise<string> {
    return JSON.stringify({ type: "mac.clock", encryptedClock: await this.seal(content) });
  }

  async result(decisionID: string, command: unknown, phone?: unknown): Promise<string> {
    return JSON.stringify({
      type: "approval.result",
      decisionID,
      encryptedResult: await this.seal(command),
      issuedAt: "2026-03-01T12:00:01Z",
      phone,
    });
  }

  async suppression(command: unknown, type = "approval.suppress"): Promise<string> {
    const encryptedSuppression = await this.seal(command);
    return JSON.stringify({ type, decisionID: "OTHER-PHONES", encryptedSuppression });
  }

  /** What a phone asked for. Rejects where it was not sealed for this computer. */
  async read(message: string): Promise<PhoneMessage> {
    const outer: unknown = JSON.parse(message);
    const box =
      textAt(outer, "encryptedRequest", "ciphertext") ?? textAt(outer, "encryptedSuppression", "ciphertext");
    const opened = await open(this.crypto, await keyFrom(this.crypto, this.e2eSecret), box ?? "");
    return {
      type: textAt(outer, "type") ?? "",
      decisionID: textAt(outer, "decisionID") ?? "",
      command: JSON.parse(opened.text),
      nonce: opened.nonce,
    };
  }
}

export interface PhoneMessage {
  readonly type: string;
  readonly decisionID: string;
  readonly command: unknown;
  readonly nonce: string;
}

function textAt(value: unknown, ...path: readonly string[]): string | undefined {
  let current = value;
  for (const name of path) {
    if (typeof current !== "object" || current === null) return undefined;
    current = Reflect.get(current, name);
  }
  return typeof current === "string" ? current : undefined;
}
