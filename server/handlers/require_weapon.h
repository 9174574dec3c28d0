#pragma once

#include <string>

#include "session/request_error.h"
#include "session/unit_view_session.h"

namespace orb::unitview::ipc {

/// The weapon that a request names, in any case.
inline const TableEntry& requireWeapon(const UnitViewSession& session, const std::string& name) {
    if (name.empty()) throw RequestError("weapon name is required");
    const TableEntry* const weapon = session.data().tables.weapons.find(name);
    if (!weapon) throw RequestError("unknown weapon: " + name);
    return *weapon;
}

}  // namespace orb::unitview::ipc
