#include "session/references.h"

#include "io/ascii.h"

namespace orb::unitview {

bool isAbsentName(std::string_view name) {
    for (const std::string_view word : {"", "NONE", "NULL", "NULLWEAPON", "NOWEAPON"})
        if (io::equalsIgnoringCase(name, word)) return true;
    return false;
}

bool isKnownWeapon(const MountedData& data, std::string_view name) {
    return data.tables.weapons.find(name) != nullptr;
}

bool isKnownCorpse(const MountedData& data, std::string_view name) {
    return data.catalogue.find(name) || data.tables.features.find(name);
}

}  // namespace orb::unitview
