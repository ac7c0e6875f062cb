// vaskdenoise: audio with its background noise reduced, of the same form and length.
/**
 * SECTION:element-vaskdenoise
 * @title: vaskdenoise
 *
 * Reduces the noise around speech, for people to listen to or for a recogniser. Each channel is filtered by
 * itself; as many samples come out as go in, with the same timestamps.
 *
 * ## Example launch line
 * |[
 * gst-launch-1.0 filesrc location=in.wav ! decodebin ! audioconvert ! audioresample ! vaskdenoise limit=12 !
 * \ wavenc ! filesink location=out.wav
 * ]|
 */
#include <gst/audio/audio.h>

#include <string>

#include "detect_settings.h"
#include "model_file.h"
#include "plugin.h"
#include "reducer.h"

using vask::gst::ModelFile;
using vask::gst::Reducer;
using vask::gst::ReducerSettings;

namespace {

struct Denoise {
  // Under the element's lock.
  ReducerSettings settings;
  std::string model_path;
  GstClockTime latency = 0;
  // In the thread that the audio comes in.
  ModelFile model;
  Reducer reducer;
  bool is_reverse = false;  // the media plays backwards: it passes as it is
};

}  // namespace

struct _VaskDenoise {
  GstBaseTransform base;
  Denoise* denoise;
};

G_DEFINE_TYPE(VaskDenoise, vask_denoise, GST_TYPE_BASE_TRANSFORM)
GST_ELEMENT_REGISTER_DEFINE(vaskdenoise, "vaskdenoise", GST_RANK_NONE, vask_denoise_get_type())

namespace {

Denoise& DenoiseOf(gpointer element) { return *VASK_DENOISE(element)->denoise; }

// --- properties

enum Property : guint { kMode = 1, kLimit, kMix, kHighs, kDetector, kModel };

GType ModeType() {
  static const GEnumValue kValues[] = {
      {vask::gst::kForListening, "For people to listen to", "listening"},
      {vask::gst::kForRecognition, "For a recogniser, which hears nothing above 8 kHz", "recognition"},
      {0, nullptr, nullptr}};
  static const GType type = g_enum_register_static("VaskDenoiseMode", kValues);
  return type;
}

void SetProperty(GObject* object, guint number, const GValue* value, GParamSpec* property) {
  Denoise& denoise = DenoiseOf(object);
  const char* path = nullptr;
  GST_OBJECT_LOCK(object);
  switch (number) {
    case kMode:
      denoise.settings.mode = g_value_get_enum(value);
      break;
    case kLimit:
      denoise.settings.limit = g_value_get_double(value);
      break;
    case kMix:
      denoise.settings.mix = g_value_get_double(value);
      break;
    case kHighs:
      denoise.settings.keeps_highs = g_value_get_boolean(value) != FALSE;
      break;
    case kDetector:
      denoise.settings.detector = g_value_get_enum(value);
      break;
    case kModel:
      path = g_value_get_string(value);
      denoise.model_path = path != nullptr ? path : "";
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, number, property);
  }
  GST_OBJECT_UNLOCK(object);
}

void GetProperty(GObject* object, guint number, GValue* value, GParamSpec* property) {
  const Denoise& denoise = DenoiseOf(object);
  GST_OBJECT_LOCK(object);
  switch (number) {
    case kMode:
      g_value_set_enum(value, denoise.settings.mode);
      break;
    case kLimit:
      g_value_set_double(value, denoise.settings.limit);
      break;
    case kMix:
      g_value_set_double(value, denoise.settings.mix);
      break;
    case kHighs:
      g_value_set_boolean(value, denoise.settings.keeps_highs);
      break;
    case kDetector:
      g_value_set_enum(value, denoise.settings.detector);
      break;
    case kModel:
      g_value_set_string(value, denoise.model_path.empty() ? nullptr : denoise.model_path.c_str());
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, number, property);
  }
  GST_OBJECT_UNLOCK(object);
}

