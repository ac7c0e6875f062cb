// What --help says of the command and of each of its parts.
#ifndef TOOLS_VASK_TERMINAL_HELP_H_
#define TOOLS_VASK_TERMINAL_HELP_H_

namespace vask::command {

inline constexpr const char* kDescription =
    "Finds the spoken utterances in recordings and reduces their background noise.\n"
    "Reads what libsndfile reads (WAV, FLAC, Ogg, MP3 and more) at any rate, with any number of channels;\n"
    "the name - is standard input, WAV or raw 16 kHz mono 16-bit samples, as it arrives. Works at, and\n"
    "writes, 16 kHz mono 16-bit.";

inline constexpr const char* kFooter =
    "Examples:\n"
    "  vask detect meeting.wav                      list the utterances\n"
    "  vask detect -o utterances morning/*.flac     and write each to a file of its own\n"
    "  arecord -f S16_LE -r 16000 | vask detect -   and live\n"
    "  vask denoise street.wav -o clean.wav         reduce the noise\n"
    "  vask env call.wav                            judge where it was recorded\n"
    "  vask mfcc call.wav -o call.npy               compute its cepstra\n"
    "  vask packets call.wav -o call.packets        pack its utterances as ADPCM\n"
    "  vask report call.wav -o call.html            draw what was found, as a page\n"
    "  vask --device 48 detect meeting.wav          with the settings of another device\n"
    "Exit status: 0 all done, 1 a file failed (the others are done), 2 wrong usage.";

inline constexpr const char* kDetectFooter =
    "Output: a line an utterance, in the order of the recordings, with tabs between its columns:\n"
    "  FILE  NUMBER (from 1)  START  END  SPAN_START  SPAN_END  VOICED  ENDED\n"
    "START and END are the detected ones, the span is what is put out around them, all in seconds from the\n"
    "start of the recording; VOICED is the share of voiced frames; ENDED is how it ended: silence, "
    "long-noise,\n"
    "input-end or split. With --verbose also what was rejected, NUMBER being - and ENDED the reason: "
    "too-short,\n"
    "too-little-voice or tones.\n"
    "labels, webvtt, textgrid, rttm and kaldi show one interval each: START to END, or with --pad-start,\n"
    "--pad-end or a preset that edge of the span; none begins before the end of the one before.\n"
    "rttm and kaldi name a recording NAME, with _ for white space; kaldi sorts by bytes when all is done.\n"
    "With -o each is also written to DIR/NAME-NUMBER.wav, NAME being the file's name without its ending, "
    "and\n"
    "a form that holds one recording (labels, webvtt, textgrid) to DIR/NAME.EXT. Each is there whole or not\n"
    "at all. A hidden file in DIR remembers what is finished, for --resume.\n"
    "By itself a span begins 0.35 s before START and goes on for the hangover after END, about a second; an\n"
    "option counts more than the profile, and that more than the preset. A file for --profile holds lines\n"
    "\"vad_threshold 40\" or an object of JSON.\n"
    "With - as FILE each utterance is listed as soon as it ends; Ctrl-C ends the input.\n"
    "Examples:\n"
    "  vask detect meeting.wav | awk -F'\\t' '{ spoken += $4 - $3 } END { print spoken, \"s\" }'\n"
    "  vask detect -o utterances --flac --pad-start 0.1 --pad-end 0.2 monday.flac tuesday.flac\n"
    "  vask detect --preset robust --threshold 35 -f jsonl street.wav | jq .start\n"
    "  find . -name '*.wav' -print0 | vask detect -0 --files-from - -o out --resume > list.txt\n"
    "  arecord -f S16_LE -r 16000 | vask detect --meter -\n"
    "  vask detect -f webvtt --max-segment 10 talk.mp3 > talk.vtt";

inline constexpr const char* kDenoiseFooter =
    "OUT is as long as IN and in step with it. It appears only when it is complete.\n"
    "Examples:\n"
    "  vask denoise street.wav -o clean.wav\n"
    "  arecord -f S16_LE -r 16000 | vask denoise - -o clean.wav";

inline constexpr const char* kPacketsFooter =
    "OUT holds the utterances one after the other, each a stream of its own: packets \"D\", the last one "
    "\"E\",\n"
    "with 8 characters of header before N bytes of IMA ADPCM. It appears only when it is complete.\n"
    "Example:\n"
    "  vask packets meeting.wav -o meeting.packets";

inline constexpr const char* kUnpackFooter =
    "OUT holds the samples of all utterances, one after the other. If IN is damaged, OUT ends before the "
    "damage,\n"
    "the message says at which byte it is, and the exit status is 1.\n"
    "Example:\n"
    "  vask unpack meeting.packets -o spoken.wav";

inline constexpr const char* kEnvFooter =
    "Output: a line a file, with tabs between its columns, or with --json an object a line:\n"
    "  FILE  VERDICT  FIRST and LAST change (seconds)  SNR (dB)  lowest and highest SAMPLE  MEANING\n"
    "with - (null) for what there is not. The verdict:\n"
    "   0  the speech stands out from the background, and the level rose where it began\n"
    "   1  it stands out from the background at its end, but the level rose too little\n"
    "   2  it does not stand out from the background at its end\n"
    "  -1  the environment did not change twice: no speech, or only speech\n"
    "The library looks at 20.48 s. Of a longer file the rest is left out, which a note on standard error "
    "says;\n"
    "a sound that it rejects as no speech makes it begin again behind that, and a note says so too.\n"
    "Examples:\n"
    "  vask env call.wav\n"
    "  vask env --json calls/*.wav | jq -r 'select(.verdict != 0) | .file'";

inline constexpr const char* kMfccFooter =
    "OUT: float32, a row for every 10 ms and 13 columns, c0 to c12, as numpy.load() reads them; with "
    "--deltas\n"
    "39 columns, the first and second derivatives behind them; with --csv as text, without a line of names. "
    "It\n"
    "appears only when it is complete. A row's window is 20 ms long and ends with its 10 ms.\n"
    "With --kb DIR the cepstral mean in DIR/Vask.db/global_cms is taken off, and what this recording adds "
    "to\n"
    "it is stored there (a fifth of the new mean); table files in DIR/Vask.db replace the built-in tables.\n"
    "Examples:\n"
    "  vask mfcc call.wav -o call.npy\n"
    "  vask tables kb && vask mfcc call.wav --deltas --kb kb -o call.npy";

inline constexpr const char* kReportFooter =
    "OUT is one page that needs no network: waveform and spectrogram before and after the noise reduction,\n"
    "the utterances and what was rejected, what the detector measured, and the sound of it all, as WAV up "
    "to\n"
    "4 minutes and as Ogg Opus beyond (an hour takes less than 30 MB). It appears only when it is complete.\n"
    "Example:\n"
    "  vask report meeting.wav -o meeting.html && xdg-open meeting.html";

inline constexpr const char* kTablesFooter =
    "Writes DIR/Vask.db/ with the nine table files, DIR/config.Vask and an empty DIR/LOG/. Where\n"
    "DIR/Vask.db/cc1.txt is there, nothing is written.\n"
    "Example:\n"
    "  vask tables kb";

}  // namespace vask::command

#endif  // TOOLS_VASK_TERMINAL_HELP_H_
