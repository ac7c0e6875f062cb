// `vask report` as its user sees it: in a browser, with keys, pointer and sound.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {copyFileSync, readdirSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import test from 'node:test';

import {dataOf, folder, open, regionsOf, report, valuesOf, vask, waitFor} from './browser.mjs';
import {kRate, loadWav, saveWav, wavSamples} from './wav.mjs';

const kRoom = join(process.env.VASK_SAMPLES_DIR, 'room.wav');
const room = report(kRoom);

const position = async (page) => {
  const [minutes, seconds] = (await page.textContent('#position')).split(':').map(Number);
  return 60 * minutes + seconds;
};
const near = (value, expected, tolerance, what) =>
  assert.ok(
    Math.abs(value - expected) <= tolerance,
    `${what}: ${value}, not ${expected} within ${tolerance}`
  );
const background = (page) => page.evaluate(() => getComputedStyle(document.body).backgroundColor);

// Faint noise of a fixed seed with a sine of half of full scale from 2 to 3 s and a burst at 5 s.
function toneAndBurst(hertz) {
  let seed = 1;
  const random = () => (seed = (seed * 48271) % 2147483647) / 2147483647 - 0.5;
  return Int16Array.from({length: 8 * kRate}, (_, i) => {
    const t = i / kRate;
    const tone = t >= 2 && t < 3 ? 16384 * Math.sin(2 * Math.PI * hertz * t) : 0;
    return tone + (t >= 5 && t < 5.06 ? 30000 : 100) * random();
  });
}

let long;
function tenMinutes() {
  const once = loadWav(kRoom);
  const wav = join(folder, 'ten-minutes.wav');
  if (!long)
    saveWav(
      wav,
      Int16Array.from({length: 600 * kRate}, (_, i) => once[i % once.length])
    );
  return (long ??= report(wav));
}

test('draws the utterances where vask detect finds them, at every zoom', async () => {
  const {page, check} = await open(room);
  const found = vask('detect', kRoom)
    .trim()
    .split('\n')
    .map((line) => line.split('\t').slice(1, 4).map(Number));
  assert.ok(found.length >= 5);
  const {seconds, segments} = await dataOf(page);
  for (const keys of ['', '+++', '-', '0']) {
    for (const key of keys) await page.keyboard.press(key);
    const regions = await regionsOf(page, seconds);
    const drawn = regions.filter(({kind}) => kind === 'utterance');
    assert.equal(drawn.length, found.length);
    drawn.forEach(({label, start, end, pixel}, i) => {
      assert.equal(Number(label), found[i][0]);
      near(start, found[i][1], pixel, `start of ${label} after ${keys}`);
      near(end, found[i][2], pixel, `end of ${label} after ${keys}`);
    });
    regions
      .filter(({kind}) => kind === 'span')
      .forEach(({start, end, pixel}, i) => {
        near(start, segments[i].span_start, pixel, 'span');
        near(end, segments[i].span_end, pixel, 'span');
      });
  }
  assert.equal(await page.locator('#segments tr').count(), found.length);
  await check();
});

test('holds the sound of the input and of vask denoise, sample for sample', async () => {
  const clean = join(folder, 'clean.wav');
  for (const [made, purpose] of [
    [room, 'listening'],
    [report(kRoom, '--detector', 'energy'), 'recognition'],
  ]) {
    const {page, check} = await open(made);
    vask('denoise', kRoom, '-o', clean, '--for', purpose);
    for (const [side, file] of [
      ['input', kRoom],
      ['output', clean],
    ]) {
      const base64 = await page.textContent(`#data-sound-${side}-0`);
      assert.deepEqual(wavSamples(Buffer.from(base64, 'base64')), loadWav(file), `${side} for ${purpose}`);
    }
    await check();
  }
});

test('draws the heights of the waveform', async () => {
  const {page, check} = await open(room);
  const samples = loadWav(kRoom);
  const heights = await valuesOf(page, 'envelope-input');
  const step = (await dataOf(page)).envelope_step * kRate;
  assert.equal(heights.length, Math.ceil(samples.length / step));
  heights.forEach((height, t) => {
    const largest = samples
      .subarray(t * step, (t + 1) * step)
      .reduce((most, x) => Math.max(most, Math.abs(x)), 0);
    assert.equal(height, largest === 0 ? 0 : 1 + Math.round((Math.log2(largest) * 254) / 15), `value ${t}`);
  });
  await check();
});

