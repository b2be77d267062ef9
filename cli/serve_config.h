// The web server's configuration, made from its template.
#pragma once

#include <map>
#include <string>

namespace kinora::cli {

// Puts the value for NAME in place of each @NAME@. Throws std::invalid_argument when a value could end the
// quoted string that it stands in, or when a name in the template has no value.
std::string FillTemplate(const std::string& text, const std::map<std::string, std::string>& values);

// An address as an URL or the configuration writes it: one of IPv6 in brackets.
std::string InBrackets(const std::string& address);

// Where a browser on this machine reaches what listens on `address`.
std::string AddressToVisit(const std::string& address);

}  // namespace kinora::cli
