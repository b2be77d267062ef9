// The subtitles of real films, taken out by the real ffmpeg: in an installation in which ffmpeg is a script
// that counts its runs, waits as long as there is a file "hold", and dies where there is a file "die".
#include <gmock/gmock.h>

#include "tests/unit/platform/engine/installation.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr char kFirst[] = "1\n00:00:01,000 --> 00:00:03,000\nAt the begin\n\n";
constexpr char kSecond[] = "2\n00:04:50,000 --> 00:04:52,500\nStill in the preview, Grüße\n\n";
constexpr char kThird[] = "3\n00:06:00,000 --> 00:06:02,000\nAt the end\n\n";
const std::string kWhole = std::string(kFirst) + kSecond + kThird;
const std::string kPreview = std::string(kFirst) + kSecond;

// Every wait ends after a minute.
constexpr char kShellWords[] =
    "until_true() { n=0; until eval \"$1\" || [ $n -ge 1200 ]; do sleep 0.05; n=$((n+1)); done; }\n";

class SubtitleFilms : public kinora::engine::InstallationTest {
 protected:
  void SetUp() override {
    InstallationTest::SetUp();
    fs::create_directories(folder_ + "/target/bin");
    fs::create_directories(folder_ + "/target/scripts");
    fs::copy_file(KINORA_SOURCE_DIR "/packaging/phpiconv", folder_ + "/target/scripts/phpiconv");
    fs::copy_file(KINORA_BUILD_DIR "/helpers/kinora-probe", Helper("kinora-probe"));
    Script(folder_ + "/target/bin/ffmpeg",
           "for last; do :; done\n"
           "echo $$ $last >>" +
               folder_ +
               "/runs\n"
               "if [ -e " +
               folder_ +
               "/die ]; then echo 1 >\"$last\"; kill -9 $$; fi\n"
               "while [ -e " +
               folder_ +
               "/hold ]; do sleep 0.05; done\n"
               "exec /usr/bin/ffmpeg \"$@\"");
    PutFilm("subtitled.mkv");
  }

  // As film.mkv, whatever it is; changed long ago.
  void PutFilm(const std::string& name) const {
    fs::copy_file(std::string(KINORA_MEDIA_DIR "/") + name, Film(), fs::copy_options::overwrite_existing);
    MakeOld(Film());
  }
  void PutText(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ + "/" + name) << text;
    MakeOld(folder_ + "/" + name);
  }
  static void MakeOld(const std::string& file) {
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(24));
  }
  // Of ffmpeg.
  std::ptrdiff_t Runs() const {
    std::ifstream runs(folder_ + "/runs");
    return std::count(std::istreambuf_iterator<char>(runs), {}, '\n');
  }
  void Hold() const { std::ofstream(folder_ + "/hold"); }

  std::string Film() const { return folder_ + "/film.mkv"; }
  std::string Cache(const std::string& name, const std::string& film = "film.mkv") const {
    return folder_ + "/.kinora/" + film + "/CRVNVIDEO_2_0_SUBTITLE_" + name + ".srt";
  }

  // What shell commands print, to which $STUB, $FILM, $DIR and $V1 mean something. Standard error goes to the
  // file "log"; what is left in /tmp behind all of them is told at the end.
  std::string Shell(const std::string& commands) const {
    std::ofstream(folder_ + "/commands")
        << "STUB=" KINORA_SUBTITLE_STUB "\nDIR=" << folder_ << "\nFILM=" << Film() << "\nV1=" << Cache("V1_1")
        << "\n"
        << kShellWords << "exec 2>>$DIR/log\n"
        << commands << "\nwhile read -r pid f; do [ ! -e $f ] || echo left $f; done 2>/dev/null <$DIR/runs\n";
    return Run("/bin/sh", folder_ + "/commands");
  }
  std::string Ask(const std::string& wish) const { return Shell("$STUB $FILM " + wish); }

  std::string Log() const {
    std::ifstream log(folder_ + "/log");
    return {std::istreambuf_iterator<char>(log), {}};
  }
};

// ---- tracks
// -------------------------------------------------------------------------------------------------

TEST_F(SubtitleFilms, GiveTheirTracks) {
  EXPECT_EQ(Ask("1"), kWhole);
  EXPECT_EQ(Ask("2"), kWhole) << "ASS";
  EXPECT_TRUE(fs::exists(Cache("V1_1")));
  EXPECT_FALSE(fs::exists(Cache("V1_1") + ".lock"));
  EXPECT_EQ(Runs(), 2);
  EXPECT_EQ(Ask("1"), kWhole);
  EXPECT_EQ(Runs(), 2) << "from the cache";
  PutFilm("subtitled.mp4");
  fs::remove_all(folder_ + "/.kinora");
  EXPECT_EQ(Ask("1"), kWhole) << "mov_text";
}