test('shows levels and frequencies at the right places, and why a segment was rejected', async () => {
  const wav = join(folder, 'tone.wav');
  saveWav(wav, toneAndBurst(2000));
  const {page, check} = await open(report(wav, '--detector', 'energy'));
  const {seconds} = await dataOf(page);
  const box = await page.locator('#spectrogram-input canvas').boundingBox();
  const readout = async (time) => {
    await page.mouse.move(box.x + (time / seconds) * box.width, box.y + 10);
    return page.textContent('#readout');
  };
  // 20 log10(1/2) - 3.0 for the mean square of a sine; noise over +-50 has a mean square of 833
  assert.match(await readout(2.5), /^0:02\.5\d\d .* level \u22129\.0 dBFS/);
  near(Number((await readout(1)).match(/level \u2212([\d.]+)/)[1]), 61.1, 1.5, 'noise');
  const rows = await page.evaluate(() => {
    // the brightest row at 2.5 s, and the brightness there 1 s later
    const {width, height} = document.querySelector('#spectrogram-input canvas');
    const {data} = document
      .querySelector('#spectrogram-input canvas')
      .getContext('2d')
      .getImageData(0, 0, width, height);
    const light = (time, y) => {
      const at = 4 * (y * width + Math.floor((time / 8) * width));
      return data[at] + data[at + 1] + data[at + 2];
    };
    let best = 0;
    for (let y = 0; y < height; ++y) if (light(2.5, y) > light(2.5, best)) best = y;
    return {kilohertz: 8 * (1 - (best + 0.5) / height), on: light(2.5, best), off: light(3.5, best)};
  });
  near(rows.kilohertz, 2, 0.07, 'frequency');
  assert.ok(rows.on > 2 * rows.off, JSON.stringify(rows));
  const drawn = await page.evaluate(() => {
    // speech and voiced at 1 and at 2.5 s
    const {width, height} = document.querySelector('#decision canvas');
    const {data} = document
      .querySelector('#decision canvas')
      .getContext('2d')
      .getImageData(0, 0, width, height);
    return [1, 2.5].map((time) =>
      [0.25, 0.75].map(
        (row) => data[4 * (Math.floor(row * height) * width + Math.floor((time / 8) * width)) + 3] > 0
      )
    );
  });
  assert.deepEqual(drawn, [
    [false, false],
    [true, true],
  ]);
  // The frame in which the tone begins, in a value measured at once and in one measured later.
  for (const name of ['trace-level', 'trace-energy']) {
    const values = await valuesOf(page, name);
    near(
      values.findIndex((value, t) => t > 100 && value > values[t - 10] + 40),
      200,
      1,
      name
    );
  }
  const rejected = (await regionsOf(page, seconds)).filter(({kind}) => kind === 'rejected');
  assert.equal(rejected.length, 1);
  assert.equal(rejected[0].label, 'too short');
  near(rejected[0].start, 5, 0.03, 'start of the burst');
  assert.match(await page.textContent('tr.rejected'), /too short/);
  await page.uncheck('#show-rejected');
  assert.ok(await page.locator('tr.rejected').isHidden());
  await check();
});

