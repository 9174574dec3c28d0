#pragma once

#include <string_view>

#include "session/mounted_data.h"

/// What definitions refer to, for all that ask whether it is there.
namespace orb::unitview {

/// True when a reference in a unit definition names nothing: it is empty or one of the words that
/// unit files write for "none", in any case.
bool isAbsentName(std::string_view name);

/// Explosions are weapons too.
bool isKnownWeapon(const MountedData& data, std::string_view name);

/// A wreck is a unit or a map feature.
bool isKnownCorpse(const MountedData& data, std::string_view name);

}  // namespace orb::unitview
