#include "jobs/detect/utterance_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "files/output_file.h"
#include "jobs/detect/clip_names.h"
#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

const std::string& MadeFolder(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error || !fs::is_directory(folder, error)) {
    throw FatalError(Printable(folder) + ": cannot be created as a folder (" +
                     (error ? error.message() : "a file of this name exists") + "): choose another");
  }
  return folder;
}

}  // namespace

UtteranceFiles::UtteranceFiles(const DetectArguments& arguments, const std::vector<SoundInput>& sounds,
                               const std::string& settings, Inputs inputs)
    : folder_(MadeFolder(arguments.output)),
      arguments_(arguments),
      journal_(folder_, settings, sounds.size(), !arguments.no_wait),
      bases_(BasesOf(sounds, arguments.resume ? journal_.Bases() : std::map<std::string, std::string>())),
      inputs_(std::move(inputs)),
      fd_(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  RemoveLeftovers(folder_);
}

UtteranceFiles::~UtteranceFiles() {
  if (fd_ >= 0) close(fd_);
}

std::string UtteranceFiles::Whole(const std::string& name) const {
  return (fs::path(folder_) / name).string();
}

bool UtteranceFiles::IsThere(const std::string& name) const {
  struct stat status;
  return lstat(Whole(name).c_str(), &status) == 0;
}

std::optional<FileStamp> UtteranceFiles::StampOf(const std::string& name) const {
  const int fd = open(Whole(name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  FileStamp stamp = {name};
  std::array<uint8_t, 1 << 16> block;
  ssize_t n = 0;
  while ((n = read(fd, block.data(), block.size())) > 0) {
    stamp.crc = static_cast<uint32_t>(crc32(stamp.crc, block.data(), static_cast<uInt>(n)));
    stamp.size += n;
  }
  close(fd);
  if (n < 0) return std::nullopt;
  return stamp;
}

// Only the names: each file is on the disk before it gets its name.
void UtteranceFiles::Sync() const {
  if (fsync(fd_) != 0 && errno != EINVAL && errno != ENOSYS && errno != EBADF) {
    throw FileError(folder_, std::string("cannot be written (") + std::strerror(errno) + ")",
                    "check the disk; --resume will process this input again");
  }
}

InputFiles::InputFiles(UtteranceFiles& folder, const SoundInput& input) : folder_(folder) {
  const std::string path = PathOf(input);
  state_ = StateOf(path, folder.bases_.at(path), input.path);
}

std::optional<Finished> InputFiles::TakeFinished() {
  if (!folder_.arguments_.resume || !state_.repeatable) return std::nullopt;
  std::optional<Finished> finished = folder_.journal_.Find(state_);
  if (!finished) return std::nullopt;
  for (const FileStamp& file : finished->files) {
    if (folder_.StampOf(file.name) != file) return std::nullopt;
  }
  made_ = finished->files;
  noted_ = folder_.journal_.NamesOf(state_).size() == made_.size();
  return finished;
}

void InputFiles::Check() const {
  if (folder_.arguments_.overwrite) return;
  std::vector<std::string> names = folder_.journal_.RivalsOf(state_);
  if (!state_.repeatable) {
    for (std::string& name : folder_.journal_.NamesOf(state_)) names.push_back(std::move(name));
  }
  for (const std::string& name : names) {
    const std::optional<std::string> owner = folder_.journal_.OwnerOf(name);
    if (owner && !owner->starts_with('?') && folder_.IsThere(name)) Refuse(name, owner);
  }
}

std::unique_ptr<SoundWriter> InputFiles::MakeUtterance(int number, const SoundForm& form) {
  return MakeSoundWriter(ToWrite(NameOf(number)), form);
}

void InputFiles::KeepUtterance(SoundWriter& writer, int number) {
  writer.Commit();
  made_.push_back(StampOf(NameOf(number)));
  noted_ = false;
}

std::string InputFiles::ListingToWrite(const std::string& ending) { return ToWrite(state_.base + ending); }

// A finished input has one already if it was listed in the same form.
void InputFiles::KeepListing(const std::string& ending) {
  FileStamp stamp = StampOf(state_.base + ending);
  if (std::find(made_.begin(), made_.end(), stamp) != made_.end()) return;
  std::erase_if(made_, [&](const FileStamp& file) { return file.name == stamp.name; });
  made_.push_back(std::move(stamp));
  noted_ = false;
}

FileStamp InputFiles::StampOf(const std::string& name) const {
  std::optional<FileStamp> stamp = folder_.StampOf(name);
  if (!stamp) throw FileError(folder_.Whole(name), "has disappeared", "leave it alone until the run ends");
  return *std::move(stamp);
}

std::string InputFiles::NameOf(int number) const {
  char digits[24];
  std::snprintf(digits, sizeof digits, "-%03d.%s", number, folder_.arguments_.flac ? "flac" : "wav");
  return state_.base + digits;
}

// The full path, after the journal has a line that claims the file.
std::string InputFiles::ToWrite(const std::string& name) {
  const std::string whole = folder_.Whole(name);
  folder_.inputs_.CheckIsNone(whole);
  if (!folder_.arguments_.overwrite && folder_.IsThere(name)) {
    const std::optional<std::string> owner = folder_.journal_.OwnerOf(name);
    if (!owner || (*owner != state_.path && !owner->starts_with('?'))) Refuse(name, owner);
  }
  folder_.journal_.Claim(state_, name);
  return whole;
}

void InputFiles::Refuse(const std::string& name, const std::optional<std::string>& owner) const {
  std::string wrong = "is not from an earlier run";
  std::string remedy = "--overwrite replaces it, or choose another folder";
  if (owner && *owner == state_.path) {
    wrong = "is from an earlier run, which read other sound from there";
  } else if (owner) {
    wrong = "belongs to another recording, " + *owner;
    remedy = "--resume keeps both, " + remedy;
  }
  throw FileError(folder_.Whole(name), wrong, remedy);
}

void InputFiles::Finish(const Recording& recording, const SegmentNotes& notes, bool is_whole) {
  if (noted_) return;
  if (RemoveWhatIsOver() || !made_.empty()) folder_.Sync();
  if (state_.repeatable && is_whole) folder_.journal_.Add(state_, recording, made_, notes);
}

bool InputFiles::RemoveWhatIsOver() {
  bool removed = false;
  std::set<std::string> keep;
  for (const FileStamp& file : made_) keep.insert(file.name);
  std::vector<std::string> known = folder_.journal_.NamesOf(state_);
  for (std::string& name : folder_.journal_.RivalsOf(state_)) known.push_back(std::move(name));
  for (const std::string& name : known) {
    struct stat status;
    const std::string whole = folder_.Whole(name);
    if (keep.contains(name) || lstat(whole.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    if (folder_.inputs_.Contain(whole)) continue;
    if (unlink(whole.c_str()) != 0) {
      throw FileError(whole, std::string("cannot be removed (") + std::strerror(errno) + ")",
                      "remove it, an earlier run left it");
    }
    removed = true;
  }
  return removed;
}

}  // namespace vask::command
