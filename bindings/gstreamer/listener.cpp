#include "listener.h"

#include <algorithm>
#include <utility>

#include "plugin.h"
#include "samples.h"
#include "structures.h"

namespace vask::gst {
bool Listener::Get(unsigned number, GValue* value) const {
  GST_OBJECT_LOCK(element_);
  const bool is_there = GetDetectProperty(settings_, number, value);
  GST_OBJECT_UNLOCK(element_);
  return is_there;
}

bool Listener::Set(unsigned number, const GValue* value) {
  GST_OBJECT_LOCK(element_);
  const bool is_there = SetDetectProperty(settings_, number, value);
  pause_has_changed_ = pause_has_changed_ || ChangesPause(number);
  GST_OBJECT_UNLOCK(element_);
  return is_there;
}

void Listener::Stop() {
  Finish();
  stream_.reset();
  newest_segment_ = earlier_segments_ = 0;
}

bool Listener::SetFormat(const GstAudioInfo& info) {
  Finish();
  stream_.reset();
  info_ = info;
  time_.SetRate(GST_AUDIO_INFO_RATE(&info));
  GST_OBJECT_LOCK(element_);
  const DetectSettings settings = settings_;
  pause_has_changed_ = false;
  GST_OBJECT_UNLOCK(element_);

  if (!model_.Open(settings.model)) {
    GST_ELEMENT_ERROR(element_, RESOURCE, OPEN_READ, ("%s", model_.complaint().c_str()), (nullptr));
    return false;
  }
  vask_stream_setup setup = settings.Setup(GST_AUDIO_INFO_RATE(&info));
  setup.model = model_.get();
  if (const char* complaint = vask_stream_setup_complaint(&setup)) {
    GST_ELEMENT_ERROR(element_, LIBRARY, SETTINGS, ("%s", complaint), (nullptr));
    return false;
  }
  stream_.emplace(setup);
  if (*stream_) return true;
  stream_.reset();
  GST_ELEMENT_ERROR(element_, RESOURCE, NO_SPACE_LEFT, ("There is no memory for a stream"), (nullptr));
  return false;
}

void Listener::SetSegment(const GstSegment& segment) {
  if (time_.Breaks(segment)) Finish();
  time_.SetSegment(segment);
  is_reverse_ = segment.rate < 0;
}

GstFlowReturn Listener::Take(GstBuffer* buffer) {
  if (!stream_ || is_reverse_) return GST_FLOW_OK;
  const GstClockTime time = GST_BUFFER_PTS(buffer);
  const std::optional<int64_t> missing = time_.Missing(time, GST_BUFFER_IS_DISCONT(buffer));
  if (!missing) {
    GST_INFO_OBJECT(element_, "input breaks at %" GST_TIME_FORMAT, GST_TIME_ARGS(time));
    Finish();
  }
  if (const GstFlowReturn result = HearSilence(missing.value_or(0)); result != GST_FLOW_OK) return result;
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_FLOW_ERROR;
  mono_.resize(map.size / static_cast<size_t>(GST_AUDIO_INFO_BPF(&info_)));
  ToMono(info_, map.data, mono_);
  gst_buffer_unmap(buffer, &map);
  time_.Take(time, static_cast<int64_t>(mono_.size()));
  return Hear(mono_);
}

GstFlowReturn Listener::TakeGap(GstClockTime time, GstClockTime length) {
  if (!stream_ || is_reverse_) return GST_FLOW_OK;
  const std::optional<int64_t> missing =
      GST_CLOCK_TIME_IS_VALID(length) ? time_.Missing(time + length, false) : std::nullopt;
  if (missing) return HearSilence(*missing);
  Finish();
  return GST_FLOW_OK;
}

GstFlowReturn Listener::HearSilence(int64_t samples) {
  if (samples == 0) return GST_FLOW_OK;
  GST_DEBUG_OBJECT(element_, "%" G_GINT64_FORMAT " samples are missing", samples);
  mono_.assign(static_cast<size_t>(samples), 0);
  time_.Take(GST_CLOCK_TIME_NONE, samples);
  return Hear(mono_);
}

void Listener::Finish() {
  if (!stream_ || time_.taken() == 0) return;
  while (stream_->Flush() != 0 && TellEvents()) {
  }
  TellEvents();
  stream_->Reset();
  time_.Restart();
  heard_ = next_meter_ = 0;
  earlier_segments_ += std::exchange(newest_segment_, 0);
}

void Listener::TakeChanges() {
  GST_OBJECT_LOCK(element_);
  meter_ = settings_.meter;
  posts_messages_ = settings_.posts_messages;
  sends_events_ = settings_.sends_events;
  const bool pause_has_changed = std::exchange(pause_has_changed_, false);
  const float pause = settings_.Pause();
  GST_OBJECT_UNLOCK(element_);
  if (pause_has_changed && stream_->SetPause(pause) != 0) {
    GST_ELEMENT_WARNING(element_, LIBRARY, SETTINGS,
                        ("A pause of %g s is not possible with this detector", double{pause}), (nullptr));
  }
}

// Each event is told before more is heard, so that the times are those of this moment; with a meter its
// interval is the longest piece.
GstFlowReturn Listener::Hear(std::span<const int16_t> samples) {
  TakeChanges();
  const int64_t interval = meter_ != 0 ? std::max<int64_t>(time_.Samples(meter_), 1) : 0;
  while (!samples.empty()) {
    size_t count = samples.size();
    if (interval != 0) {
      if (next_meter_ <= heard_) next_meter_ = heard_ + interval;
      count = std::min(count, static_cast<size_t>(next_meter_ - heard_));
    }
    const int32_t taken = stream_->Write(samples.first(count));
    const bool told = TellEvents();
    if (taken > 0) {
      samples = samples.subspan(static_cast<size_t>(taken));
      heard_ += taken;
    } else if (!told) {
      GST_ELEMENT_ERROR(element_, RESOURCE, NO_SPACE_LEFT, ("There is no memory for more events"), (nullptr));
      return GST_FLOW_ERROR;
    }
    if (interval != 0 && heard_ == next_meter_) TellMeter();
  }
  return GST_FLOW_OK;
}

bool Listener::TellEvents() {
  bool told = false;
  while (const auto event = stream_->Next()) {
    newest_segment_ = std::max(newest_segment_, event->segment);
    Tell(StructureOf(*event, earlier_segments_, time_), posts_messages_, sends_events_);
    told = true;
  }
  return told;
}

void Listener::TellMeter() { Tell(StructureOf(stream_->Measures(), stream_->Hearing(), time_), true, false); }

void Listener::Tell(GstStructure* structure, bool as_message, bool as_event) {
  GST_LOG_OBJECT(element_, "%" GST_PTR_FORMAT, static_cast<void*>(structure));
  if (as_message) {
    gst_element_post_message(element_,
                             gst_message_new_element(GST_OBJECT(element_), gst_structure_copy(structure)));
  }
  if (as_event) {
    gst_pad_push_event(source_, gst_event_new_custom(GST_EVENT_CUSTOM_DOWNSTREAM, structure));
  } else {
    gst_structure_free(structure);
  }
}

}  // namespace vask::gst
