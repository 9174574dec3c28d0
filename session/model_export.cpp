#include "session/model_export.h"

#include "io/out_of_memory.h"
#include "session/game_assets.h"
#include "session/model_file.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

/// Names what fails, unless that is the request's own fault.
template <typename Operation>
auto encoding(Operation&& operation) {
    static constexpr const char* kFailed = "glb encode failed: ";
    try {
        return operation();
    } catch (const RequestError&) {
        throw;
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        throw RequestError(kFailed + std::string(error.what()));
    } catch (...) {
        throw RequestError(kFailed + std::string("unknown exception"));
    }
}

ExportedModel encode(const UnitViewSession& session, const io::Model3doObject& model,
                     const TeamColor& team) {
    return exportModel(model, session.data().pictures.textures, session.palette(), team);
}

}  // namespace

ExportedModel exportUnitModel(const UnitViewSession& session, const TeamColor& team) {
    const io::Model3doObject& model = session.requireModel();
    return encoding([&] { return encode(session, model, team); });
}

ExportedModel exportUnitModel(const UnitViewSession& session, const LoadedUnit& unit,
                              const TeamColor& team) {
    return encoding([&] { return encode(session, unit.model, team); });
}

WeaponModel exportWeaponModel(const UnitViewSession& session, const std::string& weaponName,
                              const TeamColor& team) {
    const TableEntry& weapon = requireWeapon(session, weaponName);
    const std::string name(weapon.section.getString("model").value_or(""));
    if (name.empty()) throw RequestError("weapon has no model: " + weapon.name);
    return encoding([&]() -> WeaponModel {
        return {weapon.name, name, encode(session, readModel(session.data().files, name), team)};
    });
}

}  // namespace orb::unitview
