// The tick player: rendering beats and the noise bed, looking up sounds, feeding the sink.
#include "core/focus/tick_player.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace trivo {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 4> kReadable = {".wav", ".aiff", ".caf", ".mp3"};
constexpr float kBedLevel = 0.015f;
constexpr std::size_t kChunk = TickPlayer::kSampleRate / 10;  // 100 ms

// Linear resampling to the player's rate; ticks are short, so quality is not at stake.
std::vector<float> resampled(const SoundClip& clip, int rate) {
  if (clip.sampleRate == rate || clip.samples.empty()) return clip.samples;
  const double ratio = static_cast<double>(clip.sampleRate) / rate;
  const auto count = static_cast<std::size_t>(static_cast<double>(clip.samples.size()) / ratio);
  std::vector<float> out(count);
  for (std::size_t i = 0; i < count; ++i) {
    const double at = static_cast<double>(i) * ratio;
    const auto k = static_cast<std::size_t>(at);
    const double frac = at - static_cast<double>(k);
    const float a = clip.samples[std::min(k, clip.samples.size() - 1)];
    const float b = clip.samples[std::min(k + 1, clip.samples.size() - 1)];
    out[i] = static_cast<float>(a + (b - a) * frac);
  }
  return out;
}

}  // namespace

TickPlayer::TickPlayer(std::optional<fs::path> soundsDir, std::optional<fs::path> vaultSounds,
                       std::unique_ptr<AudioSink> sink)
    : soundsDir_(std::move(soundsDir)),
      vaultSounds_(std::move(vaultSounds)),
      sink_(std::move(sink)) {
  if (sink_ && sink_->isRealtime()) thread_ = std::thread([this] { loop(); });
}

