import { describe, expect, it } from "vitest";
import { PhoneWorld, sampleApproval, sampleButton, sampleID } from "./testing";

const one = sampleID(1);

async function worldWithOnePrompt(): Promise<PhoneWorld> {
  const world = new PhoneWorld();
  await world.start();
  return world;
}

describe("A decision", () => {
  it("goes out sealed, with the label byte for byte, and is followed until the computer's word", async () => {
    const world = await worldWithOnePrompt();
    const label = "Don’t\u202E “Allow”\u00A0 ";
    const mac = await world.connected("mac", [sampleApproval(1, { buttons: [sampleButton(label)] })]);
    world.phone.decide("mac", one, label);
    expect(world.prompt("mac", one).decision?.status).toBe("sending");
    await world.time.settle();
    const asked = await world.lastSent(mac);
    expect(asked).toMatchObject({
      type: "approval.request",
      command: { approvalID: one, buttonLabel: label },
    });
    await world.receipt(mac, asked.decisionID, true);
    expect(world.prompt("mac", one).decision?.status).toBe("delivered");
    await world.result(mac, asked.decisionID, { approvalID: one, buttonLabel: label, status: "accepted" });
    expect(world.prompt("mac", one).decision?.status).toBe("accepted");
    await world.list(mac, []);
    expect(world.computer("mac").prompts).toEqual([]);
    expect(world.computer("mac").outcomes).toMatchObject([
      { status: "accepted", buttonLabel: label, key: asked.decisionID },
    ]);
  });
});
