#include "detect_settings.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace vask::gst {
namespace {

constexpr float kFramesPerSecond = 100;
constexpr float kMost = 1e9F;  // of a whole number

constexpr auto kReadWrite = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
constexpr auto kNow = static_cast<GParamFlags>(kReadWrite | GST_PARAM_MUTABLE_PLAYING);
constexpr auto kAtStart = static_cast<GParamFlags>(kReadWrite | GST_PARAM_MUTABLE_READY);

// Fields of the setup that are numbers. Of the two ways to reach the field, one is null.
struct Field {
  const char* name;
  const char* nick;
  const char* blurb;
  float least, most;
  float& (*real)(vask_stream_setup&);
  int32_t& (*whole)(vask_stream_setup&);
};

#define VASK_REAL(member) [](vask_stream_setup& s) -> float& { return s.member; }, nullptr
#define VASK_WHOLE(member) nullptr, [](vask_stream_setup& s) -> int32_t& { return s.member; }

constexpr Field kFields[] = {
    {"may-end-after", "May end after",
     "Seconds without speech until a may-have-ended event, 0.02 to 10 and shorter than the pause; 0: none", 0,
     10, VASK_REAL(may_end_after)},
    {"start-within", "Start within",
     "Seconds to wait for a start until a nobody-spoke event, 0.1 to 3600; 0: for ever", 0, 3600,
     VASK_REAL(start_within)},
    {"open-probability", "Open probability",
     "Learned: an utterance starts where speech is this probable or more, for `open`", 0, 1,
     VASK_REAL(rules.open_probability)},
    {"open", "Open", "Learned: seconds that speech must last to start an utterance", 0.02f, 1,
     VASK_REAL(rules.open)},
    {"open-look-back", "Open look-back",
     "Learned: seconds after which a start is judged, 0, 0.1 or 0.2: later is surer", 0, 0.2f,
     VASK_REAL(rules.open_look_back)},
    {"start-probability", "Start probability",
     "Learned: the start is moved back for up to 0.5 s as far as speech is this probable or more", 0, 1,
     VASK_REAL(rules.start_probability)},
    {"close-probability", "Close probability",
     "Learned: an utterance ends where speech is this probable or less, for the pause", 0, 1,
     VASK_REAL(rules.close_probability)},
    {"close-look-back", "Close look-back",
     "Learned: seconds after which an end is judged, 0, 0.1, 0.2, or 0.4, where pauses under 0.35 s are "
     "speech",
     0, 0.4f, VASK_REAL(rules.close_look_back)},
    {"shortest", "Shortest", "Learned: shorter utterances are rejected; seconds", 0, 10,
     VASK_REAL(rules.shortest)},
    {"mean-probability", "Mean probability",
     "Learned: utterances are rejected in which speech is less probable on average", 0, 1,
     VASK_REAL(rules.mean_probability)},
    {"margin-start", "Margin before the start", "Learned: seconds from the span's start to the start", 0, 10,
     VASK_REAL(rules.margin_start)},
    {"margin-end", "Margin after the end", "Learned: seconds from the end to the span's end", 0, 10,
     VASK_REAL(rules.margin_end)},
    {"max-samples", "Longest",
     "Longer utterances are split where they are quietest; samples at 16 kHz, 24000 or more; 0: no limit", 0,
     kMost, VASK_WHOLE(options.max_samples)},
    {"pad-start", "Padding before the start",
     "Energy: samples at 16 kHz from the span's start to the start; -1: 0.35 s", -1, kMost,
     VASK_WHOLE(options.pad_start)},
    {"pad-end", "Padding after the end",
     "Energy: samples at 16 kHz from the end to the span's end; -1: the whole pause", -1, kMost,
     VASK_WHOLE(options.pad_end)},
    {"min-samples", "Shortest, energy", "Energy: shorter utterances are rejected; samples at 16 kHz", 0,
     kMost, VASK_WHOLE(options.min_samples)},
    {"min-voiced-frames", "Least voice", "Energy: utterances with fewer voiced frames of 10 ms are rejected",
     0, kMost, VASK_WHOLE(options.min_voiced_frames)},
    {"max-tone-percent", "Most tones",
     "Energy: utterances with more tones among their voiced frames are rejected; per cent", 0, 100,
     VASK_WHOLE(options.max_tone_percent)},
    {"tone-tonality", "Tonality of a tone", "Energy: a frame of this tonality or more is a tone; 65536 = 1",
     0, kMost, VASK_WHOLE(options.tone_tonality)},
};

enum Other : unsigned {
  kDetector = std::size(kFields) + 1,
  kPreset,
  kPause,
  kProfile,
  kModel,
  kPostMessages,
  kSendEvents,
  kMeter
};

// --- the profile of the energy detector, as a structure

struct ProfileField {
  const char* name;
  int32_t epd_profile::*value;
};

#define VASK_PROFILE(name) \
  { #name, &epd_profile::name }
constexpr ProfileField kProfileFields[] = {
    VASK_PROFILE(hangover_frames),  VASK_PROFILE(voiced_check_frames), VASK_PROFILE(long_speech_frames),
    VASK_PROFILE(max_unvoiced_run), VASK_PROFILE(vad_threshold),       VASK_PROFILE(sample_shift),
    VASK_PROFILE(energy_shift),     VASK_PROFILE(h2l_ratio_max),       VASK_PROFILE(yin_min),
    VASK_PROFILE(amdf_low),         VASK_PROFILE(amdf_high),           VASK_PROFILE(pv_low),
    VASK_PROFILE(pv_high),          VASK_PROFILE(tonality_min),        VASK_PROFILE(entropy_max),
    VASK_PROFILE(uv_vote_min),      VASK_PROFILE(uv_energy_offset)};

GstStructure* StructureOfProfile(const epd_profile& profile) {
  GstStructure* structure = gst_structure_new_empty("profile");
  for (const ProfileField& field : kProfileFields) {
    gst_structure_set(structure, field.name, G_TYPE_INT, profile.*field.value, nullptr);
  }
  return structure;
}

// The fields that are there; others keep their values.
void ReadProfile(const GstStructure* structure, epd_profile& profile) {
  if (structure == nullptr) return;
  for (int32_t i = 0; i < gst_structure_n_fields(structure); ++i) {
    const char* name = gst_structure_nth_field_name(structure, static_cast<unsigned>(i));
    const auto* field = std::find_if(std::begin(kProfileFields), std::end(kProfileFields),
                                     [&](const ProfileField& f) { return g_str_equal(f.name, name); });
    int value = 0;
    if (field == std::end(kProfileFields) || !gst_structure_get_int(structure, name, &value)) {
      g_warning("vaskdetect: the profile has no whole number %s", name);
      continue;
    }
    profile.*field->value = value;
  }
}

// --- kinds of value

GType PresetType() {
  static const GEnumValue kValues[] = {{kPlain, "The front end's own values", "plain"},
                                       {kRobust, "For noisy rooms", "robust"},
                                       {0, nullptr, nullptr}};
  static const GType type = g_enum_register_static("VaskDetectPreset", kValues);
  return type;
}

void SetPreset(DetectSettings& settings, int32_t preset) {
  StreamOptions options;
  settings.preset = preset;
  settings.setup.options = preset == kRobust ? options.Robust() : options;
}

}  // namespace

GType DetectorType() {
  static const GEnumValue kValues[] = {
      {VASK_STREAM_ENERGY, "Energy and voicing against the noise that was learned", "energy"},
      {VASK_STREAM_LEARNED, "A small recurrent net, at any level", "learned"},
      {0, nullptr, nullptr}};
  static const GType type = g_enum_register_static("VaskDetectDetector", kValues);
  return type;
}

DetectSettings::DetectSettings() : setup(StreamSetup()) {}

float DetectSettings::Pause() const {
  if (pause >= 0) return pause;
  if (setup.detector == VASK_STREAM_LEARNED) return setup.rules.pause;
  return static_cast<float>(setup.options.profile.hangover_frames) / kFramesPerSecond;
}

vask_stream_setup DetectSettings::Setup(int32_t rate) const {
  vask_stream_setup out = setup;
  out.options.mode = VASK_STREAM_UTTERANCES;
  out.options.audio = VASK_STREAM_NO_AUDIO;
  out.input_rate = rate;
  if (pause >= 0) {
    out.rules.pause = pause;
    out.options.profile.hangover_frames = static_cast<int32_t>(std::lround(pause * kFramesPerSecond));
  }
  return out;
}

void InstallDetectProperties(GObjectClass* type) {
  DetectSettings defaults;
  unsigned number = 0;
  for (const Field& field : kFields) {
    GParamSpec* property =
        field.real != nullptr
            ? g_param_spec_float(field.name, field.nick, field.blurb, field.least, field.most,
                                 field.real(defaults.setup), kAtStart)
            : g_param_spec_int(field.name, field.nick, field.blurb, static_cast<int32_t>(field.least),
                               static_cast<int32_t>(field.most), field.whole(defaults.setup), kAtStart);
    g_object_class_install_property(type, ++number, property);
  }
  const auto install = [&](Other which, GParamSpec* property) {
    g_object_class_install_property(type, which, property);
  };
  for (const GType kind : {DetectorType(), PresetType()}) {
    gst_type_mark_as_plugin_api(kind, static_cast<GstPluginAPIFlags>(0));
  }
  install(kDetector, g_param_spec_enum("detector", "Detector", "Which detector decides where utterances are",
                                       DetectorType(), defaults.setup.detector, kAtStart));
  install(kPreset,
          g_param_spec_enum("preset", "Preset",
                            "Sets all properties of the energy detector; those that are set after it hold",
                            PresetType(), defaults.preset, kAtStart));
  install(kPause,
          g_param_spec_float("pause", "Pause",
                             "Seconds without speech that end an utterance: 0.02 to 10 for learned, 0 to "
                             "30 for energy; -1: 0.08 for learned, hangover_frames of the profile for "
                             "energy",
                             -1, 30, defaults.pause, kNow));
  install(kProfile,
          g_param_spec_boxed("profile", "Profile",
                             "Energy: fields of epd_profile, as in profile,vad_threshold=28; those that "
                             "are not named keep their values",
                             GST_TYPE_STRUCTURE, kAtStart));
  install(kModel, g_param_spec_string("model", "Model", "Learned: file of a model; none: the built-in one",
                                      nullptr, kAtStart));
  install(kPostMessages,
          g_param_spec_boolean("post-messages", "Post messages",
                               "Post each event as an element message named vask", TRUE, kNow));
  install(kSendEvents,
          g_param_spec_boolean("send-events", "Send events",
                               "Send each event downstream with the data, as a custom event named "
                               "vask",
                               TRUE, kNow));
  install(kMeter,
          g_param_spec_uint64("meter", "Meter",
                              "Nanoseconds from one element message named vask-meter to the next, with the "
                              "level and whether it is speech; 0: none",
                              0, std::numeric_limits<uint64_t>::max(), 0, kNow));
}

bool GetDetectProperty(const DetectSettings& settings, unsigned number, GValue* value) {
  if (number >= 1 && number <= std::size(kFields)) {
    const Field& field = kFields[number - 1];
    vask_stream_setup setup = settings.setup;
    if (field.real != nullptr) {
      g_value_set_float(value, field.real(setup));
    } else {
      g_value_set_int(value, field.whole(setup));
    }
    return true;
  }
  switch (number) {
    case kDetector:
      g_value_set_enum(value, settings.setup.detector);
      return true;
    case kPreset:
      g_value_set_enum(value, settings.preset);
      return true;
    case kPause:
      g_value_set_float(value, settings.pause);
      return true;
    case kProfile:
      g_value_take_boxed(value, StructureOfProfile(settings.setup.options.profile));
      return true;
    case kModel:
      g_value_set_string(value, settings.model.empty() ? nullptr : settings.model.c_str());
      return true;
    case kPostMessages:
      g_value_set_boolean(value, settings.posts_messages);
      return true;
    case kSendEvents:
      g_value_set_boolean(value, settings.sends_events);
      return true;
    case kMeter:
      g_value_set_uint64(value, settings.meter);
      return true;
    default:
      return false;
  }
}

bool SetDetectProperty(DetectSettings& settings, unsigned number, const GValue* value) {
  if (number >= 1 && number <= std::size(kFields)) {
    const Field& field = kFields[number - 1];
    if (field.real != nullptr) {
      field.real(settings.setup) = g_value_get_float(value);
    } else {
      field.whole(settings.setup) = g_value_get_int(value);
    }
    return true;
  }
  const char* model = nullptr;
  switch (number) {
    case kDetector:
      settings.setup.detector = g_value_get_enum(value);
      return true;
    case kPreset:
      SetPreset(settings, g_value_get_enum(value));
      return true;
    case kPause:
      settings.pause = g_value_get_float(value);
      return true;
    case kProfile:
      ReadProfile(static_cast<const GstStructure*>(g_value_get_boxed(value)), settings.setup.options.profile);
      return true;
    case kModel:
      model = g_value_get_string(value);
      settings.model = model != nullptr ? model : "";
      return true;
    case kPostMessages:
      settings.posts_messages = g_value_get_boolean(value) != FALSE;
      return true;
    case kSendEvents:
      settings.sends_events = g_value_get_boolean(value) != FALSE;
      return true;
    case kMeter:
      settings.meter = g_value_get_uint64(value);
      return true;
    default:
      return false;
  }
}

bool ChangesPause(unsigned number) { return number == kPause; }

}  // namespace vask::gst
