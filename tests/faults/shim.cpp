// Makes one chosen allocation, system call or thread of a program fail, or kills it there; loaded before it
// by LD_PRELOAD. From main on, the program is a server: for each line "KIND N" on the descriptor that
// VASK_FAULTS names it forks, and the child is the program, in the same folder, with the N-th of a kind
// failing; the answer is one line, "STATUS COUNT WHERE": how the child ended (as in wait()), how many of the
// kind there were, and the number of the system call that failed, or the library whose allocation did.
//
// once, ever         the N-th allocation, or all from the N-th on
// thread             all new threads from the N-th on
// EIO ENOSPC EINTR   the N-th system call of those that can fail so
// short              the N-th read or write that is of more than one byte does half of it
// kill               the process ends before the N-th system call
//
// A program may look at what is allocated by FaultsLive() and end the faults by FaultsEnd(). In Java's
// virtual machine there is no server: FaultsBegin() starts the faults, for the allocations of the named
// library alone.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
long FaultsSystemCall(long number, long a, long b, long c, long d, long e, long f);
extern const char kFaultsAfterSystemCall;
}

// The only system calls that the filter lets pass are those from here.
asm(R"(
.text
.type FaultsSystemCall, @function
FaultsSystemCall:
  mov %rdi, %rax
  mov %rsi, %rdi
  mov %rdx, %rsi
  mov %rcx, %rdx
  mov %r8, %r10
  mov %r9, %r8
  mov 8(%rsp), %r9
  syscall
kFaultsAfterSystemCall:
  ret
)");

namespace {

enum class Kind { kNone, kAllocation, kThread, kError, kShort, kKill };

struct Shared {  // with the server
  std::atomic<int64_t> count;
  char where[64];  // the library whose allocation failed, or the number of the system call
};

Kind kind = Kind::kNone;
int64_t failing = 0;
bool from_then_on = false;
int error = 0;
Shared alone, *shared = &alone;
std::atomic<int64_t> live = 0;

bool Fails() {
  const int64_t number = ++shared->count;
  return from_then_on ? failing > 0 && number >= failing : number == failing;
}

void NoteWhere(const void* caller) {
  Dl_info info;
  if (dladdr(caller, &info) == 0 || info.dli_fname == nullptr) return;
  const char* const slash = std::strrchr(info.dli_fname, '/');
  std::snprintf(shared->where, sizeof shared->where, "%s", slash != nullptr ? slash + 1 : info.dli_fname);
}

template <typename Get>
void* Obtain(const void* caller, size_t size, uint8_t fill, const Get& get) {
  const bool counts = kind == Kind::kAllocation;
  if (counts && Fails()) {
    NoteWhere(caller);
    errno = ENOMEM;
    return nullptr;
  }
  void* block = get();
  if (block == nullptr) return nullptr;
  if (counts && fill != 0) std::memset(block, fill, size);
  if (counts) ++live;
  return block;
}

// --- system calls

constexpr long kInterruptible[] = {SYS_open,      SYS_openat,    SYS_read,  SYS_write,
                                   SYS_pread64,   SYS_pwrite64,  SYS_close, SYS_fsync,
                                   SYS_fdatasync, SYS_ftruncate, SYS_flock, SYS_poll};
constexpr long kNeedRoom[] = {SYS_open,  SYS_openat,    SYS_write,     SYS_pwrite64, SYS_close,
                              SYS_fsync, SYS_fdatasync, SYS_ftruncate, SYS_mkdir,    SYS_rename};
constexpr long kTransfers[] = {SYS_read, SYS_write, SYS_pread64, SYS_pwrite64};
// Neither files nor anything else that fails in a way of its own.
constexpr uint32_t kNotFiles[] = {SYS_mmap,
                                  SYS_munmap,
                                  SYS_mprotect,
                                  SYS_brk,
                                  SYS_madvise,
                                  SYS_mremap,
                                  SYS_futex,
                                  SYS_exit,
                                  SYS_exit_group,
                                  SYS_rt_sigaction,
                                  SYS_rt_sigreturn,
                                  SYS_rt_sigprocmask,
                                  SYS_sigaltstack,
                                  SYS_tgkill,
                                  SYS_getpid,
                                  SYS_gettid,
                                  SYS_clone,
                                  SYS_clone3,
                                  SYS_rseq,
                                  SYS_prctl,
                                  SYS_set_robust_list,
                                  SYS_sched_yield,
                                  SYS_clock_gettime,
                                  SYS_getrandom,
                                  SYS_umask,
                                  SYS_sched_getaffinity,
                                  SYS_clock_nanosleep,
                                  SYS_alarm,
                                  SYS_prlimit64,
                                  SYS_kill};

template <size_t kCount>
bool IsIn(const long (&calls)[kCount], long number) {
  return std::find(calls, calls + kCount, number) != calls + kCount;
}

bool CanFail(long number, long bytes) {
  if (kind == Kind::kShort) return IsIn(kTransfers, number) && bytes > 1;
  if (error == EINTR) return IsIn(kInterruptible, number);
  return error != ENOSPC || IsIn(kNeedRoom, number);
}

void OnSystemCall(int, siginfo_t* info, void* context) {
  greg_t* const r = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const long number = info->si_syscall;
  const auto call = [&](long third) {
    return FaultsSystemCall(number, r[REG_RDI], r[REG_RSI], third, r[REG_R10], r[REG_R8], r[REG_R9]);
  };
  const long third = r[REG_RDX];
  if (!CanFail(number, third) || !Fails()) {
    r[REG_RAX] = call(third);
    return;
  }
  std::snprintf(shared->where, sizeof shared->where, "%ld", number);
  if (kind == Kind::kKill) kill(getpid(), SIGKILL);
  if (kind == Kind::kShort) {
    r[REG_RAX] = call(third / 2);
    return;
  }
  if (number == SYS_close) call(third);  // which closes whatever it returns
  r[REG_RAX] = -error;
}

void TrapSystemCalls() {
  struct sigaction action = {};
  action.sa_sigaction = OnSystemCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigaction(SIGSYS, &action, nullptr);
  const auto after = reinterpret_cast<uintptr_t>(&kFaultsAfterSystemCall);
  constexpr uint32_t kAt = offsetof(seccomp_data, instruction_pointer);
  sock_filter filter[6 + 2 * std::size(kNotFiles)];
  sock_filter* next = filter;
  *next++ = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kAt);
  *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(after), 0, 3);
  *next++ = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kAt + 4);
  *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(after >> 32), 0, 1);
  *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  *next++ = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
  for (const uint32_t number : kNotFiles) {
    *next++ = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1);
    *next++ = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  }
  sock_filter all[std::size(filter) + 1];
  std::copy(filter, next, all);
  all[std::size(filter)] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
  const sock_fprog program = {static_cast<unsigned short>(std::size(all)), all};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
    _exit(99);
}

