// Where rendered sound goes: the desktop's sound server, or a WAV file (for tests and machines
// without sound). Samples are mono 32-bit floats in −1…1.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace trivo {

class AudioSink {
 public:
  virtual ~AudioSink() = default;
  [[nodiscard]] virtual int sampleRate() const = 0;
  // True when write() blocks in real time (a sound card), false when it returns at once (a file).
  [[nodiscard]] virtual bool isRealtime() const = 0;
  virtual void write(std::span<const float> samples) = 0;
};

class SoundError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A 16-bit PCM WAV file, closed when the sink goes away. Throws SoundError when it cannot be
// created.
class WavFileSink final : public AudioSink {
 public:
  WavFileSink(const std::filesystem::path& path, int sampleRate);
  ~WavFileSink() override;
  WavFileSink(const WavFileSink&) = delete;
  WavFileSink& operator=(const WavFileSink&) = delete;
  [[nodiscard]] int sampleRate() const override { return sampleRate_; }
  [[nodiscard]] bool isRealtime() const override { return false; }
  void write(std::span<const float> samples) override;

 private:
  void* file_ = nullptr;  // SNDFILE*
  int sampleRate_;
};

// The sound server through PulseAudio's simple API (PipeWire serves it too). Nothing when no
// server answers, so a machine without sound simply stays silent.
std::unique_ptr<AudioSink> openPulseSink(int sampleRate, const std::string& description);

// The samples of a sound file (wav, aiff, caf, mp3 and the other types libsndfile reads), mixed
// down to mono at the file's own rate. Throws SoundError for an unreadable or unsupported file.
struct SoundClip {
  int sampleRate = 44100;
  std::vector<float> samples;
};
SoundClip readSoundFile(const std::filesystem::path& path);

}  // namespace trivo
