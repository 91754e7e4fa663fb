// @vitest-environment jsdom
import { beforeEach, describe, expect, it, vi } from "vitest";

class FakeWorker extends EventTarget {
  state = "installing";
  readonly postMessage = vi.fn();

  install(): void {
    this.state = "installed";
    this.dispatchEvent(new Event("statechange"));
  }
}

class FakeRegistration extends EventTarget {
  installing: FakeWorker | null = null;
  waiting: FakeWorker | null = null;
  active: FakeWorker | null = null;

  find(worker: FakeWorker): void {
    this.installing = worker;
    this.dispatchEvent(new Event("updatefound"));
  }
}

async function followed(registration: FakeRegistration, isFirstVisit: boolean) {
  vi.resetModules();
  const { follow, update } = await import("./updates");
  // The members that it uses are all there.
  follow(registration as unknown as ServiceWorkerRegistration, isFirstVisit);
  return update;
}

let registration: FakeRegistration;

beforeEach(() => {
  registration = new FakeRegistration();
});

describe("a new version", () => {
  it("is not the first worker, which may have claimed the page before it is heard of", async () => {
    const first = new FakeWorker();
    registration.installing = first;
    const update = await followed(registration, true);
    registration.find(first);
    first.install();
    expect(update.value).toBeUndefined();
  });

  it("is not the first worker where that begins to install late, either", async () => {
    const update = await followed(registration, true);
    const first = new FakeWorker();
    registration.find(first);
    first.install();
    expect(update.value).toBeUndefined();
  });

  it("is the second one of a first visit", async () => {
    const first = new FakeWorker();
    registration.installing = first;
    const update = await followed(registration, true);
    first.install();
    const second = new FakeWorker();
    registration.find(second);
    expect(update.value).toBeUndefined();
    second.install();
    expect(update.value).toBeTypeOf("function");
  });

  it("is one that waits already, or comes, on a later visit", async () => {
    registration.waiting = new FakeWorker();
    expect((await followed(registration, false)).value).toBeTypeOf("function");
    registration.waiting = null;
    const update = await followed(registration, false);
    expect(update.value).toBeUndefined();
    const next = new FakeWorker();
    registration.find(next);
    next.install();
    expect(update.value).toBeTypeOf("function");
  });
});
