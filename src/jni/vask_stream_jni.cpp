// The native methods of the Java class com.norv.Brindle.VaskStreamLibrary, under com.norv.Brindle.VaskStream:
// arrays and direct buffers of samples in and out, the streams of stream.h beneath. Java has checked bounds
// and handles, and lets one thread at a time into a stream.
//
// A direct buffer is used in place; an array goes through a block on the stack, piece by piece, so that none
// is pinned or copied whole. A handle is the address of a StreamOfJava.
#include <jni.h>
#include <vask/model.h>
#include <vask/stream.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "dsp/memory.h"
#include "jni/environment.h"

namespace vask {
namespace {

struct StreamOfJava {
  vask_stream* stream;
  vask_model* model;  // of its own; null: the built-in one
};

StreamOfJava& Of(jlong handle) { return *reinterpret_cast<StreamOfJava*>(static_cast<intptr_t>(handle)); }
vask_stream* StreamOf(jlong handle) { return Of(handle).stream; }

// --- options: all fields of a setup in its order, as doubles, which hold either kind exactly

template <typename Action>
void EachField(vask_stream_setup& setup, const Action& action) {
  vask_stream_options& options = setup.options;
  epd_profile& profile = options.profile;
  vask_stream_rules& rules = setup.rules;
  const auto all = [&](auto&... fields) { (action(fields), ...); };
  all(setup.detector, options.mode, options.audio);
  all(profile.hangover_frames, profile.voiced_check_frames, profile.long_speech_frames,
      profile.max_unvoiced_run, profile.vad_threshold, profile.sample_shift, profile.energy_shift,
      profile.h2l_ratio_max, profile.yin_min, profile.amdf_low, profile.amdf_high, profile.pv_low,
      profile.pv_high, profile.tonality_min, profile.entropy_max, profile.uv_vote_min,
      profile.uv_energy_offset);
  all(options.pad_start, options.pad_end, options.min_samples, options.max_samples, options.min_voiced_frames,
      options.max_tone_percent, options.tone_tonality, options.queue_samples);
  all(rules.open_probability, rules.open, rules.open_look_back, rules.start_probability,
      rules.close_probability, rules.pause, rules.close_look_back, rules.shortest, rules.mean_probability,
      rules.margin_start, rules.margin_end);
  all(setup.listening_floor_db, setup.listening_mix, setup.input_rate, setup.audio_rate, setup.may_end_after,
      setup.start_within);
}

constexpr int32_t kFields = 45;
using Values = std::array<jdouble, kFields>;

vask_stream_setup DefaultSetup() {
  vask_stream_setup setup = {};
  vask_stream_setup_defaults(&setup, sizeof setup);
  return setup;
}

void Put(JNIEnv* env, vask_stream_setup& setup, jdoubleArray to) {
  Values values;
  jdouble* next = values.data();
  EachField(setup, [&](const auto& field) { *next++ = static_cast<jdouble>(field); });
  env->SetDoubleArrayRegion(to, 0, kFields, values.data());
}

// The model that is to be used must be added. With an exception if the array is shorter.
vask_stream_setup Get(JNIEnv* env, jdoubleArray from) {
  vask_stream_setup setup = DefaultSetup();
  Values values = {};
  env->GetDoubleArrayRegion(from, 0, kFields, values.data());
  if (env->ExceptionCheck() != JNI_FALSE) return setup;
  const jdouble* next = values.data();
  EachField(setup,
            [&](auto& field) { field = static_cast<std::remove_reference_t<decltype(field)>>(*next++); });
  return setup;
}

// --- opening

void ThrowNoMemory(JNIEnv* env) {
  Throw(env, "java/lang/OutOfMemoryError", "there is no memory for a stream");
}

const char* WhyRefused(int32_t reason) {
  switch (reason) {
    case VASK_MODEL_NO_FILE:
      return "cannot be read: check its name and permissions";
    case VASK_MODEL_DAMAGED:
      return "is damaged, its digest does not match: copy it again";
    case VASK_MODEL_TOO_LARGE:
      return "is too large for a detector: train a smaller one";
    default:
      return "is not a model that this version knows";
  }
}

// Null, with an exception, if it is refused.
vask_model* OpenModel(JNIEnv* env, jstring path) {
  const Text name(env, path);
  if (name.Characters() == nullptr) return nullptr;
  int32_t reason = VASK_MODEL_OK;
  vask_model* const model = vask_model_open(name.Characters(), &reason);
  if (reason == VASK_MODEL_NO_MEMORY) {
    ThrowNoMemory(env);
  } else if (model == nullptr) {
    char message[400];
    std::snprintf(message, sizeof message, "model: %.300s %s", name.Characters(), WhyRefused(reason));
    Throw(env, "java/lang/IllegalArgumentException", message);
  }
  return model;
}

// Null, with an exception, if the setup is refused or there is no memory; the model is released then.
StreamOfJava* OpenStream(JNIEnv* env, vask_stream_setup& setup, vask_model* model) {
  setup.model = model;
  const char* const complaint = vask_stream_setup_complaint(&setup);
  auto* opened = complaint == nullptr ? NewZeroed<StreamOfJava>(1) : nullptr;
  vask_stream* const stream = opened != nullptr ? vask_stream_open_setup(&setup) : nullptr;
  if (stream != nullptr) {
    *opened = {stream, model};
    return opened;
  }
  Release(opened);
  vask_model_close(model);
  if (complaint != nullptr) {
    Throw(env, "java/lang/IllegalArgumentException", complaint);
  } else {
    ThrowNoMemory(env);
  }
  return nullptr;
}

// --- samples

constexpr jint kPiece = 2048;  // samples: 4 KB of stack

// The samples of a direct buffer from a byte on; null, with an exception, if they cannot be used in place.
int16_t* SamplesOf(JNIEnv* env, jobject buffer, jint offset) {
  auto* const bytes = static_cast<uint8_t*>(env->GetDirectBufferAddress(buffer));
  if (bytes != nullptr && (reinterpret_cast<uintptr_t>(bytes) + static_cast<uintptr_t>(offset)) % 2 == 0)
    return reinterpret_cast<int16_t*>(bytes + offset);
  Throw(env, "java/lang/IllegalArgumentException", "the samples of the buffer begin at an odd address");
  return nullptr;
}

// --- records: their values as longs, a float as its bits

jlong Bits(float value) { return std::bit_cast<int32_t>(value); }

template <size_t kCount>
void Put(JNIEnv* env, const std::array<jlong, kCount>& values, jlongArray to) {
  env->SetLongArrayRegion(to, 0, static_cast<jsize>(kCount), values.data());
}

}  // namespace
}  // namespace vask

