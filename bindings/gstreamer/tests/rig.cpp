#include "rig.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace vask::gst_test {
namespace {

constexpr size_t kWavHeader = 44;

Structure Copied(const GstStructure* structure) {
  return {gst_structure_copy(structure), gst_structure_free};
}

}  // namespace

std::string Form::Caps() const {
  return std::string("audio/x-raw,layout=interleaved,format=") + (is_float ? "F32LE" : "S16LE") +
         ",rate=" + std::to_string(rate) + ",channels=" + std::to_string(channels) +
         (channels > 2 ? ",channel-mask=(bitmask)0x0" : "");
}

Rig::Rig(const std::string& element, const Form& form) : bus_(gst_bus_new()) {
  GstElement* made = gst_parse_launch(element.c_str(), nullptr);
  harness_ = gst_harness_new_with_element(made, "sink", "src");
  gst_object_unref(made);
  gst_element_set_bus(harness_->element, bus_);
  GstPad* pad = gst_element_get_static_pad(harness_->element, "src");
  const auto what =
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
  gst_pad_add_probe(pad, what, Note, this, nullptr);
  gst_object_unref(pad);
  SetForm(form);
}

Rig::~Rig() {
  gst_element_set_bus(harness_->element, nullptr);
  gst_harness_teardown(harness_);
  gst_object_unref(bus_);
}

void Rig::SetForm(const Form& form) {
  form_ = form;
  gst_harness_set_src_caps_str(harness_, form.Caps().c_str());
  JumpTo(next_);
}

GstFlowReturn Rig::Push(std::span<const int16_t> samples, size_t piece) {
  GstFlowReturn result = GST_FLOW_OK;
  for (; !samples.empty() && result == GST_FLOW_OK;
       samples = samples.subspan(std::min(piece, samples.size()))) {
    const auto part = samples.first(std::min(piece, samples.size()));
    std::vector<int16_t> integers;
    std::vector<float> floats;
    for (const int16_t sample : part) {
      integers.insert(integers.end(), static_cast<size_t>(form_.channels), sample);
      floats.insert(floats.end(), static_cast<size_t>(form_.channels), static_cast<float>(sample) / 32768);
    }
    const size_t bytes = form_.is_float ? floats.size() * sizeof(float) : integers.size() * sizeof(int16_t);
    GstBuffer* buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
    gst_buffer_fill(buffer, 0, form_.is_float ? static_cast<void*>(floats.data()) : integers.data(), bytes);
    const auto rate = static_cast<uint64_t>(form_.rate);
    const GstClockTime begin = gst_util_uint64_scale(frames_, GST_SECOND, rate);
    frames_ += part.size();
    if (GST_CLOCK_TIME_IS_VALID(next_)) GST_BUFFER_PTS(buffer) = next_ + begin;
    GST_BUFFER_DURATION(buffer) = gst_util_uint64_scale(frames_, GST_SECOND, rate) - begin;
    if (is_discont_) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    is_discont_ = false;
    result = gst_harness_push(harness_, buffer);
  }
  return result;
}

std::vector<Structure> Rig::Messages() {
  std::vector<Structure> found;
  while (GstMessage* message = gst_bus_pop(bus_)) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ELEMENT)
      found.push_back(Copied(gst_message_get_structure(message)));
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
      GError* error = nullptr;
      gst_message_parse_error(message, &error, nullptr);
      errors_.emplace_back(error->message);
      g_error_free(error);
    }
    gst_message_unref(message);
  }
  return found;
}

GstPadProbeReturn Rig::Note(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
  Rig& rig = *static_cast<Rig*>(self);
  if (GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
      (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
    rig.order_.emplace_back("buffer");
    GstMapInfo map;
    gst_buffer_map(buffer, &map, GST_MAP_READ);
    rig.bytes_.insert(rig.bytes_.end(), map.data, map.data + map.size);
    gst_buffer_unmap(buffer, &map);
    rig.times_.push_back(GST_BUFFER_PTS(buffer));
    rig.times_.push_back(GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer));
    return GST_PAD_PROBE_OK;
  }
  GstEvent* event = GST_PAD_PROBE_INFO_EVENT(info);
  if (GST_EVENT_TYPE(event) == GST_EVENT_CUSTOM_DOWNSTREAM) {
    rig.events_.push_back(Copied(gst_event_get_structure(event)));
    rig.order_.emplace_back(gst_structure_get_string(rig.events_.back().get(), "kind"));
  } else {
    rig.order_.emplace_back(GST_EVENT_TYPE_NAME(event));
  }
  return GST_PAD_PROBE_OK;
}

std::vector<std::string> Told(const std::vector<Structure>& structures) {
  std::vector<std::string> told;
  for (const Structure& structure : structures) {
    if (!gst_structure_has_name(structure.get(), "vask")) continue;
    int segment = 0;
    gst_structure_get_int(structure.get(), "segment", &segment);
    const char* reason = gst_structure_get_string(structure.get(), "reason");
    told.push_back(std::string(gst_structure_get_string(structure.get(), "kind")) + " " +
                   std::to_string(segment) + (reason != nullptr ? std::string(" ") + reason : ""));
  }
  return told;
}

std::vector<int16_t> Room(int32_t rate) {
  std::ifstream file(VASK_SAMPLES_DIR "/room.wav", std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::vector<int16_t> room;
  for (size_t i = kWavHeader; i + 1 < bytes.size(); i += 2) {
    room.push_back(static_cast<int16_t>(static_cast<uint8_t>(bytes[i]) | bytes[i + 1] << 8));
  }
  std::vector<int16_t> held(room.size() * static_cast<size_t>(rate) / 16000);
  for (size_t i = 0; i < held.size(); ++i) held[i] = room[i * 16000 / static_cast<size_t>(rate)];
  return held;
}

}  // namespace vask::gst_test
