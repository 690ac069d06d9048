// The tick track rendered to a real WAV file and measured from its samples.
#include "core/focus/tick_player.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

// Sample positions where a knock starts: the level rises past the threshold after a quiet stretch.
std::vector<std::size_t> onsets(const std::vector<float>& samples, float threshold) {
  std::vector<std::size_t> found;
  std::size_t quiet = 1000000;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::fabs(samples[i]) > threshold) {
      if (quiet > 2000) found.push_back(i);
      quiet = 0;
    } else {
      ++quiet;
    }
  }
  return found;
}

std::vector<float> rendered(const std::string& sound, int bpm, double seconds, const fs::path& wav,
                            const std::optional<fs::path>& vault = {}) {
  {
    TickPlayer player(std::nullopt, vault,
                      std::make_unique<WavFileSink>(wav, TickPlayer::kSampleRate));
    player.play(sound, 0.8, bpm);
    player.render(seconds);
  }
  return readSoundFile(wav).samples;
}

TEST(TickPlayer, RenderedTicksKeepTheBeatRate) {
  testing::TempDir dir;
  for (int bpm : {60, 90, 120}) {
    const auto samples = rendered(TickPlayer::kTock, bpm, 8.0, dir.path() / "t.wav");
    ASSERT_EQ(samples.size(), static_cast<std::size_t>(8 * TickPlayer::kSampleRate));
    const auto at = onsets(samples, 0.1f);
    ASSERT_EQ(at.size(), static_cast<std::size_t>(8 * bpm / 60)) << bpm;
    const std::size_t period =
        static_cast<std::size_t>(TickPlayer::kSampleRate) * 60 / static_cast<std::size_t>(bpm);
    for (std::size_t i = 1; i < at.size(); ++i) {
      // 16-bit files quantise the level, so allow a couple of samples either way.
      EXPECT_NEAR(static_cast<double>(at[i] - at[i - 1]), static_cast<double>(period), 2.0) << bpm;
    }
    // Between knocks only the quiet noise bed remains.
    float loudest = 0;
    for (std::size_t i = at[0] + period / 2; i < at[0] + period - 10; ++i) {
      loudest = std::max(loudest, std::fabs(samples[i]));
    }
    EXPECT_GT(loudest, 0.0f);
    EXPECT_LT(loudest, 0.05f);
  }
}

TEST(TickPlayer, OffIsSilentAndStopSilencesTheLoop) {
  testing::TempDir dir;
  const auto off = rendered(TickPlayer::kOff, 60, 3.0, dir.path() / "off.wav");
  ASSERT_EQ(off.size(), static_cast<std::size_t>(3 * TickPlayer::kSampleRate));
  EXPECT_TRUE(std::all_of(off.begin(), off.end(), [](float s) { return s == 0.0f; }));

  const fs::path wav = dir.path() / "stopped.wav";
  {
    TickPlayer player(std::nullopt, std::nullopt,
                      std::make_unique<WavFileSink>(wav, TickPlayer::kSampleRate));
    player.play(TickPlayer::kTock, 1.0, 60);
    player.render(1.0);
    player.stop();
    player.render(1.0);
    EXPECT_EQ(player.current(), "off");
  }
  const auto samples = readSoundFile(wav).samples;
  EXPECT_GT(
      std::fabs(*std::max_element(samples.begin(), samples.begin() + 2000,
                                  [](float a, float b) { return std::fabs(a) < std::fabs(b); })),
      0.3f);
  EXPECT_TRUE(std::all_of(samples.begin() + TickPlayer::kSampleRate, samples.end(),
                          [](float s) { return s == 0.0f; }));
}

TEST(TickPlayer, VaultSoundsComeFirstAndM4aIsRefused) {
  testing::TempDir dir;
  // A vault sound "wood": a square click of 100 samples at full scale.
  const fs::path vault = dir.path() / "vault-sounds";
  const fs::path app = dir.path() / "app-sounds";
  fs::create_directories(vault);
  fs::create_directories(app);
  {
    WavFileSink sink(vault / "wood.wav", 22050);  // another rate: resampled on loading
    std::vector<float> click(50, 0.9f);
    sink.write(click);
  }
  fs::copy_file(vault / "wood.wav", app / "wood.wav");
  fs::copy_file(vault / "wood.wav", app / "bell.wav");
  TickPlayer player(app, vault, nullptr);
  EXPECT_EQ(player.findSound("wood"), vault / "wood.wav");
  EXPECT_EQ(player.findSound("bell"), app / "bell.wav");
  EXPECT_EQ(player.findSound("nothing"), std::nullopt);
  const auto options = player.ticks();
  std::vector<std::string> names;
  for (const auto& o : options) names.push_back(o.name);
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::count_if(options.begin(), options.end(), [](auto& o) { return o.id == "wood"; }),
            1);

  const auto samples = rendered("wood", 120, 2.0, dir.path() / "w.wav", vault);
  EXPECT_EQ(onsets(samples, 0.5f).size(), 4u);

  { std::ofstream(vault / "chime.m4a") << "not really"; }
  EXPECT_THROW(player.play("chime", 1.0, 60), SoundError);
  EXPECT_THROW(player.play("unknown", 1.0, 60), SoundError);
}

TEST(TickPlayer, KnocksCutALongTockToOneBeat) {
  const std::vector<float> tock(50000, 0.5f);
  const auto beat = TickPlayer::knocks(tock, 120, 44100);
  ASSERT_EQ(beat.size(), 22050u);
  EXPECT_EQ(beat.back(), 0.5f);
  EXPECT_EQ(TickPlayer::knocks(tock, 0, 44100).size(), 44100u * 60);  // bpm below 1 reads as 1
}

}  // namespace
}  // namespace trivo
