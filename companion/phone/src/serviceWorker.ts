// Keeps the page's own files, so that it opens without a network and without a delay. It never touches what goes to the relay's
// interfaces, and never keeps anything that a computer or a phone sent.

// The build puts the page's files here, its scripts in English: names that change with their content, and a few that do not.
declare const kPageFiles: readonly string[];
// Those that only some visitors need, such as what reads the camera's pictures: kept when they are first used.
declare const kLaterFiles: readonly string[];
declare const kPageVersion: string;

interface WorkerScope {
  readonly caches: CacheStorage;
  readonly clients: { claim(): Promise<void> };
  readonly location: Location;
  skipWaiting(): Promise<void>;
  addEventListener(type: "install" | "activate", listener: (event: LifeEvent) => void): void;
  addEventListener(type: "fetch", listener: (event: FetchEvent) => void): void;
  addEventListener(type: "message", listener: (event: MessageEvent & LifeEvent) => void): void;
}
interface LifeEvent {
  waitUntil(done: Promise<unknown>): void;
}
interface FetchEvent extends LifeEvent {
  readonly request: Request;
  respondWith(answer: Promise<Response>): void;
}

const scope = self as unknown as WorkerScope;
const kPrefix = "quillard-page-";
const kCache = kPrefix + kPageVersion;
// A network that does not answer is as good as none.
const kTimeout = 4000;

/** What the page says stands beside the English files, in its folder. The page names its language with this worker's address. */
function inLanguage(path: string): string {
  return scope.location.search === "?de"
    ? path.replace(/^\/assets\/(?!start-|codeWorker)(?=.*\.js$)/, "/assets/de/")
    : path;
}

const files = kPageFiles.map(inLanguage);
const laterFiles = kLaterFiles.map(inLanguage);

async function keepFiles(): Promise<void> {
  const cache = await scope.caches.open(kCache);
  // A file whose name changes with its content is the same wherever it was kept before, so that nothing is fetched twice.
  const request = (file: string): Request =>
    new Request(file, { cache: file.startsWith("/assets/") ? "default" : "no-cache" });
  await cache.addAll([...files, ...(await laterFilesInUse())].map(request));
}

/** What was needed with an earlier version is needed without a network, too. Named alike but for what changes with its content. */
async function laterFilesInUse(): Promise<readonly string[]> {
  const kind = (path: string): string => path.replace(/-[\w-]{8}\.js$/, "");
  const used = new Set<string>();
  for (const name of await scope.caches.keys()) {
    if (!name.startsWith(kPrefix)) continue;
    for (const { url } of await (await scope.caches.open(name)).keys()) used.add(kind(new URL(url).pathname));
  }
  return laterFiles.filter((path) => used.has(kind(path)));
}

async function keepForPaired(): Promise<void> {
  const cache = await scope.caches.open(kCache);
  for (const path of laterFiles.filter((path) => /MoreViews|lock-|push/.test(path))) {
    if (!(await cache.match(path))) await cache.add(path);
  }
}

async function dropOlder(): Promise<void> {
  const names = await scope.caches.keys();
  await Promise.all(
    names
      .filter((name) => name.startsWith(kPrefix) && name !== kCache)
      .map((name) => scope.caches.delete(name)),
  );
  await scope.clients.claim();
}

async function newestPage(request: Request): Promise<Response> {
  const cache = await scope.caches.open(kCache);
  try {
    const answer = await fetch(request, { signal: AbortSignal.timeout(kTimeout) });
    if (answer.ok) return answer;
  } catch {
    // The kept one will do.
  }
  return (await cache.match("/")) ?? Response.error();
}

async function keptFile(request: Request): Promise<Response> {
  const cache = await scope.caches.open(kCache);
  const kept = await cache.match(request);
  if (kept) return kept;
  const answer = await fetch(request);
  if (answer.ok) await cache.put(request, answer.clone());
  return answer;
}

scope.addEventListener("install", (event) => event.waitUntil(keepFiles()));
scope.addEventListener("activate", (event) => event.waitUntil(dropOlder()));
// The page says when a person agreed to the new version, and when it has a computer: then it needs the rest, too.
scope.addEventListener("message", (event) => {
  if (event.data === "takeOver") void scope.skipWaiting();
  if (event.data === "paired") event.waitUntil(keepForPaired());
});
scope.addEventListener("fetch", (event) => {
  const { request } = event;
  const url = new URL(request.url);
  if (request.method !== "GET" || url.origin !== scope.location.origin) return;
  if (request.mode === "navigate") event.respondWith(newestPage(request));
  else if ([...files, ...laterFiles].includes(url.pathname)) event.respondWith(keptFile(request));
});
