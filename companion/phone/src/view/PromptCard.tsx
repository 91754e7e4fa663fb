// One prompt: who asks, what it says, its buttons, and what became of a decision on it.
import { said, say } from "../language/say";
import type { JSX } from "preact";
import { useState } from "preact/hooks";
import type { Computer, Instant, PhoneActions, Prompt, PromptButton } from "../core/model";
import { visibleLines, visibleText } from "../core/visibleText";
import { HoldButton } from "./parts/HoldButton";
import { Symbol } from "./parts/Symbol";
import { TapButton } from "./parts/TapButton";
import type { Alike, Slot } from "./steadyList";
import {
  cautionText,
  decisionText,
  isReachable,
  longAge,
  mayDecide,
  outcomeText,
  quoted,
  shortAge,
  titleOf,
  unlockingText,
} from "./texts";
import type { Tone } from "./texts";

// A prompt may bring hundreds of lines. What does not fit at a glance is unfolded by the person.
const kLinesShown = 10;
const kLettersShown = 700;

interface PromptCardProps {
  readonly slot: Slot;
  /** Absent: no other prompt looks the same. */
  readonly alike?: Alike | undefined;
  readonly computer: Computer;
  readonly actions: PhoneActions;
  readonly now: Instant;
}

function monogram(appName: string): string {
  return [...visibleText(appName.trim())][0]?.toUpperCase() ?? "?";
}

function Head({ prompt, now }: { prompt: Prompt; now: Instant }): JSX.Element {
  const name = prompt.appName.trim() === "" ? say("An unnamed program") : visibleText(prompt.appName);
  return (
    <header class="prompt-head">
      <span class="monogram" aria-hidden="true">
        {monogram(prompt.appName)}
      </span>
      <span class="prompt-app">
        <bdi>{name}</bdi>
      </span>
      <time class="prompt-age" dateTime={new Date(prompt.detectedAt).toISOString()}>
        <span aria-hidden="true">{shortAge(prompt.detectedAt, now)}</span>
        <span class="for-ear">{longAge(prompt.detectedAt, now)}</span>
      </time>
    </header>
  );
}

/** The first lines, as many as can be read at a glance. */
function glance(lines: readonly string[]): readonly string[] {
  const shown: string[] = [];
  let letters = 0;
  for (const line of lines) {
    letters += line.length;
    if (shown.length === kLinesShown || (letters > kLettersShown && shown.length > 0)) break;
    shown.push(line);
  }
  // Nothing is folded away for the sake of a line or two.
  return lines.length - shown.length <= 2 && letters <= kLettersShown * 1.3 ? lines : shown;
}

function Message({ prompt }: { prompt: Prompt }): JSX.Element | null {
  const [isUnfolded, setUnfolded] = useState(false);
  const lines = prompt.messageLines.flatMap(visibleLines);
  if (lines.length === 0) return null;
  const shown = isUnfolded ? lines : glance(lines);
  const left = lines.length - shown.length;
  return (
    <div class="prompt-message">
      {shown.map((line, index) => (
        <p key={index} dir="auto">
          {line === "" ? "\u00a0" : line}
        </p>
      ))}
      {left > 0 && (
        <button type="button" class="plain" onClick={() => setUnfolded(true)}>
          {left === 1 ? say("Show 1 more line") : say("Show %1 more lines", left)}
        </button>
      )}
    </div>
  );
}

function DirectAccess({ prompt, computer }: { prompt: Prompt; computer: Computer }): JSX.Element {
  const kept = prompt.buttons.filter((button) => button.kind !== "dismiss");
  return (
    <div class="callout is-warn">
      <Symbol name="lock" />
      <div>
        <p class="callout-title">{say("Only at %1", computer.name)}</p>
        <p>
          {prompt.directAccessReason
            ? visibleText(prompt.directAccessReason)
            : say("This prompt can only be granted at the computer itself.")}
        </p>
        {kept.length > 0 && (
          <p class="aside">
            {said(
              say("There, it also offers %1."),
              kept.map((button, index) => (
                <span key={index}>
                  {index > 0 && ", "}
                  <bdi>{quoted(button.label)}</bdi>
                </span>
              )),
            )}
          </p>
        )}
      </div>
    </div>
  );
}

/** Of a grant. */
function captionOf({ isDisabled, isRecommended, caution }: PromptButton, asksLock: boolean): string {
  if (isDisabled) return "";
  const hold = asksLock ? say("hold, then unlock") : say("hold");
  if (caution) return `${cautionText(caution)} · ${hold}`;
  return isRecommended ? say("Recommended · %1", hold) : `${hold.charAt(0).toUpperCase()}${hold.slice(1)}`;
}

/** All that a person may have read before deciding. */
function subjectOf(prompt: Prompt): string {
  return JSON.stringify([
    prompt.id,
    prompt.appName,
    prompt.bundleIdentifier,
    prompt.windowTitle,
    prompt.messageLines,
    prompt.buttons.map((button) => [button.label, button.isDisabled]),
    prompt.requiresDirectAccess,
  ]);
}

interface ButtonsProps {
  readonly prompt: Prompt;
  readonly lock: Computer["lock"];
  readonly isDisabled: boolean;
  readonly onDecide: (label: string) => void;
  readonly onHint: (hint: string | undefined) => void;
}