TickPlayer::~TickPlayer() {
  {
    std::lock_guard lock(mu_);
    quit_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

std::vector<float> TickPlayer::knocks(std::span<const float> tock, int bpm, int sampleRate) {
  const int beatsPerMinute = std::clamp(bpm, 1, 600);
  const auto period =
      static_cast<std::size_t>(sampleRate) * 60 / static_cast<std::size_t>(beatsPerMinute);
  std::vector<float> beat(period, 0.0f);
  std::copy_n(tock.begin(), std::min(tock.size(), period), beat.begin());
  return beat;
}

std::vector<float> TickPlayer::noiseBed(std::size_t count, float level, std::uint32_t seed) {
  std::vector<float> out(count);
  std::uint32_t state = seed ? seed : 1;
  float smooth = 0;
  for (auto& sample : out) {
    state = state * 1664525u + 1013904223u;
    const float white = static_cast<float>(state >> 8) / static_cast<float>(1u << 24) * 2 - 1;
    smooth = smooth * 0.97f + white * 0.03f;  // a gentle low-pass: rain rather than hiss
    sample = std::clamp(smooth * 8.0f, -1.0f, 1.0f) * level;
  }
  return out;
}

std::vector<float> TickPlayer::builtInTock(int sampleRate) {
  const auto length = static_cast<std::size_t>(sampleRate / 40);  // 25 ms
  std::vector<float> out(length);
  for (std::size_t i = 0; i < length; ++i) {
    const double t = static_cast<double>(i) / sampleRate;
    out[i] = static_cast<float>(0.8 * std::exp(-t * 180.0) *
                                std::sin(2 * std::numbers::pi * 1200.0 * t));
  }
  return out;
}

std::optional<fs::path> TickPlayer::findSound(const std::string& name) const {
  for (const auto& folder : {vaultSounds_, soundsDir_}) {
    if (!folder) continue;
    for (auto ext : kReadable) {
      const fs::path file = *folder / (name + std::string(ext));
      std::error_code ec;
      if (fs::is_regular_file(file, ec)) return file;
    }
    std::error_code ec;
    if (fs::is_regular_file(*folder / (name + ".m4a"), ec)) {
      throw SoundError("The sound \"" + name +
                       "\" is an m4a file, which this system cannot play; convert it to wav or "
                       "mp3.");
    }
  }
  return std::nullopt;
}

std::vector<TickPlayer::Option> TickPlayer::ticks() const {
  std::vector<Option> options = {{kNoise, "Noise"}, {kOff, "Off"}, {kTock, "Tock"}};
  for (const auto& folder : {vaultSounds_, soundsDir_}) {
    if (!folder) continue;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(*folder, ec)) {
      const std::string ext = entry.path().extension().string();
      if (std::find(kReadable.begin(), kReadable.end(), ext) == kReadable.end()) continue;
      const std::string id = entry.path().stem().string();
      if (std::none_of(options.begin(), options.end(),
                       [&](const Option& o) { return o.id == id; })) {
        options.push_back({id, id});
      }
    }
  }
  std::sort(options.begin(), options.end(),
            [](const Option& a, const Option& b) { return a.name < b.name; });
  return options;
}

std::vector<float> TickPlayer::samplesOf(const std::string& sound) const {
  if (auto file = findSound(sound)) return resampled(readSoundFile(*file), kSampleRate);
  if (sound == kTock) return builtInTock(kSampleRate);
  if (sound == kNoise) return {};
  throw SoundError("There is no sound \"" + sound + "\" in the vault's sounds or the program's.");
}

void TickPlayer::play(const std::string& sound, double volume, int bpm) {
  if (sound == kOff) {
    stop();
    return;
  }
  std::vector<float> beat = knocks(samplesOf(sound), bpm, kSampleRate);
  const auto bed = noiseBed(beat.size(), kBedLevel);
  for (std::size_t i = 0; i < beat.size(); ++i) beat[i] = std::clamp(beat[i] + bed[i], -1.0f, 1.0f);
  {
    std::lock_guard lock(mu_);
    beat_ = std::move(beat);
    position_ = 0;
    current_ = sound;
    currentBpm_ = bpm;
    running_ = true;
  }
  setVolume(volume);
  wake_.notify_all();
}

void TickPlayer::stop() {
  std::lock_guard lock(mu_);
  running_ = false;
  beat_.clear();
  current_ = kOff;
  currentBpm_ = 0;
}

void TickPlayer::setVolume(double volume) { volume_ = std::clamp(volume, 0.0, 1.0); }

void TickPlayer::cue(const std::string& sound, double volume) {
  if (sound == kOff || !sink_) return;
  std::vector<float> samples = samplesOf(sound);
  for (auto& s : samples) s *= static_cast<float>(std::clamp(volume, 0.0, 1.0));
  std::lock_guard lock(mu_);
  sink_->write(samples);
}

void TickPlayer::render(double seconds) {
  if (!sink_) return;
  auto total = static_cast<std::size_t>(seconds * kSampleRate);
  std::lock_guard lock(mu_);
  std::vector<float> chunk;
  while (total > 0) {
    const std::size_t n = std::min(total, kChunk);
    chunk.assign(n, 0.0f);
    if (running_ && !beat_.empty()) {
      const auto gain = static_cast<float>(volume_.load());
      for (auto& s : chunk) {
        s = beat_[position_] * gain;
        position_ = (position_ + 1) % beat_.size();
      }
    }
    sink_->write(chunk);
    total -= n;
  }
}

void TickPlayer::loop() {
  std::unique_lock lock(mu_);
  std::vector<float> chunk(kChunk);
  while (!quit_) {
    if (!running_ || beat_.empty()) {
      wake_.wait(lock);
      continue;
    }
    const auto gain = static_cast<float>(volume_.load());
    for (auto& s : chunk) {
      s = beat_[position_] * gain;
      position_ = (position_ + 1) % beat_.size();
    }
    // The sound server paces the loop: write() blocks until it has room.
    lock.unlock();
    sink_->write(chunk);
    lock.lock();
  }
}

std::string TickPlayer::current() const {
  std::lock_guard lock(mu_);
  return current_;
}

int TickPlayer::currentBpm() const {
  std::lock_guard lock(mu_);
  return currentBpm_;
}

}  // namespace trivo
