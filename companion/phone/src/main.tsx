import { render } from "preact";
import { createBrowserPhone } from "./core/createPhone";
import { keepPage, update } from "./updates";
import { App } from "./view/App";
import { startClock } from "./view/clock";
import { watchTouch } from "./view/touch";

const page = document.getElementById("page");
if (!page) throw new Error("The page has no place to draw on.");
startClock();
watchTouch();
const phone = createBrowserPhone();
render(<App state={phone.state} actions={phone.actions} update={update} />, page);
keepPage();
