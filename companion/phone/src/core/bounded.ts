/** Forgets the oldest entries beyond `most`. */
export function trim(collection: Map<string, unknown> | Set<string>, most: number): void {
  for (const oldest of collection.keys()) {
    if (collection.size <= most) return;
    collection.delete(oldest);
  }
}
