// What became of prompts, newest first.
import type { JSX } from "preact";
import type { Instant, Outcome } from "../core/model";
import { visibleText } from "../core/visibleText";
import { Symbol } from "./parts/Symbol";
import type { SymbolName } from "./parts/Symbol";
import { longAge, outcomeText, shortAge, titleOf } from "./texts";

function symbolOf(outcome: Outcome): SymbolName {
  if (outcome.status === "suppressed") return "muted";
  const tone = outcomeText(outcome).tone;
  if (tone === "good") return "check";
  return tone === "warn" ? "warning" : "clock";
}

function Row({ outcome, now }: { outcome: Outcome; now: Instant }): JSX.Element {
  const words = outcomeText(outcome);
  return (
    <li class="list-row">
      <span class={`tile is-small is-${words.tone}`}>
        <Symbol name={symbolOf(outcome)} />
      </span>
      <span class="list-text">
        <bdi class="list-title">{titleOf(outcome.windowTitle)}</bdi>
        <span class="list-detail">
          <bdi>{visibleText(outcome.appName)}</bdi>: {words.text}
        </span>
      </span>
      <time class="list-age" dateTime={new Date(outcome.at).toISOString()}>
        <span aria-hidden="true">{shortAge(outcome.at, now)}</span>
        <span class="for-ear">{longAge(outcome.at, now)}</span>
      </time>
    </li>
  );
}

export function OutcomeList({ outcomes, now }: { outcomes: readonly Outcome[]; now: Instant }): JSX.Element {
  return (
    <ul class="card list">
      {outcomes.map((outcome) => (
        <Row key={outcome.key} outcome={outcome} now={now} />
      ))}
    </ul>
  );
}
