// jsdom has no pointer events: this is as much of them as the views read.
class TestPointerEvent extends MouseEvent {
  readonly pointerId: number;
  readonly isPrimary: boolean;

  constructor(type: string, parts: PointerEventInit = {}) {
    super(type, parts);
    this.pointerId = parts.pointerId ?? 0;
    this.isPrimary = parts.isPrimary ?? false;
  }
}

export function givePointerEvents(): void {
  const view: unknown = document.defaultView;
  for (const place of [globalThis, view]) Object.assign(place as object, { PointerEvent: TestPointerEvent });
  // By these the libraries know that there are such events.
  for (const name of ["down", "move", "up", "cancel"]) {
    for (const place of [HTMLElement.prototype, globalThis])
      Object.assign(place, { [`onpointer${name}`]: null });
  }
}
