// A phone whose page can be woken, with one computer that is connected.

import { FakePushDoor } from "./fakePushDoor";
import { PhoneWorld } from "./phoneWorld";
import { sampleApproval, type FakeComputer } from "./fakeComputer";

/** The relay's key for push, as the page is told it. */
export const relayKey = `B${"k".repeat(86)}`;

/** The parts of the page that are fetched later are there. */
export async function fetched(world: PhoneWorld): Promise<void> {
  for (let turns = 0; world.phone.state.value.alerts === undefined && turns < 1000; turns += 1) {
    await new Promise((resolve) => setTimeout(resolve));
  }
  await world.time.settle();
}

/** What the phone has sent of that type on the present connection to a computer. */
export function sentOf(world: PhoneWorld, type: string, pairingID = "mac") {
  return world
    .sent(pairingID)
    .map((text) => JSON.parse(text))
    .filter((message) => message.type === type);
}

/** The page of a phone that is paired with "mac", which has one prompt waiting. */
export async function connectedWithDoor(): Promise<{
  door: FakePushDoor;
  world: PhoneWorld;
  mac: FakeComputer;
}> {
  const door = new FakePushDoor();
  const world = new PhoneWorld(undefined, { push: () => Promise.resolve(door) });
  world.network.responseStatus = 200;
  world.network.responseText = JSON.stringify({ key: relayKey });
  await world.start();
  const mac = await world.connected("mac", [sampleApproval(1)]);
  await fetched(world);
  return { door, world, mac };
}
