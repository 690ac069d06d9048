// printf-style formatting into a std::string, checked by the compiler.
#pragma once

#include <string>

namespace trivo {

__attribute__((format(printf, 1, 2))) std::string stringPrintf(const char* format, ...);

}  // namespace trivo
