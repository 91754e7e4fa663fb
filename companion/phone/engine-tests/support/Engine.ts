// What the scenarios ask of a browser. Each engine is one implementation; the scenarios know none of them.

export interface Point {
  readonly x: number;
  readonly y: number;
}

export interface Tab {
  /** Comes back once the page has loaded. */
  open(url: string): Promise<void>;
  reload(): Promise<void>;
  /** `body`: of an async function with a parameter `args`. Gives what it returns, which has to be JSON. */
  run<Result>(body: string, ...args: readonly unknown[]): Promise<Result>;
  /** A tap where the engine can be tapped, else a click. In points of the viewport. */
  press(at: Point): Promise<void>;
  /** Keeps a finger, or the mouse's button, down until `isEnough` is fulfilled. */
  hold(at: Point, isEnough: () => Promise<unknown>): Promise<void>;
  /** Into whatever has the focus, as by a keyboard. */
  type(text: string): Promise<void>;
  key(name: "Enter" | "Space" | "Tab"): Promise<void>;
  /** Chooses a file in the page's only field for files. */
  choose(path: string): Promise<void>;
  resize(width: number, height: number): Promise<void>;
  /** Shows this tab instead of the one that is shown. */
  bringToFront(): Promise<void>;
}

/** One run of a browser over a folder that holds all that it keeps. */
export interface Browser {
  newTab(): Promise<Tab>;
  /** What it keeps stays in the folder. */
  close(): Promise<void>;
}

export interface Engine {
  readonly name: string;
  /** Whether `press` and `hold` are touches. */
  readonly hasTouch: boolean;
  launch(folder: string): Promise<Browser>;
}

/** The size of a tab's viewport, in CSS pixels. */
export const kViewport = { width: 390, height: 844 };

/** As an expression whose value is a promise of what the function returns. */
export function asExpression(body: string, args: readonly unknown[]): string {
  return `(async (args) => { ${body} })(${JSON.stringify(args)})`;
}

/** Runs in each document before anything else: notes what the page must not do. */
export const kWatch = `
  window.problemsOfPage = [];
  const note = (text) => window.problemsOfPage.push(text);
  for (const level of ["error", "warn"]) {
    const usual = console[level];
    console[level] = (...texts) => { note("console: " + texts.join(" ")); usual.apply(console, texts); };
  }
  addEventListener("error", (event) => note("exception: " + event.message));
  addEventListener("unhandledrejection", (event) => note("rejection: " + event.reason));
  document.addEventListener("securitypolicyviolation", (event) =>
    note("policy: " + event.violatedDirective + " " + event.blockedURI));
`;
