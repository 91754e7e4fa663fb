// Draws one made-up state: /gallery/?scene=prompts. Without a name it lists them. For eyes and pictures, not part of the page.
import { signal } from "@preact/signals-core";
import { render } from "preact";
import type { PhoneActions } from "../src/core/model";
import { App } from "../src/view/App";
import { setClock } from "../src/view/clock";
import { loadMore } from "../src/view/more";
import "../src/view/styles.css";
import { watchTouch } from "../src/view/touch";
import { kSceneNow, scenes } from "./scenes";

const page = document.getElementById("page");
if (!page) throw new Error("The gallery has no place to draw on.");

const done = () => Promise.resolve();
const actions: PhoneActions = {
  readPairing: () => ({
    kind: "offer",
    offer: { pairingID: "studio", backendURL: location.origin, relaySecret: "", e2eSecret: "" },
  }),
  pair: done,
  renameComputer: done,
  renameDevice: done,
  forget: done,
  decide: () => undefined,
  chooseLock: done,
  removePhone: () => undefined,
  suppress: () => undefined,
  unsuppress: () => undefined,
  suppressFor: () => undefined,
  chooseAlerts: () => undefined,
  chooseAlertContent: () => undefined,
  testAlert: () => undefined,
  connectNow: () => undefined,
};

const query = new URLSearchParams(location.search);
const state = scenes[query.get("scene") ?? ""];
setClock(kSceneNow);
await loadMore();
watchTouch();
if (state) {
  const update = query.has("update") ? { update: signal(() => undefined) } : {};
  render(<App state={signal(state)} actions={actions} {...update} />, page);
} else {
  render(
    <ul>
      {Object.keys(scenes).map((name) => (
        <li key={name}>
          <a href={`?scene=${name}`}>{name}</a>
        </li>
      ))}
    </ul>,
    page,
  );
}
