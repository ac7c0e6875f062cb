// What the native methods need of the virtual machine: exceptions and strings.
#pragma once

#include <jni.h>

namespace vask {

inline void Throw(JNIEnv* env, const char* type, const char* message) {
  const jclass found = env->FindClass(type);
  if (found != nullptr) env->ThrowNew(found, message);  // otherwise FindClass has thrown already
}

// The characters of a Java string, as long as this object lives; null if there is no string or no memory.
class Text {
 public:
  Text(JNIEnv* env, jstring string)
      : env_(env),
        string_(string),
        characters_(string != nullptr ? env->GetStringUTFChars(string, nullptr) : nullptr) {}
  ~Text() {
    if (characters_ != nullptr) env_->ReleaseStringUTFChars(string_, characters_);
  }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  const char* Characters() const { return characters_; }

 private:
  JNIEnv* env_;
  jstring string_;
  const char* characters_;
};

}  // namespace vask
