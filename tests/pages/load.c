/*
 * Load a library, as a Java virtual machine would, and run its codec over a signal.
 *
 *   load LIBRARY      prints a digest of the codes; exit status 1 and the loader's message if it does not
 * load
 */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { kSamples = 1000000 };

static int16_t samples[kSamples];
static uint8_t codes[kSamples / 2];

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  void* library = dlopen(argv[1], RTLD_NOW);
  if (library == NULL) {
    printf("refused with pages of %ld bytes: %s\n", sysconf(_SC_PAGESIZE), dlerror());
    return 1;
  }
  int32_t (*encode)(const int16_t*, uint8_t*, int32_t) = NULL;
  void* symbol = dlsym(library, "short_to_adpcm");
  memcpy(&encode, &symbol, sizeof encode);
  if (encode == NULL) return 1;

  uint32_t random = 1;
  for (int i = 0; i < kSamples; ++i) {
    random = 1664525 * random + 1013904223;
    samples[i] = (int16_t)((int32_t)random >> (16 + i / 10000 % 14)); /* from full scale to silence */
  }
  const int32_t last = encode(samples, codes, kSamples);
  uint64_t digest = 1469598103934665603u;
  for (int i = 0; i < kSamples / 2; ++i) digest = (digest ^ codes[i]) * 1099511628211u;
  fprintf(stderr, "loaded with pages of %ld bytes\n", sysconf(_SC_PAGESIZE));
  printf("%016llx %d\n", (unsigned long long)digest, last);
  return 0;
}
