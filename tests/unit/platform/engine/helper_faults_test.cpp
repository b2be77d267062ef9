// What the engine makes of helpers that are missing, die or misbehave. Each test makes an installation of its
// own, in which the probe is a script, and looks through it at a real film.
#include "tests/unit/platform/engine/installation.h"

namespace kinora::engine {
namespace {

constexpr char kProbe[] = "/var/packages/Kinora/target/libexec/kinora-probe";
constexpr char kReport[] = R"({"video":[{"codec":"h264","width":4,"height":2}],"audio":[],"subtitle":[]})";

std::string MediaFile(const std::string& name) { return std::string(KINORA_MEDIA_DIR) + "/" + name; }

class HelperFaults : public InstallationTest {
 protected:
  void InstallProbe(const std::string& script, mode_t mode = 0755) const {
    Script(Helper("kinora-probe"), script, mode);
  }
  // The line that look_stub prints, seen through the installation.
  std::string Look(const std::string& film) const { return Run(KINORA_LOOK_STUB, "'" + film + "'"); }
};

TEST_F(HelperFaults, AMissingHelperIsNamed) {
  EXPECT_EQ(Look(MediaFile("silent.mp4")), std::string("unreadable: ") + kProbe + " is missing\n");
}

TEST_F(HelperFaults, AHelperThatCannotBeExecutedIsNamed) {
  InstallProbe("echo '" + std::string(kReport) + "'", 0644);
  EXPECT_EQ(Look(MediaFile("silent.mp4")),
            std::string("unreadable: ") + kProbe + " cannot be executed: Permission denied\n");
}

TEST_F(HelperFaults, AKilledHelperIsTriedOnceMore) {
  InstallProbe(CountRun() + "[ -e " + folder_ + "/second ] || { : >" + folder_ +
               "/second; kill -9 $$; }; echo '" + kReport + "'");
  ASSERT_EQ(Look(MediaFile("silent.mp4")), "video: h264\n");
  EXPECT_EQ(Runs(), 2);
}

TEST_F(HelperFaults, AHelperThatIsKilledAgainIsGivenUp) {
  InstallProbe(CountRun() + "kill -9 $$");
  EXPECT_EQ(Look(MediaFile("silent.mp4")), std::string("unreadable: ") + kProbe + " was ended by signal 9\n");
  EXPECT_EQ(Runs(), 2);
}

TEST_F(HelperFaults, AHelperThatCrashesIsNotTriedAgain) {
  InstallProbe(CountRun() + "kill -SEGV $$");
  EXPECT_EQ(Look(MediaFile("silent.mp4")),
            std::string("unreadable: ") + kProbe + " was ended by signal 11\n");
  EXPECT_EQ(Runs(), 1);
}

TEST_F(HelperFaults, AnswersThatAreNoReportsAreRefused) {
  const std::string refused = "unreadable: the probe's report cannot be read\n";
  for (const char* answer : {"", "{", "[]", "null", R"({"video": 1})"}) {
    InstallProbe("echo '" + std::string(answer) + "'");
    EXPECT_EQ(Look(MediaFile("silent.mp4")), refused) << answer;
  }
  InstallProbe("head -c 100000 /dev/zero | tr '\\0' '['");
  EXPECT_EQ(Look(MediaFile("silent.mp4")), refused);
}

TEST_F(HelperFaults, AnAnswerWithoutAFilmIsNoVideo) {
  InstallProbe(R"(echo '{"video":[{"codec":"h264","width":-4,"height":"2"}],"audio":[],"subtitle":[]}')");
  EXPECT_EQ(Look(MediaFile("silent.mp4")), "not a video: no film in it\n");
}

TEST_F(HelperFaults, AnEndlessAnswerIsCutOff) {
  InstallProbe("exec cat /dev/zero");
  EXPECT_EQ(Look(MediaFile("silent.mp4")), std::string("unreadable: ") + kProbe + " said too much\n");
}

TEST_F(HelperFaults, ExitCodesTellNoMediaFromTrouble) {
  const struct {
    int status;
    const char* line;
  } cases[] = {{65, "not a video: no format of a film, or nothing in it to be shown\n"},
               {66, "unreadable: cannot be understood: "},
               {64, "unreadable: cannot be understood: "},
               {77, "unreadable: cannot be understood: "}};
  for (const auto& row : cases) {
    InstallProbe("exit " + std::to_string(row.status));
    EXPECT_TRUE(Look(MediaFile("silent.mp4")).starts_with(row.line)) << row.status;
  }
}

TEST_F(HelperFaults, SubtitlesAreOnlyWhatTheReportCanMean) {
  const auto subtitles_of = [&](const std::string& tracks) {
    InstallProbe("echo '" + (R"({"video":[],"audio":[],"subtitle":[)" + tracks) + "]}'");
    return Run(KINORA_LOOK_STUB, "'" + MediaFile("silent.mp4") + "' subtitles");
  };
  const auto entry = [](const std::string& track, const std::string& codec) {
    return R"({"codec":")" + codec +
           R"(","default":false,"forced":false,"hearing_impaired":false,"language":"","title":"","track":")" +
           track + R"("})";
  };
  EXPECT_EQ(subtitles_of(""), "null\n");
  EXPECT_EQ(subtitles_of("{}"), "null\n");
  EXPECT_EQ(subtitles_of(R"({"id":-1},{"id":"2"},{"id":1.5},{"id":99999999999},{"id":null})"), "null\n");
  EXPECT_EQ(subtitles_of(R"({"id":7})"), "[" + entry("7", "") + "]\n");
  EXPECT_EQ(subtitles_of(R"({"id":7,"codec":"ass"},{"id":8,"codec":[],"language":1,"title":{},"default":1,)"
                         R"("forced":"true","hearing_impaired":null})"),
            "[" + entry("7", "ass") + "," + entry("8", "") + "]\n");
  EXPECT_EQ(subtitles_of("1"), "null\n");  // no report at all
}

// What the helper finds around it, told in place of a codec. Its descriptor 10 is the shell's own script.
TEST_F(HelperFaults, TheHelperGetsTheFilmAndNothingElse) {
  InstallProbe(
      R"(cd /proc/$$; n=0; while [ $n -lt 64 ]; do [ -e fd/$n ] && fds="$fds$n "; n=$((n + 1)); done; film=$(readlink fd/3)
rights=$(grep -E '^(CapPrm|CapEff|NoNewPrivs)' status | tr '\t\n' '  ')
echo "{\"video\":[{\"codec\":\"$fds$film $rights\",\"width\":4,\"height\":2}],\"audio\":[],\"subtitle\":[]}")");
  EXPECT_EQ(Look(MediaFile("silent.mp4")),
            "video: 0 1 2 3 10 " + MediaFile("silent.mp4") +
                " CapPrm: 0000000000000000 CapEff: 0000000000000000 NoNewPrivs: 1 \n");
}

}  // namespace
}  // namespace kinora::engine
