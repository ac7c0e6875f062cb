// Base64 to bytes. An AudioWorklet has neither atob nor anything newer.
const kDigits = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';

export function bytesOf(base64: string): Uint8Array<ArrayBuffer> {
  const values = new Uint8Array(128);
  for (let i = 0; i < kDigits.length; ++i) values[kDigits.charCodeAt(i)] = i;
  const length = base64.replace(/=+$/, '').length;
  const bytes = new Uint8Array((length * 3) >> 2);
  for (let i = 0, at = 0, bits = 0; i < length; ++i) {
    bits = (bits << 6) | values[base64.charCodeAt(i)]!;
    if (i % 4 > 0) bytes[at++] = bits >> (6 - 2 * (i % 4));
  }
  return bytes;
}
