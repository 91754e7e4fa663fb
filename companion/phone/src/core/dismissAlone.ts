import { ComputerSession } from "./computerSession";
import type { SharedLock } from "./grantLock";
import { dismiss, type Dismissal, type DismissalRequest } from "./dismissal";
import type { Environment } from "./environment";
import { waitingThere } from "./pushAlerts";

/** A dismissal asks for no lock. */
const noLock: SharedLock = {
  isThere: () => false,
  isChosen: () => false,
  open: () => Promise.reject(new Error("No lock can be asked for here.")),
};

export interface DismissedAlone {
  readonly dismissal: Dismissal;
  /** As the person calls it. Absent: this phone is not paired with it any more. */
  readonly computerName?: string;
  /** Which prompts wait there. Absent: not known. */
  readonly waiting?: ReadonlySet<string>;
}

/**
 * Carries out a dismissal without a page, over a connection of its own to that one computer, which is closed when its end is
 * known and stored. Not while a page has the connection: the relay would close the page's.
 */
export async function dismissAlone(
  environment: Environment,
  pairingID: string,
  request: DismissalRequest,
): Promise<DismissedAlone> {
  const { deviceName = environment.deviceName, pairings } = await environment.store.load();
  const stored = pairings.find((pairing) => pairing.pairingID === pairingID);
  if (!stored) return { dismissal: { kind: "ended" } };
  const listeners = new Set<() => void>();
  const changed = () => {
    for (const listener of [...listeners]) listener();
  };
  const session = new ComputerSession(stored, environment, () => deviceName, noLock, changed);
  session.start();
  const dismissal = await dismiss(
    {
      computer: () => session.computer(),
      decide: (approvalID, label, at) => session.decide(approvalID, label, at),
      onChange: (listener) => {
        listeners.add(listener);
        return () => listeners.delete(listener);
      },
    },
    request,
    environment.after,
  );
  await session.settle();
  const waiting = waitingThere(session);
  session.stop();
  return { dismissal, computerName: stored.notes.name, ...(waiting && { waiting }) };
}
