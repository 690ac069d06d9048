// The version of the Trivo programs and library.
#pragma once

namespace trivo {
// The release number, "MAJOR.MINOR.PATCH".
const char* versionString();
}  // namespace trivo
