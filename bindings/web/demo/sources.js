// Where sound comes from. Each gives its rate, a promise of its end, and ways to stop it and to change the pause.
import {VaskNode} from '../dist/audio-node.js';
import {load} from '../dist/browser.js';

const kRate = 48000; // Hz
const kStep = 960; // samples, of a file that are heard between two measures
const kAtOnce = 50; // steps before the page may do something else

export async function listenToMicrophone({options, onevent, onmeasures, onerror}) {
  const stream = await navigator.mediaDevices.getUserMedia({
    audio: {noiseSuppression: false, autoGainControl: false, echoCancellation: true},
  });
  const context = new AudioContext({sampleRate: kRate});
  const end = async () => {
    for (const track of stream.getTracks()) track.stop();
    await context.close();
  };
  try {
    const vask = await VaskNode.create(context, {stream: options, measureEvery: 0.02});
    Object.assign(vask, {onevent, onmeasures, onerror});
    context.createMediaStreamSource(stream).connect(vask.node).connect(context.destination);
    await context.resume();
    let over;
    const done = new Promise((resolve) => (over = resolve));
    const stop = async () => {
      await vask.finish();
      await end();
      over();
    };
    return {live: true, rate: kRate, done, stop, setPause: (seconds) => vask.setPause(seconds)};
  } catch (error) {
    await end();
    throw error;
  }
}

const rest = () => new Promise((resolve) => setTimeout(resolve));

export async function listenToFile(file, {options, onevent, onmeasures}) {
  const context = new OfflineAudioContext(1, 1, kRate);
  const sound = await context.decodeAudioData(await file.arrayBuffer()).catch(() => {
    throw new Error(`${file.name} is not a sound that this browser can read.`);
  });
  const samples = sound.getChannelData(0);
  const vask = await load();
  const stream = vask.open({...options, inputRate: kRate, audioRate: kRate});
  let stopped = false;
  const run = async () => {
    for (let at = 0; at < samples.length && !stopped; at += kStep) {
      for (const event of stream.write(samples.subarray(at, at + kStep))) onevent(event);
      onmeasures(stream.measure(), stream.hear());
      if ((at / kStep) % kAtOnce === 0) await rest();
    }
    stream.close().forEach(onevent);
  };
  const done = rest().then(run);
  const stop = async () => {
    stopped = true;
    await done;
  };
  return {live: false, rate: kRate, done, stop, setPause: (seconds) => stopped || stream.setPause(seconds)};
}