test('draws how probable speech was and the start threshold, and says it under the pointer', async () => {
  const {page, check} = await open(report(kRoom, '--probability', '0.9'));
  const {seconds, segments, trace_step} = await dataOf(page);
  const [speech, music] = [await valuesOf(page, 'trace-speech'), await valuesOf(page, 'trace-music')];
  assert.equal(segments.length, 5);
  const times = [0.5, ...segments.map(({start, end}) => (start + end) / 2)];
  const places = times.map((time) => time / seconds);
  const {heights, threshold} = await page.evaluate((places) => {
    // where the plot of 0 to 1 has the colour of speech, at shares of its width, and that of the threshold
    const canvas = document.querySelector('#detector canvas');
    const {width, height} = canvas;
    const {data} = canvas.getContext('2d').getImageData(0, 0, width, height);
    const distance = (name, x, y) => {
      const hex = getComputedStyle(document.documentElement).getPropertyValue(`--${name}`);
      const at = 4 * (y * width + Math.floor(x));
      if (data[at + 3] < 100) return 999;
      return [1, 3, 5].reduce((d, c, i) => d + Math.abs(data[at + i] - parseInt(hex.slice(c, c + 2), 16)), 0);
    };
    const rows = [...Array(height).keys()];
    const nearest = (cost) => rows.reduce((best, y) => (cost(y) < cost(best) ? y : best));
    const share = (y) => 1 - y / height;
    const columns = [...Array(width).keys()].filter((x) => x % 7 === 0);
    return {
      heights: places.map((x) => share(nearest((y) => distance('energy', x * width, y)))),
      threshold: share(nearest((y) => -columns.filter((x) => distance('quiet', x, y) < 200).length)),
    };
  }, places);
  near(threshold, 0.9, 0.03, 'threshold');
  assert.equal(await page.textContent('[data-detector=learned] span.threshold:not(.swatch)'), '0.90');
  const box = await page.locator('#decision').boundingBox();
  for (const [i, time] of times.entries()) {
    const t = Math.floor(time / trace_step);
    if (i === 0) assert.ok(speech[t] < 50, 'nobody speaks before the first word');
    else assert.ok(speech[t] > 200, `speech at ${time}`);
    near(heights[i], speech[t] / 250, 0.05, `line at ${time}`);
    await page.mouse.move(box.x + (box.width * (t + 0.5) * trace_step) / seconds, box.y + 5);
    const values = `speech ${(speech[t] / 250).toFixed(2)}  \u00b7  music ${(music[t] / 250).toFixed(2)}`;
    const said = await page.textContent('#readout');
    assert.ok(said.endsWith(i === 0 ? values : `${values}  \u00b7  decision: speech`), said);
  }
  await check();
});

