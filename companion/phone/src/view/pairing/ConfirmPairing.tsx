// A person checks what was read, names it, and agrees.
import { said, say } from "../../language/say";
import type { JSX } from "preact";
import { useId, useState } from "preact/hooks";
import type { PairingOffer, PhoneActions, PhoneState } from "../../core/model";
import { kLongestName } from "../parts/NameField";
import { Symbol } from "../parts/Symbol";
import { goTo } from "../routes";

interface ConfirmPairingProps {
  readonly offer: PairingOffer;
  readonly state: PhoneState;
  readonly actions: PhoneActions;
  readonly onCancel: () => void;
}

function freeName(state: PhoneState): string {
  const taken = new Set(state.computers.map((computer) => computer.name));
  for (let number = 1; ; ++number) {
    const name = number === 1 ? say("My computer") : say("My computer %1", number);
    if (!taken.has(name)) return name;
  }
}

function hostOf(url: string): string {
  try {
    return new URL(url).host;
  } catch {
    return url;
  }
}

export function ConfirmPairing({ offer, state, actions, onCancel }: ConfirmPairingProps): JSX.Element {
  const nameID = useId();
  const phoneID = useId();
  const [name, setName] = useState(() => freeName(state));
  const [phoneName, setPhoneName] = useState(state.deviceName);
  const [isBusy, setBusy] = useState(false);
  const [problem, setProblem] = useState<string>();

  const pair = async () => {
    setBusy(true);
    setProblem(undefined);
    try {
      if (phoneName.trim() !== "" && phoneName.trim() !== state.deviceName) {
        await actions.renameDevice(phoneName.trim());
      }
      await actions.pair(offer, name.trim());
      goTo({ page: "home" });
    } catch (error) {
      setProblem(error instanceof Error ? error.message : say("Pairing did not work."));
      setBusy(false);
    }
  };

  return (
    <form
      class="card ask"
      onSubmit={(event) => {
        event.preventDefault();
        if (!isBusy && name.trim() !== "") void pair();
      }}
    >
      <span class="tile is-good">
        <Symbol name="computer" />
      </span>
      <p class="notice-title">{say("Pair with this computer?")}</p>
      <p>
        {said(
          say(
            "This phone will see its prompts, and can press their buttons. Pair only with a computer whose code you just saw yourself. Relay: %1",
          ),
          <bdi>{hostOf(offer.backendURL)}</bdi>,
        )}
      </p>
      <div class="field-plain">
        <label for={nameID}>{say("Name of the computer")}</label>
        <input
          id={nameID}
          type="text"
          value={name}
          maxLength={kLongestName}
          autocomplete="off"
          enterkeyhint="done"
          required
          onFocus={(event) => event.currentTarget.select()}
          onInput={(event) => setName(event.currentTarget.value)}
        />
      </div>
      <div class="field-plain">
        <label for={phoneID}>{say("What it calls this phone")}</label>
        <input
          id={phoneID}
          type="text"
          value={phoneName}
          maxLength={kLongestName}
          autocomplete="off"
          enterkeyhint="done"
          onInput={(event) => setPhoneName(event.currentTarget.value)}
        />
      </div>
      {problem !== undefined && (
        <p class="problem" role="alert">
          <Symbol name="warning" />
          <span>{problem}</span>
        </p>
      )}
      <div class="row">
        <button type="button" class="button" onClick={onCancel} disabled={isBusy}>
          {say("Cancel")}
        </button>
        <button type="submit" class="button is-primary" disabled={isBusy || name.trim() === ""}>
          {isBusy ? say("Pairing…") : say("Pair")}
        </button>
      </div>
    </form>
  );
}
