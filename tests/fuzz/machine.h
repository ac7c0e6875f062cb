// A virtual machine for the native methods, as small as they need it: its calls fail where the input says so,
// and it ends the process where they break the rules of JNI.
#pragma once

#include <jni.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"

namespace vask::fuzz {

// An array, a string or a direct buffer, with exactly its bytes.
struct Object {
  template <typename T>
  explicit Object(const std::vector<T>& values)
      : bytes(new uint8_t[values.size() * sizeof(T)]), count(static_cast<jsize>(values.size())) {
    if (count > 0) std::memcpy(bytes.get(), values.data(), values.size() * sizeof(T));
  }
  template <typename T>
  std::vector<T> Values() const {
    std::vector<T> values(static_cast<size_t>(count));
    if (count > 0) std::memcpy(values.data(), bytes.get(), values.size() * sizeof(T));
    return values;
  }

  std::unique_ptr<uint8_t[]> bytes;
  jsize count;
};

template <typename T>
T Handle(Object* object) {
  return reinterpret_cast<T>(object);
}

class Machine {
 public:
  explicit Machine(Input& input) : input_(input) {
    calls_.FindClass = FindClass;
    calls_.ThrowNew = ThrowNew;
    calls_.ExceptionCheck = [](JNIEnv*) { return static_cast<jboolean>(now_->pending_); };
    calls_.NewStringUTF = NewString;
    calls_.GetStringUTFChars = GetCharacters;
    calls_.ReleaseStringUTFChars = [](JNIEnv*, jstring string, const char* characters) {
      now_->GiveBack(ObjectOf(string), characters);
      delete[] characters;
    };
    calls_.GetArrayLength = [](JNIEnv*, jarray array) { return now_->Enter(ObjectOf(array)).count; };
    calls_.GetShortArrayElements = GetElements;
    calls_.ReleaseShortArrayElements = [](JNIEnv*, jshortArray array, jshort* elements, jint mode) {
      VASK_REQUIRE(mode == 0);  // otherwise nothing is copied back, or nothing released
      Object& object = now_->GiveBack(ObjectOf(array), elements);
      std::memcpy(object.bytes.get(), elements, static_cast<size_t>(object.count) * sizeof *elements);
      delete[] elements;
    };
    calls_.GetShortArrayRegion = GetRegion<jshortArray, jshort>;
    calls_.GetDoubleArrayRegion = GetRegion<jdoubleArray, jdouble>;
    calls_.SetByteArrayRegion = SetRegion<jbyteArray, jbyte>;
    calls_.SetShortArrayRegion = SetRegion<jshortArray, jshort>;
    calls_.SetLongArrayRegion = SetRegion<jlongArray, jlong>;
    calls_.SetDoubleArrayRegion = SetRegion<jdoubleArray, jdouble>;
    calls_.GetDirectBufferAddress = [](JNIEnv*, jobject buffer) {
      return now_->Fails(false) ? nullptr : static_cast<void*>(now_->Enter(ObjectOf(buffer)).bytes.get());
    };
    env_.functions = &calls_;
    now_ = this;
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  JNIEnv* env() { return &env_; }

  // What a native method has left behind; then the caller catches the exception. The messages of those that
  // it threw itself are in `thrown`.
  struct End {
    bool exception;
    std::string thrown;
  };
  End Return() {
    VASK_REQUIRE(held_.empty());  // every string and every array is released
    VASK_REQUIRE(references_ <= 16);
    references_ = 0;
    return {std::exchange(pending_, false), std::exchange(thrown_, "")};
  }

 private:
  static Object* ObjectOf(jobject object) { return reinterpret_cast<Object*>(object); }

  // Only what releases and what checks may be called with an exception pending.
  Object& Enter(Object* object) {
    VASK_REQUIRE(!pending_ && object != nullptr);
    return *object;
  }
  bool Fails(bool throws = true) {
    VASK_REQUIRE(!pending_);
    const bool fails = input_.ConsumeIntegralInRange<int>(0, 15) == 15;
    if (fails && throws) pending_ = true;
    return fails;
  }
  bool Spans(const Object& object, jsize start, jsize n) {
    if (start < 0 || n < 0 || n > object.count - start) pending_ = true;  // ArrayIndexOutOfBoundsException
    return !pending_ && !Fails();
  }
  Object& GiveBack(Object* object, const void* memory) {
    VASK_REQUIRE(object != nullptr && held_.erase(memory) == 1);
    return *object;
  }
  template <typename T>
  T* Lend(const Object& object, size_t more) {
    T* const copy = new T[static_cast<size_t>(object.count) + more]();
    std::memcpy(copy, object.bytes.get(), static_cast<size_t>(object.count) * sizeof *copy);
    held_.insert(copy);
    return copy;
  }

  static jclass FindClass(JNIEnv*, const char* name) {
    VASK_REQUIRE(std::string_view(name).starts_with("java/lang/"));
    if (now_->Fails()) return nullptr;
    ++now_->references_;
    return Handle<jclass>(&now_->class_);
  }
  static jint ThrowNew(JNIEnv*, jclass type, const char* message) {
    now_->Enter(ObjectOf(type));
    now_->thrown_ = message;
    VASK_REQUIRE(!now_->thrown_.empty());
    const bool fails = now_->Fails();  // with another exception
    now_->pending_ = true;
    return fails ? -1 : 0;
  }
  static jstring NewString(JNIEnv*, const char* text) {
    VASK_REQUIRE(!now_->pending_ && text != nullptr && *text != '\0');
    if (now_->Fails()) return nullptr;
    ++now_->references_;
    return Handle<jstring>(&now_->class_);
  }
  static const char* GetCharacters(JNIEnv*, jstring string, jboolean*) {
    const Object& object = now_->Enter(ObjectOf(string));
    return now_->Fails() ? nullptr : now_->Lend<char>(object, 1);
  }
  static jshort* GetElements(JNIEnv*, jshortArray array, jboolean*) {
    const Object& object = now_->Enter(ObjectOf(array));
    return now_->Fails() ? nullptr : now_->Lend<jshort>(object, 0);
  }
  template <typename Array, typename T>
  static void GetRegion(JNIEnv*, Array array, jsize start, jsize n, T* to) {
    const Object& object = now_->Enter(ObjectOf(array));
    if (now_->Spans(object, start, n) && n > 0)
      std::memcpy(to, reinterpret_cast<T*>(object.bytes.get()) + start, static_cast<size_t>(n) * sizeof(T));
  }
  template <typename Array, typename T>
  static void SetRegion(JNIEnv*, Array array, jsize start, jsize n, const T* from) {
    const Object& object = now_->Enter(ObjectOf(array));
    if (now_->Spans(object, start, n) && n > 0)
      std::memcpy(reinterpret_cast<T*>(object.bytes.get()) + start, from, static_cast<size_t>(n) * sizeof(T));
  }

  static inline Machine* now_ = nullptr;

  Input& input_;
  JNINativeInterface_ calls_ = {};  // any other call ends the process
  JNIEnv env_ = {};
  Object class_{std::vector<char>()};
  std::set<const void*> held_;
  int references_ = 0;
  bool pending_ = false;
  std::string thrown_;
};

}  // namespace vask::fuzz
