#include <posix.h>

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "windows/handles.h"

namespace vask::command {
namespace {

constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr uint64_t kTicks = 10000000;  // of the system's time, in a second
constexpr int kTries = 100;            // names for a temporary file
constexpr uint64_t kLockAt = uint64_t{1}
                             << 62;  // where no file has bytes: a lock keeps others from reading there

struct Meaning {
  DWORD fault;
  int error;
};
constexpr Meaning kMeanings[] = {{ERROR_FILE_NOT_FOUND, ENOENT},    {ERROR_PATH_NOT_FOUND, ENOENT},
                                 {ERROR_INVALID_NAME, ENOENT},      {ERROR_BAD_PATHNAME, ENOENT},
                                 {ERROR_BAD_NETPATH, ENOENT},       {ERROR_FILE_EXISTS, EEXIST},
                                 {ERROR_ALREADY_EXISTS, EEXIST},    {ERROR_ACCESS_DENIED, EACCES},
                                 {ERROR_SHARING_VIOLATION, EACCES}, {ERROR_LOCK_VIOLATION, EWOULDBLOCK},
                                 {ERROR_INVALID_HANDLE, EBADF},     {ERROR_DISK_FULL, ENOSPC},
                                 {ERROR_HANDLE_DISK_FULL, ENOSPC},  {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
                                 {ERROR_BROKEN_PIPE, EPIPE},        {ERROR_NO_DATA, EPIPE},
                                 {ERROR_PIPE_NOT_CONNECTED, EPIPE}, {ERROR_NOT_SUPPORTED, ENOSYS},
                                 {ERROR_INVALID_FUNCTION, ENOSYS}};

int Fail() {
  const DWORD fault = GetLastError();
  errno = EIO;
  for (const Meaning& meaning : kMeanings) {
    if (meaning.fault == fault) errno = meaning.error;
  }
  return -1;
}

int SuccessIf(BOOL good) { return good != 0 ? 0 : Fail(); }

const char* NameOf(const char* name) { return std::strcmp(name, "/dev/null") == 0 ? "NUL" : name; }

OVERLAPPED At(int64_t place) {
  OVERLAPPED at = {};
  at.Offset = static_cast<DWORD>(place);
  at.OffsetHigh = static_cast<DWORD>(place >> 32);
  return at;
}

int FdOf(HANDLE handle, int flags) {
  if (handle == INVALID_HANDLE_VALUE) return Fail();
  const int fd = _open_osfhandle(reinterpret_cast<intptr_t>(handle), flags | _O_BINARY);
  if (fd < 0) CloseHandle(handle);
  return fd;
}

int Examine(HANDLE handle, struct stat& status) {
  status = {};
  const DWORD kind = GetFileType(handle);
  BY_HANDLE_FILE_INFORMATION facts;
  if (kind == FILE_TYPE_DISK) {
    if (GetFileInformationByHandle(handle, &facts) == 0) return Fail();
    const auto whole = [](DWORD high, DWORD low) { return uint64_t{high} << 32 | low; };
    status.st_dev = facts.dwVolumeSerialNumber;
    status.st_ino = whole(facts.nFileIndexHigh, facts.nFileIndexLow);
    status.st_nlink = facts.nNumberOfLinks;
    status.st_size = static_cast<int64_t>(whole(facts.nFileSizeHigh, facts.nFileSizeLow));
    const uint64_t written = whole(facts.ftLastWriteTime.dwHighDateTime, facts.ftLastWriteTime.dwLowDateTime);
    status.st_mtim.tv_sec = static_cast<time_t>(written / kTicks);
    status.st_mtim.tv_nsec = static_cast<long>(written % kTicks * (1000000000 / kTicks));
    status.st_mode = (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? _S_IFDIR : _S_IFREG;
  } else if (kind == FILE_TYPE_UNKNOWN) {
    errno = EBADF;
    return -1;
  } else {
    status.st_mode = kind == FILE_TYPE_PIPE ? _S_IFIFO : _S_IFCHR;
  }
  return 0;
}

}  // namespace

int stat(const char* name, struct stat* status) {
  // With the flag a folder can be opened as well.
  const HANDLE file = CreateFileA(NameOf(name), FILE_READ_ATTRIBUTES, kShared, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return Fail();
  const int result = Examine(file, *status);
  CloseHandle(file);
  return result;
}

int lstat(const char* name, struct stat* status) { return stat(name, status); }

int fstat(int fd, struct stat* status) { return Examine(HandleOf(fd), *status); }

int open(const char* name, int flags, int /*mode*/) {
  const int access = flags & (_O_WRONLY | _O_RDWR);
  const DWORD wanted = access == _O_RDWR     ? GENERIC_READ | GENERIC_WRITE
                       : access == _O_WRONLY ? GENERIC_WRITE
                                             : GENERIC_READ;
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, (flags & O_CLOEXEC) == 0};
  return FdOf(
      CreateFileA(NameOf(name), wanted, kShared, &inherited,
                  (flags & _O_CREAT) != 0 ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr),
      flags);
}

int mkostemp(char* name, int flags) {
  constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  const size_t length = std::strlen(name);
  for (int i = 0; i < kTries; ++i) {
    for (size_t at = length - 6; at < length; ++at) name[at] = kLetters[random() % (sizeof kLetters - 1)];
    const HANDLE file = CreateFileA(name, GENERIC_READ | GENERIC_WRITE, kShared, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_HIDDEN, nullptr);
    if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS) return FdOf(file, flags);
  }
  errno = EEXIST;
  return -1;
}

int pipe2(int* ends, int flags) { return _pipe(ends, 1 << 16, flags | _O_BINARY); }

int fcntl(int fd, int request, int /*value*/) {
  if (request == F_GETFL) {
    if (GetFileType(HandleOf(fd)) == FILE_TYPE_DISK) return 0;
    errno = ESPIPE;
    return -1;
  }
  HANDLE copy = INVALID_HANDLE_VALUE;
  const HANDLE self = GetCurrentProcess();
  if (DuplicateHandle(self, HandleOf(fd), self, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS) == 0) return Fail();
  return FdOf(copy, _O_NOINHERIT);
}

int isatty(int fd) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(fd), &mode) != 0;
}

