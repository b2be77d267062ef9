#include "library/vte/throw_vte_error.h"

#include "tests/fakes/scripted_test.h"

namespace crvnkn::webapi::vte {
namespace {

using kinora::fakes::TheScript;

struct KeywordCase {
  std::string name;
  std::string keyword;
  int code;
  std::string message;
};

class EngineKeyword : public kinora::fakes::ScriptedTest, public testing::WithParamInterface<KeywordCase> {};

TEST_P(EngineKeyword, IsACodeOfTheWebApi) {
  ExpectError(GetParam().code, GetParam().message, [] { ThrowVTEError(GetParam().keyword); });
  ExpectCalls({});  // the machine is asked for the one keyword that depends on it
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EngineKeyword,
    testing::Values(KeywordCase{"Disabled", "TransEnable", 1200, ""},
                    KeywordCase{"Space", "TransSapceNotEnough", 1203, ""},
                    KeywordCase{"Audio", "TransAudioNotSupported", 1204, ""},
                    KeywordCase{"Video", "TransVideoNotSupported", 1205, ""},
                    KeywordCase{"Memory", "NeedToChangeMemoryLayout", 1206, ""},
                    KeywordCase{"Hardware", "TransVideoNotHardwareSupported", 1207, ""},
                    KeywordCase{"Resolution", "TransVideoOutOfResolutionCapability", 1208, ""},
                    KeywordCase{"Framerate", "TransVideoOutOfFramerateCapability", 1209, ""},
                    KeywordCase{"Profile", "TransVideoOutOfProfileCapability", 1210, ""},
                    KeywordCase{"Empty", "", 1212, "ThrowVTEError"},
                    KeywordCase{"Unknown", "TransSomethingElse", 1212, "ThrowVTEError"},
                    KeywordCase{"SpelledProperly", "TransSpaceNotEnough", 1212, "ThrowVTEError"},
                    KeywordCase{"LowerCase", "transenable", 1212, "ThrowVTEError"},
                    KeywordCase{"Longer", "TransEnable ", 1212, "ThrowVTEError"},
                    KeywordCase{"WithANul", std::string("TransEnable\0", 12), 1212, "ThrowVTEError"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST_F(EngineKeyword, OfAnOfflineConversionDependsOnTheHardwareThatIsThere) {
  TheScript().vaapi_enabled = true;  // what is used does not matter, what is there does
  ExpectError(1202, "", [] { ThrowVTEError("TransEnableOfflineConverting"); });
  TheScript().vaapi_supported = true;
  TheScript().vaapi_enabled = false;
  ExpectError(1201, "", [] { ThrowVTEError("TransEnableOfflineConverting"); });
  ExpectCalls({"IsSupportVaapi()", "IsSupportVaapi()"});
}

}  // namespace
}  // namespace crvnkn::webapi::vte
