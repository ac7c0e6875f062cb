#include "jobs/batch/line_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kBlockBytes = 1 << 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

gzFile_s* OpenGzip(const InputFile& file) {
  const int fd = fcntl(file.fd(), F_DUPFD_CLOEXEC, 0);
  gzFile_s* const gzip = fd < 0 ? nullptr : gzdopen(fd, "r");
  if (gzip == nullptr && fd >= 0) close(fd);
  if (gzip == nullptr) throw std::bad_alloc();
  return gzip;
}

}  // namespace

LineReader::LineReader(const std::string& path)
    : file_(path), gzip_(HasEnding(path, ".gz") ? OpenGzip(file_) : nullptr), block_(kBlockBytes) {}

std::optional<ManifestLine> LineReader::Next() {
  ManifestLine line;
  bool any = false;
  while (begin_ < end_ || Fill()) {
    any = true;
    const auto first = block_.begin() + static_cast<std::ptrdiff_t>(begin_);
    const auto last = block_.begin() + static_cast<std::ptrdiff_t>(end_);
    const auto newline = std::find(first, last, '\n');
    const auto room = static_cast<std::ptrdiff_t>(kLongestLine - line.text.size());
    line.too_long |= newline - first > room;
    line.text.append(first, first + std::min(newline - first, room));
    begin_ = static_cast<size_t>(newline - block_.begin());
    if (newline == last) continue;
    ++begin_;
    break;
  }
  if (!any) return std::nullopt;
  if (line.text.ends_with('\r')) line.text.pop_back();
  if (std::exchange(is_first_, false) && line.text.starts_with(kByteOrderMark))
    line.text.erase(0, kByteOrderMark.size());
  return line;
}

bool LineReader::Fill() {
  begin_ = 0;
  end_ = ReadSome();
  return end_ > 0;
}

size_t LineReader::ReadSome() {
  if (!gzip_) return file_.ReadSome(block_);
  const int n = gzread(gzip_.get(), block_.data(), static_cast<unsigned>(block_.size()));
  int error = Z_OK;
  gzerror(gzip_.get(), &error);
  // One that ends early gives what there is first, and then only the code.
  if (n < 0 || (n == 0 && error != Z_OK && error != Z_STREAM_END)) {
    throw FileError(file_.name(), "is damaged, or no gzip file", "write it again");
  }
  return static_cast<size_t>(n);
}

}  // namespace vask::command
