// About this phone.
import type { JSX } from "preact";
import type { PhoneActions, PhoneState } from "../core/model";
import { PageFrame } from "./PageFrame";
import { NameField } from "./parts/NameField";

export function PhonePage({ state, actions }: { state: PhoneState; actions: PhoneActions }): JSX.Element {
  return (
    <PageFrame title="This phone" back={{ page: "home" }} backTitle="Prompts">
      <NameField
        label="What the computers call it"
        value={state.deviceName}
        onSave={(name) => actions.renameDevice(name)}
      />
      <p class="aside">
        What waits and what you decide travels sealed: only your computers and your phones hold the keys. Here
        they are kept in a form that this page can use, but not read out. The relay sees who is connected, and
        when.
      </p>
    </PageFrame>
  );
}