// --- the server

void Choose(const char* name, int64_t number) {
  const auto is = [=](const char* other) { return std::strcmp(name, other) == 0; };
  failing = number;
  from_then_on = is("ever") || is("thread");
  error = is("EIO") ? EIO : is("ENOSPC") ? ENOSPC : is("EINTR") ? EINTR : 0;
  kind = is("once") || is("ever") ? Kind::kAllocation
         : is("thread")           ? Kind::kThread
         : is("short")            ? Kind::kShort
         : is("kill")             ? Kind::kKill
                                  : Kind::kError;
  if (kind > Kind::kThread) TrapSystemCalls();
}

bool ReadLine(int fd, char* line, size_t size) {
  for (size_t n = 0; n + 1 < size && read(fd, line + n, 1) == 1; ++n) {
    if (line[n] != '\n') continue;
    line[n] = '\0';
    return true;
  }
  return false;
}

int (*program_main)(int, char**, char**) = nullptr;

void SendTo(const char* name, int fd) {
  const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  dup2(file, fd);
  close(file);
}

int Serve(int argc, char** argv, char** environment) {
  const char* const name = std::getenv("VASK_FAULTS");
  if (name == nullptr) return program_main(argc, argv, environment);
  const int fd = std::atoi(name);
  unsetenv("VASK_FAULTS");
  unsetenv("LD_PRELOAD");
  shared = static_cast<Shared*>(
      mmap(nullptr, sizeof *shared, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  char line[64], chosen[16];
  long number = 0;
  while (ReadLine(fd, line, sizeof line) && std::sscanf(line, "%15s %ld", chosen, &number) == 2) {
    shared->count = 0;
    std::strcpy(shared->where, "-");
    const pid_t child = fork();
    if (child == 0) {
      close(fd);
      SendTo("../stdout", STDOUT_FILENO);
      SendTo("../stderr", STDERR_FILENO);
      alarm(60);
      Choose(chosen, number);
      return program_main(argc, argv, environment);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
    }
    dprintf(fd, "%d %ld %s\n", status, static_cast<long>(shared->count), shared->where);
  }
  return 0;
}

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

void* malloc(size_t size) {
  return Obtain(__builtin_return_address(0), size, 0xa5, [&] { return __libc_malloc(size); });
}
void* calloc(size_t count, size_t size) {
  return Obtain(__builtin_return_address(0), 0, 0, [&] { return __libc_calloc(count, size); });
}
void* realloc(void* block, size_t size) {
  if (block == nullptr) return malloc(size);
  if (kind == Kind::kAllocation && Fails()) {
    NoteWhere(__builtin_return_address(0));
    return nullptr;
  }
  return __libc_realloc(block, size);
}
void* memalign(size_t alignment, size_t size) {
  return Obtain(__builtin_return_address(0), size, 0xa5, [&] { return __libc_memalign(alignment, size); });
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, size_t alignment, size_t size) {
  void* const got = memalign(alignment, size);
  if (got == nullptr) return ENOMEM;
  *block = got;
  return 0;
}
void free(void* block) {
  if (block == nullptr) return;
  if (kind == Kind::kAllocation) {
    std::memset(block, 0x5a, malloc_usable_size(block));
    --live;
  }
  __libc_free(block);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) {
  if (kind == Kind::kThread && Fails()) return EAGAIN;
  return Next<decltype(&pthread_create)>("pthread_create")(thread, attributes, run, argument);
}

int __libc_start_main(int (*main)(int, char**, char**), int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*end)(), void* stack) {
  program_main = main;
  return Next<decltype(&__libc_start_main)>("__libc_start_main")(Serve, argc, argv, init, fini, end, stack);
}

int64_t FaultsLive() { return live; }
void FaultsEnd() { kind = Kind::kNone; }

}  // extern "C"
