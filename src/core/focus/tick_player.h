// The ticking sound of a focus session: a short "tock" repeated at a beat rate over a quiet noise
// bed, looped until stopped, and one-shot cue sounds. Sounds are looked up in the vault's sounds
// folder first, then in the program's own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "core/focus/audio_sink.h"

namespace trivo {

class TickPlayer {
 public:
  struct Option {
    std::string id;    // what settings store: the file's stem, or a built-in name
    std::string name;  // what people read
    bool operator==(const Option&) const = default;
  };

  static constexpr int kSampleRate = 44100;
  // The built-in sounds: silence, a synthesized wooden tock, and the noise bed alone.
  static constexpr const char* kOff = "off";
  static constexpr const char* kTock = "tock";
  static constexpr const char* kNoise = "noise";

  // `sink` may be null (no sound on this machine): everything then plays silently.
  TickPlayer(std::optional<std::filesystem::path> soundsDir,
             std::optional<std::filesystem::path> vaultSounds, std::unique_ptr<AudioSink> sink);
  ~TickPlayer();
  TickPlayer(const TickPlayer&) = delete;
  TickPlayer& operator=(const TickPlayer&) = delete;

  // The sounds offered, sorted by name: the built-ins and every sound file of both folders.
  [[nodiscard]] std::vector<Option> ticks() const;
  // Starts (or changes) the loop. "off" stops it. Throws SoundError for a sound that cannot be
  // found or read (m4a files are not supported: convert them to wav or mp3).
  void play(const std::string& sound, double volume, int bpm);
  void stop();
  // 0…1; takes effect within the next chunk.
  void setVolume(double volume);
  // Plays a sound once, after what the sink already holds.
  void cue(const std::string& sound, double volume);
  // Writes `seconds` of the current loop to the sink at once, for sinks that are not real time
  // (a WAV file). Silence when nothing plays.
  void render(double seconds);

  [[nodiscard]] std::string current() const;
  [[nodiscard]] int currentBpm() const;

  // One beat: the tock at the start of a buffer 60/bpm seconds long (a longer tock is cut).
  static std::vector<float> knocks(std::span<const float> tock, int bpm, int sampleRate);
  // Soft noise for the bed under the ticks, reproducible from its seed.
  static std::vector<float> noiseBed(std::size_t count, float level, std::uint32_t seed = 1);
  // A short decaying click at 1.2 kHz: the sound "tock".
  static std::vector<float> builtInTock(int sampleRate);
  // The file for a sound name, vault folder first; nothing when neither folder has it.
  [[nodiscard]] std::optional<std::filesystem::path> findSound(const std::string& name) const;

 private:
  std::vector<float> samplesOf(const std::string& sound) const;
  void loop();

  std::optional<std::filesystem::path> soundsDir_;
  std::optional<std::filesystem::path> vaultSounds_;
  std::unique_ptr<AudioSink> sink_;

  mutable std::mutex mu_;
  std::condition_variable wake_;
  std::vector<float> beat_;  // one loop period, unscaled
  std::size_t position_ = 0;
  std::string current_ = kOff;
  int currentBpm_ = 0;
  std::atomic<double> volume_{1.0};
  bool running_ = false;
  bool quit_ = false;
  std::thread thread_;
};

}  // namespace trivo