test('speaks of the detector that was used', async () => {
  for (const [detector, row, column, sound, measured] of [
    ['learned', 'likely', 'Likely speech', /for listening/, /probability of\s+speech and\s+music/],
    ['energy', 'voiced', 'Voiced', /for recognition/, /energy and\s+noise\s+floor/],
  ]) {
    const {page, check} = await open(report(kRoom, '--detector', detector));
    assert.equal(await page.locator('.axis.rows').innerText(), `speech\n${row}`);
    assert.ok((await page.locator('#list th').allInnerTexts()).includes(column));
    assert.equal(await page.locator('#list td').nth(5).getAttribute('data-name'), column.toLowerCase());
    assert.match(await page.getAttribute('#listen-output', 'title'), sound);
    const labels = await page.locator('#tracks .label').allInnerTexts();
    assert.equal(labels.filter((text) => /^the detector's (probability|energy)/.test(text)).length, 1);
    assert.ok(
      labels.some((text) => measured.test(text)),
      labels.join(' | ')
    );
    await page.keyboard.press('?');
    assert.match(await page.locator('#help').innerText(), sound);
    await check();
  }
});

test('plays, pauses, and stops at the end of an utterance', async () => {
  const {page, check} = await open(room);
  const {segments} = await dataOf(page);
  await page.keyboard.press('Space');
  await waitFor(async () => (await position(page)) > 0.3, 'the sound plays');
  await page.keyboard.press('Space');
  const paused = await position(page);
  await page.waitForTimeout(200);
  near(await position(page), paused, 0.06, 'paused');
  for (const [i, side] of [
    [3, 'Output'],
    [1, 'Input'],
  ]) {
    await page.locator('#segments tr').nth(i).getByText(side, {exact: true}).click();
    await waitFor(async () => (await position(page)) > segments[i].start, 'the utterance plays');
    assert.equal(await page.getAttribute(`#listen-${side.toLowerCase()}`, 'aria-pressed'), 'true');
    assert.equal(await page.getAttribute('#play', 'aria-label'), 'Pause');
    await waitFor(async () => (await page.getAttribute('#play', 'aria-label')) === 'Play', 'it ends');
    near(await position(page), segments[i].span_end, 0.001, side);
  }
  await page.locator('#segments tr').nth(2).getByText('Show').click();
  await page.keyboard.press('Enter');
  await waitFor(
    async () => (await position(page)) > segments[2].span_start + 0.2,
    'Enter plays the selected one'
  );
  await check();
});

test('plays from the requested position, even if a time update comes before the sound is ready', async () => {
  const {page, check} = await open(room);
  const {segments} = await dataOf(page);
  await page.evaluate(() => {
    const play = HTMLMediaElement.prototype.play;
    HTMLMediaElement.prototype.play = function () {
      const early = () => this.dispatchEvent(new Event('timeupdate'));
      this.addEventListener('loadedmetadata', early, {capture: true, once: true});
      return play.call(this);
    };
  });
  await page.locator('#segments tr').nth(3).getByText('Output', {exact: true}).click();
  await waitFor(async () => (await position(page)) > segments[3].span_start + 0.1, 'the utterance plays');
  assert.ok((await position(page)) < segments[3].span_end);
  await check();
});

test('responds to keys, buttons and clicks', async () => {
  const {page, check} = await open(room);
  const {seconds, segments} = await dataOf(page);
  const scale = async () => 1 / (await regionsOf(page, seconds))[0].pixel;
  const whole = await scale();
  for (const [key, expected] of [
    ['ArrowRight', 1],
    ['Shift+ArrowRight', 1.1],
    ['ArrowLeft', 0.1],
    ['n', segments[0].start],
    ['n', segments[1].start],
    ['p', segments[0].start],
    ['End', seconds],
    ['Home', 0],
  ]) {
    await page.keyboard.press(key);
    near(await position(page), expected, 0.0011, key);
  }
  for (const [key, factor] of [
    ['+', 2],
    ['=', 4],
    ['-', 2],
    ['0', 1],
  ]) {
    await page.keyboard.press(key);
    near((await scale()) / whole, factor, 0.02, key);
  }
  await page.keyboard.press('n');
  const line = async () => (await page.locator('#player-line').boundingBox()).x;
  const before = await line();
  await page.keyboard.press('+');
  await page.waitForTimeout(100);
  near(await line(), before, 2, 'the position being played stays in place');
  await page.keyboard.press('0');
  await page.click('#zoom-in');
  near((await scale()) / whole, 2, 0.02, 'button');
  await page.keyboard.press('Space'); // the focus does not stay on the button that was clicked
  await waitFor(
    async () => (await page.getAttribute('#play', 'aria-label')) === 'Pause',
    'the space bar plays'
  );
  await page.click('#play');
  await page.keyboard.press('0');
  const box = await page.locator('#decision').boundingBox();
  await page.mouse.click(box.x + (box.width * 6) / seconds, box.y + 8);
  near(await position(page), 6, 0.02, 'click');
  assert.equal(await page.locator('tr[aria-current] td').first().textContent(), '2');
  await page.keyboard.press('i');
  assert.equal(await page.getAttribute('#listen-input', 'aria-pressed'), 'true');
  await page.keyboard.press('?');
  assert.ok(await page.locator('#help').isVisible());
  const listed = (await page.locator('#help kbd').allTextContents()).join(' ');
  assert.equal(listed, 'space \u2190 \u2192 shift Home End n p Enter i o m c + \u2212 0 ctrl t ? Esc');
  await page.keyboard.press('Escape');
  assert.ok(await page.locator('#help').isHidden());
  await check();
});

test('follows the play head, and is moved by dragging and in the strip of the whole', async () => {
  const {page, check} = await open(room);
  const {seconds} = await dataOf(page);
  const shown = async () => {
    const [{start, pixel}] = await regionsOf(page, seconds);
    const [layer, plot] = await Promise.all(
      ['.regions', '#ruler'].map((selector) => page.locator(selector).first().boundingBox())
    );
    return {start: (plot.x - layer.x) * pixel, span: plot.width * pixel, first: start};
  };
  const settled = async (expected, what) => {
    near((await shown()).start, expected, 0.06, what);
  };
  for (const key of '+++') await page.keyboard.press(key);
  const {span} = await shown();
  near(span, seconds / 8, 0.02, 'zoomed');
  await page.keyboard.press('End');
  await settled(seconds - span, 'End');
  await page.keyboard.press('ArrowLeft'); // is in sight already
  await settled(seconds - span, 'within');
  for (let i = 0; i < 3; ++i) await page.keyboard.press('ArrowLeft');
  await settled(seconds - 4 - 0.1 * span, 'back');
  await page.keyboard.press('Home');
  await settled(0, 'Home');

  const box = await page.locator('#spectrogram-output').boundingBox();
  await page.mouse.move(box.x + 0.8 * box.width, box.y + 20);
  await page.mouse.down();
  await page.mouse.move(box.x + 0.3 * box.width, box.y + 20, {steps: 5});
  await page.mouse.up();
  await settled(0.5 * span, 'dragged');
  near(await position(page), 0, 1e-6, 'a drag is no click');
  const strip = await page.locator('#minimap').boundingBox();
  await page.mouse.click(strip.x + 0.5 * strip.width, strip.y + 10);
  await settled(seconds / 2 - span / 2, 'pressed in the strip');
  const frame = await page.locator('#minimap .window').boundingBox();
  near((frame.x - strip.x) / strip.width, 0.5 - span / seconds / 2, 0.01, 'window');
  near(frame.width / strip.width, span / seconds, 0.01, 'width of the window');
  await check();
});

test('filters the list, and saves what is left of it, and utterances', async () => {
  const {page, check} = await open(room);
  const {segments} = await dataOf(page);
  const saved = async (deed) => {
    const [download] = await Promise.all([page.waitForEvent('download'), deed()]);
    return {name: download.suggestedFilename(), bytes: readFileSync(await download.path())};
  };
  const long = segments.filter(({start, end}) => end - start > 2);
  assert.ok(long.length > 0 && long.length < segments.length);
  for (const [text, left] of [
    ['>2', long.length],
    ['>2 pause', long.length],
    ['recording', 0],
    ['', segments.length],
    ['> 2', 0], // no length, and no such text
    ['>2', long.length],
  ]) {
    await page.fill('#filter', text);
    assert.equal(await page.locator('#segments tr:visible').count(), left, text);
  }
  await page.press('#filter', 't'); // a letter, not a key of the page
  assert.equal(await background(page), 'rgb(255, 255, 255)');
  await page.fill('#filter', '>2');
  assert.equal(await page.textContent('#shown'), `${long.length} of ${segments.length}`);
  const labels = await saved(() => page.click('#save-labels'));
  assert.equal(labels.name, 'room.txt');
  const lines = long.map(
    ({number, start, end}) => `${start.toFixed(6)}\t${end.toFixed(6)}\tutterance ${number}\n`
  );
  assert.equal(labels.bytes.toString(), lines.join(''));
  const table = (await saved(() => page.click('#save-csv'))).bytes.toString().trim().split('\n');
  const columns = table[0].split(',');
  assert.deepEqual(
    table.slice(1).map((line) => Number(line.split(',')[columns.indexOf('span_end')])),
    long.map((segment) => segment.span_end)
  );
  const exact = loadWav(kRoom);
  for (const key of ['i', 'o']) {
    await page.keyboard.press('Escape');
    await page.keyboard.press(key);
    const clip = await saved(() => page.locator('#segments tr:visible').first().getByText('Save').click());
    assert.equal(clip.name, `room-${long[0].number}-${key === 'i' ? 'input' : 'output'}.wav`);
    const [first, last] = [long[0].span_start, long[0].span_end].map((time) => Math.round(time * kRate));
    const samples = wavSamples(clip.bytes);
    assert.equal(samples.length, last - first);
    if (key === 'i') assert.deepEqual(samples, exact.slice(first, last));
    else assert.notDeepEqual(samples, exact.slice(first, last));
  }
  await check();
});

test('saves utterances of encoded sound where they are', async () => {
  const once = loadWav(kRoom);
  const {page, check} = await open(tenMinutes());
  const {segments, sound} = await dataOf(page);
  assert.match(sound, /opus/);
  const {number, span_start, span_end} = segments[40];
  await page.keyboard.press('i');
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    page
      .locator('#segments tr')
      .nth(number - 1)
      .getByText('Save')
      .click(),
  ]);
  const clip = wavSamples(readFileSync(await download.path()));
  const [first, last] = [span_start, span_end].map((time) => Math.round(time * kRate));
  assert.equal(clip.length, last - first);
  // It resembles the input most where it is not shifted.
  const likeness = (shift) =>
    clip.reduce((sum, x, i) => sum + x * (once[(first + i + shift) % once.length] ?? 0), 0);
  const shifts = [...Array(41).keys()].map((i) => i - 20);
  const best = shifts.reduce((most, shift) => (likeness(shift) > likeness(most) ? shift : most));
  near(best, 0, 4, 'samples');
  await check();
});