int ioctl(int fd, int /*request*/, struct winsize* size) {
  CONSOLE_SCREEN_BUFFER_INFO screen;
  if (GetConsoleScreenBufferInfo(HandleOf(fd), &screen) == 0) return Fail();
  size->ws_col = static_cast<unsigned short>(screen.srWindow.Right - screen.srWindow.Left + 1);
  size->ws_row = static_cast<unsigned short>(screen.srWindow.Bottom - screen.srWindow.Top + 1);
  return 0;
}

ssize_t write(int fd, const void* from, size_t bytes) {
  DWORD n = 0;
  const bool good = WriteFile(HandleOf(fd), from, static_cast<DWORD>(bytes), &n, nullptr) != 0;
  return good ? static_cast<ssize_t>(n) : Fail();
}

ssize_t pread(int fd, void* to, size_t bytes, int64_t place) {
  OVERLAPPED at = At(place);
  DWORD n = 0;
  if (ReadFile(HandleOf(fd), to, static_cast<DWORD>(bytes), &n, &at) == 0 &&
      GetLastError() != ERROR_HANDLE_EOF)
    return Fail();
  return n;
}

ssize_t pwrite(int fd, const void* from, size_t bytes, int64_t place) {
  OVERLAPPED at = At(place);
  DWORD n = 0;
  return WriteFile(HandleOf(fd), from, static_cast<DWORD>(bytes), &n, &at) != 0 ? static_cast<ssize_t>(n)
                                                                                : Fail();
}

int fsync(int fd) { return SuccessIf(FlushFileBuffers(HandleOf(fd))); }

int fdatasync(int fd) { return fsync(fd); }

int fchmod(int /*fd*/, unsigned int /*mode*/) { return 0; }

int flock(int fd, int request) {
  OVERLAPPED at = At(static_cast<int64_t>(kLockAt));
  const DWORD flags = LOCKFILE_EXCLUSIVE_LOCK | ((request & LOCK_NB) != 0 ? LOCKFILE_FAIL_IMMEDIATELY : 0);
  return SuccessIf(LockFileEx(HandleOf(fd), flags, 0, 1, 0, &at));
}

int rename(const char* from, const char* to) {
  // A temporary file was hidden.
  SetFileAttributesA(from, FILE_ATTRIBUTE_NORMAL);
  if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) return 0;
  // What is open keeps its place, but can be moved out of the way.
  const std::string aside = std::string(from) + ".old";
  if (MoveFileExA(to, aside.c_str(), 0) == 0) return Fail();
  const int result = SuccessIf(MoveFileExA(from, to, MOVEFILE_WRITE_THROUGH));
  if (result != 0) MoveFileExA(aside.c_str(), to, 0);
  DeleteFileA(aside.c_str());
  return result;
}

int unlink(const char* name) { return SuccessIf(DeleteFileA(name)); }

}  // namespace vask::command
