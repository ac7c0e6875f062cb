// From black through violet and orange to a light yellow, each step lighter than the one before.
const kStops = [
  [0, 0, 4],
  [28, 16, 68],
  [79, 18, 123],
  [129, 37, 129],
  [181, 54, 122],
  [229, 80, 100],
  [251, 135, 97],
  [254, 194, 135],
  [252, 253, 191],
];

// 256 colours as an image stores them.
export function palette() {
  const colours = new Uint32Array(256);
  for (let i = 0; i < 256; ++i) {
    const place = (i / 255) * (kStops.length - 1);
    const stop = Math.min(Math.floor(place), kStops.length - 2);
    const [r, g, b] = kStops[stop].map((from, c) =>
      Math.round(from + (kStops[stop + 1][c] - from) * (place - stop))
    );
    colours[i] = 0xff000000 | (b << 16) | (g << 8) | r;
  }
  return colours;
}