TEST_F(SubtitleFilms, GiveThePreviewUntilThereIsTheWhole) {
  EXPECT_EQ(Ask("1 preview"), kPreview);
  EXPECT_TRUE(fs::exists(Cache("V1_PREVIEW_1")));
  EXPECT_EQ(Ask("1"), kWhole);
  EXPECT_FALSE(fs::exists(Cache("V1_PREVIEW_1")));
  EXPECT_EQ(Ask("1 preview"), kWhole);
  EXPECT_EQ(Runs(), 2);
}

TEST_F(SubtitleFilms, AreListedWithWhatIsStillToBeTakenOut) {
  PutText("film.de.srt", kFirst);
  const std::string before = Ask("list");
  EXPECT_THAT(before,
              HasSubstr("\"id\":\"" + folder_ + "/film.de.srt\",\"lang\":\"de\",\"need_preview\":false"));
  EXPECT_THAT(before,
              HasSubstr(R"("format":"srt","id":1,"lang":"eng","need_preview":true,"title":"All of it")"));
  EXPECT_THAT(before, HasSubstr(R"("format":"srt","id":2,"lang":"ger","need_preview":true)"));
  EXPECT_THAT(before, HasSubstr(R"("format":"pgs","id":3,"lang":"","need_preview":false)"));
  EXPECT_EQ(Ask("1"), kWhole);
  EXPECT_THAT(Ask("list"), HasSubstr(R"("id":1,"lang":"eng","need_preview":false)"));
}

TEST_F(SubtitleFilms, GiveNothingThatIsNoText) {
  for (const char* track : {"0", "3", "9", "2147483647"}) EXPECT_EQ(Ask(track), "nothing\n") << track;
  EXPECT_THAT(Log(), HasSubstr("no text in subtitle 3 of " + Film()));
  PutFilm("no_subtitle.mkv");
  EXPECT_EQ(Ask("1"), "nothing\n");
  for (const char* name : {"V1_0", "V1_1", "V1_3", "V1_9"}) EXPECT_FALSE(fs::exists(Cache(name))) << name;
}

TEST_F(SubtitleFilms, GiveWhatIsThereOfOneThatIsCutShort) {
  const auto whole = fs::file_size(Film());
  for (const uintmax_t size : {whole * 3 / 4, whole / 2, uintmax_t{100}, uintmax_t{0}}) {
    fs::resize_file(Film(), size);
    MakeOld(Film());
    fs::remove_all(folder_ + "/.kinora");
    const std::string answer = Ask("1");
    EXPECT_TRUE(answer == "nothing\n" || (kWhole.starts_with(answer) && answer.starts_with(kFirst)))
        << size << answer;
    EXPECT_TRUE(answer != "nothing\n" || size < whole / 2) << size;
  }
}

// ---- files
// --------------------------------------------------------------------------------------------------

TEST_F(SubtitleFilms, TakeFilesBesideThem) {
  PutText("film.srt", kFirst);
  PutText("film.ass",
          "[Script Info]\nScriptType: v4.00+\n\n[V4+ Styles]\nFormat: Name\nStyle: Default\n\n[Events]\n"
          "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
          "Dialogue: 0,0:00:01.00,0:00:03.00,Default,,0,0,0,,{\\b1}At the begin\n");
  PutText("film.vtt", "WEBVTT\n\nSTYLE\n::cue { color: red }\n\n00:01.000 --> 00:03.000\nAt the begin\n");
  PutText("film.smi",
          "<SAMI><BODY>\n<SYNC Start=1000><P>At the begin\n<SYNC Start=3000><P>&nbsp;\n</BODY></SAMI>\n");
  PutText("film.sub", "{25}{75}At the begin\n{100}{150}More\n{200}{250}And more\n");
  for (const char* name : {"film.srt", "film.ass", "film.vtt", "film.smi"})
    EXPECT_EQ(Ask("$DIR/" + std::string(name)), kFirst) << name;
  EXPECT_THAT(Ask("$DIR/film.sub"), HasSubstr("At the begin"));
  EXPECT_EQ(Runs(), 4) << "SubRip is copied";
}

TEST_F(SubtitleFilms, AreNotReadWhenTheyNameOthers) {
  fs::copy_file(Film(), folder_ + "/other.mkv");
  PutText("film.mkv", "ffconcat version 1.0\nfile other.mkv\n");
  PutText("film.ass", "ffconcat version 1.0\nfile " + folder_ + "/other.mkv\n");
  EXPECT_THAT(Shell("/usr/bin/ffmpeg -v error -i $FILM -map 0:1 -f srt - </dev/null"),
              HasSubstr("At the begin"))
      << "else this test shows nothing";
  EXPECT_EQ(Ask("1"), "nothing\n");
  EXPECT_EQ(Ask("$DIR/film.ass"), "nothing\n");
  EXPECT_EQ(Runs(), 0);
  EXPECT_THAT(Log(), HasSubstr("ffmpeg is not given " + Film() + ": it names other files"));
}

