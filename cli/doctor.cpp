#include <CLI/CLI.hpp>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <system_error>

#include "cli/check_places.h"
#include "cli/check_programs.h"
#include "cli/commands.h"
#include "platform/base/text.h"
#include "platform/system/identity.h"
#include "platform/system/places.h"

namespace kinora::cli {
namespace {

void Print(const Findings& findings) {
  constexpr const char* kGrades[] = {"OK", "WARN", "FAIL"};
  for (const Finding& finding : findings) {
    std::cout << std::left << std::setw(6) << kGrades[static_cast<int>(finding.grade)] << std::setw(11)
              << finding.subject << base::ToOneLine(finding.words) << std::endl;
  }
}

// Prints each finding as it comes: some checks take a while.
class Examination {
 public:
  void Take(const Findings& findings) {
    Print(findings);
    failed_ = failed_ || std::ranges::any_of(
                             findings, [](const Finding& finding) { return finding.grade == Grade::kFail; });
  }
  bool HasFailed() const { return failed_; }

 private:
  bool failed_ = false;
};

Findings TakeOnAccount(const system::Settings& settings) {
  try {
    system::EnterServiceIdentity(settings);
  } catch (const std::system_error& error) {
    return {
        {Grade::kFail, "account", std::string(error.what()) + "; make that account, or change the setting"}};
  }
  return {{Grade::kOk, "account", settings.account.empty() ? "the one that starts it" : settings.account}};
}

void Examine() {
  const system::Settings settings = system::LoadSettings(system::kSettingsFile);
  Examination examination;
  examination.Take(CheckSettings());
  examination.Take(CheckPort(settings));
  examination.Take(TakeOnAccount(settings));
  examination.Take(CheckParts());
  examination.Take(CheckFFmpeg());
  examination.Take(CheckSubtitles());
  examination.Take(CheckHardware(settings));
  examination.Take(CheckWorkspace());
  examination.Take(CheckVolumes(settings));
  examination.Take(CheckDatabaseAndShares());
  examination.Take(CheckMemory(settings));
  if (examination.HasFailed()) throw CLI::RuntimeError(1);
}

}  // namespace

void AddDoctor(CLI::App& program) {
  CLI::App* doctor = program.add_subcommand("doctor", "Say what keeps Kinora from working, and what to do");
  doctor->footer(
      "One line for each check: OK, WARN or FAIL, the subject, and what is so. Nothing is changed. "
      "The status is 1 when one of them is FAIL. Run it as whoever runs `kinora serve`.");
  doctor->callback(Examine);
}

}  // namespace kinora::cli
