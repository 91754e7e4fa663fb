// What the label of a button says about the button. Only labels whose meaning is known count as harmless: everything
// else, unknown languages included, is taken for a grant.

import type { PromptButton } from "./model";

const safeDismissals = new Set(["cancel", "deny", "don't allow", "don’t allow", "not now", "no"]);
const postponements = new Set(["later", "skip"]);

/** White space at both ends removed, each run of it made one blank, lower-cased. Nothing else is folded. */
export function normalizedLabel(label: string): string {
  return label.trim().replace(/\s+/gu, " ").toLowerCase();
}

/** `isKnownDismissal`: the computer knows it for a safe dismissal, where the label alone does not tell. */
export function buttonKind(label: string, isKnownDismissal = false): PromptButton["kind"] {
  const normalized = normalizedLabel(label);
  if (isKnownDismissal || safeDismissals.has(normalized)) return "dismiss";
  return postponements.has(normalized) ? "postpone" : "grant";
}