test('draws quiet sound as precisely as loud, and plays input and output equally loud', async () => {
  const quiet = join(folder, 'quiet.wav');
  const loud = loadWav(kRoom);
  const kFactor = 1 / 50;
  saveWav(
    quiet,
    loud.map((x) => Math.round(kFactor * x))
  );
  const heights = [];
  for (const file of [room, report(quiet)]) {
    const {page, check} = await open(file);
    heights.push(
      await page.evaluate(() => {
        const {width, height} = document.querySelector('.waveform canvas');
        const {data} = document
          .querySelector('.waveform canvas')
          .getContext('2d')
          .getImageData(0, 0, width, height);
        const drawn = (x, y) => data[4 * (y * width + x) + 3] > 0;
        return [...Array(width).keys()].map(
          (x) => [...Array(height).keys()].filter((y) => drawn(x, y)).length
        );
      })
    );
    await check();
  }
  heights[0].forEach((height, x) => near(heights[1][x], height, 8, `column ${x}`)); // of 132; the output is another

  const {page, check} = await open(report(quiet));
  const {segments} = await dataOf(page);
  const level = {};
  const peak = {};
  for (const side of ['input', 'output']) {
    const samples = wavSamples(Buffer.from(await page.textContent(`#data-sound-${side}-0`), 'base64'));
    const spoken = segments.flatMap(({start, end}) => [...samples.slice(start * kRate, end * kRate)]);
    level[side] = 10 * Math.log10(spoken.reduce((sum, x) => sum + (x / 32768) ** 2, 0) / spoken.length);
    peak[side] = samples.reduce((most, x) => Math.max(most, Math.abs(x)), 0) / 32768;
  }
  const summary = await page.textContent('#summary');
  near(Number(summary.match(/background\u2212(\d+)/)[1]), -level.input, 1, 'level of speech');
  await page.evaluate(() => {
    const create = AudioContext.prototype.createGain;
    AudioContext.prototype.createGain = function () {
      return (window.amplifier = create.call(this));
    };
  });
  const gain = () => page.evaluate(() => window.amplifier?.gain.value ?? 1);
  await page.keyboard.press('m');
  const raised = {output: await gain()};
  await page.keyboard.press('i');
  raised.input = await gain();
  for (const side of ['input', 'output']) {
    near(level[side] + 20 * Math.log10(raised[side]), -20, 0.7, side);
    assert.ok(raised[side] * peak[side] <= 1.03, `${side} would be clipped`);
  }
  await page.keyboard.press('Space');
  await waitFor(async () => (await position(page)) > 0.2, 'the amplified sound plays');
  await page.keyboard.press('m');
  near(await gain(), 1, 1e-6, 'switched off');
  await check();
});

