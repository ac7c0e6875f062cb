// The native methods of the Java class com.norv.Brindle.Vask: Java arrays and strings in and out, the C
// interface beneath. Threads take turns at the stream and at the file; each method is one turn.
//
// A caller's error becomes a Java exception before anything is taken from the queue or read from the file,
// and the virtual machine is not called again after that.
#include <jni.h>
#include <vask/vask.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>

#include "dsp/memory.h"
#include "jni/environment.h"
#include "jni/raw_file_reader.h"
#include "process/raw_file.h"
#include "process/turn.h"

namespace vask {
namespace {

// Whether there is memory to start the engine, 700 KB on 64 bits: without it the environment check ends the
// process. One and a half times as much is allocated, in blocks as small as its own, and released.
bool HasMemoryForStart() {
  struct Block {
    Block* next;
    uint8_t rest[248];
  };
  constexpr int32_t kBlocks = (1 << 20) / sizeof(Block);
  Block* blocks = nullptr;
  int32_t count = 0;
  for (; count < kBlocks; ++count) {
    Block* block = NewZeroed<Block>(1);
    if (block == nullptr) break;
    block->next = blocks;
    blocks = block;
  }
  while (blocks != nullptr) {
    Block* next = blocks->next;
    Release(blocks);
    blocks = next;
  }
  return count == kBlocks;
}

// False: NullPointerException has been thrown.
bool IsThere(JNIEnv* env, jarray array) {
  if (array != nullptr) return true;
  Throw(env, "java/lang/NullPointerException", "the array is null");
  return false;
}

void ThrowTooShort(JNIEnv* env, int32_t count, int32_t length) {
  char message[80];
  std::snprintf(message, sizeof message, "%d elements asked of an array of %d", count, length);
  Throw(env, "java/lang/ArrayIndexOutOfBoundsException", message);
}

// False: ArrayIndexOutOfBoundsException has been thrown.
bool Holds(JNIEnv* env, jarray array, int32_t count) {
  const int32_t length = env->GetArrayLength(array);
  if (count >= 0 && count <= length) return true;
  ThrowTooShort(env, count, length);
  return false;
}

void Copy(JNIEnv* env, std::span<const int16_t> from, jshortArray to) {
  env->SetShortArrayRegion(to, 0, static_cast<jsize>(from.size()), from.data());
}

void Copy(JNIEnv* env, std::span<const uint8_t> from, jbyteArray to) {
  // jbyte is a signed char, by which any byte may be read.
  env->SetByteArrayRegion(to, 0, static_cast<jsize>(from.size()),
                          reinterpret_cast<const jbyte*>(from.data()));
}

// `fill` puts up to `count` elements into a buffer, which are copied to the front of `out`. Returns how many
// there were; 0, with an exception, if `out` is shorter than `count`; 0 if there is no memory.
template <typename T, typename Array, typename Fill>
jint Deliver(JNIEnv* env, Array out, int32_t count, const Fill& fill) {
  if (count < 1 || !Holds(env, out, count)) return 0;
  T* buffer = NewZeroed<T>(count);
  if (buffer == nullptr) return 0;
  const int32_t filled = fill(buffer);
  if (filled > 0) Copy(env, std::span<const T>(buffer, static_cast<size_t>(filled)), out);
  Release(buffer);
  return filled;
}

// Read up to n values of the open file into the front of `out`. Whether they fit shows only when they are
// read: one more than fits is tried, and if it is there, the file is put back to where it was, if it can
// seek.
template <typename T, typename Array>
jint Read(JNIEnv* env, int32_t n, Array out) {
  const RawFile& raw = FileOfTheProcess();
  if (raw.file == nullptr || n < 1 || !IsThere(env, out)) return 0;
  const int32_t length = env->GetArrayLength(out);
  const int32_t wanted = n > length ? length + 1 : n;
  T* buffer = NewZeroed<T>(wanted);
  if (buffer == nullptr) return 0;
  const auto start = std::ftell(raw.file);
  int32_t count = ReadRawFile<T>(raw, {buffer, static_cast<size_t>(wanted)});
  if (count > length) {
    if (start >= 0) std::fseek(raw.file, start, SEEK_SET);
    count = 0;
    ThrowTooShort(env, n, length);
  } else if (count > 0) {
    Copy(env, std::span<const T>(buffer, static_cast<size_t>(count)), out);
  }
  Release(buffer);
  return count;
}

}  // namespace
}  // namespace vask

