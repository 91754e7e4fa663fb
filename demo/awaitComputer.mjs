// Waits until the agent of a pairing is connected with its relay, any relay. Reads what the pairing code holds from
// descriptor 3. Exit status 0: it is; 1: it was not, for SECONDS.
//
//   node awaitComputer.mjs SECONDS
import { readFileSync } from "node:fs";
import { setTimeout as pause } from "node:timers/promises";

const { backendURL, pairingID, relaySecret } = JSON.parse(readFileSync("/proc/self/fd/3", "utf8"));

// A relay that refuses does not know the pairing yet: the agent tells it.
async function isConnected() {
  try {
    const answer = await fetch(`${backendURL}/api/pairings/${pairingID}`, {
      headers: { authorization: `Bearer ${relaySecret}` },
      signal: AbortSignal.timeout(5000),
    });
    return answer.status === 200 && (await answer.json()).macConnected === true;
  } catch {
    return false;
  }
}

const began = Date.now();
const elapsed = () => Date.now() - began;
while (!(await isConnected())) {
  if (elapsed() > Number(process.argv[2]) * 1000) process.exit(1);
  await pause(elapsed() < 5000 ? 150 : 1000); // Relays answer only so many questions.
}
