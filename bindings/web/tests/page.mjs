// The page's part of the test in a browser.
import {VaskNode} from '../dist/audio-node.js';
import {load} from '../dist/browser.js';
import {casesOf, Checksum, difference, inputOf, lineOf, replay} from './replay.mjs';

const kBlock = 128; // samples that a worklet gets at a time

const bytes = async (name) => (await fetch(name)).arrayBuffer();
const given = async () => ({
  list: new TextDecoder().decode(await bytes('/replay.txt')),
  room: new Int16Array((await bytes('/room.wav')).slice(44)),
});

async function onPage(simd) {
  const {list, room} = await given();
  return replay(await load({simd}), casesOf(list, room));
}

// The same list in the scope of an AudioWorklet.
async function inWorklet(simd) {
  const context = new OfflineAudioContext(1, kBlock, 16000);
  await context.audioWorklet.addModule('worklet_replay.mjs');
  const {port} = new AudioWorkletNode(context, 'replay');
  const result = new Promise((resolve) => (port.onmessage = ({data}) => resolve(data)));
  port.postMessage({...(await given()), simd});
  return result;
}

// What the package's processor makes of a case that arrives as sound, in whole blocks.
async function linesOfNode({options, ...one}) {
  const input = inputOf(one);
  const {inputRate = 16000, audioRate, ...stream} = options;
  void audioRate;
  const context = new OfflineAudioContext(1, input.length, inputRate);
  const heard = await VaskNode.create(context, {stream});
  const lines = [];
  const audio = new Checksum();
  heard.onerror = ({message}) => lines.push(message);
  heard.onevent = (event) => {
    lines.push(lineOf(event));
    audio.add(event.audio);
  };
  const buffer = context.createBuffer(1, input.length, inputRate);
  buffer.copyToChannel(Float32Array.from(input, (x) => x / 32768), 0);
  const source = new AudioBufferSourceNode(context, {buffer});
  source.connect(heard.node).connect(context.destination);
  source.start();
  await context.startRendering();
  await heard.finish();
  return [...lines, audio.line];
}

async function throughNode() {
  const {list, room} = await given();
  const suited = casesOf(list, room).filter(
    (one) =>
      one.options.mode !== 'continuous' && one.pauses.length === 0 && inputOf(one).length % kBlock === 0
  );
  for (const one of suited) {
    const {inputRate = 16000, audioRate = 16000} = one.options;
    const lines = await linesOfNode(one);
    // The node's audio has its context's rate, and there is none of what was rejected in the end.
    const isWhole = inputRate === audioRate && !lines.some((line) => line.startsWith('event rejected'));
    const found = difference(one, isWhole ? lines : lines.slice(0, -1));
    if (found) return found;
  }
  return `replay: ${suited.length} cases, the same bits`;
}

// The sound at the node's output: 16-bit samples, and how far they are behind the input.
async function continuous(options) {
  const {room} = await given();
  const length = 48000;
  const context = new OfflineAudioContext(1, length, 16000);
  const heard = await VaskNode.create(context, {stream: {mode: 'continuous', ...options}});
  const buffer = context.createBuffer(1, length, 16000);
  buffer.copyToChannel(Float32Array.from(room.subarray(0, length), (x) => x / 32768), 0);
  const source = new AudioBufferSourceNode(context, {buffer});
  source.connect(heard.node).connect(context.destination);
  source.start();
  const out = (await context.startRendering()).getChannelData(0);
  const behind = out.findIndex((x) => x !== 0) - room.findIndex((x) => x !== 0);
  const different = out.subarray(behind).findIndex((x, i) => x * 32768 !== room[i]);
  return {behind, different};
}

async function refused(rate, options) {
  try {
    await VaskNode.create(new OfflineAudioContext(1, kBlock, rate), options);
    return null;
  } catch (error) {
    return error.message;
  }
}

Object.assign(globalThis, {onPage, inWorklet, throughNode, continuous, refused});
document.body.dataset.ready = '';
