// Whether a finger (or mouse button) is down anywhere on the page: then nothing on it may move.
const pointers = new Set<number>();

function down(event: PointerEvent): void {
  pointers.add(event.pointerId);
}

function up(event: PointerEvent): void {
  pointers.delete(event.pointerId);
}

function none(): void {
  pointers.clear();
}

/** Begins to follow the pointers. Gives back what ends it. */
export function watchTouch(): () => void {
  const options = { capture: true, passive: true } as const;
  window.addEventListener("pointerdown", down, options);
  window.addEventListener("pointerup", up, options);
  window.addEventListener("pointercancel", up, options);
  window.addEventListener("blur", none);
  return () => {
    none();
    window.removeEventListener("pointerdown", down, options);
    window.removeEventListener("pointerup", up, options);
    window.removeEventListener("pointercancel", up, options);
    window.removeEventListener("blur", none);
  };
}

export function isTouched(): boolean {
  return pointers.size > 0;
}

// A tap that was aimed before something moved is not meant for what is under it now.
const kAfterMove = 300;
let movedAt = -Infinity;

/** Called when prompts changed their place on the page without the person's doing. */
export function noteMoved(): void {
  movedAt = performance.now();
}

export function hasJustMoved(): boolean {
  return performance.now() - movedAt < kAfterMove;
}
