// The page's own line drawings, in the colour of the text around them. Decoration: what they mean is always said in words.
import type { JSX } from "preact";

const kPaths = {
  computer:
    "M5 5.5h14a1.5 1.5 0 0 1 1.5 1.5v8a1.5 1.5 0 0 1-1.5 1.5H5A1.5 1.5 0 0 1 3.5 15V7A1.5 1.5 0 0 1 5 5.5zM12 16.5v3M8.5 19.5h7",
  plus: "M12 5v14M5 12h14",
  chevron: "M9.5 5.5L16 12l-6.5 6.5",
  back: "M14.5 5.5L8 12l6.5 6.5",
  camera:
    "M8.5 7l1.2-1.9a1 1 0 0 1 .9-.5h2.8a1 1 0 0 1 .9.5L15.5 7H19a1.5 1.5 0 0 1 1.5 1.5v9A1.5 1.5 0 0 1 19 19H5a1.5 1.5 0 0 1-1.5-1.5v-9A1.5 1.5 0 0 1 5 7zM12 9.5a3.3 3.3 0 1 1 0 6.6 3.3 3.3 0 0 1 0-6.6z",
  picture:
    "M5 4.5h14A1.5 1.5 0 0 1 20.5 6v12a1.5 1.5 0 0 1-1.5 1.5H5A1.5 1.5 0 0 1 3.5 18V6A1.5 1.5 0 0 1 5 4.5zM4 17l4.7-5 3.6 3.8 2.4-2.3L20 18M15.5 8.7h.01",
  text: "M5 6.5h14M5 11h14M5 15.5h8.5",
  check: "M5.5 12.5l4.3 4.3L18.5 7.5",
  cross: "M6.5 6.5l11 11M17.5 6.5l-11 11",
  clock: "M12 4a8 8 0 1 1 0 16 8 8 0 0 1 0-16zM12 8v4.3l2.8 1.7",
  muted:
    "M9.8 19a2.4 2.4 0 0 0 4.4 0M7.2 9.2c-.1.5-.1 1-.1 1.5 0 3.3-1.6 4.8-1.6 5.3 0 .3.2.5.5.5h10M9 6.5a5 5 0 0 1 7.9 4.2c0 1.5.3 2.6.7 3.5M4.5 4.5l15 15",
  bell: "M9.8 19a2.4 2.4 0 0 0 4.4 0M5.5 16c1-1 1.6-2.6 1.6-5.4a4.9 4.9 0 0 1 9.8 0c0 2.8.6 4.4 1.6 5.4z",
  person: "M12 4.5a3.4 3.4 0 1 1 0 6.8 3.4 3.4 0 0 1 0-6.8zM5 19.5c.4-3.4 3.2-5.4 7-5.4s6.6 2 7 5.4",
  warning: "M12 5l8 14H4zM12 10.5v3.8M12 16.8h.01",
  offline:
    "M4.5 10.2a11 11 0 0 1 5-2.6M14.8 7.7a11 11 0 0 1 4.7 2.5M8 13.7a6 6 0 0 1 3-1.5M12 17.8h.01M4.5 4.5l15 15",
  phone:
    "M8.5 3.5h7A1.5 1.5 0 0 1 17 5v14a1.5 1.5 0 0 1-1.5 1.5h-7A1.5 1.5 0 0 1 7 19V5a1.5 1.5 0 0 1 1.5-1.5zM11 17.7h2",
  bin: "M5 7h14M10 7V4.8h4V7M6.8 7l.7 12a1 1 0 0 0 1 .9h7a1 1 0 0 0 1-.9l.7-12M10.2 10.5v6M13.8 10.5v6",
  lock: "M7 10.5h10a1 1 0 0 1 1 1v7a1 1 0 0 1-1 1H7a1 1 0 0 1-1-1v-7a1 1 0 0 1 1-1zM8.5 10.5V8a3.5 3.5 0 0 1 7 0v2.5",
  tabs: "M8.5 4.5h9A1.5 1.5 0 0 1 19 6v9M6 8h8.5A1.5 1.5 0 0 1 16 9.5V18a1.5 1.5 0 0 1-1.5 1.5H6A1.5 1.5 0 0 1 4.5 18V9.5A1.5 1.5 0 0 1 6 8z",
} as const;

export type SymbolName = keyof typeof kPaths;

export function Symbol({ name }: { name: SymbolName }): JSX.Element {
  return (
    <svg class="symbol" viewBox="0 0 24 24" aria-hidden="true" focusable="false">
      <path d={kPaths[name]} />
    </svg>
  );
}

/** The mark: a screen, and a prompt that was answered. */
export function Mark(): JSX.Element {
  return <img class="mark" src="/icon.svg" alt="" width="64" height="64" draggable={false} />;
}
