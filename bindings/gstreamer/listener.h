// What vaskdetect does with the audio that passes: a stream hears it, and its events become messages and
// events of the pipeline. Only the thread that the audio comes in uses it, except for Set and Get.
#pragma once

#include <gst/audio/audio.h>
#include <gst/gst.h>
#include <vask/stream.hpp>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "detect_settings.h"
#include "media_time.h"
#include "model_file.h"

namespace vask::gst {

class Listener {
 public:
  // `element` is told, and `source` is the pad that events leave by.
  Listener(GstElement* element, GstPad* source) : element_(element), source_(source) {}

  // A property, in any thread. False: there is none of this number.
  bool Get(unsigned number, GValue* value) const;
  bool Set(unsigned number, const GValue* value);

  // Until the next SetFormat there is no stream. Segments are numbered from 1 again.
  void Stop();
  // Opens a stream for audio of this form. False, and the element has posted why: that could not be.
  bool SetFormat(const GstAudioInfo& info);
  void SetSegment(const GstSegment& segment);

  // Hears a buffer, and silence where a short time is missing before it. What does not follow ends the
  // segment that is open, and hearing begins anew.
  GstFlowReturn Take(GstBuffer* buffer);
  // Hears a gap as silence if it is short, else as a jump.
  GstFlowReturn TakeGap(GstClockTime time, GstClockTime length);
  // Ends the input: what the stream held back is told, and the next buffer begins a new one.
  void Finish();

 private:
  GstFlowReturn HearSilence(int64_t samples);
  GstFlowReturn Hear(std::span<const int16_t> samples);
  void TakeChanges();
  bool TellEvents();
  void TellMeter();
  void Tell(GstStructure* structure, bool as_message, bool as_event);

  GstElement* element_;
  GstPad* source_;
  DetectSettings settings_;        // under the element's lock
  bool pause_has_changed_ = true;  // and this

  GstAudioInfo info_ = {};
  MediaTime time_;
  bool is_reverse_ = false;  // the media plays backwards: nothing is heard
  ModelFile model_;
  std::optional<Stream> stream_;
  std::vector<int16_t> mono_;
  int32_t newest_segment_ = 0, earlier_segments_ = 0;
  int64_t heard_ = 0;       // samples written since the stream began
  int64_t next_meter_ = 0;  // written by then
  GstClockTime meter_ = 0;  // of the settings, as of this buffer
  bool posts_messages_ = true, sends_events_ = true;
};

}  // namespace vask::gst
