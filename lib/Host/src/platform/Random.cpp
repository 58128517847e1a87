#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "HostRandom.h"

// std::random_device asks the processor what it can do each time that one is made, which takes
// longer than all else that a new identifier needs.
std::array<std::uint32_t, 4> host::randomBits() {
  std::array<std::uint32_t, 4> bits{};
  if (getentropy(bits.data(), sizeof bits) != 0)
    throw std::system_error(errno, std::generic_category(), "no random numbers");
  return bits;
}
