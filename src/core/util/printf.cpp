// printf-style formatting into a std::string.
#include "core/util/printf.h"

#include <cstdarg>
#include <cstdio>

namespace trivo {

std::string stringPrintf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  int size = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  std::string result;
  if (size > 0) {
    result.resize(static_cast<std::size_t>(size) + 1);
    std::vsnprintf(result.data(), result.size(), format, args);
    result.resize(static_cast<std::size_t>(size));
  }
  va_end(args);
  return result;
}

}  // namespace trivo