// ---- one at a time, and what is broken off
// --------------------------------------------------------------------

TEST_F(SubtitleFilms, AreReadOnceForAllWhoAsk) {
  Hold();
  const std::string answers = Shell(
      "for i in 1 2 3 4 5 6 7 8 9 10; do $STUB $FILM 1 >$DIR/answer.$i & done\n"
      "until_true '[ -s $DIR/runs ]'; rm $DIR/hold; wait\n"
      "for i in 1 2 3 4 5 6 7 8 9 10; do $STUB $FILM 1 >$DIR/answer.1$i; cmp -s $DIR/answer.1$i "
      "$DIR/answer.11 || "
      "echo differs\n"
      "read line <$DIR/answer.$i; echo \"$line\"; done");
  EXPECT_EQ(Runs(), 1);
  EXPECT_THAT(answers, HasSubstr("1\n")) << "one at least had it";
  EXPECT_THAT(answers, Not(HasSubstr("differs")));
  EXPECT_EQ(Ask("1"), kWhole);
}

TEST_F(SubtitleFilms, AreReadByAProcessOfItsOwnForWebvtt) {
  Hold();
  const std::string answers = Shell(
      "$STUB $FILM 1 webvtt\n"
      "until_true '[ -s $DIR/runs ]'\n"
      "read -r ffmpeg output <$DIR/runs; child=$(cut -d\" \" -f4 /proc/$ffmpeg/stat)\n"
      "$STUB $FILM 1 webvtt; rm $DIR/hold; until_true '[ -s $V1 ]'\n"
      "until_true '! kill -0 $child'; $STUB $FILM 1 webvtt");
  EXPECT_EQ(Runs(), 1);
  const std::string empty = answers.substr(0, answers.find("WEBVTT", 1));
  EXPECT_THAT(empty, HasSubstr("WEBVTT"));
  EXPECT_THAT(empty, Not(HasSubstr("begin")));
  EXPECT_TRUE(answers.starts_with(empty + empty)) << answers;
  EXPECT_THAT(answers.substr(2 * empty.size()), HasSubstr("At the begin"));
}

TEST_F(SubtitleFilms, LeaveNothingWhenFfmpegIsKilled) {
  std::ofstream(folder_ + "/die");
  EXPECT_EQ(Ask("1"), "nothing\n");
  EXPECT_THAT(Log(), HasSubstr("RipSubtitle failed, " + Film()));
  EXPECT_FALSE(fs::exists(Cache("V1_1")));
  fs::remove(folder_ + "/die");
  EXPECT_EQ(Ask("1"), kWhole);
}

TEST_F(SubtitleFilms, AreReadAnewAfterARequestThatWasKilled) {
  Hold();
  EXPECT_EQ(Shell("$STUB $FILM 1 & pid=$!; until_true '[ -s $DIR/runs ]'; kill -9 $pid; wait; rm $DIR/hold; "
                  "$STUB $FILM 1"),
            kWhole);
  EXPECT_EQ(Runs(), 2);
}

TEST_F(SubtitleFilms, AreReadAnewWhenTheyAreReplacedMeanwhile) {
  Hold();
  fs::copy_file(KINORA_MEDIA_DIR "/subtitled.mp4", folder_ + "/new");
  MakeOld(folder_ + "/new");
  EXPECT_EQ(Shell("$STUB $FILM 1 & until_true '[ -s $DIR/runs ]'; mv $DIR/new $FILM; rm $DIR/hold; wait"),
            "nothing\n");
  EXPECT_THAT(Log(), HasSubstr(Film() + " has changed while it was read"));
  EXPECT_FALSE(fs::exists(Cache("V1_1")));
  EXPECT_EQ(Ask("1"), kWhole);
}

TEST_F(SubtitleFilms, AreServedWhereNothingCanBeKeptBesideThem) {
  std::ofstream(folder_ + "/.kinora") << "no folder";
  EXPECT_EQ(Shell("$STUB $FILM 1; $STUB $FILM 1"), kWhole + kWhole);
  EXPECT_EQ(Runs(), 1);
}

TEST_F(SubtitleFilms, SayThatFfmpegIsMissing) {
  fs::remove(folder_ + "/target/bin/ffmpeg");
  EXPECT_EQ(Ask("1"), "nothing\n");
  EXPECT_THAT(Log(),
              HasSubstr("RipSubtitle: Failed (/var/packages/Kinora/target/bin/ffmpeg -y -timelimit 300 -i "));
}

}  // namespace