test('prints all tracks over the same time, in light colours, without the toolbar', async () => {
  for (const width of [1400, 390]) {
    const {page, check} = await open(room, {colorScheme: 'dark', viewport: {width, height: 900}});
    const {seconds} = await dataOf(page);
    await page.emulateMedia({media: 'print'});
    // Measured at once: the browser prints what is drawn by then.
    const tracks = await page.evaluate(() => {
      dispatchEvent(new Event('beforeprint'));
      return [...document.querySelectorAll('.plot canvas')].map((canvas) => {
        const {left, right, top, bottom} = canvas.getBoundingClientRect();
        return {left, right, top, bottom, pixels: canvas.width};
      });
    });
    assert.equal(await background(page), 'rgb(255, 255, 255)');
    for (const id of ['controls', 'list-tools', 'player-line', 'theme'])
      assert.ok(await page.locator(`#${id}`).isHidden(), id);
    assert.equal(tracks.length, 8);
    tracks.forEach(({left, right, top, pixels}, i) => {
      assert.deepEqual([left, right, pixels], [tracks[0].left, tracks[0].right, 2 * (right - left)]);
      if (i > 0) assert.ok(top >= tracks[i - 1].bottom, 'one above the other');
    });
    const gaps = await page.evaluate(() =>
      ['input', 'output'].map((side) => {
        const {width, height} = document.querySelector(`#spectrogram-${side} canvas`);
        const context = document.querySelector(`#spectrogram-${side} canvas`).getContext('2d');
        const {data} = context.getImageData(0, height >> 1, width, 1);
        return data.filter((value, i) => i % 4 === 3 && value === 0).length;
      })
    );
    assert.deepEqual(gaps, [0, 0], 'pixels of the spectrograms that are not drawn');
    const last = (await regionsOf(page, seconds)).at(-1);
    near(last.pixel, seconds / (tracks[0].right - tracks[0].left), 1e-4, 'the regions cover the same');
    await page.evaluate(() => dispatchEvent(new Event('afterprint')));
    await page.emulateMedia({media: 'screen'});
    assert.equal(await background(page), 'rgb(18, 22, 27)');
    await check();
  }
});

