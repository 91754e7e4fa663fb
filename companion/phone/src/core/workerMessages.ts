// What the worker that is woken and the pages of this browser say to each other. Both are of this origin, but may be of
// different versions: what is not understood is ignored.

import type { Dismissal } from "./dismissal";
import { Fields } from "./decoding";
import type { Instant } from "./model";

export type WorkerMessage =
  /** A person chose that on a notification. A page that has the computer's connection takes it, and answers twice. */
  | {
      readonly quillard: "dismiss";
      readonly pairingID: string;
      readonly approvalID: string;
      readonly label: string;
      /** On the wall clock, which both share. */
      readonly at: Instant;
    }
  /** A person chose the notification of that prompt. */
  | { readonly quillard: "show"; readonly approvalID: string }
  /** An alert of that computer was received. */
  | { readonly quillard: "received"; readonly pairingID: string; readonly at: Instant }
  /** The worker had that computer's connection, and has stored what came of it. */
  | { readonly quillard: "released"; readonly pairingID: string }
  /** The browser's subscription is not good any more. */
  | { readonly quillard: "subscriptionChanged" };

/** What a page answers to "dismiss": that it takes it, and then what became of it. */
export type PageAnswer =
  | { readonly quillard: "taken" }
  | { readonly quillard: "ended"; readonly dismissal: Dismissal; readonly computerName: string };

const longest = 10_000;
const kinds = new Set(["settled", "gone", "changed", "unreachable", "ended", "paused", "unknown"]);

/** Absent: nothing that this version understands. */
export function readPageAnswer(value: unknown): PageAnswer | undefined {
  const answer = Object(value) as Partial<Extract<PageAnswer, { quillard: "ended" }>>;
  const quillard: string | undefined = answer.quillard;
  if (quillard === "taken") return { quillard };
  const { dismissal, computerName } = answer;
  if (quillard !== "ended" || !dismissal || !kinds.has(dismissal.kind)) return undefined;
  if (dismissal.kind === "settled" && typeof Object(dismissal.outcome).status !== "string") return undefined;
  return { quillard, dismissal, computerName: typeof computerName === "string" ? computerName : "" };
}

/** Absent: nothing that this version understands. */
export function readWorkerMessage(value: unknown): WorkerMessage | undefined {
  try {
    const fields = new Fields(value, "worker");
    const pairingID = () => fields.string("pairingID", 128);
    const approvalID = () => fields.uuid("approvalID");
    const at = () => fields.number("at");
    const quillard = fields.string("quillard", 32);
    switch (quillard) {
      case "dismiss":
        return {
          quillard,
          pairingID: pairingID(),
          approvalID: approvalID(),
          label: fields.string("label", longest),
          at: at(),
        };
      case "show":
        return { quillard, approvalID: approvalID() };
      case "received":
        return { quillard, pairingID: pairingID(), at: at() };
      case "released":
        return { quillard, pairingID: pairingID() };
      case "subscriptionChanged":
        return { quillard };
      default:
        return undefined;
    }
  } catch {
    return undefined;
  }
}
