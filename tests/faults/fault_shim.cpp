// Stands between a program and the C library, for whoever links it or loads it first
// (LD_PRELOAD): allocations and what is done to files, one of which fails when told to.
#include "tests/faults/fault_shim.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <limits>

extern "C" {
// What malloc is in the C library: dlsym() could not be asked, which allocates.
// NOLINTBEGIN(bugprone-reserved-identifier): the C library's own
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)
}

namespace {

using faults::Operation;

constexpr std::uint64_t kLittle = std::uint64_t{4} << 20;  // bytes
constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

std::atomic<bool> armed = false;  // threads ask as well
Operation watched = Operation::Allocation;
std::atomic<std::uint64_t> count = 0;
std::uint64_t firstToFail = kNever;
std::uint64_t lastToFail = kNever;

bool fails(Operation operation, int error) {
  if (!armed || operation != watched) return false;
  const std::uint64_t number = count++;
  if (number < firstToFail || number > lastToFail) return false;
  errno = error;
  return true;
}

/// Of a file; what the program says itself is nobody's to lose.
bool fails(Operation operation, int error, int file) {
  return file > STDERR_FILENO && fails(operation, error);
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void arm(Operation operation, std::uint64_t first, std::uint64_t last) {
  watched = operation;
  count = 0;
  firstToFail = first;
  lastToFail = last;
  armed = true;
}

}  // namespace

extern "C" {

void faultArm(Operation operation, std::uint64_t number, bool onwards) {
  arm(operation, number, onwards ? kNever : number);
}

void faultCount(Operation operation) { arm(operation, kNever, kNever); }

std::uint64_t faultDisarm() {
  armed = false;
  return count;
}

// --- Allocations ---------------------------------------------------------------------------

void* malloc(std::size_t size) {
  return fails(Operation::Allocation, ENOMEM) ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t number, std::size_t size) {
  return fails(Operation::Allocation, ENOMEM) ? nullptr : __libc_calloc(number, size);
}
void* realloc(void* block, std::size_t size) {
  return fails(Operation::Allocation, ENOMEM) ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return fails(Operation::Allocation, ENOMEM) ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  if (fails(Operation::Allocation, ENOMEM)) return ENOMEM;
  *block = __libc_memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

// --- Files ---------------------------------------------------------------------------------

// Both names of what has one for large files.
#define FILE_FUNCTION(operation, error, result, name, parameters, arguments) \
  result name parameters {                                                   \
    static auto* const real = next<result parameters>(#name);                \
    return fails(Operation::operation, error, file) ? -1 : real arguments;   \
  }

FILE_FUNCTION(Write, ENOSPC, ssize_t, write, (int file, const void* data, std::size_t size),
              (file, data, size))
FILE_FUNCTION(Write, ENOSPC, ssize_t, pwrite,
              (int file, const void* data, std::size_t size, off_t place),
              (file, data, size, place))
FILE_FUNCTION(Write, ENOSPC, ssize_t, pwrite64,
              (int file, const void* data, std::size_t size, off64_t place),
              (file, data, size, place))
FILE_FUNCTION(Sync, EIO, int, fsync, (int file), (file))
FILE_FUNCTION(Sync, EIO, int, fdatasync, (int file), (file))
FILE_FUNCTION(Truncate, ENOSPC, int, ftruncate, (int file, off_t size), (file, size))
FILE_FUNCTION(Truncate, ENOSPC, int, ftruncate64, (int file, off64_t size), (file, size))
FILE_FUNCTION(Read, EIO, ssize_t, read, (int file, void* data, std::size_t size),
              (file, data, size))
FILE_FUNCTION(Read, EIO, ssize_t, pread, (int file, void* data, std::size_t size, off_t place),
              (file, data, size, place))
FILE_FUNCTION(Read, EIO, ssize_t, pread64, (int file, void* data, std::size_t size, off64_t place),
              (file, data, size, place))
#undef FILE_FUNCTION

// A disk that is full from some write on has had little room before.
// NOLINTBEGIN(bugprone-macro-parentheses): types take none
#define ROOM_FUNCTION(name, Room)                                                    \
  int name(const char* path, Room* room) {                                           \
    static auto* const real = next<int(const char*, Room*)>(#name);                  \
    const int status = real(path, room);                                             \
    const bool fills = armed && watched == Operation::Write && lastToFail == kNever; \
    if (fills) room->f_bavail = count < firstToFail ? kLittle / room->f_frsize : 0;  \
    return status;                                                                   \
  }

ROOM_FUNCTION(statvfs, struct statvfs)
ROOM_FUNCTION(statvfs64, struct statvfs64)
#undef ROOM_FUNCTION
// NOLINTEND(bugprone-macro-parentheses)

#define OPEN_FUNCTION(name)                                                        \
  int name(const char* path, int flags, ...) {                                     \
    static auto* const real = next<int(const char*, int, ...)>(#name);             \
    if (fails(Operation::Open, EMFILE)) return -1;                                 \
    va_list rest;                                                                  \
    va_start(rest, flags);                                                         \
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : mode_t{0}; \
    va_end(rest);                                                                  \
    return real(path, flags, mode);                                                \
  }

OPEN_FUNCTION(open)
OPEN_FUNCTION(open64)
#undef OPEN_FUNCTION

}  // extern "C"
