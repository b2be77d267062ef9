#include "platform/media/preferences.h"

#include <soci/soci.h>

#include <string>

namespace kinora::media {
namespace {

const std::string kConversion = "convert_simplified_to_traditional";
const std::string kYes = "yes";
const std::string kNo = "no";

}  // namespace

bool Preferences::ConvertsSimplifiedToTraditional(long long account) {
  return store_.Do([&](soci::session& sql) {
    std::string value = kNo;
    sql << "SELECT value FROM personal_settings WHERE account = :account AND name = :name",
        soci::use(account), soci::use(kConversion), soci::into(value);
    return sql.got_data() && value == kYes;
  });
}

void Preferences::SetConvertsSimplifiedToTraditional(long long account, bool converts) {
  const std::string& value = converts ? kYes : kNo;
  store_.Change([&](soci::session& sql) {
    sql << "INSERT INTO personal_settings(account, name, value) VALUES(:account, :name, :value) "
           "ON CONFLICT(account, name) DO UPDATE SET value = excluded.value",
        soci::use(account), soci::use(kConversion), soci::use(value);
  });
}

}  // namespace kinora::media
