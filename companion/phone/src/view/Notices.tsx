// What stands between a person and the computer, and what can be done about it.
import { say } from "../language/say";
import type { JSX } from "preact";
import type { Computer, Instant, PhoneActions } from "../core/model";
import { Symbol } from "./parts/Symbol";
import type { SymbolName } from "./parts/Symbol";
import { goTo } from "./routes";
import { notices } from "./texts";
import type { Notice } from "./texts";

function symbolOf(notice: Notice, computer: Computer): SymbolName {
  if (notice.action === "useHere") return "tabs";
  if (computer.relay.kind === "offline") return "offline";
  if (notice.isPause) return "clock";
  return "warning";
}

function Act({
  notice,
  computer,
  actions,
}: {
  notice: Notice;
  computer: Computer;
  actions: PhoneActions;
}): JSX.Element | null {
  switch (notice.action) {
    case "tryNow":
      return (
        <button type="button" class="button" onClick={() => actions.connectNow(computer.pairingID)}>
          {say("Try now")}
        </button>
      );
    case "useHere":
      return (
        <button type="button" class="button" onClick={() => actions.connectNow(computer.pairingID)}>
          {say("Use it here")}
        </button>
      );
    case "pairAgain":
      return (
        <div class="row">
          <button type="button" class="button" onClick={() => goTo({ page: "pair" })}>
            {say("Pair again")}
          </button>
          <button
            type="button"
            class="button"
            onClick={() => goTo({ page: "computer", pairingID: computer.pairingID })}
          >
            {say("Forget…")}
          </button>
        </div>
      );
    default:
      return null;
  }
}

export function Notices(props: { computer: Computer; actions: PhoneActions; now: Instant }): JSX.Element {
  const { computer, actions, now } = props;
  return (
    <>
      {notices(computer, now).map((notice) => (
        <div key={notice.title} class={`card notice is-${notice.tone}`}>
          <Symbol name={symbolOf(notice, computer)} />
          <div class="notice-text">
            <p class="notice-title" role="status">
              {notice.title}
            </p>
            <p>{notice.detail}</p>
            <Act notice={notice} computer={computer} actions={actions} />
          </div>
        </div>
      ))}
    </>
  );
}
