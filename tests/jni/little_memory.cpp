// A limit to the library's memory, set by VaskWithoutMemoryTest; setting it returns what was left. The linker
// redirects the library's calls to this file.
#include <jni.h>
#include <malloc.h>

#include <cstddef>

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* block);

}  // extern "C"

namespace {

bool is_limited = false;
size_t left = 0;  // bytes

void* Obtain(void* block) {
  const size_t size = malloc_usable_size(block);
  if (!is_limited) return block;
  if (size > left) {
    __real_free(block);
    return nullptr;
  }
  left -= size;
  return block;
}

}  // namespace

extern "C" {

void* __wrap_malloc(size_t size) { return Obtain(__real_malloc(size)); }
void* __wrap_calloc(size_t count, size_t size) { return Obtain(__real_calloc(count, size)); }
void __wrap_free(void* block) {
  left += malloc_usable_size(block);
  __real_free(block);
}

JNIEXPORT jint JNICALL Java_com_norv_Brindle_VaskWithoutMemoryTest_limit(JNIEnv*, jclass, jint bytes) {
  const auto before = static_cast<jint>(left);
  is_limited = bytes >= 0;
  left = is_limited ? static_cast<size_t>(bytes) : 0;
  return before;
}

}  // extern "C"
