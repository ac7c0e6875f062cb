"""Voices, noises and music for the held-out mixes, from packages that training never uses. Float, 16 kHz."""
import functools
import glob
import os
import shutil
import subprocess
import tempfile

import numpy as np
import soundfile
from scipy.signal import resample_poly

import score

RATE = 16000

PACKAGES = (
    'asterisk-core-sounds-en-wav', 'asterisk-core-sounds-es-wav', 'asterisk-core-sounds-fr-wav',
    'asterisk-core-sounds-it-wav', 'asterisk-core-sounds-ru-wav', 'asterisk-prompt-it-menardi-wav',
    'fillets-ng-data-cs', 'flite', 'libflite1', 'espeak-ng', 'espeak-ng-data', 'libespeak-ng1', 'libpcaudio0', 'libsonic0',
    'asterisk-moh-opsound-wav', 'fretsonfire-songs-muldjord', 'fretsonfire-songs-sectoid',
    'searchandrescue-data', 'simutrans-pak64', 'bucklespring-data', 'linphone-common', 'lmms-common',
    'libwebrtc-audio-processing-dev', 'libwebrtc-audio-processing1')  # a peer

# Recorded voices: package, what its files' names hold, language.
RECORDED = {
    'Allison, English': ('asterisk-core-sounds-en-wav', '/', 'en'),
    'Allison, Spanish': ('asterisk-core-sounds-es-wav', '/', 'es'),
    'June': ('asterisk-core-sounds-fr-wav', '/', 'fr'),
    'Carlo': ('asterisk-core-sounds-it-wav', '/', 'it'),
    'Menardi': ('asterisk-prompt-it-menardi-wav', '/', 'it'),
    'Ivrvoice': ('asterisk-core-sounds-ru-wav', '/', 'ru'),
    'fish': ('fillets-ng-data-cs', '-m-', 'cs'),
    'large fish': ('fillets-ng-data-cs', '-v-', 'cs'),
}
NOT_OGG = 'harpsichord01.ogg'  # whatever its name says
NOT_SPEECH = ('/silence/', 'beep', 'tone', 'tt-monkeys.', 'tt-somethingwrong', 'vm-dialout-beep')

ENGLISH = ('Please leave a message after the signal.', 'The train to the airport leaves at nine.',
           'Could you turn the lights down?', 'We have moved the meeting to Thursday.', 'Open the window, please.',
           'Nobody told me about that.', 'It will rain in the evening.', 'Turn left at the second crossing.')
# Synthetic voices: program, voice, language, texts.
SPOKEN = {
    'rms': ('flite', 'rms', 'en', ENGLISH), 'slt': ('flite', 'slt', 'en', ENGLISH),
    'awb': ('flite', 'awb', 'en', ENGLISH), 'kal16': ('flite', 'kal16', 'en', ENGLISH),
    'German': ('espeak-ng', 'de', 'de', ('Der Zug nach Hamburg hat Verspätung.', 'Bitte sprechen Sie nach dem Ton.',
                                         'Mach bitte das Fenster zu.', 'Morgen soll es wieder regnen.')),
    'Polish': ('espeak-ng', 'pl+f2', 'pl', ('Pociąg odjeżdża o dziewiątej.', 'Proszę zostawić wiadomość.',
                                            'Jutro będzie padał deszcz.', 'Nikt mi o tym nie powiedział.')),
    'Portuguese': ('espeak-ng', 'pt+f4', 'pt', ('O comboio parte às nove horas.', 'Deixe a sua mensagem depois do sinal.',
                                                'Amanhã vai chover outra vez.', 'Vire na segunda rua à esquerda.')),
    'Swedish': ('espeak-ng', 'sv+m3', 'sv', ('Tåget till flygplatsen går klockan nio.', 'Kan du stänga fönstret?',
                                             'Lämna ett meddelande efter tonen.', 'Det ska regna i kväll.')),
}

SOUNDS = 'searchandrescue-data/usr/share/games/searchandrescue/sounds/'
PAK = 'simutrans-pak64/usr/share/games/simutrans/pak/sound/'
RECORDINGS = {
    'engine': [SOUNDS + name for name in ('hh65/engine_inside.wav', 'helicopter_engine_outside2.wav', 'jet_engine_inside2.wav',
                                          'jet_engine_outside.wav', 'helicopter_engine_start.wav')] +
              [PAK + name for name in ('bus.wav', 'truck.wav', 'diesel.wav')],
    'outdoors': [PAK + name for name in ('Water.wav', 'forest.wav', 'tropic.wav', 'seagulls.wav', 'desert.wav')],
    'works': [PAK + name for name in ('buzzsaw.wav', 'tree-cutting.wav', 'crossing.wav', 'steam.wav')],
    'bangs': [PAK + name for name in ('gavel.wav', 'explosion.wav')] +
             [SOUNDS + name for name in ('thunder_loud.wav', 'thunder_faint.wav', 'crash_obstruction.wav')],
    'ringing': ['linphone-common/usr/share/sounds/linphone/' + name for name in ('rings/oldphone-mono.wav', 'ringback.wav')],
    'beats': ['lmms-common/usr/share/lmms/samples/beats'], 'instruments': ['lmms-common/usr/share/lmms/samples/instruments'],
    'keyboard': ['bucklespring-data/usr/share/buckle/wav'],
    'hold music': ['asterisk-moh-opsound-wav/usr/share/asterisk/moh'],
}
SONGS = 'fretsonfire-songs-*/usr/share/games/fretsonfire/data/songs/*/*/'


