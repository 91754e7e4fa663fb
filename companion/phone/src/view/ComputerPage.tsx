// All about one computer: its name, how it stands with it, what came of its prompts, what is muted, and how to forget it.
import { say } from "../language/say";
import type { JSX } from "preact";
import { useState } from "preact/hooks";
import type { Computer, Instant, PhoneActions } from "../core/model";
import { visibleText } from "../core/visibleText";
import { Notices } from "./Notices";
import { OutcomeList } from "./OutcomeList";
import { PageFrame } from "./PageFrame";
import { NameField } from "./parts/NameField";
import { Symbol } from "./parts/Symbol";
import type { SymbolName } from "./parts/Symbol";
import { goTo, routeHash } from "./routes";
import type { Route } from "./routes";
import { longAge, connectionText, suppressionText, titleOf } from "./texts";

interface ComputerPageProps {
  readonly computer: Computer;
  readonly actions: PhoneActions;
  readonly now: Instant;
}

function relayText(computer: Computer): string {
  switch (computer.relay.kind) {
    case "connected":
      return say("Connected");
    case "connecting":
      return say("Connecting…");
    case "waiting":
      return say("Not reachable");
    case "offline":
      return say("No network");
    case "takenOver":
      return say("In use by another tab");
    case "revoked":
      return say("The computer unpaired its phones");
    case "removed":
      return say("The computer removed this phone");
    case "refused":
      return say("Does not know this pairing");
  }
}

function computerText(computer: Computer): string {
  if (computer.relay.kind !== "connected" || computer.isComputerConnected === undefined)
    return say("Not known");
  return computer.isComputerConnected ? say("Connected") : say("Not connected");
}

function Fact({ name, children }: { name: string; children: string }): JSX.Element {
  return (
    <div class="fact">
      <dt>{name}</dt>
      <dd>{children}</dd>
    </div>
  );
}

function Way({
  symbol,
  title,
  detail,
  to,
}: {
  symbol: SymbolName;
  title: string;
  detail: string;
  to: Route;
}) {
  return (
    <li>
      <a class="list-row" href={routeHash(to)}>
        <span class="tile is-small is-quiet">
          <Symbol name={symbol} />
        </span>
        <span class="list-text">
          <span class="list-title">{title}</span>
          <span class="list-detail">{detail}</span>
        </span>
        <Symbol name="chevron" />
      </a>
    </li>
  );
}

function Forget({ computer, actions }: { computer: Computer; actions: PhoneActions }): JSX.Element {
  const [isAsked, setAsked] = useState(false);
  const [problem, setProblem] = useState<string>();
  const forget = () => {
    actions.forget(computer.pairingID).then(
      () => goTo({ page: "home" }),
      (error: unknown) =>
        setProblem(error instanceof Error ? error.message : say("It could not be forgotten.")),
    );
  };
  if (!isAsked) {
    return (
      <button type="button" class="button is-danger is-wide" onClick={() => setAsked(true)}>
        <Symbol name="bin" />
        {say("Forget this computer")}
      </button>
    );
  }
  return (
    <div class="card ask" role="group" aria-label={say("Forget %1?", computer.name)}>
      <p class="notice-title">{say("Forget %1?", computer.name)}</p>
      <p>
        {say(
          "Its keys, list and history are removed from this phone. The computer itself goes on trusting its other phones; to shut out all of them, unpair in its window.",
        )}
      </p>
      {problem !== undefined && <p role="alert">{problem}</p>}
      <div class="row">
        <button type="button" class="button" onClick={() => setAsked(false)}>
          {say("Keep")}
        </button>
        <button type="button" class="button is-danger" onClick={forget}>
          {say("Forget")}
        </button>
      </div>
    </div>
  );
}

function outcomesText(count: number): string {
  if (count === 0) return say("Nothing yet");
  return count === 1 ? say("1 outcome") : say("%1 outcomes", count);
}

function mutedText(count: number): string {
  if (count === 0) return say("Everything is shown");
  return count === 1 ? say("1 kind of prompt") : say("%1 kinds of prompts", count);
}

export function ComputerPage({ computer, actions, now }: ComputerPageProps): JSX.Element {
  const { pairingID } = computer;
  return (
    <PageFrame title={computer.name} back={{ page: "home" }} backTitle={say("Prompts")}>
      <p class={`pill is-${connectionText(computer, now).tone}`}>{connectionText(computer, now).text}</p>
      <Notices computer={computer} actions={actions} now={now} />
      <NameField
        label={say("Name")}
        value={computer.name}
        onSave={(name) => actions.renameComputer(pairingID, name)}
      />
      <dl class="card facts">
        <Fact name={say("Relay")}>{relayText(computer)}</Fact>
        <Fact name={say("Computer")}>{computerText(computer)}</Fact>
        <Fact name={say("Last heard of")}>
          {computer.lastReceivedAt === undefined ? say("Never") : longAge(computer.lastReceivedAt, now)}
        </Fact>
        <Fact name={say("Paired")}>{longAge(computer.pairedAt, now)}</Fact>
      </dl>
      <ul class="card list">
        <Way
          symbol="clock"
          title={say("History")}
          detail={outcomesText(computer.outcomes.length)}
          to={{ page: "history", pairingID }}
        />
        <Way
          symbol="muted"
          title={say("Not shown any more")}
          detail={mutedText(computer.suppressions.length)}
          to={{ page: "muted", pairingID }}
        />
      </ul>
      <Forget computer={computer} actions={actions} />
    </PageFrame>
  );
}

export function HistoryPage({ computer, now }: { computer: Computer; now: Instant }): JSX.Element {
  return (
    <PageFrame
      title={say("History")}
      back={{ page: "computer", pairingID: computer.pairingID }}
      backTitle={computer.name}
    >
      {computer.outcomes.length === 0 ? (
        <p class="aside centred">{say("What becomes of the prompts of %1 is listed here.", computer.name)}</p>
      ) : (
        <OutcomeList outcomes={computer.outcomes} now={now} />
      )}
      <p class="aside">{say("The newest 50 are kept, on this phone only.")}</p>
    </PageFrame>
  );
}

export function MutedPage({ computer, actions, now }: ComputerPageProps): JSX.Element {
  return (
    <PageFrame
      title={say("Not shown any more")}
      back={{ page: "computer", pairingID: computer.pairingID }}
      backTitle={computer.name}
    >
      {computer.suppressions.length === 0 ? (
        <p class="aside centred">{say("Every prompt of %1 is shown.", computer.name)}</p>
      ) : (
        <ul class="card list">
          {computer.suppressions.map((one) => (
            <li key={one.suppressionID} class="list-row">
              <span class="list-text">
                <bdi class="list-title">{titleOf(one.windowTitle)}</bdi>
                <bdi class="list-detail">{visibleText(one.appName)}</bdi>
                <span class="list-detail">{suppressionText(one, now)}</span>
              </span>
              <button
                type="button"
                class="button"
                aria-label={say("Show again: %1", titleOf(one.windowTitle))}
                onClick={() => actions.unsuppress(computer.pairingID, one.suppressionID)}
              >
                {say("Show again")}
              </button>
            </li>
          ))}
        </ul>
      )}
      <p class="aside">{say("Such prompts wait at the computer itself, and are not sent to phones.")}</p>
    </PageFrame>
  );
}
