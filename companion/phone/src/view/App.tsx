// The page as a whole: which view is up, from what the phone knows and where the person went.
import { say } from "../language/say";
import type { ReadonlySignal } from "@preact/signals-core";
import type { ComponentChildren, JSX } from "preact";
import { useEffect } from "preact/hooks";
import type { PhoneActions, PhoneState } from "../core/model";
import { showCount, waitingCount } from "./badge";
import { now } from "./clock";
import { loadMore, more, moreProblem } from "./more";
import { PairPage } from "./pairing/PairPage";
import { Mark } from "./parts/Symbol";
import { useRoute } from "./routes";
import type { Route } from "./routes";
import { UpdateNote } from "./UpdateNote";
import { useValue } from "./useValue";

interface AppProps {
  readonly state: ReadonlySignal<PhoneState>;
  readonly actions: PhoneActions;
  /** A newer version of the page waits to be taken. */
  readonly update?: ReadonlySignal<(() => void) | undefined>;
}

function Alone({ children }: { children: ComponentChildren }): JSX.Element {
  return (
    <main class="alone">
      <Mark />
      {children}
    </main>
  );
}

function Ready({
  state,
  actions,
  route,
}: {
  state: PhoneState;
  actions: PhoneActions;
  route: Route;
}): JSX.Element {
  const time = useValue(now);
  const views = useValue(more);
  const problem = useValue(moreProblem);
  const isPaired = state.computers.length > 0;
  useEffect(() => {
    if (isPaired) void loadMore();
  }, [isPaired, route]);
  if (!isPaired || route.page === "pair") {
    return <PairPage key="pair" state={state} actions={actions} />;
  }
  const computer =
    "pairingID" in route ? state.computers.find((one) => one.pairingID === route.pairingID) : undefined;
  if (!views) {
    return (
      <Alone>
        <p class="aside" role="status">
          {problem ?? say("Opening…")}
        </p>
      </Alone>
    );
  }
  const { ComputerPage, HistoryPage, Home, MutedPage, PhonePage } = views;
  if (route.page === "phone") return <PhonePage state={state} actions={actions} now={time} />;
  const sought = route.page === "prompt" ? route.approvalID : undefined;
  if (!computer) return <Home state={state} actions={actions} now={time} sought={sought} />;
  switch (route.page) {
    case "history":
      return <HistoryPage key="history" computer={computer} now={time} />;
    case "muted":
      return <MutedPage key="muted" computer={computer} actions={actions} now={time} />;
    default:
      return <ComputerPage key={computer.pairingID} computer={computer} actions={actions} now={time} />;
  }
}

export function App({ state, actions, update }: AppProps): JSX.Element {
  const route = useRoute();
  const current = useValue(state);
  const takeUpdate = useValue(update);
  const waiting = waitingCount(current);
  useEffect(() => showCount(waiting), [waiting]);
  if (current.phase === "loading") {
    return (
      <Alone>
        <p class="aside" role="status">
          {say("Opening…")}
        </p>
      </Alone>
    );
  }
  if (current.phase === "unavailable") {
    return (
      <Alone>
        <h1>{say("Quillard cannot run here")}</h1>
        <p role="alert">{current.problem ?? say("This browser cannot keep keys.")}</p>
        <p class="aside">
          {say("A private window, or a browser that keeps no data of pages, cannot hold a pairing.")}
        </p>
      </Alone>
    );
  }
  return (
    <>
      <Ready state={current} actions={actions} route={route} />
      {takeUpdate && <UpdateNote onTake={takeUpdate} />}
    </>
  );
}