def fetch(folder):
    """Fetch the packages and unpack them below `folder`; nothing is installed."""
    packages, raw = os.path.join(folder, 'packages'), os.path.join(folder, 'raw')
    os.makedirs(packages, exist_ok=True)
    for name in PACKAGES:
        target = os.path.join(raw, name)
        if os.path.isdir(target):
            continue
        if not glob.glob(os.path.join(packages, name + '_*.deb')):
            subprocess.run(['apt-get', '-qq', '-o', 'APT::Sandbox::User=root', 'download', name], cwd=packages, check=True)
        unpacked = tempfile.mkdtemp(dir=folder)
        subprocess.run(['dpkg-deb', '-x', glob.glob(os.path.join(packages, name + '_*.deb'))[0], unpacked], check=True)
        os.makedirs(raw, exist_ok=True)
        os.rename(unpacked, target)


def load(path):
    """A recording, its channels averaged, and its rate."""
    samples, rate = soundfile.read(path, dtype='float64', always_2d=True)
    return samples.mean(axis=1), rate


def at_16k(samples, rate):
    return samples if rate == RATE else resample_poly(samples, RATE, rate)


def sounds_below(raw, place):
    """A file, or all files of a folder, in order."""
    path = os.path.join(raw, place)
    if not os.path.isdir(path):
        return [path]
    return sorted(os.path.join(top, name) for top, _, names in os.walk(path) for name in names
                  if name.endswith(('.wav', '.ogg')) and name != NOT_OGG)


def utterance_of(samples, rate):
    """A recording cut near its true edges, at 16 kHz, with the edges; None if they are not certain or far apart."""
    edges = score.true_edges(samples, rate)
    if edges is None or not 0.6 <= edges[1] - edges[0] <= 5:
        return None
    first, last = max(0, edges[0] - 0.1), min(len(samples) / rate, edges[1] + 0.15)
    cut = at_16k(samples[round(first * rate):round(last * rate)], rate)
    fade = np.minimum(1, np.minimum(np.arange(len(cut)), np.arange(len(cut))[::-1]) / (0.005 * RATE))
    return cut * fade, edges[0] - first, edges[1] - first


class Material:
    """All of it, read when it is asked for."""

    def __init__(self, folder):
        self.raw = os.path.join(folder, 'raw')
        self.spoken = os.path.join(folder, 'spoken')

    @functools.cached_property
    def voices(self):
        """{voice: [path]}: recordings that are utterances with certain edges."""
        found = {}
        for voice, (package, part, _) in RECORDED.items():
            paths = [path for path in sounds_below(self.raw, package) if part in path and not any(n in path for n in NOT_SPEECH)]
            found[voice] = [path for path in paths if 0.6 < soundfile.info(path).duration < 8 and utterance_of(*load(path))]
        for voice in SPOKEN:
            paths = self.speak(voice)
            found[voice] = [path for path in paths if utterance_of(*load(path))]
        return found

    def speak(self, voice):
        """Let a synthetic voice say its texts."""
        program, name, _, texts = SPOKEN[voice]
        os.makedirs(self.spoken, exist_ok=True)
        libraries = glob.glob(os.path.join(self.raw, 'lib*/usr/lib/*'))
        environment = {**os.environ, 'LD_LIBRARY_PATH': ':'.join(os.path.abspath(path) for path in libraries)}
        command = shutil.which(program) or os.path.join(self.raw, program, 'usr/bin', program)
        paths = []
        for k, text in enumerate(texts):
            path = os.path.join(self.spoken, f'{voice}-{k}.wav')
            data = glob.glob(os.path.join(self.raw, 'espeak-ng-data/usr/lib/*'))[0]
            arguments = (['-voice', name, '-t', text, '-o', path] if program == 'flite' else
                         [f'--path={data}', '-v', name, '-w', path, text])
            if not os.path.exists(path):
                subprocess.run([command, *arguments], env=environment, check=True)
            paths.append(path)
        return paths

    @functools.cache
    def utterance(self, path):
        samples, start, end = utterance_of(*load(path))
        return samples / np.sqrt(np.mean(samples[round(start * RATE):round(end * RATE)] ** 2)), start, end

    @functools.cache
    def recording(self, path):
        return at_16k(*load(path))

    def song(self, folder, guitar):
        """A song, with or without its leading guitar, which is a file of its own."""
        parts = [self.recording(os.path.join(folder, name)) for name in (['song.ogg', 'guitar.ogg'] if guitar else ['song.ogg'])]
        mix = np.zeros(max(map(len, parts)))
        for part in parts:
            mix[:len(part)] += part
        return mix

    @functools.cached_property
    def songs(self):
        return sorted(glob.glob(os.path.join(self.raw, SONGS)))

    def recordings(self, kind):
        return [path for place in RECORDINGS[kind] for path in sounds_below(self.raw, place)]


def language_of(voice):
    return (RECORDED.get(voice) or SPOKEN[voice])[2]