#define VASK_JAVA(result, method) JNIEXPORT result JNICALL Java_com_norv_Brindle_Vask_##method

extern "C" {

VASK_JAVA(jint, Vask_1epd_1init)(JNIEnv* env, jobject, jstring kb_dir, jint mode) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  const vask::Text dir(env, kb_dir);
  if (dir.Characters() == nullptr) return 0;
  if (!vask::HasMemoryForStart()) {
    vask::Throw(env, "java/lang/OutOfMemoryError", "the front end finds no memory to start");
    return 0;
  }
  return android_init_frontend(dir.Characters(), mode);
}

VASK_JAVA(jint, Vask_1epd_1set_1option)(JNIEnv*, jobject, jint option, jint value) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  Vask_epd_set_option(option, value);
  return 0;
}

VASK_JAVA(jint, Vask_1epd_1process_1frames)(JNIEnv* env, jobject, jint n, jshortArray samples) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  if (samples == nullptr || !vask::Holds(env, samples, n)) return 0;
  jshort* elements = env->GetShortArrayElements(samples, nullptr);
  if (elements == nullptr) return 0;
  const jint result = android_process_frame(n, elements);
  env->ReleaseShortArrayElements(samples, elements, 0);  // 0: the clipped samples are copied back
  return result;
}

VASK_JAVA(jint, Vask_1epd_1get_1raw_1data)(JNIEnv* env, jobject, jint max, jshortArray out) {
  if (max < 1) return max;
  const vask::Turn turn(vask::TurnsAtTheStream());
  if (!vask::IsThere(env, out)) return 0;
  const int32_t count = std::min(max, android_get_available_frames());
  return vask::Deliver<int16_t>(env, out, count, [=](int16_t* to) { return android_get_frames(count, to); });
}

VASK_JAVA(jint, Vask_1epd_1get_1pkt_1data)(JNIEnv* env, jobject, jint n, jbyteArray out, jint last) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  if (n < 1 || !vask::IsThere(env, out)) return 0;
  const int32_t bytes = vask_packet_size(n, last);
  return vask::Deliver<uint8_t>(env, out, bytes,
                                [=](uint8_t* to) { return vask_take_packet(n, to, bytes, last); });
}

VASK_JAVA(jint, Vask_1epd_1get_1pkt_1stream)(JNIEnv* env, jobject, jint n, jbyteArray out, jint last) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  if (n < 1 || !vask::IsThere(env, out)) return 0;
  const int32_t bytes = vask_packet_stream_size(n, last);
  return vask::Deliver<uint8_t>(env, out, bytes,
                                [=](uint8_t* to) { return vask_take_packet_stream(n, to, bytes, last); });
}

VASK_JAVA(jint, Vask_1epd_1wrapup)(JNIEnv*, jobject) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  android_wrapup_frontend();
  return 1;
}

VASK_JAVA(void, Vask_1epd_1reset)(JNIEnv*, jobject) {
  const vask::Turn turn(vask::TurnsAtTheStream());
  android_reset_frontend();
  refersh_adpcm_state();
}

VASK_JAVA(jint, Vask_1epd_1get_1mfc_1data)(JNIEnv*, jobject) { return 0; }

VASK_JAVA(jint, Vask_1fopen)(JNIEnv* env, jobject, jstring path) {
  const vask::Turn turn(vask::TurnsAtTheFile());
  const vask::Text name(env, path);
  vask::RawFile& raw = vask::FileOfTheProcess();
  return name.Characters() != nullptr ? vask::OpenRawFile(raw, name.Characters()) : raw.Token();
}

VASK_JAVA(jint, Vask_1fread)(JNIEnv* env, jobject, jint n, jshortArray out) {
  const vask::Turn turn(vask::TurnsAtTheFile());
  return vask::Read<int16_t>(env, n, out);
}

VASK_JAVA(jint, Vask_1fread_1byte)(JNIEnv* env, jobject, jint n, jbyteArray out) {
  const vask::Turn turn(vask::TurnsAtTheFile());
  return vask::Read<uint8_t>(env, n, out);
}

VASK_JAVA(jint, Vask_1fclose)(JNIEnv*, jobject) {
  const vask::Turn turn(vask::TurnsAtTheFile());
  return vask::CloseRawFile(vask::FileOfTheProcess());
}

}  // extern "C"
