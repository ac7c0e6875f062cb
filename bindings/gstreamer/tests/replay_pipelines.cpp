#include "replay_pipelines.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <vask/stream.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <set>
#include <span>

namespace vask::gst_test {
namespace {

constexpr int32_t kUsualRate = 16000;

int32_t RateOf(int32_t rate) { return rate != 0 ? rate : kUsualRate; }
bool IsContinuous(const replay_case& c) { return c.setup.options.mode == VASK_STREAM_CONTINUOUS; }

// --- fields to properties

// What vaskdetect has no need of, since it reads no audio, and what is said in another way.
const std::set<std::string> kNoProperties = {"options.mode",  "options.audio", "options.queue_samples",
                                             "listening_mix", "audio_rate",    "listening_floor_db",
                                             "detector",      "input_rate"};

std::string DetectFor(const replay_case& c, const Fields& fields) {
  std::string element = "vaskdetect detector=";
  element.append(c.setup.detector == VASK_STREAM_LEARNED ? "learned" : "energy");
  std::string profile;
  for (const auto& [field, value] : fields) {
    std::string name = field.substr(field.rfind('.') + 1);
    if (field.starts_with("options.profile.")) {
      profile.append(",").append(name).append("=(int)").append(value);
    } else if (!kNoProperties.contains(field)) {
      std::replace(name.begin(), name.end(), '_', '-');
      element.append(" ").append(name).append("=").append(value);
    }
  }
  if (!profile.empty()) element.append(" profile=\"profile").append(profile).append("\"");
  return element;
}

// Continuous streams have no use for the rules.
std::string DenoiseFor(const replay_case& c, const Fields& fields) {
  const vask_stream_setup& setup = c.setup;
  const bool listens = setup.options.audio == VASK_STREAM_LISTENING;
  if (!listens && setup.options.audio != VASK_STREAM_CLEAN) return "";
  if (RateOf(setup.input_rate) != RateOf(setup.audio_rate)) return "";
  const auto is_known = [](const auto& field) {
    return kNoProperties.contains(field.first) || field.first.starts_with("rules.");
  };
  if (!std::all_of(fields.begin(), fields.end(), is_known)) return "";
  std::string element = listens ? "vaskdenoise keep-highs=false" : "vaskdenoise mode=recognition detector=";
  if (!listens) element.append(setup.detector == VASK_STREAM_LEARNED ? "learned" : "energy");
  element.append(" limit=").append(std::to_string(-setup.listening_floor_db));
  return element.append(" mix=").append(std::to_string(setup.listening_mix));
}

// --- structures to lines

std::string Line(const GstStructure* structure) {
  const char* reason = gst_structure_get_string(structure, "reason");
  std::string line = "event ";
  line.append(gst_structure_get_string(structure, "kind"))
      .append(" ")
      .append(reason != nullptr ? reason : "none");
  for (const char* field : {"segment", "continues", "start", "end", "span-start", "span-end", "heard",
                            "voiced-frames", "voiced", "level-db"}) {
    const GValue* value = gst_structure_get_value(structure, field);
    if (value == nullptr) return line.append(" without ").append(field);
    char text[32];
    if (G_VALUE_HOLDS_FLOAT(value)) {
      std::snprintf(text, sizeof text, " %08x", std::bit_cast<uint32_t>(g_value_get_float(value)));
    } else {
      const gint64 number = G_VALUE_HOLDS_INT64(value)     ? g_value_get_int64(value)
                            : G_VALUE_HOLDS_BOOLEAN(value) ? g_value_get_boolean(value)
                                                           : g_value_get_int(value);
      std::snprintf(text, sizeof text, " %lld", static_cast<long long>(number));
    }
    line.append(text);
  }
  return line;
}

// --- a pipeline

class Pipeline {
 public:
  Pipeline(const std::string& element, int rate) {
    const std::string caps =
        "audio/x-raw,format=S16LE,layout=interleaved,channels=1,rate=" + std::to_string(rate);
    const std::string all = "appsrc name=in format=time max-bytes=0 caps=\"" + caps + "\" ! " + element +
                            " name=element ! appsink name=out sync=false";
    GError* error = nullptr;
    pipeline_ = gst_parse_launch(all.c_str(), &error);
    if (error != nullptr) {
      fault_ = error->message;
      g_error_free(error);
    }
    if (pipeline_ == nullptr || !fault_.empty()) return;
    in_ = gst_bin_get_by_name(GST_BIN(pipeline_), "in");
    element_ = gst_bin_get_by_name(GST_BIN(pipeline_), "element");
    out_ = gst_bin_get_by_name(GST_BIN(pipeline_), "out");
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  }
  ~Pipeline() {
    if (pipeline_ != nullptr) gst_element_set_state(pipeline_, GST_STATE_NULL);
    for (GstElement* element : {in_, element_, out_, pipeline_}) {
      if (element != nullptr) gst_object_unref(element);
    }
  }
  Pipeline(const Pipeline&) = delete;
  Pipeline& operator=(const Pipeline&) = delete;

