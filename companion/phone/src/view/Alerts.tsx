// Waking this phone while its page is closed: the question on the home page, and all about it on this phone's page.
import { say } from "../language/say";
import type { JSX } from "preact";
import { useId } from "preact/hooks";
import { platform } from "../core/browser";
import type { Computer, Instant, PhoneActions, PhoneAlerts, PhoneState } from "../core/model";
import { Symbol } from "./parts/Symbol";
import { routeHash } from "./routes";
import {
  alertContents,
  alertsHeading,
  alertsHelp,
  alertsNotice,
  alertsQuestion,
  computerAlertsText,
} from "./texts";

interface AlertsCardProps {
  readonly state: PhoneState;
  readonly actions: PhoneActions;
}

/** Asks once; afterwards speaks up only where alerts that a person wants do not come. */
export function AlertsCard({ state, actions }: AlertsCardProps): JSX.Element | null {
  const { alerts } = state;
  const question = alerts && alerts.isWanted === undefined && alertsQuestion(alerts);
  const notice = alerts && alertsNotice(alerts);
  if (question) {
    return (
      <section class="card ask" aria-label={question.title}>
        <p class="notice-title">{question.title}</p>
        <p>{question.detail}</p>
        <div class="row">
          <button type="button" class="button" onClick={() => actions.chooseAlerts(false)}>
            {say("Not now")}
          </button>
          {alerts?.support === "available" && (
            <button
              type="button"
              class="button is-primary"
              disabled={alerts.isBusy}
              onClick={() => actions.chooseAlerts(true)}
            >
              {say("Turn on alerts")}
            </button>
          )}
        </div>
      </section>
    );
  }
  if (!notice) return null;
  return (
    <div class="card notice is-warn">
      <Symbol name="warning" />
      <div class="notice-text">
        <p class="notice-title" role="status">
          {notice.title}
        </p>
        <p>{notice.detail}</p>
        <a class="button" href={routeHash({ page: "phone" })}>
          {say("What to do")}
        </a>
      </div>
    </div>
  );
}

function Content({ alerts, actions }: { alerts: PhoneAlerts; actions: PhoneActions }): JSX.Element {
  const name = useId();
  return (
    <fieldset class="choices">
      <legend>{say("On the lock screen")}</legend>
      {alertContents.map(([shows, { title, detail }]) => (
        <label key={shows} class="choice">
          <input
            type="radio"
            name={name}
            checked={alerts.shows === shows}
            onChange={() => actions.chooseAlertContent(shows)}
          />
          <span class="list-text">
            <span class="list-title">{title}</span>
            <span class="list-detail">{detail}</span>
          </span>
        </label>
      ))}
    </fieldset>
  );
}

function OfComputer(props: { computer: Computer; actions: PhoneActions; now: Instant }): JSX.Element {
  const { computer, actions, now } = props;
  const { tone, text } = computerAlertsText(computer.alerts, now);
  return (
    <li class="list-row">
      <span class="list-text">
        <span class="list-title">{computer.name}</span>
        <span class={`list-detail is-${tone}`} role="status">
          {text}
        </span>
      </span>
      <button
        type="button"
        class="button"
        aria-label={say("Send a test alert from %1", computer.name)}
        disabled={computer.relay.kind !== "connected" || computer.isComputerConnected !== true}
        onClick={() => actions.testAlert(computer.pairingID)}
      >
        {say("Test")}
      </button>
    </li>
  );
}

function Help(): JSX.Element {
  const { userAgent } = navigator;
  return (
    <details class="prompt-details">
      <summary>{say("When alerts do not come")}</summary>
      <ul class="help">
        {alertsHelp(platform(userAgent).name, userAgent).map((line) => (
          <li key={line}>{line}</li>
        ))}
      </ul>
    </details>
  );
}

interface AlertsProps extends AlertsCardProps {
  readonly now: Instant;
}

export function Alerts({ state, actions, now }: AlertsProps): JSX.Element | null {
  const { alerts, computers } = state;
  if (!alerts) return null;
  const { support, isWanted } = alerts;
  const isOn = isWanted === true && support === "available";
  const detail = (alertsNotice(alerts) ?? alertsQuestion(alerts))?.detail;
  return (
    <section class="card ask" aria-label={say("Alerts")}>
      <p class="notice-title" role="status">
        {alertsHeading(alerts)}
      </p>
      {(!isOn || alerts.problem !== undefined) && detail !== undefined && <p>{detail}</p>}
      {isOn && (
        <ul class="list is-plain">
          {computers.map((computer) => (
            <OfComputer key={computer.pairingID} computer={computer} actions={actions} now={now} />
          ))}
        </ul>
      )}
      {isOn && <Content alerts={alerts} actions={actions} />}
      {(isWanted === true || support === "blocked") && <Help />}
      {(support === "available" || isWanted === true) && (
        <button
          type="button"
          class="button is-wide"
          disabled={alerts.isBusy && !isOn}
          onClick={() => actions.chooseAlerts(!isWanted)}
        >
          <Symbol name={isWanted ? "muted" : "bell"} />
          {isWanted ? say("Turn off alerts") : say("Turn on alerts")}
        </button>
      )}
    </section>
  );
}
