// A page below the home page: a way back, a title, and what is on it.
import type { ComponentChildren, JSX } from "preact";
import { useLayoutEffect, useRef } from "preact/hooks";
import { Symbol } from "./parts/Symbol";
import { routeHash } from "./routes";
import type { Route } from "./routes";

interface PageFrameProps {
  readonly title: string;
  readonly back: Route;
  readonly backTitle: string;
  readonly children: ComponentChildren;
}

export function PageFrame({ title, back, backTitle, children }: PageFrameProps): JSX.Element {
  const heading = useRef<HTMLHeadingElement>(null);
  // A screen reader goes on at the top of what is new: before a finger can be anywhere else.
  useLayoutEffect(() => {
    window.scrollTo(0, 0);
    heading.current?.focus({ preventScroll: true });
  }, []);
  return (
    <>
      <nav class="bar">
        <a class="back" href={routeHash(back)}>
          <Symbol name="back" />
          <span>{backTitle}</span>
        </a>
      </nav>
      <main>
        <h1 ref={heading} tabIndex={-1} class="page-title">
          {title}
        </h1>
        {children}
      </main>
    </>
  );
}