test('shows both channels, each with its own utterances, details and sound', async () => {
  const [one, two, wav] = ['one.wav', 'two.wav', 'call.wav'].map((name) => join(folder, name));
  const speech = loadWav(kRoom);
  const late = new Int16Array(speech.length);
  late.set(speech.subarray(0, -2 * kRate), 2 * kRate);
  saveWav(one, speech);
  saveWav(two, late);
  saveWav(
    wav,
    Int16Array.from({length: 2 * speech.length}, (_, i) => [speech, late][i % 2][i >> 1]),
    2
  );
  const {page, check} = await open(report(wav, '--channels', 'each'));
  const {seconds, channels} = await dataOf(page);
  for (const [i, {segments}] of channels.entries()) {
    const alone = await open(report([one, two][i]));
    assert.deepEqual(segments, (await dataOf(alone.page)).segments);
    await alone.check();
    const drawn = (await regionsOf(page, seconds, i)).filter(({kind}) => kind === 'utterance');
    assert.equal(drawn.length, segments.length);
    drawn.forEach(({start, pixel}, k) =>
      near(start, segments[k].start, pixel, `utterance ${k} of channel ${i}`)
    );
  }
  const rows = await page.locator('#segments tr').count();
  assert.equal(rows, channels[0].segments.length + channels[1].segments.length);
  const pressed = () => page.locator('#channels [aria-pressed=true]').textContent();
  assert.equal(await pressed(), 'channel 1');
  const picture = () => page.evaluate(() => document.querySelector('#spectrogram-input canvas').toDataURL());
  const first = await picture();
  await page.keyboard.press('c');
  await waitFor(
    async () => (await pressed()) === 'channel 2' && (await picture()) !== first,
    'channel 2 is shown'
  );
  const box = await page.locator('.waveform[data-channel="0"] .plot').boundingBox();
  const {start, end} = channels[0].segments[1];
  await page.mouse.click(box.x + (box.width * (start + end)) / 2 / seconds, box.y + 20);
  await waitFor(async () => (await picture()) === first, 'a click in its waveform shows channel 1');
  assert.equal(await page.locator('tr[aria-current] td').nth(1).textContent(), '1');
  const other = page.locator('#segments tr:has(td:nth-child(2):text-is("2"))');
  assert.equal(await other.count(), channels[1].segments.length);
  await other.first().getByText('Input', {exact: true}).click();
  await waitFor(async () => (await page.getAttribute('#play', 'aria-label')) === 'Pause', 'channel 2 plays');
  assert.equal(await pressed(), 'channel 2');
  await check();
});

