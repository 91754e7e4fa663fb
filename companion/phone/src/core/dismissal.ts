// The dismissal of one prompt that was chosen outside the page, on its notification: sent only once the computer's live
// list shows that very prompt with that very button, and followed to its end.

import type { Moment } from "./computerClock";
import type { After } from "./environment";
import type { Computer, Outcome } from "./model";

export interface DismissalRequest {
  readonly approvalID: string;
  /** Byte for byte. */
  readonly label: string;
  /** When a person chose it. */
  readonly at: Moment;
}

/**
 * settled: sent, and this became of it. gone: the computer's list, as it is now, does not have the prompt; `outcome`: what
 * became of it, where that is known. changed: it is there, and does not offer that any more. unreachable: there was no live
 * list in time, so it may still be there. ended: the computer or its relay will not have this phone any more. paused: the
 * computer shows no prompts at present. unknown: a page took it, and has not said what became of it.
 */
export type Dismissal =
  | { readonly kind: "settled"; readonly outcome: Outcome }
  | { readonly kind: "gone"; readonly outcome?: Outcome }
  | { readonly kind: "changed" | "unreachable" | "ended" | "paused" | "unknown" };

/** One computer, wherever it is held. */
export interface DismissalComputer {
  computer(): Computer;
  decide(approvalID: string, buttonLabel: string, at: Moment): void;
  /** `listener`: called after each change of `computer()`. The returned function ends it. */
  onChange(listener: () => void): () => void;
}

/** A person does not expect a press long after the tap. Milliseconds. */
export const dismissalTimeout = 25_000;

const ends: ReadonlySet<string> = new Set(["revoked", "removed", "refused", "takenOver"]);

/** Resolves in any case: a decision that was sent ends by itself after a minute. */
export function dismiss(
  target: DismissalComputer,
  { approvalID, label, at }: DismissalRequest,
  after: After,
): Promise<Dismissal> {
  return new Promise((resolve) => {
    let decisionID: string | undefined;
    const finish = (result: Dismissal) => {
      stop();
      cancel();
      resolve(result);
    };
    const take = () => {
      const computer = target.computer();
      if (decisionID !== undefined) {
        const outcome = computer.outcomes.find(({ key }) => key === decisionID);
        if (outcome) finish({ kind: "settled", outcome });
        return;
      }
      const verdict = beforeDeciding(computer, approvalID, label);
      if (verdict === "wait") return;
      if (verdict !== "decide") {
        finish(verdict);
        return;
      }
      cancel();
      target.decide(approvalID, label, at);
      decisionID = decisionOf(target.computer(), approvalID);
      if (decisionID === undefined) finish({ kind: "changed" });
    };
    let stop = () => {};
    const cancel = after(dismissalTimeout, () => finish({ kind: "unreachable" }));
    // Deciding changes the computer, which must not be taken for a second list meanwhile.
    let isTaking = false;
    const guarded = () => {
      if (isTaking) return;
      isTaking = true;
      take();
      isTaking = false;
    };
    stop = target.onChange(guarded);
    guarded();
  });
}

function beforeDeciding(
  computer: Computer,
  approvalID: string,
  label: string,
): Dismissal | "wait" | "decide" {
  const { kind } = computer.relay;
  if (ends.has(kind)) return { kind: "ended" };
  const isLive = kind === "connected" && computer.isComputerConnected === true;
  if (!isLive || computer.prompts === undefined || computer.hasUnreadableSnapshot) return "wait";
  const prompt = computer.prompts.find(({ id }) => id === approvalID);
  if (!prompt) return absent(computer, approvalID);
  // An earlier decision of this phone is under way: it has to be waited for, and then decides whether this one may be made.
  const status = prompt.decision?.status;
  if (status === "sending" || status === "delivered") return "wait";
  if (status === "accepted") return absent(computer, approvalID);
  const button = prompt.buttons.find((candidate) => candidate.label === label);
  return button?.kind === "dismiss" && !button.isDisabled ? "decide" : { kind: "changed" };
}

/** A list that does not say all that waits says nothing about what is missing. */
function absent(computer: Computer, approvalID: string): Dismissal | "wait" {
  if (computer.pause) return { kind: "paused" };
  if (computer.accessibilityTrusted === false || computer.promptsLeftOut !== undefined) return "wait";
  const outcome = computer.outcomes.find((one) => one.approvalID === approvalID);
  return { kind: "gone", ...(outcome && { outcome }) };
}

function decisionOf(computer: Computer, approvalID: string): string | undefined {
  const decision = computer.prompts?.find(({ id }) => id === approvalID)?.decision;
  return decision && (decision.status === "sending" || decision.status === "delivered")
    ? decision.decisionID
    : undefined;
}
