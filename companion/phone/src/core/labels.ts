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

// Words that stand for themselves, and stems of other languages, where they begin a word or stand in one.
const destroying =
  /\b(delet|eras|remov|discard|wip(e|ing)|destroy|overwrit|replac|uninstall|shred|purg|empty|clear|forget|reset|kill|terminat|force[ -]quit|(don['’]t|without) sav|reformat|format(?! (as|of))|drop\b)|lösch|supprim|elimin|borra|exclu|apaga|verwijder|usu[nń]|удал|削除|删除|刪除|삭제/u;
const lasting =
  /\b(always|forever|permanent|every time|remember|from now on|never ask)|immer\b|dauerhaft|toujours|siempre|sempre|altijd|zawsze|всегда|常に|始终|永久|항상/u;
const stranger =
  /authenticity of (the )?host|host key|unknown host|host identification|key fingerprint|fingerprint (is|of the)|(certificate|identity)\b.{0,80}\b(not (be )?(trusted|verified)|cannot be|can['’]t be|could not be|unknown|invalid|expired|self-signed)/u;

const losing =
  /\b(can ?not|can['’]t) be undone|\b(will|would) be (permanently )?(delet|eras|lost|remov|overwrit|discard|replac)/u;

/** Whether what is asked, or said to follow, loses something; an aside that one can remove something later does not. */
function tellsOfLoss(title: string, lines: readonly string[]): boolean {
  const asked = lines
    .flatMap((line) => line.split(/(?<=[.!?。？])\s+/u))
    .filter((part) => /[?？]\s*$/u.test(part));
  return (
    [title, ...asked].some((text) => destroying.test(normalizedLabel(text))) ||
    lines.some((line) => losing.test(line))
  );
}

/**
 * Why a grant is not to be given lightly. `title` and `lines`: what the prompt says, since a plain "OK" does whatever that asks.
 * Absent: nothing of the kind is known.
 */
export function cautionOf(label: string, title: string, lines: readonly string[]): PromptButton["caution"] {
  const own = normalizedLabel(label);
  if (stranger.test(normalizedLabel([title, ...lines].join(" ")))) return "stranger";
  if (lasting.test(own)) return "lasting";
  return destroying.test(own) || tellsOfLoss(title, lines) ? "destroys" : undefined;
}
