// Nothing faked but the push service: a real dialog on a private desktop, the agent there, the relay, and Firefox as a phone whose page
// is closed. Run by ctest (browser_e2e_alerts), which brings the desktop.
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { afterEach, beforeEach, expect, test } from "vitest";
import { Agent } from "../../../tests/e2e/browser/Agent";
import { Desktop, pressed } from "../../../tests/e2e/browser/Desktop";
import { withoutSecrets } from "../../../tests/e2e/browser/Program";
import { Relay } from "../../../tests/e2e/browser/Relay";
import { PhonePage, eventually } from "../engine-tests/support/PhonePage";
import { FirefoxTab } from "../engine-tests/support/firefoxEngine";
import { NotificationBus } from "./support/NotificationBus";
import { PushFirefox } from "./support/PushFirefox";
import { PushServer } from "./support/PushServer";

let folder: string;
let push: PushServer;
let bus: NotificationBus;
let desktop: Desktop;
let relay: Relay;
let agent: Agent;
let firefox: PushFirefox;

beforeEach(async () => {
  folder = mkdtempSync(join(tmpdir(), "quillard-push-test-"));
  push = await PushServer.start(folder);
  bus = await NotificationBus.start();
  desktop = new Desktop();
  relay = new Relay([
    ...["--push-contact", "https://relay.example"],
    ...["--push-hosts", push.host],
    ...["--push-authority", push.authority],
    "--push-private-addresses",
  ]);
  await relay.start();
  agent = new Agent(desktop, relay);
  await agent.install();
  await agent.start();
  await agent.waitUntilUnpaired();
  firefox = new PushFirefox(folder, push.url, bus.address, relay.address);
  await firefox.start();
});

afterEach(async ({ task }) => {
  await firefox.end();
  if (task.result?.state === "fail") {
    console.log(`The agent:\n${withoutSecrets(agent.output).split("\n").slice(-40).join("\n")}`);
    console.log(`The relay:\n${withoutSecrets(relay.output)}`);
    console.log(`Shown: ${bus.shown.map(({ title, body }) => `${title} | ${body}`).join("\n")}`);
  }
  await desktop.closeAll();
  const ends = [await agent.quit(), await relay.end()];
  bus.stop();
  push.stop();
  rmSync(folder, { recursive: true, force: true, maxRetries: 5 });
  expect(ends, "agent and relay end politely").toEqual([0, 0]);
  expect(push.problems).toEqual([]);
});

/** Paired, with alerts that were tested, and the page closed again. */
async function pairedAndClosed(): Promise<void> {
  const tab = await firefox.newPage();
  const page = new PhonePage(new FirefoxTab(tab));
  const printed = await agent.tool("pair", "--text", "--force");
  await page.pair(relay.address, /\{.*\}/s.exec(printed)?.[0] ?? printed, "Desk");
  await page.press("button", "Turn on alerts");
  await page.press("link", "This phone");
  await page.see("Ready. None has come yet: try one.");
  await page.press("button", "Send a test alert from Desk");
  await page.see(/Alerts reach this phone: last one at \d\d:\d\d/);
  await firefox.newPage();
  await tab.close();
}

test("a phone whose page is closed is woken, and dismisses a dialog by the notification's button", async () => {
  await pairedAndClosed();
  const buttons = ["Don't Allow", "Allow"];

  const first = await desktop.open({ title: "Camera", text: "It wants to see.", buttons });
  const notification = await bus.see("Camera");
  expect(`${notification.title} ${notification.body}`).toContain("It wants to see.");
  expect(notification.actions).not.toContain("Allow");
  bus.press(notification, "Don't Allow");
  expect(await first.exitStatus).toBe(pressed(0));
  await bus.see("“Don't Allow” pressed from here");

  // What came while the browser was closed is shown once it runs again.
  await firefox.end();
  const accepted = push.answers.length;
  const second = await desktop.open({ title: "Microphone", buttons });
  await eventually("the push service has it", () => Promise.resolve(push.answers.length > accepted));
  await firefox.start();
  bus.press(await bus.see("Microphone"), "Don't Allow");
  expect(await second.exitStatus).toBe(pressed(0));

  // What was answered at the computer meanwhile is gone, and that is said.
  const third = await desktop.open({ title: "Contacts", buttons });
  const late = await bus.see("Contacts");
  await desktop.pressInDialog(third, "Allow");
  expect(await third.exitStatus).toBe(pressed(1));
  // By the list, or by the computer's own word, where its list has not changed yet.
  bus.press(late, "Don't Allow");
  await bus.see("gone already");
});
