/** Words that go on in another line, although a line of the page has room for them. Runs in the page. */
export function brokenWords(): string[] {
  const broken: string[] = [];
  const room = document.documentElement.clientWidth * 0.75;
  const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  for (let node = texts.nextNode(); node; node = texts.nextNode()) {
    if (node.parentElement?.closest(".for-ear, script, style")) continue;
    for (const { 0: word, index } of (node.textContent ?? "").matchAll(/[^\s/-]{2,}/gu)) {
      const range = document.createRange();
      range.setStart(node, index);
      range.setEnd(node, index + word.length);
      const boxes = [...range.getClientRects()].filter(({ width }) => width > 0);
      const lines = new Set(boxes.map(({ top }) => Math.round(top)));
      const width = boxes.reduce((sum, box) => sum + box.width, 0);
      if (lines.size > 1 && width < room) broken.push(word);
    }
  }
  return broken;
}