  bool is_good() const { return fault_.empty(); }
  const std::string& fault() const { return fault_; }
  void SetPause(float seconds) { g_object_set(element_, "pause", double{seconds}, nullptr); }

  void Push(std::span<const int16_t> samples, GstClockTime time) {
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, samples.size_bytes(), nullptr);
    gst_buffer_fill(buffer, 0, samples.data(), samples.size_bytes());
    GST_BUFFER_PTS(buffer) = time;
    gst_app_src_push_buffer(GST_APP_SRC(in_), buffer);
  }
  const std::vector<std::string>& events() const { return events_; }
  const std::vector<int16_t>& audio() const { return audio_; }
  void End() { gst_app_src_end_of_stream(GST_APP_SRC(in_)); }

  // Takes what comes out, until that many samples are there, or all.
  void Take(size_t samples) {
    while (audio_.size() < samples) {
      GstMiniObject* object = gst_app_sink_pull_object(GST_APP_SINK(out_));
      if (object == nullptr) return;
      if (GST_IS_SAMPLE(object)) {
        TakeSample(gst_sample_get_buffer(GST_SAMPLE(object)));
      } else if (GST_EVENT_TYPE(object) == GST_EVENT_CUSTOM_DOWNSTREAM) {
        events_.push_back(Line(gst_event_get_structure(GST_EVENT(object))));
      }
      gst_mini_object_unref(object);
    }
  }

  // The events that have been posted; an error becomes the fault.
  std::vector<std::string> Posted() {
    std::vector<std::string> lines;
    GstBus* bus = gst_element_get_bus(pipeline_);
    while (GstMessage* message = gst_bus_pop(bus)) {
      const GstStructure* structure = gst_message_get_structure(message);
      if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ELEMENT && gst_structure_has_name(structure, "vask")) {
        lines.push_back(Line(structure));
      }
      if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        fault_ = error->message;
        g_error_free(error);
      }
      gst_message_unref(message);
    }
    gst_object_unref(bus);
    return lines;
  }

 private:
  void TakeSample(GstBuffer* buffer) {
    const size_t before = audio_.size();
    audio_.resize(before + gst_buffer_get_size(buffer) / sizeof(int16_t));
    gst_buffer_extract(buffer, 0, audio_.data() + before, gst_buffer_get_size(buffer));
  }

  GstElement *pipeline_ = nullptr, *in_ = nullptr, *element_ = nullptr, *out_ = nullptr;
  std::string fault_;
  std::vector<std::string> events_;
  std::vector<int16_t> audio_;
};

}  // namespace

std::string ElementFor(const replay_case& c, const Fields& fields) {
  return IsContinuous(c) ? DenoiseFor(c, fields) : DetectFor(c, fields);
}

Answer Run(const std::string& element, const replay_case& c) {
  const std::span input(c.samples, static_cast<size_t>(c.count));
  const int32_t rate = RateOf(c.setup.input_rate);
  Pipeline pipeline(element, rate);
  int32_t pauses = 0, length = 0;
  for (int32_t at = 0, turn = 0; at < c.count && pipeline.is_good(); at += length) {
    length = replay_piece(&c, turn++, at);
    for (; pauses < c.pause_count && c.pauses[pauses].at <= at; ++pauses) {
      pipeline.SetPause(c.pauses[pauses].seconds);
    }
    pipeline.Push(input.subspan(static_cast<size_t>(at), static_cast<size_t>(length)),
                  gst_util_uint64_scale(static_cast<uint64_t>(at), GST_SECOND, static_cast<uint64_t>(rate)));
    // vaskdetect gives back at once what it is given; then it has heard the piece.
    if (!IsContinuous(c)) pipeline.Take(static_cast<size_t>(at) + static_cast<size_t>(length));
  }
  if (!pipeline.is_good()) return {{}, pipeline.fault()};
  pipeline.End();
  pipeline.Take(SIZE_MAX);
  const std::vector<std::string> posted = pipeline.Posted();
  if (!pipeline.is_good()) return {{}, pipeline.fault()};
  if (posted != pipeline.events()) return {{}, "other messages than events between the buffers"};
  if (!IsContinuous(c)) {
    const bool is_untouched =
        std::equal(input.begin(), input.end(), pipeline.audio().begin(), pipeline.audio().end());
    return {pipeline.events(), is_untouched ? "" : "audio that was touched"};
  }
  replay_audio audio;
  char line[kReplayLine];
  replay_start_audio(&audio);
  replay_add_audio(&audio, pipeline.audio().data(), static_cast<int32_t>(pipeline.audio().size()));
  replay_audio_line(&audio, line);
  return {{line}, ""};
}

}  // namespace vask::gst_test
