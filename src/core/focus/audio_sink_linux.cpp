// Sound output on Linux: libsndfile for files, PulseAudio's simple API for the sound server,
// both opened on first use.
#include <pulse/error.h>
#include <pulse/simple.h>
#include <sndfile.h>

#include <vector>

#include "core/focus/audio_sink.h"
#include "core/platform/shared_library.h"

namespace trivo {

namespace {

SharedLibrary& sndfile() {
  static SharedLibrary library("libsndfile.so.1");
  return library;
}

SharedLibrary& pulseSimple() {
  static SharedLibrary library("libpulse-simple.so.0");
  return library;
}

// A libsndfile function; a missing library is a SoundError like any unreadable sound.
template <class F>
F* sndfileFunction(const char* name) {
  try {
    return sndfile().function<F>(name);
  } catch (const SharedLibraryError& e) {
    throw SoundError(e.what());
  }
}

}  // namespace

WavFileSink::WavFileSink(const std::filesystem::path& path, int sampleRate)
    : sampleRate_(sampleRate) {
  SF_INFO info{};
  info.samplerate = sampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sndfileFunction<decltype(sf_open)>("sf_open")(path.c_str(), SFM_WRITE, &info);
  if (!file) {
    throw SoundError("Could not create the sound file " + path.string() + ": " +
                     sndfileFunction<decltype(sf_strerror)>("sf_strerror")(nullptr) + ".");
  }
  file_ = file;
}

WavFileSink::~WavFileSink() {
  // The library is loaded: the constructor opened the file through it.
  sndfile().function<decltype(sf_close)>("sf_close")(static_cast<SNDFILE*>(file_));
}

void WavFileSink::write(std::span<const float> samples) {
  sndfile().function<decltype(sf_write_float)>("sf_write_float")(
      static_cast<SNDFILE*>(file_), samples.data(), static_cast<sf_count_t>(samples.size()));
}

namespace {

class PulseSink final : public AudioSink {
 public:
  PulseSink(pa_simple* stream, int sampleRate) : stream_(stream), sampleRate_(sampleRate) {}
  ~PulseSink() override {
    int error = 0;
    pulseSimple().function<decltype(pa_simple_drain)>("pa_simple_drain")(stream_, &error);
    pulseSimple().function<decltype(pa_simple_free)>("pa_simple_free")(stream_);
  }
  PulseSink(const PulseSink&) = delete;
  PulseSink& operator=(const PulseSink&) = delete;
  [[nodiscard]] int sampleRate() const override { return sampleRate_; }
  [[nodiscard]] bool isRealtime() const override { return true; }
  void write(std::span<const float> samples) override {
    int error = 0;
    write_(stream_, samples.data(), samples.size() * sizeof(float), &error);
  }

 private:
  pa_simple* stream_;
  int sampleRate_;
  decltype(pa_simple_write)* write_ =
      pulseSimple().function<decltype(pa_simple_write)>("pa_simple_write");
};

}  // namespace

std::unique_ptr<AudioSink> openPulseSink(int sampleRate, const std::string& description) {
  pa_sample_spec sampleFormat{};
  sampleFormat.format = PA_SAMPLE_FLOAT32NE;
  sampleFormat.rate = static_cast<std::uint32_t>(sampleRate);
  sampleFormat.channels = 1;
  int error = 0;
  // No sound server client installed is like no sound server running: no sink.
  if (!pulseSimple().available()) return nullptr;
  pa_simple* stream = pulseSimple().function<decltype(pa_simple_new)>("pa_simple_new")(
      nullptr, "Trivo", PA_STREAM_PLAYBACK, nullptr, description.c_str(), &sampleFormat, nullptr,
      nullptr, &error);
  if (!stream) return nullptr;
  return std::make_unique<PulseSink>(stream, sampleRate);
}

SoundClip readSoundFile(const std::filesystem::path& path) {
  SF_INFO info{};
  SNDFILE* file = sndfileFunction<decltype(sf_open)>("sf_open")(path.c_str(), SFM_READ, &info);
  if (!file) {
    throw SoundError("Could not read the sound " + path.string() + ": " +
                     sndfileFunction<decltype(sf_strerror)>("sf_strerror")(nullptr) + ".");
  }
  std::vector<float> frames(static_cast<std::size_t>(info.frames) *
                            static_cast<std::size_t>(info.channels));
  const sf_count_t read =
      sndfile().function<decltype(sf_readf_float)>("sf_readf_float")(file, frames.data(),
                                                                     info.frames);
  sndfile().function<decltype(sf_close)>("sf_close")(file);
  SoundClip clip;
  clip.sampleRate = info.samplerate;
  const auto channels = static_cast<std::size_t>(info.channels);
  clip.samples.resize(static_cast<std::size_t>(read));
  for (std::size_t i = 0; i < clip.samples.size(); ++i) {
    float sum = 0;
    for (std::size_t c = 0; c < channels; ++c) sum += frames[i * channels + c];
    clip.samples[i] = sum / static_cast<float>(channels);
  }
  return clip;
}

}  // namespace trivo
