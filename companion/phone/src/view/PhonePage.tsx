// About this phone.
import { say } from "../language/say";
import type { JSX } from "preact";
import { useState } from "preact/hooks";
import type { Instant, PhoneActions, PhoneState } from "../core/model";
import { Alerts } from "./Alerts";
import { PageFrame } from "./PageFrame";
import { NameField } from "./parts/NameField";
import { Symbol } from "./parts/Symbol";

function Lock({ state, actions }: { state: PhoneState; actions: PhoneActions }): JSX.Element {
  const { isLockChosen } = state;
  const [isBusy, setBusy] = useState(false);
  const [problem, setProblem] = useState<string>();
  const change = () => {
    setBusy(true);
    setProblem(undefined);
    actions.chooseLock(!isLockChosen).then(
      () => setBusy(false),
      (error: unknown) => {
        setBusy(false);
        setProblem(error instanceof Error ? error.message : say("This phone’s lock did not answer."));
      },
    );
  };
  return (
    <section class="card ask" aria-label={say("This phone’s lock")}>
      <p class="notice-title">
        {isLockChosen ? say("Grants ask for this phone’s lock") : say("This phone’s lock before a grant")}
      </p>
      <p>
        {isLockChosen === undefined
          ? say("This browser cannot ask for a face, a finger or a code, so grants cannot wait for that.")
          : say(
              "Before anything is granted here, this phone asks for your face, finger or code: whoever finds it unlocked cannot grant. It does not help against a page that was changed.",
            )}
      </p>
      {problem !== undefined && (
        <p class="problem" role="alert">
          <Symbol name="warning" />
          <span>{problem}</span>
        </p>
      )}
      {isLockChosen !== undefined && (
        <button type="button" class="button is-wide" disabled={isBusy} onClick={change}>
          <Symbol name="lock" />
          {isLockChosen ? say("Ask no more") : say("Ask before each grant")}
        </button>
      )}
    </section>
  );
}

export function PhonePage({
  state,
  actions,
  now,
}: {
  state: PhoneState;
  actions: PhoneActions;
  now: Instant;
}): JSX.Element {
  return (
    <PageFrame title={say("This phone")} back={{ page: "home" }} backTitle={say("Prompts")}>
      <NameField
        label={say("What the computers call it")}
        value={state.deviceName}
        onSave={(name) => actions.renameDevice(name)}
      />
      <Alerts state={state} actions={actions} now={now} />
      <Lock state={state} actions={actions} />
      <p class="aside">
        {say(
          "What waits and what you decide travels sealed: only your computers and your phones hold the keys. Here they are kept in a form that this page can use, but not read out. The relay sees who is connected, and when. Whoever serves this page could change it; a phone in a terminal runs no page.",
        )}
      </p>
    </PageFrame>
  );
}
