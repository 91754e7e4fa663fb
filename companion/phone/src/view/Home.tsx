// The first page: what waits, on all computers.
import { say } from "../language/say";
import type { JSX } from "preact";
import type { Instant, PhoneActions, PhoneState } from "../core/model";
import { AlertsCard } from "./Alerts";
import { waitingCount } from "./badge";
import { ComputerSection } from "./ComputerSection";
import { NewPrompts } from "./NewPrompts";
import { Mark, Symbol } from "./parts/Symbol";
import { routeHash } from "./routes";
import { SoughtPrompt } from "./SoughtPrompt";
import { headline } from "./texts";

interface HomeProps {
  readonly state: PhoneState;
  readonly actions: PhoneActions;
  readonly now: Instant;
  /** The prompt to which an alert has led. Absent: none has. */
  readonly sought?: string | undefined;
}

export function Home({ state, actions, now, sought }: HomeProps): JSX.Element {
  const { computers } = state;
  return (
    <>
      <header class="masthead">
        <Mark />
        <div class="masthead-text">
          <p class="product">Quillard</p>
          <h1 aria-live="polite">{headline(waitingCount(state), computers)}</h1>
        </div>
        <a class="round" href={routeHash({ page: "pair" })} aria-label={say("Pair another computer")}>
          <Symbol name="plus" />
        </a>
      </header>
      <NewPrompts computers={computers} />
      <main>
        {sought !== undefined && <SoughtPrompt key={sought} approvalID={sought} computers={computers} />}
        {computers.map((computer) => (
          <ComputerSection
            key={computer.pairingID}
            computer={computer}
            actions={actions}
            now={now}
            isAlone={computers.length === 1}
          />
        ))}
        <AlertsCard state={state} actions={actions} />
        <a class="foot-link" href={routeHash({ page: "phone" })}>
          <Symbol name="phone" />
          {say("This phone")}
        </a>
      </main>
    </>
  );
}
