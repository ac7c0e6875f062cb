// Names of kinds and reasons, as the command's listings have them.
#include <vask/stream.h>

extern "C" {

const char* vask_stream_kind_name(int32_t kind) {
  switch (kind) {
    case VASK_STREAM_STARTED:
      return "started";
    case VASK_STREAM_ENDED:
      return "ended";
    case VASK_STREAM_REJECTED:
      return "rejected";
    case VASK_STREAM_MAY_HAVE_ENDED:
      return "may-have-ended";
    case VASK_STREAM_WENT_ON:
      return "went-on";
    case VASK_STREAM_NOBODY_SPOKE:
      return "nobody-spoke";
    default:
      return "unknown";
  }
}

const char* vask_stream_reason_name(int32_t reason) {
  switch (reason) {
    case VASK_STREAM_BY_SILENCE:
      return "silence";
    case VASK_STREAM_BY_LONG_NOISE:
      return "long-noise";
    case VASK_STREAM_BY_INPUT_END:
      return "input-end";
    case VASK_STREAM_BY_SPLIT:
      return "split";
    case VASK_STREAM_TOO_SHORT:
      return "too-short";
    case VASK_STREAM_TOO_LITTLE_VOICE:
      return "too-little-voice";
    case VASK_STREAM_TONES:
      return "tones";
    default:
      return "unknown";
  }
}

}  // extern "C"
