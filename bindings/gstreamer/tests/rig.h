// An element of the plugin alone, fed by hand: what it sends and posts is kept in order.
#pragma once

#include <gst/audio/audio.h>
#include <gst/check/gstharness.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vask::gst_test {

// A structure with an owner.
using Structure = std::shared_ptr<GstStructure>;

struct Form {
  int32_t rate = 16000, channels = 1;
  bool is_float = false;
  std::string Caps() const;
};

class Rig {
 public:
  // `element` as in gst-launch. The input begins at the first push.
  explicit Rig(const std::string& element, const Form& form = {});
  ~Rig();
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  GstElement* element() const { return harness_->element; }
  GstHarness* harness() const { return harness_; }
  void SetForm(const Form& form);
  // Frames for all channels alike, in pieces of that length, each with the time that follows.
  GstFlowReturn Push(std::span<const int16_t> samples, size_t piece = 1600);
  void PushEvent(GstEvent* event) { gst_harness_push_event(harness_, event); }
  // The time of the next frame, and whether it is marked as not following.
  void JumpTo(GstClockTime time) { next_ = time, frames_ = 0; }
  void MarkDiscont() { is_discont_ = true; }

  // Element messages that have been posted since the last call. Errors are in errors().
  std::vector<Structure> Messages();
  const std::vector<std::string>& errors() const { return errors_; }
  // Custom events that have left.
  const std::vector<Structure>& events() const { return events_; }
  // All that has left: "buffer" or the name of the event, for a custom one its kind.
  const std::vector<std::string>& order() const { return order_; }
  // Samples that have left, and the first time and the next one of each buffer.
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  const std::vector<GstClockTime>& times() const { return times_; }

 private:
  static GstPadProbeReturn Note(GstPad* pad, GstPadProbeInfo* info, gpointer self);

  Form form_;
  GstHarness* harness_;
  GstBus* bus_;
  GstClockTime next_ = 0;
  uint64_t frames_ = 0;  // since that time
  bool is_discont_ = true;
  std::vector<Structure> events_;
  std::vector<std::string> order_, errors_;
  std::vector<uint8_t> bytes_;
  std::vector<GstClockTime> times_;
};

// "started 1", "ended 1 silence", ... one for each structure named vask.
std::vector<std::string> Told(const std::vector<Structure>& structures);

// samples/room.wav held to a rate: five utterances in 20 s.
std::vector<int16_t> Room(int32_t rate = 16000);

}  // namespace vask::gst_test