#define VASK_JAVA(result, method) JNIEXPORT result JNICALL Java_com_norv_Brindle_VaskStreamLibrary_##method

extern "C" {

VASK_JAVA(jstring, version)(JNIEnv* env, jclass) { return env->NewStringUTF(vask_version()); }

VASK_JAVA(jstring, kindName)(JNIEnv* env, jclass, jint kind) {
  return env->NewStringUTF(vask_stream_kind_name(kind));
}

VASK_JAVA(jstring, reasonName)(JNIEnv* env, jclass, jint reason) {
  return env->NewStringUTF(vask_stream_reason_name(reason));
}

VASK_JAVA(void, defaults)(JNIEnv* env, jclass, jdoubleArray options) {
  vask_stream_setup setup = vask::DefaultSetup();
  vask::Put(env, setup, options);
}

VASK_JAVA(void, robust)(JNIEnv* env, jclass, jdoubleArray options) {
  vask_stream_setup setup = vask::Get(env, options);
  if (env->ExceptionCheck() != JNI_FALSE) return;
  vask_stream_robust(&setup.options);
  vask::Put(env, setup, options);
}

VASK_JAVA(void, profile)(JNIEnv* env, jclass, jint device, jint os, jdoubleArray options) {
  vask_stream_setup setup = vask::Get(env, options);
  if (env->ExceptionCheck() != JNI_FALSE) return;
  vask_stream_profile(device, os, &setup.options.profile);
  vask::Put(env, setup, options);
}

VASK_JAVA(jlong, open)(JNIEnv* env, jclass, jdoubleArray options, jstring path) {
  vask_stream_setup setup = vask::Get(env, options);
  if (env->ExceptionCheck() != JNI_FALSE) return 0;
  vask_model* const model = path != nullptr ? vask::OpenModel(env, path) : nullptr;
  if (path != nullptr && model == nullptr) return 0;
  return static_cast<jlong>(reinterpret_cast<intptr_t>(vask::OpenStream(env, setup, model)));
}

VASK_JAVA(jint, writeArray)(JNIEnv* env, jclass, jlong handle, jshortArray samples, jint offset, jint count) {
  int16_t piece[vask::kPiece];
  jint taken = 0;
  do {
    const jint n = std::min(count - taken, vask::kPiece);
    env->GetShortArrayRegion(samples, offset + taken, n, piece);
    if (env->ExceptionCheck() != JNI_FALSE) return 0;
    const int32_t result = vask_stream_write(vask::StreamOf(handle), piece, n);
    if (result < 0) return taken > 0 ? taken : result;
    taken += result;
    if (result < n) return taken;
  } while (taken < count);
  return taken;
}

VASK_JAVA(jint, writeBuffer)(JNIEnv* env, jclass, jlong handle, jobject buffer, jint offset, jint count) {
  const int16_t* const samples = vask::SamplesOf(env, buffer, offset);
  return samples != nullptr ? vask_stream_write(vask::StreamOf(handle), samples, count) : 0;
}

VASK_JAVA(jint, flush)(JNIEnv*, jclass, jlong handle) { return vask_stream_flush(vask::StreamOf(handle)); }

VASK_JAVA(jboolean, next)(JNIEnv* env, jclass, jlong handle, jlongArray values) {
  vask_stream_event event;
  if (vask_stream_next(vask::StreamOf(handle), &event) != 1) return JNI_FALSE;
  const std::array<jlong, 12> fields = {event.kind,
                                        event.reason,
                                        event.segment,
                                        event.continues,
                                        event.start,
                                        event.end,
                                        event.span_start,
                                        event.span_end,
                                        event.heard,
                                        event.voiced_frames,
                                        vask::Bits(event.voiced),
                                        vask::Bits(event.level_db)};
  vask::Put(env, fields, values);
  return JNI_TRUE;
}

VASK_JAVA(jint, available)(JNIEnv*, jclass, jlong handle) {
  return vask_stream_available(vask::StreamOf(handle));
}

VASK_JAVA(jint, readArray)(JNIEnv* env, jclass, jlong handle, jshortArray samples, jint offset, jint count) {
  int16_t piece[vask::kPiece];
  jint filled = 0;
  while (filled < count) {
    const jint n = vask_stream_read(vask::StreamOf(handle), piece, std::min(count - filled, vask::kPiece));
    if (n == 0) break;
    env->SetShortArrayRegion(samples, offset + filled, n, piece);
    if (env->ExceptionCheck() != JNI_FALSE) return 0;
    filled += n;
  }
  return filled;
}

VASK_JAVA(jint, readBuffer)(JNIEnv* env, jclass, jlong handle, jobject buffer, jint offset, jint count) {
  int16_t* const samples = vask::SamplesOf(env, buffer, offset);
  return samples != nullptr ? vask_stream_read(vask::StreamOf(handle), samples, count) : 0;
}

VASK_JAVA(void, measure)(JNIEnv* env, jclass, jlong handle, jlongArray values) {
  vask_stream_measures measures = {};
  vask_stream_measure(vask::StreamOf(handle), &measures);
  const std::array<jlong, 8> fields = {measures.heard,
                                       measures.detector_at,
                                       vask::Bits(measures.level_db),
                                       vask::Bits(measures.energy_db),
                                       vask::Bits(measures.noise_db),
                                       measures.speech,
                                       measures.voiced,
                                       measures.open};
  vask::Put(env, fields, values);
}

VASK_JAVA(jboolean, hear)(JNIEnv* env, jclass, jlong handle, jlongArray values) {
  vask_stream_hearing hearing = {};
  hearing.size = sizeof hearing;
  if (vask_stream_hear(vask::StreamOf(handle), &hearing) != 0) return JNI_FALSE;
  const std::array<jlong, 7> fields = {hearing.at,
                                       vask::Bits(hearing.speech),
                                       vask::Bits(hearing.speech_100ms_ago),
                                       vask::Bits(hearing.speech_200ms_ago),
                                       vask::Bits(hearing.utterance),
                                       vask::Bits(hearing.music),
                                       vask::Bits(hearing.high_gain)};
  vask::Put(env, fields, values);
  return JNI_TRUE;
}

VASK_JAVA(jint, setPause)(JNIEnv*, jclass, jlong handle, jfloat seconds) {
  return vask_stream_set_pause(vask::StreamOf(handle), seconds);
}

VASK_JAVA(void, reset)(JNIEnv*, jclass, jlong handle) { vask_stream_reset(vask::StreamOf(handle)); }

VASK_JAVA(void, close)(JNIEnv*, jclass, jlong handle) {
  vask::StreamOfJava* opened = &vask::Of(handle);
  vask_stream_close(opened->stream);
  vask_model_close(opened->model);
  vask::Release(opened);
}

}  // extern "C"
