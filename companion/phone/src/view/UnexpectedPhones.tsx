// Phones that joined a computer with a code that had its phone already: somebody else may have that code.
import { said, say } from "../language/say";
import type { JSX } from "preact";
import { useState } from "preact/hooks";
import type { Computer, NewPhone, PhoneActions } from "../core/model";
import { visibleName } from "../core/visibleText";
import { Symbol } from "./parts/Symbol";
import { isReachable } from "./texts";

function Row({ phone, computer, actions }: { phone: NewPhone; computer: Computer; actions: PhoneActions }) {
  const [isAsked, setAsked] = useState(false);
  const [name, earlier] = [visibleName(phone.name), visibleName(phone.earlierName)];
  return (
    <div class="card notice is-warn">
      <Symbol name="warning" />
      <div class="notice-text">
        <p class="notice-title" role="status">
          {said(
            say("%1 has joined %2 with the code of %3"),
            <bdi>{name}</bdi>,
            computer.name,
            <bdi>{earlier}</bdi>,
          )}
        </p>
        {isAsked ? (
          <p>
            {say(
              "They share that code, so both are unpaired. Pair yours again at %1, with a new code.",
              computer.name,
            )}
          </p>
        ) : (
          <p>{say("If it is none of yours, somebody else has the code, and can see and answer prompts.")}</p>
        )}
        <div class="row">
          {isAsked && (
            <button type="button" class="button" onClick={() => setAsked(false)}>
              {say("Keep")}
            </button>
          )}
          <button
            type="button"
            class="button is-danger"
            disabled={!isReachable(computer)}
            onClick={() => (isAsked ? actions.removePhone(computer.pairingID, phone.id) : setAsked(true))}
          >
            {isAsked ? say("Remove both") : say("Remove…")}
          </button>
        </div>
      </div>
    </div>
  );
}

export function UnexpectedPhones(props: { computer: Computer; actions: PhoneActions }): JSX.Element {
  const { computer, actions } = props;
  return (
    <>
      {(computer.newPhones ?? []).map((phone) => (
        <Row key={phone.id} phone={phone} computer={computer} actions={actions} />
      ))}
    </>
  );
}
