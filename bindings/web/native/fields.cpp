// Where the fields of the records are, for code that reads and writes them in the module's memory.
#include <vask/stream.h>

#include <cstddef>
#include <cstdint>

namespace {

struct Field {
  const char* name;  // as in C; null after the last one of a record
  uint32_t type;     // a character: i int32, l int64, f float, p pointer
  uint32_t offset;   // bytes
};

#define VASK_FIELD(record, type, name) \
  Field { #name, type, static_cast < uint32_t>(offsetof(record, name)) }
#define VASK_OPTION(type, name) \
  Field { #name, type, static_cast < uint32_t>(offsetof(vask_stream_setup, options.name)) }
#define VASK_PROFILE(name) \
  Field { #name, 'i', static_cast < uint32_t>(offsetof(vask_stream_setup, options.profile.name)) }
#define VASK_RULE(name) \
  Field { #name, 'f', static_cast < uint32_t>(offsetof(vask_stream_setup, rules.name)) }

constexpr Field kSetup[] = {
    VASK_FIELD(vask_stream_setup, 'i', size),
    VASK_FIELD(vask_stream_setup, 'i', detector),
    VASK_FIELD(vask_stream_setup, 'p', model),
    VASK_FIELD(vask_stream_setup, 'f', listening_floor_db),
    VASK_FIELD(vask_stream_setup, 'f', listening_mix),
    VASK_FIELD(vask_stream_setup, 'i', input_rate),
    VASK_FIELD(vask_stream_setup, 'i', audio_rate),
    VASK_FIELD(vask_stream_setup, 'f', may_end_after),
    VASK_FIELD(vask_stream_setup, 'f', start_within),
    VASK_OPTION('i', mode),
    VASK_OPTION('i', audio),
    VASK_OPTION('i', pad_start),
    VASK_OPTION('i', pad_end),
    VASK_OPTION('i', min_samples),
    VASK_OPTION('i', max_samples),
    VASK_OPTION('i', min_voiced_frames),
    VASK_OPTION('i', max_tone_percent),
    VASK_OPTION('i', tone_tonality),
    VASK_OPTION('i', queue_samples),
    VASK_PROFILE(hangover_frames),
    VASK_PROFILE(voiced_check_frames),
    VASK_PROFILE(long_speech_frames),
    VASK_PROFILE(max_unvoiced_run),
    VASK_PROFILE(vad_threshold),
    VASK_PROFILE(sample_shift),
    VASK_PROFILE(energy_shift),
    VASK_PROFILE(h2l_ratio_max),
    VASK_PROFILE(yin_min),
    VASK_PROFILE(amdf_low),
    VASK_PROFILE(amdf_high),
    VASK_PROFILE(pv_low),
    VASK_PROFILE(pv_high),
    VASK_PROFILE(tonality_min),
    VASK_PROFILE(entropy_max),
    VASK_PROFILE(uv_vote_min),
    VASK_PROFILE(uv_energy_offset),
    VASK_RULE(open_probability),
    VASK_RULE(open),
    VASK_RULE(open_look_back),
    VASK_RULE(start_probability),
    VASK_RULE(close_probability),
    VASK_RULE(pause),
    VASK_RULE(close_look_back),
    VASK_RULE(shortest),
    VASK_RULE(mean_probability),
    VASK_RULE(margin_start),
    VASK_RULE(margin_end),
    {},
};

constexpr Field kEvent[] = {
    VASK_FIELD(vask_stream_event, 'i', kind),
    VASK_FIELD(vask_stream_event, 'i', reason),
    VASK_FIELD(vask_stream_event, 'i', segment),
    VASK_FIELD(vask_stream_event, 'i', continues),
    VASK_FIELD(vask_stream_event, 'l', start),
    VASK_FIELD(vask_stream_event, 'l', end),
    VASK_FIELD(vask_stream_event, 'l', span_start),
    VASK_FIELD(vask_stream_event, 'l', span_end),
    VASK_FIELD(vask_stream_event, 'l', heard),
    VASK_FIELD(vask_stream_event, 'i', voiced_frames),
    VASK_FIELD(vask_stream_event, 'f', voiced),
    VASK_FIELD(vask_stream_event, 'f', level_db),
    {},
};

constexpr Field kMeasures[] = {
    VASK_FIELD(vask_stream_measures, 'l', heard),
    VASK_FIELD(vask_stream_measures, 'l', detector_at),
    VASK_FIELD(vask_stream_measures, 'f', level_db),
    VASK_FIELD(vask_stream_measures, 'f', energy_db),
    VASK_FIELD(vask_stream_measures, 'f', noise_db),
    VASK_FIELD(vask_stream_measures, 'i', speech),
    VASK_FIELD(vask_stream_measures, 'i', voiced),
    VASK_FIELD(vask_stream_measures, 'i', open),
    {},
};

constexpr Field kHearing[] = {
    VASK_FIELD(vask_stream_hearing, 'i', size),
    VASK_FIELD(vask_stream_hearing, 'l', at),
    VASK_FIELD(vask_stream_hearing, 'f', speech),
    VASK_FIELD(vask_stream_hearing, 'f', speech_100ms_ago),
    VASK_FIELD(vask_stream_hearing, 'f', speech_200ms_ago),
    VASK_FIELD(vask_stream_hearing, 'f', utterance),
    VASK_FIELD(vask_stream_hearing, 'f', music),
    VASK_FIELD(vask_stream_hearing, 'f', high_gain),
    {},
};

struct Record {
  const Field* fields;
  uint32_t size;  // bytes
};

constexpr Record kRecords[] = {
    {kSetup, sizeof(vask_stream_setup)},
    {kEvent, sizeof(vask_stream_event)},
    {kMeasures, sizeof(vask_stream_measures)},
    {kHearing, sizeof(vask_stream_hearing)},
};

}  // namespace

// The records by number, in the order above.
extern "C" const Record* vask_web_record(uint32_t number) { return &kRecords[number]; }
