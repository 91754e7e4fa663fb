// The phone's page as a person has it before them, in whichever engine.
import type { Point, Tab } from "./Engine";

export type Role = "alert" | "article" | "button" | "heading" | "link" | "status" | "textbox";

export interface Found extends Point {
  readonly text: string;
  readonly isDisabled: boolean;
}

/** Until what, and whether, a person would wait: a busy machine must not fail a test. */
const kTimeout = 60_000;
const kBetweenLooks = 50;

/** What `look` gives as soon as it is neither undefined nor false. What it throws last is thrown in the end. */
export async function eventually<Value>(
  what: string,
  look: () => Promise<Value | undefined | false>,
  timeout = kTimeout,
): Promise<Value> {
  const end = Date.now() + timeout;
  let problem: unknown;
  while (Date.now() < end) {
    try {
      const value = await look();
      if (value !== undefined && value !== false) return value;
      problem = undefined;
    } catch (error) {
      problem = error;
    }
    await new Promise((resolve) => setTimeout(resolve, kBetweenLooks));
  }
  throw new Error(`In vain: ${what}${problem ? ` (${String(problem)})` : ""}`);
}

/** The visible elements of a role and a name, as people who hear the page know them. */
const kFind = `
  const [role, name, isPattern, within, brings] = args;
  const selectors = {
    alert: "[role=alert]", article: "article", button: "button", heading: "h1, h2, h3, h4, [role=heading]", link: "a[href]",
    status: "[role=status]", textbox: "input:not([type=file]), textarea",
  };
  const plain = (text) => (text ?? "").replace(/\\s+/g, " ").trim();
  const heard = (element) => {
    const copy = element.cloneNode(true);
    for (const silent of copy.querySelectorAll("[aria-hidden=true]")) silent.remove();
    return plain(copy.textContent);
  };
  const nameOf = (element) => {
    const by = (element.getAttribute("aria-labelledby") ?? "").split(" ").filter(Boolean);
    if (by.length) return plain(by.map((id) => heard(document.getElementById(id))).join(" "));
    if (element.hasAttribute("aria-label")) return plain(element.getAttribute("aria-label"));
    if (element.labels?.length) return plain([...element.labels].map((label) => heard(label)).join(" "));
    return heard(element);
  };
  const fits = (text, wanted, pattern) => (pattern ? new RegExp(wanted).test(text) : text === wanted);
  const isVisible = (element) => element.getClientRects().length > 0 && getComputedStyle(element).visibility === "visible";
  let roots = [document];
  if (within) roots = [...document.querySelectorAll("article")].filter((one) => nameOf(one) === within);
  const found = roots.flatMap((root) => [...root.querySelectorAll(selectors[role])])
    .filter((element) => isVisible(element) && (name === null || fits(nameOf(element), name, isPattern)));
  if (brings && found[0]) found[0].scrollIntoView({ block: "center", behavior: "instant" });
  return found.map((element) => {
    const box = element.getBoundingClientRect();
    return { x: box.x + box.width / 2, y: box.y + box.height / 2, text: plain(element.textContent),
             isDisabled: element.disabled === true };
  });
`;

export class PhonePage {
  constructor(
    readonly tab: Tab,
    /** The title of the only prompt that is looked at. Absent: the whole page. */
    private readonly title?: string,
  ) {}

  card(title: string): PhonePage {
    return new PhonePage(this.tab, title);
  }

  /** All that are there now. `name` absent: of any name. */
  async all(role: Role, name?: string | RegExp, brings = false): Promise<Found[]> {
    const source = name instanceof RegExp ? name.source : (name ?? null);
    return this.tab.run<Found[]>(kFind, role, source, name instanceof RegExp, this.title ?? null, brings);
  }

  /** The first of them, once there is one and it does not move. */
  async find(role: Role, name?: string | RegExp): Promise<Found> {
    return this.eventually(`${role} ${String(name ?? "")}`, async () => {
      const before = (await this.all(role, name, true))[0];
      const [now] = await this.all(role, name);
      return before && now && before.x === now.x && before.y === now.y ? now : undefined;
    });
  }

  /** The failure says what the page showed. */
  async eventually<Value>(what: string, look: () => Promise<Value | undefined | false>): Promise<Value> {
    return eventually(what, look).catch(async (error: unknown) => {
      const shown = await this.tab.run<string>("return document.body.innerText;").catch(String);
      throw new Error(`${String(error)}\nThe page shows:\n${shown}`);
    });
  }

  async press(role: Role, name: string | RegExp): Promise<void> {
    await this.tab.press(await this.find(role, name));
  }

  async fill(name: string, text: string): Promise<void> {
    await this.press("textbox", name);
    await this.tab.run("const field = document.activeElement; field.select?.();");
    await this.tab.type(text);
  }

  /** Presses until `isDone`: what was aimed while the page moved is not taken. */
  async pressUntil(role: Role, name: string | RegExp, isDone: () => Promise<boolean>): Promise<void> {
    await eventually(`${String(name)} takes effect`, async () => {
      if (await isDone()) return true;
      const [there] = await this.all(role, name, true);
      if (there && !there.isDisabled) await this.tab.press(there);
      return eventually("its effect", isDone, 2_000);
    });
  }

  /** Whether this text is to be seen. */
  async shows(text: string | RegExp): Promise<boolean> {
    const shown = await this.tab.run<string>("return document.body.innerText;");
    const plain = shown.replace(/\s+/g, " ");
    return text instanceof RegExp ? text.test(plain) : plain.includes(text);
  }

  async see(text: string | RegExp): Promise<void> {
    await this.eventually(`to see ${String(text)}`, () => this.shows(text));
  }

  async statusIs(text: string | RegExp): Promise<void> {
    await this.eventually(`the status ${String(text)}`, async () =>
      (await this.all("status")).some((one) =>
        text instanceof RegExp ? text.test(one.text) : one.text === text,
      ),
    );
  }

  async pair(url: string, code: string, name = "Studio"): Promise<void> {
    await this.tab.open(url);
    await this.press("button", "Paste the code’s text");
    await this.fill("The code’s text", code);
    await this.press("button", "Continue");
    await this.agree(name);
  }

  async agree(name = "Studio"): Promise<void> {
    await this.fill("Name of the computer", name);
    await this.press("button", "Pair");
    await this.find("heading", name);
  }

  /** What the page did in its present document that it must not do. */
  problems(): Promise<string[]> {
    return this.tab.run("return window.problemsOfPage ?? ['nobody watched'];");
  }
}
