// The calls of POSIX that the command makes and Windows lacks or has with other meanings. They stand in the
// command's namespace, so its sources call them by their usual names and stay as they are; the headers in
// system/ lead here.
#pragma once

#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <signal.h>
#include <stdint.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include <cstddef>

// Macros there.
#undef stat
#undef fstat

// What no file there has or needs is 0.
#define O_NONBLOCK 0
#define O_NOCTTY 0
#define O_NOFOLLOW 0
#define O_DIRECTORY 0
#define O_CLOEXEC _O_NOINHERIT
#define F_DUPFD_CLOEXEC 1
#define F_GETFL 2
#define LOCK_EX 1
#define LOCK_NB 2
#define TIOCGWINSZ 1
#define PIPE_BUF 4096
#define SIGPIPE 13
#define EDQUOT 122
#define S_ISLNK(mode) 0

namespace vask::command {

// With what tells two files apart, which the system's own record leaves at 0.
struct stat {
  uint64_t st_dev, st_ino;
  uint64_t st_nlink;
  unsigned int st_mode;
  int64_t st_size;
  struct timespec st_mtim;  // since 1601
};

struct winsize {
  unsigned short ws_row, ws_col;
};

// All names are in the process's code page, which the manifest sets to UTF-8. A result of -1 comes with
// errno.
int stat(const char* name, struct stat* status);
int lstat(const char* name, struct stat* status);
int fstat(int fd, struct stat* status);

// Files are opened so that they can be renamed and removed meanwhile. /dev/null is there too.
int open(const char* name, int flags, int mode = 0);
int mkostemp(char* name, int flags);
int pipe2(int* ends, int flags);
int fcntl(int fd, int request,
          int value = 0);  // F_DUPFD_CLOEXEC, and F_GETFL, which fails for what has no places
int isatty(int fd);        // not the null device, which is one to the system
int ioctl(int fd, int request, struct winsize* size);

ssize_t write(int fd, const void* from, size_t bytes);  // EPIPE once nobody reads
ssize_t pread(int fd, void* to, size_t bytes, int64_t at);
ssize_t pwrite(int fd, const void* from, size_t bytes, int64_t at);
int fsync(int fd);
int fdatasync(int fd);
int fchmod(int fd, unsigned int mode);  // there are no modes
int flock(int fd, int request);

// In place of what has the name, even if that is open.
int rename(const char* from, const char* to);
int unlink(const char* name);

}  // namespace vask::command