test("follows the system's theme until the user chooses, with enough contrast", async () => {
  for (const [colorScheme, own, other] of [
    ['light', 'rgb(255, 255, 255)', 'rgb(18, 22, 27)'],
    ['dark', 'rgb(18, 22, 27)', 'rgb(255, 255, 255)'],
  ]) {
    const {page, check} = await open(room, {colorScheme});
    assert.equal(await background(page), own);
    const ratios = await page.evaluate(() => {
      const probe = document.body.appendChild(document.createElement('i'));
      const luminance = (name) => {
        probe.style.color = `var(--${name})`;
        const [r, g, b] = getComputedStyle(probe)
          .color.match(/\d+/g)
          .map((c) => c / 255)
          .map((c) => (c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
        return 0.2126 * r + 0.7152 * g + 0.0722 * b;
      };
      return [
        ['text', 'page'],
        ['text', 'panel'],
        ['quiet', 'page'],
        ['quiet', 'panel'],
        ['on-accent', 'accent'],
        ['player', 'page'],
        ['rejected-edge', 'page'],
      ].map(([a, b]) => {
        const [x, y] = [luminance(a), luminance(b)];
        return {pair: `${a} on ${b}`, ratio: (Math.max(x, y) + 0.05) / (Math.min(x, y) + 0.05)};
      });
    });
    for (const {pair, ratio} of ratios) assert.ok(ratio >= 4.5, `${pair} in ${colorScheme}: ${ratio}`);
    await page.keyboard.press('t');
    assert.equal(await background(page), other);
    await page.reload();
    await page.waitForSelector('body[data-ready]');
    assert.equal(await background(page), other, 'remembered');
    await check();
  }
});

test('fits a phone with ten minutes of sound, and says what every canvas and button is', async () => {
  const {page, check} = await open(tenMinutes(), {viewport: {width: 390, height: 844}, hasTouch: true});
  const {seconds} = await dataOf(page);
  const found = await page.evaluate(() => {
    const visible = (selector) =>
      [...document.querySelectorAll(selector)].filter((element) => element.getBoundingClientRect().width > 0);
    const size = (element) => element.getBoundingClientRect();
    return {
      wide: document.documentElement.scrollWidth - innerWidth,
      small: visible('button').filter((button) => size(button).width < 44 || size(button).height < 44).length,
      outside: visible('button').filter((button) => size(button).right > innerWidth).length,
      nameless: [...document.querySelectorAll('button')].filter(
        (button) => !button.textContent.trim() && !button.getAttribute('aria-label')
      ).length,
      unsaid: [...document.querySelectorAll('canvas')].filter(
        (canvas) => canvas.getAttribute('role') !== 'img' || !canvas.getAttribute('aria-label')
      ).length,
      spectrograms: visible('[id^=spectrogram] canvas').length,
      toolbar: Math.round(size(document.getElementById('controls')).height) < 0.16 * innerHeight,
      below: size(document.getElementById('controls')).bottom === innerHeight,
    };
  });
  const expected = {wide: 0, small: 0, outside: 0, nameless: 0, unsaid: 0};
  assert.deepEqual(found, {...expected, spectrograms: 1, toolbar: true, below: true});
  const plot = await page.locator('#ruler').boundingBox();
  near(plot.width * (await regionsOf(page, seconds))[0].pixel, 20, 0.1, 'seconds that are shown');
  await page.keyboard.press('i');
  assert.ok(await page.locator('#spectrogram-input').isVisible());
  assert.ok(await page.locator('#spectrogram-output').isHidden());
  await check();
});

test('accepts any name and title', async () => {
  copyFileSync(
    kRoom,
    Buffer.concat([Buffer.from(`${folder}/<!--<script>"&`), Buffer.from([0xff]), Buffer.from('.wav')])
  );
  const file = join(folder, 'named.html');
  // Arguments are text here, so the shell has to find the name that is not valid text.
  execFileSync('sh', [
    '-c',
    'exec "$0" report "$1"/*script*.wav -o "$2"',
    process.env.VASK_COMMAND,
    folder,
    file,
  ]);
  const title = '</script><!--<b>&amp;\u2028 \u00e9';
  for (const [made, heading] of [
    [file, '<!--<script>"&\ufffd.wav'],
    [report(kRoom, '--title', title), title],
  ]) {
    const {page, check} = await open(made);
    assert.equal(await page.textContent('h1'), heading);
    await check();
  }
});

test('leaves out the sound on request, and writes no page for a file that is not audio', async () => {
  const {page, check} = await open(report(kRoom, '--no-audio'));
  assert.ok(await page.locator('#play').isDisabled());
  await page.keyboard.press('Space');
  await check();
  const before = readdirSync(folder).length;
  assert.throws(() => report(join(process.env.VASK_SAMPLES_DIR, 'README.md')), /README\.md: .*: /);
  assert.equal(readdirSync(folder).length, before);
});
