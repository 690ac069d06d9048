// Cues: their sound goes to the player, speech goes to a real speech program found on PATH, and a
// missing notification service or speech program is no error.
#include "core/focus/cue_announcer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "testing/scoped_env.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

TEST(CueAnnouncer, SpeaksThroughTheFirstSpeechProgramOnThePath) {
  testing::TempDir dir;
  {
    testing::ScopedEnv path("PATH", (dir.path() / "empty").c_str());
    EXPECT_EQ(CueAnnouncer::speechCommand(), std::nullopt);
    EXPECT_FALSE(CueAnnouncer::speak("Time is up"));
  }
  // A stand-in speech program: a real executable that records what it was asked to say.
  const fs::path heard = dir.path() / "heard.txt";
  const fs::path program =
      dir.write("bin/espeak-ng", "#!/bin/sh\nprintf '%s' \"$1\" > '" + heard.string() + "'\n");
  chmod(program.c_str(), 0755);
  const std::string searchPath =
      (dir.path() / "empty").string() + ":" + (dir.path() / "bin").string();
  testing::ScopedEnv path("PATH", searchPath.c_str());
  EXPECT_EQ(CueAnnouncer::speechCommand(), program.string());
  ASSERT_TRUE(CueAnnouncer::speak("Time is up"));
  for (int i = 0; i < 300 && dir.read("heard.txt") != "Time is up"; ++i) {
    std::this_thread::sleep_for(10ms);
  }
  EXPECT_EQ(dir.read("heard.txt"), "Time is up");
}

TEST(CueAnnouncer, NoSessionBusMeansNoNotificationAndNoError) {
  testing::ScopedEnv bus("DBUS_SESSION_BUS_ADDRESS", nullptr);
  testing::ScopedEnv runtime("XDG_RUNTIME_DIR", nullptr);
  EXPECT_FALSE(CueAnnouncer::notify("Trivo", "Break is over"));
}

TEST(CueAnnouncer, PlaysTheCueSoundAndSkipsAMissingOne) {
  testing::TempDir dir;
  const fs::path wav = dir.path() / "cue.wav";
  {
    TickPlayer player(std::nullopt, std::nullopt,
                      std::make_unique<WavFileSink>(wav, TickPlayer::kSampleRate));
    CueAnnouncer announcer(&player);
    announcer.announce(Cue{"tock", false, false}, "Started", 1.0);
    announcer.announce(Cue{"Glass", false, false}, "Finished", 1.0);  // no such sound: silence
    announcer.announce(Cue{"", false, false}, "Paused", 1.0);
  }
  const auto samples = readSoundFile(wav).samples;
  EXPECT_EQ(samples.size(), TickPlayer::builtInTock(TickPlayer::kSampleRate).size());
}

}  // namespace
}  // namespace trivo
