#include "library/video.h"

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi {
namespace {

using kinora::fakes::OpenDatabases;
using kinora::fakes::TheScript;

class VideoLookUp : public kinora::fakes::ScriptedTest {
 protected:
  // Whatever the outcome, no question leaves the database open and no failure is only half reported.
  ~VideoLookUp() override {
    EXPECT_EQ(OpenDatabases(), 0);
    ExpectLog({});
  }
};

using GetFilePathById = VideoLookUp;
using GetUidFromSharing = VideoLookUp;
using AssertAllowed = VideoLookUp;
using GetTracks = VideoLookUp;

TEST_F(GetFilePathById, GivesThePathOfTheRecord) {
  TheScript().files = {{41, "/v/other.mp4", "mp4"}, {42, "/v/film.mkv", "mkv"}};
  EXPECT_EQ(GetFilePathByID(42), "/v/film.mkv");
  ExpectCalls({"GetFile(42)"});
}

TEST_F(GetFilePathById, FailsWithoutAskingTheDatabaseWhenTheIdIsBelowOne) {
  ExpectError(1101, "", [] { GetFilePathByID(0); });
  ExpectError(1101, "", [] { GetFilePathByID(-5); });
  ExpectCalls({});
}

TEST_F(GetFilePathById, FailsNamingTheIdWhenThereIsNoRecord) {
  ExpectError(1101, "Failed to get path from video id 42", [] { GetFilePathByID(42); });
}

TEST_F(GetFilePathById, FailsNamingTheIdWhenTheRecordHasNoPath) {
  TheScript().files = {{42, "", "mp4"}};
  ExpectError(1101, "Failed to get path from video id 42", [] { GetFilePathByID(42); });
}

TEST_F(GetFilePathById, PassesTheDatabaseFailureOn) {
  TheScript().database_fails = true;
  EXPECT_THROW(GetFilePathByID(42), LibKinora::db::Failure);
}

TEST_F(GetUidFromSharing, GivesTheOwnerAmongTheCollectionsOfAllAccounts) {
  TheScript().collections = {{"abc", 7}};
  EXPECT_EQ(GetUidFromSharingId("abc"), 7U);
  ExpectCalls({"CollectionAPI(0)", "GetInfo(\"abc\")"});
}

TEST_F(GetUidFromSharing, GivesZeroWhenTheIdIsUnknown) {
  EXPECT_EQ(GetUidFromSharingId("abc"), 0U);
  EXPECT_EQ(GetUidFromSharingId(""), 0U);
  EXPECT_EQ(GetUidFromSharingId("' OR 1=1 --"), 0U);
}

TEST_F(GetUidFromSharing, GivesZeroWhenTheCollectionIsNotValid) {
  TheScript().collections = {{"abc", 0}};
  EXPECT_EQ(GetUidFromSharingId("abc"), 0U);
}

TEST_F(GetUidFromSharing, PassesTheDatabaseFailureOn) {
  TheScript().database_fails = true;
  EXPECT_THROW(GetUidFromSharingId("abc"), LibKinora::db::Failure);
}

TEST_F(AssertAllowed, AsksNothingWhenThereIsNoAccount) {
  TheScript().file_allowed = false;
  EXPECT_NO_THROW(AssertVideoAllowed(3, 0, ""));
  ExpectCalls({});
}

TEST_F(AssertAllowed, LooksAtNoPinWhenTheFileIsAllowed) {
  EXPECT_NO_THROW(AssertVideoAllowed(3, 5, ""));
  EXPECT_NO_THROW(AssertVideoAllowed(3, 5, "wrong"));
  ExpectCalls({"ParentalControl(5)", "IsFileAllowed(3)", "ParentalControl(5)", "IsFileAllowed(3)"});
}

TEST_F(AssertAllowed, AsksForThePinWhenTheFileIsBlocked) {
  TheScript().file_allowed = false;
  TheScript().right_pin = "1234";
  ExpectError(1400, "", [] { AssertVideoAllowed(3, 5, ""); });
  ExpectCalls({"ParentalControl(5)", "IsFileAllowed(3)"});
}

TEST_F(AssertAllowed, RefusesAWrongPin) {
  TheScript().file_allowed = false;
  TheScript().right_pin = "1234";
  ExpectError(1401, "", [] { AssertVideoAllowed(3, 5, "1235"); });
}

TEST_F(AssertAllowed, PassesWithTheRightPin) {
  TheScript().file_allowed = false;
  TheScript().right_pin = "1234";
  EXPECT_NO_THROW(AssertVideoAllowed(3, 5, "1234"));
  ExpectCalls({"ParentalControl(5)", "IsFileAllowed(3)", "IsPinCorrect(\"1234\")"});
}

TEST_F(AssertAllowed, PassesTheDatabaseFailureOn) {
  TheScript().database_fails = true;
  EXPECT_THROW(AssertVideoAllowed(3, 5, "1234"), LibKinora::db::Failure);
}

TEST_F(GetTracks, GivesTheListsOfTheFile) {
  TheScript().video_tracks[0]["id"] = "0";
  TheScript().audio_tracks[0]["id"] = "1";
  TheScript().audio_tracks[1]["id"] = "2";
  Json::Value expected;
  expected["video"] = TheScript().video_tracks;
  expected["audio"] = TheScript().audio_tracks;
  EXPECT_EQ(GetTrackInfo("/v/film.mkv"), expected);
  ExpectCalls({"LoadFile(\"/v/film.mkv\")"});
}

TEST_F(GetTracks, LeavesOutWhatTheFileDoesNotHave) {
  TheScript().video_tracks[0]["id"] = "0";
  const Json::Value tracks = GetTrackInfo("/v/silent.mp4");
  EXPECT_EQ(tracks["video"].size(), 1U);
  EXPECT_TRUE(tracks.isMember("audio"));
  EXPECT_TRUE(tracks["audio"].isNull());
}

TEST_F(GetTracks, FailsWithoutLookingWhenThereIsNoPath) {
  ExpectError(101, "", [] { GetTrackInfo(""); });
  ExpectCalls({});
}

TEST_F(GetTracks, FailsNamingTheFileWhenItCannotBeRead) {
  TheScript().load_file = false;
  ExpectError(1102, "failed to load metadata /v/film.mkv", [] { GetTrackInfo("/v/film.mkv"); });
}

}  // namespace
}  // namespace crvnkn::webapi
