// The demo: the microphone or a file, a live trace, and the utterances as they come.
import {Theme} from '../../../viewer/src/theme.js';

import {Listing} from './listing.js';
import {listenToFile, listenToMicrophone} from './sources.js';
import {Trace} from './trace.js';

const get = (id) => document.getElementById(id);
const trace = new Trace(get('trace'));
const listing = new Listing(get('utterances'), get('none'));
new Theme(get('theme')).onChange(() => trace.draw());

let now = null; // what is listened to

const kStates = {
  started: 'Somebody speaks.',
  ended: 'An utterance has ended.',
  rejected: 'That was not an utterance.',
};

function say(text) {
  get('state').textContent = text;
}

function fail(error) {
  const denied = error.name === 'NotAllowedError';
  get('failure').textContent = denied ? 'The browser does not give this page the microphone.' : error.message;
  get('failure').hidden = false;
}

const hear = (rate, name) => ({
  name,
  options: {audio: get('audio').value, pause: Number(get('pause').value)},
  onevent(event) {
    if (kStates[event.kind]) say(kStates[event.kind]);
    if (event.kind === 'ended') listing.add(event, rate(), name);
  },
  onmeasures: (measures, hearing) => trace.add(measures, hearing, rate()),
  onerror: fail,
});

async function stop() {
  const stopping = now;
  now = null;
  get('microphone').textContent = 'Microphone';
  await stopping?.stop();
}

// Ends what is heard, and begins with something else.
async function listen(open, name) {
  await stop();
  get('failure').hidden = true;
  trace.clear();
  let source = null;
  try {
    source = await open(hear(() => source?.rate ?? 48000, name));
    now = source;
    if (source.live) get('microphone').textContent = 'Stop';
    await source.done;
  } catch (error) {
    fail(error);
  }
  if (now === source) await stop();
}

get('microphone').addEventListener('click', () => {
  if (now?.live) {
    say('Stopped.');
    void stop();
    return;
  }
  say('Listening …');
  void listen(listenToMicrophone, 'microphone');
});

get('file').addEventListener('change', ({target}) => {
  const [file] = target.files;
  target.value = '';
  if (!file) return;
  say(`Reading ${file.name} …`);
  void listen((heard) => listenToFile(file, heard), file.name.replace(/\.[^.]*$/, ''));
});

get('pause').addEventListener('input', ({target}) => {
  get('pause-shown').textContent = `${Number(target.value).toFixed(1)} s`;
  now?.setPause(Number(target.value));
});

document.body.dataset.ready = '';
