#include "listen/settings_text.h"

#include <array>
#include <bit>
#include <type_traits>

#include "listing/listing.h"

namespace vask::command {
namespace {

// A number as text of its bits.
std::string Text(int32_t value) { return ' ' + std::to_string(value); }
std::string Text(float value) { return Text(std::bit_cast<int32_t>(value)); }

template <typename Record, typename Value>
std::string TextOf(const Record& record) {
  static_assert(sizeof(Record) % sizeof(Value) == 0);
  std::string text;
  for (const Value value : std::bit_cast<std::array<Value, sizeof(Record) / sizeof(Value)>>(record))
    text += Text(value);
  return text;
}

}  // namespace

std::string SettingsText(const ListenOptions& options, const ReadOptions& reading,
                         const ListenSetup& listen) {
  const vask_stream_setup& setup = listen.setup;
  static_assert(std::has_unique_object_representations_v<vask_stream_options>);
  vask_stream_options stream = setup.options;
  stream.audio = VASK_STREAM_NO_AUDIO;
  std::string text = VASK_VERSION + TextOf<vask_stream_options, int32_t>(stream) + reading.Text();
  if (listen.joining.join > 0) text += " join " + Decimal(listen.joining.join, 6);
  if (!options.gain.empty()) text += " gain " + options.gain;
  if (!listen.is_learned()) return text;
  return text + " learned " + std::to_string(vask_model_digest(setup.model)) +
         TextOf<vask_stream_rules, float>(setup.rules);
}

}  // namespace vask::command