void InstallProperties(GObjectClass* type) {
  constexpr auto kFlags =
      static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_READY);
  const ReducerSettings defaults;
  g_object_class_install_property(
      type, kMode,
      g_param_spec_enum("mode", "Mode", "What the audio is for", ModeType(), defaults.mode, kFlags));
  g_object_class_install_property(
      type, kLimit,
      g_param_spec_double("limit", "Limit",
                          "For listening: no part of the sound is cut by more than this; dB", 0, 60,
                          defaults.limit, kFlags));
  g_object_class_install_property(
      type, kMix,
      g_param_spec_double("mix", "Mix",
                          "For listening: share of the filtered sound in the output; the rest is the "
                          "input",
                          0, 1, defaults.mix, kFlags));
  g_object_class_install_property(
      type, kHighs,
      g_param_spec_boolean(
          "keep-highs", "Keep highs",
          "For listening, above 16 kHz: keep what lies above 8 kHz, with the gain of the highest "
          "bands below, for a second run of the detector",
          defaults.keeps_highs, kFlags));
  g_object_class_install_property(
      type, kDetector,
      g_param_spec_enum(
          "detector", "Detector",
          "For recognition: energy, as in the front end, restarts part of the noise reduction where it "
          "rejects a segment; learned does not",
          vask::gst::DetectorType(), defaults.detector, kFlags));
  g_object_class_install_property(
      type, kModel,
      g_param_spec_string("model", "Model", "File of a model of the learned detector; none: the built-in one",
                          nullptr, kFlags));
}

// --- audio

GstFlowReturn NoMemory(GstBaseTransform* base) {
  GST_ELEMENT_ERROR(base, RESOURCE, NO_SPACE_LEFT, ("There is no memory for more audio"), (nullptr));
  return GST_FLOW_ERROR;
}

GstFlowReturn Push(GstBaseTransform* base) {
  GstFlowReturn result = GST_FLOW_OK;
  while (GstBuffer* buffer = DenoiseOf(base).reducer.Pop()) {
    result = gst_pad_push(base->srcpad, buffer);
    if (result != GST_FLOW_OK) break;
  }
  return result;
}

// All that was taken goes out, and the next buffer begins anew.
GstFlowReturn Finish(GstBaseTransform* base) {
  Reducer& reducer = DenoiseOf(base).reducer;
  if (!reducer.is_open() || reducer.time().taken() == 0) return GST_FLOW_OK;
  const GstFlowReturn result = reducer.Drain() ? Push(base) : NoMemory(base);
  reducer.Reset();
  return result;
}

// Called until it gives no buffer. The first call after a buffer has come finds it in queued_buf.
GstFlowReturn GenerateOutput(GstBaseTransform* base, GstBuffer** out) {
  Reducer& reducer = DenoiseOf(base).reducer;
  *out = nullptr;
  if (GstBuffer* in = base->queued_buf) {
    base->queued_buf = nullptr;
    if (DenoiseOf(base).is_reverse) {
      *out = in;
      return GST_FLOW_OK;
    }
    GstFlowReturn result = GST_FLOW_OK;
    const std::optional<int64_t> missing =
        reducer.time().Missing(GST_BUFFER_PTS(in), GST_BUFFER_IS_DISCONT(in));
    if (!missing) {
      GST_INFO_OBJECT(base, "input breaks at %" GST_TIME_FORMAT, GST_TIME_ARGS(GST_BUFFER_PTS(in)));
      result = Finish(base);
    }
    if (result == GST_FLOW_OK && !(reducer.TakeSilence(missing.value_or(0)) && reducer.Take(in))) {
      result = NoMemory(base);
    }
    gst_buffer_unref(in);
    if (result != GST_FLOW_OK) return result;
  }
  *out = reducer.Pop();
  return GST_FLOW_OK;
}

// True: the gap has been heard as silence, and what comes out fills it.
bool FillGap(GstBaseTransform* base, GstEvent* event) {
  Reducer& reducer = DenoiseOf(base).reducer;
  GstClockTime time = GST_CLOCK_TIME_NONE, length = GST_CLOCK_TIME_NONE;
  gst_event_parse_gap(event, &time, &length);
  if (!reducer.is_open() || reducer.time().taken() == 0 || !GST_CLOCK_TIME_IS_VALID(length)) return false;
  const std::optional<int64_t> missing = reducer.time().Missing(time + length, false);
  if (!missing) return false;
  if (reducer.TakeSilence(*missing)) {
    Push(base);
  } else {
    NoMemory(base);
  }
  return true;
}

