// One computer on the home page: how it stands with it, its prompts, and what came of the last ones.
import { say } from "../language/say";
import type { JSX } from "preact";
import { useLayoutEffect, useRef } from "preact/hooks";
import type { Computer, Instant, PhoneActions } from "../core/model";
import { useKeepFocus } from "./keepFocus";
import { Notices } from "./Notices";
import { OutcomeList } from "./OutcomeList";
import { Symbol } from "./parts/Symbol";
import { PromptCard } from "./PromptCard";
import { routeHash } from "./routes";
import { alikeOf, arrange } from "./steadyList";
import type { Slot } from "./steadyList";
import { isTouched, noteMoved } from "./touch";
import { UnexpectedPhones } from "./UnexpectedPhones";
import { isReachable, isUpToDate, connectionText } from "./texts";

const kOutcomesShown = 3;

interface ComputerSectionProps {
  readonly computer: Computer;
  readonly actions: PhoneActions;
  readonly now: Instant;
  /** The only one: then it takes the page for itself. */
  readonly isAlone: boolean;
}

function useSlots(computer: Computer, now: Instant): readonly Slot[] {
  const slots = useRef<readonly Slot[]>([]);
  // What an unpaired computer asked says nothing any more: it does not even keep its place for a while.
  const isEnded = computer.relay.kind === "revoked" || computer.relay.kind === "removed";
  slots.current = isEnded ? [] : arrange(slots.current, computer.prompts ?? [], now, !isTouched());
  return slots.current;
}

/** Notes when cards are moved by what changed around them. */
function useNoteMoves(list: { readonly current: HTMLElement | null }): void {
  const places = useRef(new Map<Element, number>());
  useLayoutEffect(() => {
    const before = places.current;
    places.current = new Map();
    for (const card of list.current?.querySelectorAll(".prompt") ?? []) {
      const place = Math.round(card.getBoundingClientRect().top + window.scrollY);
      const old = before.get(card);
      if (old !== undefined && Math.abs(old - place) > 2) noteMoved();
      places.current.set(card, place);
    }
  });
}

function Head({ computer, now }: { computer: Computer; now: Instant }): JSX.Element {
  const { tone, text } = connectionText(computer, now);
  return (
    <a class="computer-head" href={routeHash({ page: "computer", pairingID: computer.pairingID })}>
      <span class={`tile is-${tone}`}>
        <Symbol name="computer" />
      </span>
      <span class="computer-text">
        <span class="computer-name" role="heading" aria-level={2}>
          {computer.name}
        </span>
        <span class="computer-status">
          <span class={`dot is-${tone}`} aria-hidden="true" />
          {text}
        </span>
      </span>
      <Symbol name="chevron" />
    </a>
  );
}

function Empty({ computer, isAlone }: { computer: Computer; isAlone: boolean }): JSX.Element | null {
  if (computer.prompts === undefined) {
    return isReachable(computer) ? (
      <p class="aside centred">{say("Waiting for the first word of %1…", computer.name)}</p>
    ) : null;
  }
  // Nothing that was looked at and not found: the notice says why.
  if (computer.pause || computer.accessibilityTrusted === false) return null;
  if (!isUpToDate(computer))
    return <p class="aside centred">{say("Nothing waited when it was last heard of.")}</p>;
  if (!isAlone) return <p class="aside centred">{say("Nothing waits.")}</p>;
  return (
    <div class="empty">
      <span class="empty-symbol">
        <Symbol name="check" />
      </span>
      <p class="empty-title">{say("All is quiet")}</p>
      <p>{say("Prompts of %1 appear here by themselves.", computer.name)}</p>
    </div>
  );
}

export function ComputerSection({ computer, actions, now, isAlone }: ComputerSectionProps): JSX.Element {
  const list = useRef<HTMLElement>(null);
  const slots = useSlots(computer, now);
  useNoteMoves(list);
  useKeepFocus(list);
  const recent = computer.outcomes.slice(0, kOutcomesShown);
  return (
    <section ref={list} class={`computer ${isUpToDate(computer) ? "" : "is-old"}`} aria-label={computer.name}>
      <Head computer={computer} now={now} />
      <Notices computer={computer} actions={actions} now={now} />
      <UnexpectedPhones computer={computer} actions={actions} />
      {slots.length === 0 ? (
        <Empty computer={computer} isAlone={isAlone} />
      ) : (
        slots.map((slot) => (
          <PromptCard
            key={slot.prompt.id}
            slot={slot}
            alike={alikeOf(slot, slots)}
            computer={computer}
            actions={actions}
            now={now}
          />
        ))
      )}
      {recent.length > 0 && (
        <div class="recent">
          <div class="recent-head">
            <h3>{say("Recently")}</h3>
            <a href={routeHash({ page: "history", pairingID: computer.pairingID })}>{say("All")}</a>
          </div>
          <OutcomeList outcomes={recent} now={now} />
        </div>
      )}
    </section>
  );
}
