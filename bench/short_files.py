#!/usr/bin/env python3
"""Make very many short recordings, 00000.wav and so on, of 5 s each: 100 parts of RECORDING.wav, again and again.

short_files.py RECORDING.wav FOLDER FILES
"""
import os
import sys
import wave

SECOND = 32000  # bytes
DIFFERENT = 100


def main(recording, folder, files):
    with wave.open(recording) as source:
        sound = source.readframes(20 * SECOND // 2)
    for k in range(int(files)):
        name = f'{folder}/{k:05}.wav'
        if k >= DIFFERENT:
            os.link(f'{folder}/{k % DIFFERENT:05}.wav', name)
            continue
        with wave.open(name, 'wb') as piece:
            piece.setparams((1, 2, 16000, 0, 'NONE', ''))
            piece.writeframes(sound[6400 * k % 400000:][:5 * SECOND])


if __name__ == '__main__':
    main(*sys.argv[1:])
