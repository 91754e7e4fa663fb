import { signal, type ReadonlySignal } from "@preact/signals-core";
import { browserEnvironment } from "./browser";
import type { Environment } from "./environment";
import type { PhoneActions, PhoneState } from "./model";
import { Phone } from "./phone";

export interface RunningPhone {
  readonly state: ReadonlySignal<PhoneState>;
  readonly actions: PhoneActions;
  /** Closes every connection. What is kept stays. */
  stop(): void;
}

/** The phone of a page. Where the browser lacks what it takes, its state says so. */
export function createBrowserPhone(): RunningPhone {
  try {
    return createPhone(browserEnvironment());
  } catch (error) {
    return unavailablePhone(error instanceof Error ? error.message : String(error));
  }
}

/** A phone that reads what it keeps, and connects. */
export function createPhone(environment: Environment): RunningPhone {
  const phone = new Phone(environment);
  void phone.start();
  return { state: phone.state, actions: phone, stop: () => phone.stop() };
}

function unavailablePhone(problem: string): RunningPhone {
  const refuse = () => Promise.reject(new Error(problem));
  return {
    state: signal<PhoneState>({ phase: "unavailable", problem, deviceName: "Phone", computers: [] }),
    actions: {
      readPairing: () => ({ kind: "invalid", problem }),
      pair: refuse,
      renameComputer: refuse,
      renameDevice: refuse,
      forget: refuse,
      decide: () => {},
      chooseLock: refuse,
      removePhone: () => {},
      suppress: () => {},
      unsuppress: () => {},
      suppressFor: () => {},
      chooseAlerts: () => {},
      chooseAlertContent: () => {},
      testAlert: () => {},
      connectNow: () => {},
    },
    stop: () => {},
  };
}
