// `vask packets` and `vask unpack`: the utterances of a file as IMA ADPCM packets, and back.
#ifndef TOOLS_VASK_JOBS_PACKETS_H_
#define TOOLS_VASK_JOBS_PACKETS_H_

#include <vask/stream.h>

#include <cstdint>
#include <string>

namespace vask::command {

struct PacketOptions {
  int32_t bytes = 160;  // of codes in a packet: 20 ms
  bool bare = false;    // without headers, all utterances one stream of codes
};

// Writes the utterances of `input` to `output`, cleaned. Throws FileError, FatalError.
void Pack(const vask_stream_options& stream_options, const std::string& input, const std::string& output,
          const PacketOptions& options);

// Writes the samples of a headed stream to the WAV file `output`. What is wrong with the stream is a
// FileError that names the byte; `output` then holds the whole packets before it, if there are any.
void Unpack(const std::string& input, const std::string& output);

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_PACKETS_H_
