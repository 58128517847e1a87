// Calls of Linux that the C library of the WebAssembly compiler declares and has not. Files are in
// memory: what these do is either not needed there, or done in another way by who calls them.

#include <fcntl.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

namespace {

int refuse() {
  errno = EOPNOTSUPP;
  return -1;
}

}  // namespace

extern "C" {

int sync_file_range(int, off_t, off_t, unsigned) { return 0; }
int fallocate(int, int, off_t, off_t) { return refuse(); }
ssize_t copy_file_range(int, off_t*, int, off_t*, size_t, unsigned) { return refuse(); }
ssize_t fgetxattr(int, const char*, void*, size_t) { return refuse(); }
ssize_t flistxattr(int, char*, size_t) { return refuse(); }
int fsetxattr(int, const char*, const void*, size_t, int) { return refuse(); }
int fremovexattr(int, const char*) { return refuse(); }
}