function Buttons({ prompt, lock, isDisabled, onDecide, onHint }: ButtonsProps): JSX.Element | null {
  const offered = prompt.buttons.filter(
    (button) => button.kind === "dismiss" || !prompt.requiresDirectAccess,
  );
  if (offered.length === 0) return null;
  const subject = subjectOf(prompt);
  const longest = Math.max(...offered.map((button) => button.label.length));
  return (
    <div
      class={`presses ${longest > 16 || offered.length > 4 ? "is-stacked" : ""}`}
      role="group"
      aria-label={say("Buttons")}
    >
      {offered.map((button, index) => {
        const decide = () => onDecide(button.label);
        const key = `${index} ${button.kind} ${button.label}`;
        return button.kind === "grant" ? (
          <HoldButton
            key={key}
            label={button.label}
            caption={captionOf(button, lock === "asked")}
            subject={subject}
            isRecommended={button.isRecommended}
            caution={button.caution && cautionText(button.caution)}
            isDisabled={isDisabled || lock === "missing" || button.isDisabled === true}
            onConfirm={decide}
            onHint={onHint}
          />
        ) : (
          <TapButton
            key={key}
            label={button.label}
            {...(button.isRecommended ? { caption: say("Recommended") } : {})}
            isDisabled={
              isDisabled || (lock === "missing" && button.kind !== "dismiss") || button.isDisabled === true
            }
            onPress={decide}
            onHint={onHint}
          />
        );
      })}
    </div>
  );
}

interface StatusLine {
  readonly tone: Tone;
  readonly text: string;
  readonly isBusy?: boolean;
}

function statusLine(slot: Slot, computer: Computer, hint: string | undefined): StatusLine | undefined {
  const { prompt, goneAt } = slot;
  if (goneAt === undefined) {
    if (hint !== undefined) return { tone: "quiet", text: hint };
    if (prompt.unlocking) return unlockingText(prompt.unlocking);
    return prompt.decision && decisionText(prompt.decision, computer.name);
  }
  const outcome = computer.outcomes.find((one) => one.approvalID === prompt.id);
  if (outcome) return outcomeText(outcome);
  return {
    tone: "quiet",
    text: computer.pause ? say("Not shown while alerts are paused.") : say("It is gone."),
  };
}

/** What became of it, or what to do: read out when it changes. */
function Status({ line }: { line: StatusLine | undefined }): JSX.Element {
  return (
    <p class={`prompt-status ${line ? `is-${line.tone}` : "is-empty"}`} role="status">
      {line?.isBusy && <span class="spinner" aria-hidden="true" />}
      {line?.tone === "good" && <Symbol name="check" />}
      {line?.tone === "warn" && <Symbol name="warning" />}
      {line && <span>{line.text}</span>}
    </p>
  );
}

function Details({ prompt }: { prompt: Prompt }): JSX.Element {
  return (
    <details class="prompt-details">
      <summary>{say("Details")}</summary>
      <dl>
        {prompt.bundleIdentifier !== undefined && (
          <>
            <dt>{say("Program")}</dt>
            <dd>
              <bdi>{visibleText(prompt.bundleIdentifier)}</bdi>
            </dd>
          </>
        )}
        <dt>{say("Taken for a prompt because")}</dt>
        <dd>{prompt.reason === "" ? say("The computer gave no reason.") : visibleText(prompt.reason)}</dd>
      </dl>
    </details>
  );
}

/** Seconds; the tap before them mutes for ever. */
const shorterMutes = [
  [say("Only for a day"), 86_400],
  [say("For a week"), 604_800],
] as const;

export function PromptCard({ slot, alike, computer, actions, now }: PromptCardProps): JSX.Element {
  const [hint, setHint] = useState<string>();
  const { prompt } = slot;
  const isGone = slot.goneAt !== undefined;
  const isMuted = computer.suppressions.some((one) => one.suppressionID === prompt.suppressionID);
  const isUnlocking = prompt.unlocking !== undefined && prompt.unlocking.problem === undefined;
  const isOpen = !isGone && mayDecide(prompt) && !isUnlocking;
  return (
    // A decision changes what stands in the card, and as little as can be of its height: others stand below it.
    <article
      class={`card prompt ${isGone ? "is-gone" : ""} ${isOpen ? "" : "is-settled"}`}
      aria-label={titleOf(prompt.windowTitle)}
      data-prompt={prompt.id}
      tabIndex={-1}
    >
      <Head prompt={prompt} now={now} />
      <h3 class="prompt-title" dir="auto">
        {titleOf(prompt.windowTitle)}
      </h3>
      {alike && (
        <p class="aside">
          {say("%1 of %2 that look the same. An answer is for this one only.", alike.number, alike.count)}
        </p>
      )}
      <Message prompt={prompt} />
      {prompt.isFallbackDetection && (
        <p class="aside">{say("Recognised by its looks only: it may be something else than a prompt.")}</p>
      )}
      {prompt.requiresDirectAccess && <DirectAccess prompt={prompt} computer={computer} />}
      <Buttons
        prompt={prompt}
        lock={computer.lock}
        isDisabled={!isOpen || !isReachable(computer)}
        onDecide={(label) => {
          setHint(undefined);
          actions.decide(computer.pairingID, prompt.id, label);
        }}
        onHint={setHint}
      />
      <Status line={statusLine(slot, computer, isOpen ? hint : undefined)} />
      {isOpen && (
        <footer class="prompt-foot">
          <Details prompt={prompt} />
          <button type="button" class="plain" onClick={() => actions.suppress(computer.pairingID, prompt.id)}>
            {say("Don’t show this again")}
          </button>
        </footer>
      )}
      {isGone && isMuted && (
        <footer class="prompt-foot">
          {shorterMutes.map(([text, seconds]) => (
            <button
              key={text}
              type="button"
              class="plain"
              onClick={() => actions.suppressFor(computer.pairingID, prompt.suppressionID, seconds)}
            >
              {text}
            </button>
          ))}
          <button
            type="button"
            class="plain"
            onClick={() => actions.unsuppress(computer.pairingID, prompt.suppressionID)}
          >
            {say("Undo")}
          </button>
        </footer>
      )}
    </article>
  );
}
