// The properties of vaskdetect: fields of vask_stream_setup by their names, with - for _, and what the
// element does with the events.
#pragma once

#include <gst/gst.h>
#include <vask/stream.hpp>

#include <cstdint>
#include <string>

namespace vask::gst {

// VASK_STREAM_ENERGY and _LEARNED, as an enumeration of properties.
GType DetectorType();

enum DetectPreset : int32_t { kPlain, kRobust };

struct DetectSettings {
  DetectSettings();

  // The setup with `pause` in it, to open a stream with.
  vask_stream_setup Setup(int32_t rate) const;
  // Seconds: `pause`, or what the detector has without it.
  float Pause() const;

  vask_stream_setup setup;
  int32_t preset = kPlain;
  float pause = -1;   // s; -1: as the setup has it
  std::string model;  // path; empty: the built-in one
  bool posts_messages = true;
  bool sends_events = true;
  GstClockTime meter = 0;  // ns between two messages; 0: none
};

// Declares the properties; their numbers begin at 1.
void InstallDetectProperties(GObjectClass* type);

// Reads and changes one. False: there is no property of this number.
bool GetDetectProperty(const DetectSettings& settings, unsigned number, GValue* value);
bool SetDetectProperty(DetectSettings& settings, unsigned number, const GValue* value);

// Whether the property says how long a pause ends an utterance, also while the stream runs.
bool ChangesPause(unsigned number);

}  // namespace vask::gst
