#include "structures.h"

#include <string>

namespace vask::gst {
namespace {

void AddTimes(GstStructure* to, const std::string& name, int64_t position, const MediaTime& time) {
  gst_structure_set(to, (name + "time").c_str(), G_TYPE_UINT64, time.StreamTime(position),
                    (name + "running-time").c_str(), G_TYPE_UINT64, time.RunningTime(position), nullptr);
}

}  // namespace

GstStructure* StructureOf(const vask_stream_event& event, int32_t earlier, const MediaTime& time) {
  GstStructure* out = gst_structure_new(
      "vask", "kind", G_TYPE_STRING, vask_stream_kind_name(event.kind), "segment", G_TYPE_INT,
      event.segment > 0 ? event.segment + earlier : 0, "continues", G_TYPE_BOOLEAN, event.continues != 0,
      "voiced-frames", G_TYPE_INT, event.voiced_frames, "voiced", G_TYPE_FLOAT, double{event.voiced},
      "level-db", G_TYPE_FLOAT, double{event.level_db}, nullptr);
  if (event.reason != 0) {
    gst_structure_set(out, "reason", G_TYPE_STRING, vask_stream_reason_name(event.reason), nullptr);
  }
  struct Position {
    const char* name;
    int64_t value;
  };
  for (const Position& position :
       {Position{"start", event.start}, Position{"end", event.end}, Position{"span-start", event.span_start},
        Position{"span-end", event.span_end}, Position{"heard", event.heard}}) {
    gst_structure_set(out, position.name, G_TYPE_INT64, position.value, nullptr);
    AddTimes(out, std::string(position.name) + "-", position.value, time);
  }
  return out;
}

GstStructure* StructureOf(const vask_stream_measures& measures,
                          const std::optional<vask_stream_hearing>& hearing, const MediaTime& time) {
  GstStructure* out = gst_structure_new("vask-meter", "heard", G_TYPE_INT64, measures.heard, "level-db",
                                        G_TYPE_FLOAT, double{measures.level_db}, "speech", G_TYPE_BOOLEAN,
                                        measures.speech != 0, "voiced", G_TYPE_BOOLEAN, measures.voiced != 0,
                                        "open", G_TYPE_BOOLEAN, measures.open != 0, nullptr);
  AddTimes(out, "heard-", measures.heard, time);
  if (hearing) {
    gst_structure_set(out, "speech-probability", G_TYPE_FLOAT, double{hearing->speech_200ms_ago},
                      "music-probability", G_TYPE_FLOAT, double{hearing->music}, nullptr);
  } else {
    gst_structure_set(out, "energy-db", G_TYPE_FLOAT, double{measures.energy_db}, "noise-db", G_TYPE_FLOAT,
                      double{measures.noise_db}, nullptr);
  }
  return out;
}

}  // namespace vask::gst
