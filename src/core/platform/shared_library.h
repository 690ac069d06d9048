// A system library opened on first use. Sound, notifications and zip archives each pull in
// dozens of libraries of their own (PulseAudio's client, GLib and GDK-Pixbuf, the codecs of
// libsndfile); linked normally, every command would pay for loading and relocating all of them
// at start, though most commands never play a sound or read an archive.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>

namespace trivo {

// The library could not be opened or lacks a function: what() is one sentence naming both.
class SharedLibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class SharedLibrary {
 public:
  // `soname` is the versioned name ("libpulse-simple.so.0"); nothing is opened yet.
  explicit SharedLibrary(std::string soname) : soname_(std::move(soname)) {}
  // Never closed: GLib and the sound server's client keep threads and exit handlers that must
  // outlive any use of them.
  ~SharedLibrary() = default;
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  // Opens the library on the first call; whether it could be. Thread-safe.
  bool available();

  // The function `name` of the library, typed as its declaration in the library's header
  // (`function<decltype(pa_simple_new)>("pa_simple_new")`). Throws SharedLibraryError when
  // the library or the function is missing.
  template <class F>
  F* function(const char* name) {
    return reinterpret_cast<F*>(address(name));
  }

  [[nodiscard]] const std::string& soname() const { return soname_; }

 private:
  void* address(const char* name);

  std::string soname_;
  std::once_flag opened_;
  void* handle_ = nullptr;
  std::string error_;
};

}  // namespace trivo
