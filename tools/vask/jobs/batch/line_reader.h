// A manifest's lines, one by one as they arrive.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "files/input_file.h"

namespace vask::command {

constexpr size_t kLongestLine = 1 << 18;  // bytes

struct ManifestLine {
  std::string text;  // without its end; the first bytes of one that is too long
  bool too_long = false;
};

class LineReader {
 public:
  // A file, gzip or not, or "-" for standard input, which is not unpacked: that would wait for more than a
  // line. Throws FileError.
  explicit LineReader(const std::string& path);

  // Waits for the next line; none at the end. Throws FileError, Interruption.
  std::optional<ManifestLine> Next();

 private:
  struct CloseGzip {
    void operator()(gzFile_s* file) const { gzclose(file); }
  };

  bool Fill();
  size_t ReadSome();

  InputFile file_;
  std::unique_ptr<gzFile_s, CloseGzip> gzip_;  // null: the file is read as it is
  std::vector<uint8_t> block_;
  bool is_first_ = true;        // the next line is: it may have a byte order mark
  size_t begin_ = 0, end_ = 0;  // what of it is not taken yet
};

}  // namespace vask::command
