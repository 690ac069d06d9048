#include "core/platform/shared_library.h"

#include <dlfcn.h>

namespace trivo {

bool SharedLibrary::available() {
  std::call_once(opened_, [this] {
    handle_ = ::dlopen(soname_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
      const char* why = ::dlerror();
      error_ = why ? why : "unknown reason";
    }
  });
  return handle_ != nullptr;
}

void* SharedLibrary::address(const char* name) {
  if (!available()) {
    throw SharedLibraryError("Could not load " + soname_ + " (" + error_ +
                             "); is its package installed?");
  }
  ::dlerror();
  void* address = ::dlsym(handle_, name);
  if (!address) {
    throw SharedLibraryError("The library " + soname_ + " has no function " + name +
                             "; it may be too old.");
  }
  return address;
}

}  // namespace trivo
