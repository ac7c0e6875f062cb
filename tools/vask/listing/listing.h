// The forms in which `vask detect` lists what it found. A listing turns segments into text and writes nothing
// itself; it is called by one thread, in the order of the inputs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vask::command {

struct Recording {
  std::string file;  // as the user named it; any bytes
  int32_t rate = 0;  // Hz, the input's own
  int32_t channels = 0;
  double seconds = 0;      // its length: 0 until Close()
  int32_t channel = 0;     // the one that was listened to, from 1; 0: all of them, mixed
  int32_t utterances = 0;  // that were found in it; this and the next until Close() so far
  double speech = 0;       // s: their lengths
  std::string settings;    // a hash of all that changes what is found
};

// An utterance, or a rejected segment. Times in seconds on the input's own clock; those of a span are never
// outside the recording.
struct Segment {
  int number = 0;                       // of the utterance from 1; 0: rejected
  bool rejected = false;                // only with --verbose
  double start = 0, end = 0;            // as detected
  double span_start = 0, span_end = 0;  // what is delivered, padding included
  int64_t first = 0, last = 0;          // the span in samples of the input's own rate: [first, last)
  double voiced = 0;   // share of frames that are voiced or, to the learned detector, speech: 0 to 1
  std::string ended;   // silence, long-noise, input-end, split; empty if rejected
  std::string reason;  // too-short, too-little-voice, tones; empty if not
  double level_db = 0, snr_db = 0;  // dB full scale; that above the noise floor
  double clipped = 0;               // share of the samples at full scale, 0 to 1
};

// Called in this order: Begin(); for each input Open(), Add() for each segment as it is decided, and Close();
// finally End(). Error() may take the place of any call for an input, or follow Close() if the input is
// merely shorter than it says. All return the text to write at this point.
class Listing {
 public:
  virtual ~Listing() = default;

  virtual std::string Begin() { return ""; }  // once per run, before the first input
  virtual std::string Open(const Recording&) { return ""; }
  virtual std::string Add(const Recording& recording, const Segment& segment) = 0;
  virtual std::string Close(const Recording&) { return ""; }  // its length is known now
  // The input failed, perhaps after some segments; what is wrong also goes to standard error.
  virtual std::string Error(const std::string& /*file*/, const std::string& /*message*/) { return ""; }
  virtual std::string End() { return ""; }  // once per run, after the last input

  // The ending of a file in this form, such as ".vtt", if it holds one recording only: each then needs a
  // listing and a file of its own. Empty: one listing holds any number.
  virtual std::string EndingOfOne() const { return ""; }
};

// Which edge of the span is shown in the forms with one interval per utterance: one whose padding was asked
// for. Any other is as detected, since by default a span continues for a second of silence.
struct ListingEdges {
  bool padded_start = false, padded_end = false;
};

// What the renderers share: a number with that many decimals and a full stop, whatever the locale.
std::string Decimal(double value, int decimals);

}  // namespace vask::command