gboolean SinkEvent(GstBaseTransform* base, GstEvent* event) {
  Reducer& reducer = DenoiseOf(base).reducer;
  const GstSegment* segment = nullptr;
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_EOS:
    case GST_EVENT_CAPS:
    case GST_EVENT_STREAM_START:
      Finish(base);
      break;
    case GST_EVENT_SEGMENT:
      gst_event_parse_segment(event, &segment);
      if (reducer.time().Breaks(*segment)) Finish(base);
      reducer.time().SetSegment(*segment);
      DenoiseOf(base).is_reverse = segment->rate < 0;
      break;
    case GST_EVENT_FLUSH_STOP:
      reducer.Reset();
      break;
    case GST_EVENT_GAP:
      if (FillGap(base, event)) {
        gst_event_unref(event);
        return TRUE;
      }
      Finish(base);
      break;
    default:
      break;
  }
  return GST_BASE_TRANSFORM_CLASS(vask_denoise_parent_class)->sink_event(base, event);
}

// --- life

gboolean SetCaps(GstBaseTransform* base, GstCaps* in, GstCaps* /*out*/) {
  Denoise& denoise = DenoiseOf(base);
  GstAudioInfo info;
  if (!gst_audio_info_from_caps(&info, in)) return FALSE;
  GST_OBJECT_LOCK(base);
  const ReducerSettings settings = denoise.settings;
  const std::string path = denoise.model_path;
  GST_OBJECT_UNLOCK(base);

  denoise.reducer.Close();
  if (!denoise.model.Open(path)) {
    GST_ELEMENT_ERROR(base, RESOURCE, OPEN_READ, ("%s", denoise.model.complaint().c_str()), (nullptr));
    return FALSE;
  }
  const vask_stream_setup setup = settings.Setup(GST_AUDIO_INFO_RATE(&info), denoise.model.get());
  if (const char* complaint = vask_stream_setup_complaint(&setup)) {
    GST_ELEMENT_ERROR(base, LIBRARY, SETTINGS, ("%s", complaint), (nullptr));
    return FALSE;
  }
  if (!denoise.reducer.Open(info, settings, denoise.model.get())) {
    NoMemory(base);
    return FALSE;
  }
  GST_OBJECT_LOCK(base);
  denoise.latency = denoise.reducer.latency();
  GST_OBJECT_UNLOCK(base);
  gst_element_post_message(GST_ELEMENT(base), gst_message_new_latency(GST_OBJECT(base)));
  return TRUE;
}

gboolean Query(GstBaseTransform* base, GstPadDirection direction, GstQuery* query) {
  if (GST_QUERY_TYPE(query) != GST_QUERY_LATENCY || direction != GST_PAD_SRC) {
    return GST_BASE_TRANSFORM_CLASS(vask_denoise_parent_class)->query(base, direction, query);
  }
  if (!gst_pad_peer_query(base->sinkpad, query)) return FALSE;
  gboolean is_live = FALSE;
  GstClockTime least = 0, most = 0;
  gst_query_parse_latency(query, &is_live, &least, &most);
  GST_OBJECT_LOCK(base);
  const GstClockTime own = DenoiseOf(base).latency;
  GST_OBJECT_UNLOCK(base);
  if (GST_CLOCK_TIME_IS_VALID(most)) most += own;
  gst_query_set_latency(query, is_live, least + own, most);
  return TRUE;
}

gboolean Stop(GstBaseTransform* base) {
  DenoiseOf(base).reducer.Reset();
  DenoiseOf(base).reducer.Close();
  return TRUE;
}

void Finalize(GObject* object) {
  delete VASK_DENOISE(object)->denoise;
  G_OBJECT_CLASS(vask_denoise_parent_class)->finalize(object);
}

}  // namespace

static void vask_denoise_init(VaskDenoise* self) {
  self->denoise = new Denoise;
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), FALSE);
}

static void vask_denoise_class_init(VaskDenoiseClass* type) {
  GObjectClass* object = G_OBJECT_CLASS(type);
  object->set_property = SetProperty;
  object->get_property = GetProperty;
  object->finalize = Finalize;
  InstallProperties(object);

  GstElementClass* element = GST_ELEMENT_CLASS(type);
  gst_element_class_set_static_metadata(element, "Speech noise reduction", "Filter/Effect/Audio",
                                        "Reduces the noise around speech, in each channel", PACKAGE);
  vask_add_pad_templates(element);

  GstBaseTransformClass* base = GST_BASE_TRANSFORM_CLASS(type);
  base->stop = Stop;
  base->set_caps = SetCaps;
  base->query = Query;
  base->sink_event = SinkEvent;
  base->generate_output = GenerateOutput;
  gst_type_mark_as_plugin_api(ModeType(), static_cast<GstPluginAPIFlags>(0));
}
