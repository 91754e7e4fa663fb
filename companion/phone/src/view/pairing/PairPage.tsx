// Pairing with a computer: by camera, by a picture of its code, or by the code's text; then a check of what it is, and a
// name. It is also the first page of a phone that has no computer yet.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useEffect, useState } from "preact/hooks";
import type { PairingReading, PhoneActions, PhoneState } from "../../core/model";
import { PageFrame } from "../PageFrame";
import { Mark, Symbol } from "../parts/Symbol";
import { goTo } from "../routes";
import { CameraScanner } from "./CameraScanner";
import { ConfirmPairing } from "./ConfirmPairing";
import { PastedText } from "./PastedText";
import { PictureButton } from "./PictureButton";

type Step =
  { readonly kind: "ways" | "camera" | "text" } | { readonly kind: "read"; readonly reading: PairingReading };

interface PairPageProps {
  readonly state: PhoneState;
  readonly actions: PhoneActions;
}

function Problem({ text }: { text: string | undefined }): JSX.Element {
  return (
    <p class={text === undefined ? "problem is-empty" : "problem"} role="alert">
      {text !== undefined && <Symbol name="warning" />}
      {text !== undefined && <span>{text}</span>}
    </p>
  );
}

/** Absent: no address that may be followed. */
function safeLink(url: string): string | undefined {
  try {
    const parsed = new URL(url);
    return parsed.protocol === "https:" || parsed.protocol === "http:" ? parsed.href : undefined;
  } catch {
    return undefined;
  }
}

function OtherRelay({ backendURL, onBack }: { backendURL: string; onBack: () => void }): JSX.Element {
  const link = safeLink(backendURL);
  return (
    <div class="card ask">
      <p class="notice-title">{say("This computer uses another relay")}</p>
      <p>
        {say("A page talks to the computers of its own relay only. Open that relay’s page, and pair there.")}
      </p>
      {link !== undefined && (
        <a class="button is-primary is-wide" href={link} rel="noreferrer noopener">
          {say("Open %1", new URL(link).host)}
        </a>
      )}
      <button type="button" class="button is-wide" onClick={onBack}>
        {say("Back")}
      </button>
    </div>
  );
}

function AlreadyPaired({ name, onBack }: { name: string; onBack: () => void }): JSX.Element {
  return (
    <div class="card ask">
      <p class="notice-title">{say("%1 is paired already", name)}</p>
      <p>{say("To pair it anew, forget it first.")}</p>
      <button type="button" class="button is-primary is-wide" onClick={() => goTo({ page: "home" })}>
        {say("Show its prompts")}
      </button>
      <button type="button" class="button is-wide" onClick={onBack}>
        {say("Back")}
      </button>
    </div>
  );
}

function Ways(props: {
  problem: string | undefined;
  onStep: (step: Step) => void;
  onText: (text: string) => void;
  onProblem: (text: string) => void;
}): JSX.Element {
  const { problem, onStep, onText, onProblem } = props;
  return (
    <div class="ways">
      <Problem text={problem} />
      <button
        type="button"
        class="button is-primary is-wide is-tall"
        onClick={() => onStep({ kind: "camera" })}
      >
        <Symbol name="camera" />
        {say("Scan the code")}
      </button>
      <PictureButton onText={onText} onProblem={onProblem} />
      <button type="button" class="button is-wide is-tall" onClick={() => onStep({ kind: "text" })}>
        <Symbol name="text" />
        {say("Paste the code’s text")}
      </button>
    </div>
  );
}

function Introduction(): JSX.Element {
  return (
    <ol class="steps">
      <li>{say("On the computer, open Quillard’s window.")}</li>
      <li>{say("Its pairing card shows a code. Scan it from here.")}</li>
      <li>{say("Give the computer a name, and its prompts appear.")}</li>
    </ol>
  );
}

/** Only browsers of iPhones know whether a page is on the home screen. What it stores there is apart from the browser's. */
function isInBrowserOfIPhone(): boolean {
  return (navigator as { readonly standalone?: boolean }).standalone === false;
}

export function PairPage({ state, actions }: PairPageProps): JSX.Element {
  const [step, setStep] = useState<Step>({ kind: "ways" });
  const [problem, setProblem] = useState<string>();
  const isFirst = state.computers.length === 0;

  useEffect(() => window.scrollTo(0, 0), [step.kind]);

  const go = (next: Step) => {
    setProblem(undefined);
    setStep(next);
  };
  const back = () => go({ kind: "ways" });
  const stop = (problem: string) => {
    setProblem(problem);
    setStep({ kind: "ways" });
  };
  const read = (text: string) => {
    const reading = actions.readPairing(text);
    if (reading.kind === "invalid") stop(reading.problem);
    else go({ kind: "read", reading });
  };

  const inner = ((): JSX.Element => {
    switch (step.kind) {
      case "camera":
        return (
          <CameraScanner
            onText={(text) => {
              const reading = actions.readPairing(text);
              if (reading.kind === "invalid") return reading.problem;
              go({ kind: "read", reading });
              return undefined;
            }}
            onProblem={stop}
            onCancel={back}
          />
        );
      case "text":
        return (
          <PastedText
            problem={problem}
            onText={(text) => {
              const reading = actions.readPairing(text);
              if (reading.kind === "invalid") setProblem(reading.problem);
              else go({ kind: "read", reading });
            }}
            onCancel={back}
          />
        );
      case "read":
        break;
      case "ways":
        return <Ways problem={problem} onStep={go} onText={read} onProblem={setProblem} />;
    }
    const reading = step.reading;
    if (reading.kind === "offer") {
      return <ConfirmPairing offer={reading.offer} state={state} actions={actions} onCancel={back} />;
    }
    if (reading.kind === "otherRelay") return <OtherRelay backendURL={reading.backendURL} onBack={back} />;
    const known =
      reading.kind === "alreadyPaired"
        ? state.computers.find((computer) => computer.pairingID === reading.pairingID)
        : undefined;
    return <AlreadyPaired name={known?.name ?? say("This computer")} onBack={back} />;
  })();

  if (!isFirst) {
    return (
      <PageFrame title={say("Pair a computer")} back={{ page: "home" }} backTitle={say("Prompts")}>
        {step.kind === "ways" && <Introduction />}
        {inner}
      </PageFrame>
    );
  }
  return (
    <main class="welcome">
      {step.kind === "ways" ? (
        <>
          <Mark />
          <h1>{say("Answer your computer from here")}</h1>
          <p class="lead">
            {say(
              "When a program on your computer asks for permission while you are away, Quillard shows it on this phone, and presses the button that you choose.",
            )}
          </p>
          <Introduction />
          {inner}
          {isInBrowserOfIPhone() && (
            <p class="aside centred with-symbol">
              <Symbol name="phone" />
              <span>
                {say(
                  "To be alerted while this page is closed, put it on the home screen first (Share, “Add to Home Screen”), open it from there, and pair there.",
                )}
              </span>
            </p>
          )}
          <p class="aside centred with-symbol">
            <Symbol name="lock" />
            <span>
              {say(
                "Sealed from end to end: the relay never sees what waits. But whoever runs it serves this page, and could change it.",
              )}
            </span>
          </p>
        </>
      ) : (
        <>
          <h1 class="page-title">{say("Pair a computer")}</h1>
          {inner}
        </>
      )}
    </main>
  );
}
