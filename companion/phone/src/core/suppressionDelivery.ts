import type { Environment } from "./environment";
import { suppressionMessage } from "./messages";
import type { SealedChannel } from "./sealedChannel";
import type { PendingSuppression } from "./store";
import type { SuppressionList } from "./suppressionList";
import { newUuid } from "./uuid";

export interface SuppressionDeliveryDependencies {
  readonly environment: Pick<Environment, "now" | "crypto">;
  readonly channel: SealedChannel;
  isConnected(): boolean;
  /** False: nothing went out. */
  send(text: string): boolean;
  /** Never rejects. False: it could not be stored. */
  save(): Promise<boolean>;
  changed(): void;
}

/** Sends the changes of a `SuppressionList` that are made here, each until the computer is known to have it. */
export interface SuppressionDelivery {
  /** Nothing is recorded or sent from here on. */
  stop(): void;
  /** `stored`: what is recorded once the change is stored. Sent in any case. */
  add(command: Omit<PendingSuppression, "decisionID">, stored?: () => void): Promise<void>;
  /** Nothing happens without a connection: `resume` sends it. */
  send(pending: PendingSuppression): Promise<void>;
  /**
   * Another command, once and only over a connection. A relay passes on the kinds of messages that it knows; which command
   * it is stands in the box.
   */
  sendOnce(command: Readonly<Record<"action" | "suppressionID", string>>): Promise<void>;
  /** There is a connection, or another one. */
  resume(): void;
}

export function deliverSuppressions(
  list: SuppressionList,
  { environment, channel, isConnected, send, save, changed }: SuppressionDeliveryDependencies,
): SuppressionDelivery {
  let isStopped = false;
  const newID = () => newUuid(environment.crypto);
  const deliver = async (
    action: PendingSuppression["action"],
    command: object,
    decisionID = newID(),
    isWanted = () => true,
  ): Promise<void> => {
    if (!isConnected()) return;
    const payload = await channel.seal(command);
    if (payload && isWanted() && !isStopped)
      send(suppressionMessage(action, decisionID, payload, environment.now()));
  };
  const sendPending = ({ decisionID, writtenAt: _, writtenTo: __, ...command }: PendingSuppression) =>
    deliver(command.action, command, decisionID, () => list.isPending(decisionID));
  return {
    stop() {
      isStopped = true;
    },
    async add(command, stored) {
      const pending = { ...command, decisionID: newID() };
      list.enqueue(pending);
      changed();
      const isStored = await save();
      if (isStored && stored && !isStopped) {
        stored();
        changed();
        await save();
      }
      await sendPending(pending);
    },
    send: sendPending,
    sendOnce: (command) => deliver("suppress", command),
    resume() {
      for (const pending of list.pending()) void sendPending(pending);
    },
  };
}
