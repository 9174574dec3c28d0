#pragma once

#include <string>
#include <string_view>

/// Names that are no plain words stand in quotes; bytes that a text cannot show, quotes and
/// backslashes among them, are written \xHH.
namespace orb::unitview::bos {

/// A name in quotes, such that reading it gives the same bytes.
std::string quotedName(std::string_view name);

/// The name whose text between the quotes this is. What only looks like an escape stays.
std::string nameInQuotes(std::string_view quoted);

}  // namespace orb::unitview::bos
