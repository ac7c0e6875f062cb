// vaskdetect: audio passes untouched, and where it is speech becomes element messages and custom events.
/**
 * SECTION:element-vaskdetect
 * @title: vaskdetect
 *
 * Passes audio through and posts an element message named `vask` where speech starts and where it ends, or
 * was rejected. The same structure travels downstream as a custom event. docs/gstreamer.md lists its fields.
 *
 * ## Example launch line
 * |[
 * gst-launch-1.0 -m autoaudiosrc ! audioconvert ! audioresample ! vaskdetect pause=0.8 ! fakesink
 * ]|
 */
#include <gst/audio/audio.h>

#include "listener.h"
#include "plugin.h"

using vask::gst::Listener;

struct _VaskDetect {
  GstBaseTransform base;
  Listener* listener;
};

G_DEFINE_TYPE(VaskDetect, vask_detect, GST_TYPE_BASE_TRANSFORM)
GST_ELEMENT_REGISTER_DEFINE(vaskdetect, "vaskdetect", GST_RANK_NONE, vask_detect_get_type())

namespace {

Listener& ListenerOf(gpointer element) { return *VASK_DETECT(element)->listener; }

void SetProperty(GObject* object, guint number, const GValue* value, GParamSpec* property) {
  if (!ListenerOf(object).Set(number, value)) G_OBJECT_WARN_INVALID_PROPERTY_ID(object, number, property);
}

void GetProperty(GObject* object, guint number, GValue* value, GParamSpec* property) {
  if (!ListenerOf(object).Get(number, value)) G_OBJECT_WARN_INVALID_PROPERTY_ID(object, number, property);
}

gboolean Stop(GstBaseTransform* base) {
  ListenerOf(base).Stop();
  return TRUE;
}

gboolean SetCaps(GstBaseTransform* base, GstCaps* in, GstCaps* /*out*/) {
  GstAudioInfo info;
  return gst_audio_info_from_caps(&info, in) && ListenerOf(base).SetFormat(info) ? TRUE : FALSE;
}

// What an event ends is told before the event goes on, and so are the times of what came before a segment.
gboolean SinkEvent(GstBaseTransform* base, GstEvent* event) {
  Listener& listener = ListenerOf(base);
  const GstSegment* segment = nullptr;
  GstClockTime time = GST_CLOCK_TIME_NONE, length = GST_CLOCK_TIME_NONE;
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_EOS:
    case GST_EVENT_FLUSH_STOP:
    case GST_EVENT_STREAM_START:
      listener.Finish();
      break;
    case GST_EVENT_SEGMENT:
      gst_event_parse_segment(event, &segment);
      listener.SetSegment(*segment);
      break;
    case GST_EVENT_GAP:
      gst_event_parse_gap(event, &time, &length);
      listener.TakeGap(time, length);
      break;
    default:
      break;
  }
  return GST_BASE_TRANSFORM_CLASS(vask_detect_parent_class)->sink_event(base, event);
}

GstFlowReturn Transform(GstBaseTransform* base, GstBuffer* buffer) { return ListenerOf(base).Take(buffer); }

void Finalize(GObject* object) {
  delete VASK_DETECT(object)->listener;
  G_OBJECT_CLASS(vask_detect_parent_class)->finalize(object);
}

}  // namespace

static void vask_detect_init(VaskDetect* self) {
  GstBaseTransform* base = GST_BASE_TRANSFORM(self);
  self->listener = new Listener(GST_ELEMENT(self), base->srcpad);
  gst_base_transform_set_in_place(base, TRUE);
  gst_base_transform_set_passthrough(base, TRUE);
}

static void vask_detect_class_init(VaskDetectClass* type) {
  GObjectClass* object = G_OBJECT_CLASS(type);
  object->set_property = SetProperty;
  object->get_property = GetProperty;
  object->finalize = Finalize;
  vask::gst::InstallDetectProperties(object);

  GstElementClass* element = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(element, "Speech detector", "Filter/Analyzer/Audio",
                                        "Passes audio through and tells where speech starts and ends",
                                        PACKAGE);
  vask_add_pad_templates(element);

  GstBaseTransformClass* base = GST_BASE_TRANSFORM_CLASS(type);
  base->stop = Stop;
  base->set_caps = SetCaps;
  base->sink_event = SinkEvent;
  base->transform_ip = Transform;
  base->transform_ip_on_passthrough = TRUE;
}
