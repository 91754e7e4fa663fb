// Standard base64 with padding, without line breaks. Every byte string has exactly one text that is accepted.

const pattern = /^(?:[A-Za-z0-9+/]{4})*(?:[A-Za-z0-9+/]{2}==|[A-Za-z0-9+/]{3}=)?$/;

export function base64Text(bytes: Uint8Array): string {
  let binary = "";
  // In pieces: an argument list has a limit, and a text that grows by single characters is slow.
  for (let start = 0; start < bytes.length; start += 0x2000) {
    binary += String.fromCharCode(...bytes.subarray(start, start + 0x2000));
  }
  return btoa(binary);
}

/** Absent: not what `base64Text` would have written; bits that stray beyond the last byte included. */
export function base64Bytes(text: string): Uint8Array<ArrayBuffer> | undefined {
  if (!pattern.test(text)) return undefined;
  const binary = atob(text);
  const bytes = new Uint8Array(binary.length);
  for (let index = 0; index < binary.length; index += 1) bytes[index] = binary.charCodeAt(index);
  const tail = bytes.length % 3;
  return tail === 0 || base64Text(bytes.subarray(bytes.length - tail)) === text.slice(-4) ? bytes : undefined;
}
