// What the built shared object shows to those who link it.
#include <gmock/gmock.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

void Replace(std::string& text, const std::string& what, const std::string& by) {
  for (size_t at; (at = text.find(what)) != std::string::npos;) text.replace(at, what.size(), by);
}

// The names that nm lists for the library, made readable. Each stands once: of a constructor the linker sees
// several.
std::set<std::string> Names(const std::string& selection) {
  // "<name> <type letter> <value> <size>"; the name may hold blanks, and an undefined one has no value.
  const int fields_after_name = selection == "--defined-only" ? 3 : 1;
  const std::string command = "nm -DC --format=posix " + selection + " " KINORA_LIBRARY;
  const std::unique_ptr<FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
  std::set<std::string> names;
  char line[4096];
  while (pipe && std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::string name = line;
    name.resize(name.find_last_not_of("\n ") + 1);
    for (int field = 0; field < fields_after_name; ++field) name.resize(name.find_last_of(' '));
    Replace(name, "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >",
            "string");
    Replace(name, "[abi:cxx11]", "");
    Replace(name, "crvnkn::webapi::", "");
    Replace(name, "vte::", "");
    names.insert(name);
  }
  return names;
}

TEST(SharedLibrary, ShowsItsOperationsAndNothingElse) {
  const std::set<std::string> expected = {
      "GetFilePathByID(int)",
      "GetUidFromSharingId(string const&)",
      "AssertVideoAllowed(int, unsigned int, string const&)",
      "GetTrackInfo(string const&)",
      "AnalyzeEncoding(string const&)",
      "AnalyzeEncodingByEnca(string const&, unsigned char const*, unsigned int)",
      "EncodeToUTF8(string const&, string const&, string const&)",
      "GetCodepageName(string const&, CodePageType)",
      "GetCrvnLanguage()",
      "ToUTF8(string const&, string const&, string const&)",
      "subtitle::GetMethodArguments::GetMethodArguments()",
      "subtitle::GetMethodArguments::~GetMethodArguments()",
      "subtitle::GetMethodArguments::IsEmbedded() const",
      "subtitle::GetMethodArguments::GetSubtitleEaPath()",
      "subtitle::OutputSubtitle::OutputSubtitle(subtitle::GetMethodArguments const&)",
      "subtitle::OutputSubtitle::~OutputSubtitle()",
      "subtitle::OutputSubtitle::Process()",
      "subtitle::OutputSubtitle::ProcessAsRoot()",
      "subtitle::OutputSubtitle::CheckDLNAPath()",
      "subtitle::OutputSubtitle::CheckNeedPreview()",
      "subtitle::OutputSubtitle::ProcessOutputContant()",
      "subtitle::OutputSubtitle::ApplyEmptyWebvtt()",
      "subtitle::OutputSubtitle::RemoveTag() const",
      "subtitle::OutputSubtitle::OutputWebvtt(string const&)",
      "subtitle::OutputSubtitle::GetHeader() const",
      "subtitle::OutputSubtitle::GetContent() const",
      "subtitle::GetSubtitleList(string const&, bool)",
      "subtitle::FillExternalSubtitleInfo(string const&)",
      "subtitle::GetEmbeddedSubtitle(string const&, bool, Json::Value&)",
      "subtitle::IsEmbeddedSubtitleHasCached(string const&, int)",
      "subtitle::IsExternal(string const&)",
      "subtitle::IsInternal(string const&)",
      "subtitle::CheckSubtitleSearchResult(Json::Value&)",
      "subtitle::DiscoverSubtitle(string const&)",
      "subtitle::DownloadSubtitle(string const&, string const&, string const&, Json::Value&)",
      "subtitle::GetSubtitleSearchResult(string const&)",
      "subtitle::IsValidSubtitleFile(string const&)",
      "CloseHandler(string const&, string const&)",
      "ThrowVTEError(string const&)",
      "RecordChromecastData(string const&)",
      "GetStreamerAPI(string const&, string const&)",
      "OpenArgument::OpenArgument()",
      "OpenArgument::~OpenArgument()",
      "OpenArgument::CheckFilePath()",
      "StreamIniter::StreamIniter(OpenArgument const&)",
      "StreamIniter::StreamIniter(LibCrvnVTE::VideoMetaData const&, OpenArgument const&)",
      "StreamIniter::~StreamIniter()",
      "StreamIniter::LegacyProcess()",
      "StreamIniter::DetermineAvailableFormats() const",
      "StreamIniter::InitDirectStream()",
      "StreamIniter::InitHLS(bool)",
      "StreamIniter::InitRAW()",
      "StreamIniter::InitSS()",
      "StreamIniter::InitWEBM()",
      "StreamIniter::GetJsonStreamURL() const",
      "StreamIniter::GetSSJsonStreamURL() const",
      "StreamIniter::GetJsonSubtitleURL() const",
      "StreamIniter::RemoveTimeoutDir(string const&)",
      "StreamIniter::RemoveTimeoutVTEDir()",
      "Streamer::Streamer(string const&, Streamer::StreamType)",
      "Streamer::~Streamer()",
      "Streamer::SetFragmentID(string const&)",
      "Streamer::SetPlaylistType(string const&)",
      "Streamer::SetSubtitleID(string const&)",
      "Streamer::SetSeekTime(unsigned long)",
      "Streamer::Stream() const",
      "Streamer::Close() const",
      "Streamer::GetStreamTypeString() const",
      "Streamer::RemoveDir() const",
      "Streamer::GetPathAccessStatus() const",
      "Streamer::GetPathSourceFile() const",
      "RAW::RAW(string const&)",
      "RAW::~RAW()",
      "RAW::StreamImp() const",
      "RAW::CloseImp() const",
      "AdaptStreamer::AdaptStreamer(string const&, Streamer::StreamType)",
      "AdaptStreamer::~AdaptStreamer()",
      "AdaptStreamer::SetFragmentID(string const&)",
      "AdaptStreamer::StreamImp() const",
      "AdaptStreamer::OutputManifest() const",
      "AdaptStreamer::OutputFragment() const",
      "HLS::HLS(string const&)",
      "HLS::~HLS()",
      "HLS::SetPlaylistType(string const&)",
      "HLS::SetSubtitleID(string const&)",
      "HLS::CloseImp() const",
      "HLS::GetOutputManifestPath() const",
      "HLS::GetManifestMineType() const",
      "HLS::GetFragmentMineType() const",
      "HLS::GetAdaptStream() const",
      "SS::SS(string const&)",
      "SS::~SS()",
      "SS::CloseImp() const",
      "SS::GetOutputManifestPath() const",
      "SS::GetManifestMineType() const",
      "SS::GetFragmentMineType() const",
      "SS::GetAdaptStream() const",
      "WEBM::WEBM(string const&)",
      "WEBM::~WEBM()",
      "WEBM::SetSeekTime(unsigned long)",
      "WEBM::StreamImp() const",
      "WEBM::CloseImp() const",
      // By which exceptions and classes are told apart across shared objects.
      "typeinfo for Error",
      "typeinfo name for Error",
      "vtable for Error",
      "typeinfo for runas_error",
      "typeinfo name for runas_error",
      "vtable for runas_error",
      "typeinfo for Streamer",
      "typeinfo name for Streamer",
      "vtable for Streamer",
      "typeinfo for AdaptStreamer",
      "typeinfo name for AdaptStreamer",
      "vtable for AdaptStreamer",
      "typeinfo for HLS",
      "typeinfo name for HLS",
      "vtable for HLS",
      "typeinfo for SS",
      "typeinfo name for SS",
      "vtable for SS",
      "typeinfo for WEBM",
      "typeinfo name for WEBM",
      "vtable for WEBM",
      "typeinfo for RAW",
      "typeinfo name for RAW",
      "vtable for RAW",
  };
  EXPECT_EQ(Names("--defined-only"), expected);
}

TEST(SharedLibrary, LeavesThePlatformAndTheCallersSideToItsLinker) {
  const std::set<std::string> undefined = Names("--undefined-only");
  for (const char* name :
       {"HLIBCExec(char const*, ...)", "LibCrvnVTE::VTEStream::GetRandStreamID(string const&)",
        "LibCrvnVTE::HttpLiveStream::HttpLiveStream(string const&)",
        "LibCrvnVTE::SmoothStream::SmoothStream(string const&)",
        "LibCrvnVTE::DirectStream::Read(char*, unsigned int)", "LibCrvnVTE::AdaptStream::Close() const",
        "LibKinora::db::api::FileAPI::GetFile(int) const", "LibKinora::db::api::PersonalSetting::Get() const",
        "Opencc::SimpleConverter::Convert(string const&) const", "HTTPFileOutputer::GetMimeType(char const*)",
        "crvnkn::JoinString(std::vector<string, std::allocator<string > > const&, string const&)"}) {
    EXPECT_THAT(undefined, testing::Contains(name));
  }
}

}  // namespace
