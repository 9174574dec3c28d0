#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cob/cob_instance.h"

namespace orb::unitview {

/// What the lifecycle knows of a unit in play.
struct LifecycleUnit {
    std::string name;
    std::int32_t id = 0;
    /// 1 and above: fully built.
    float buildFraction = 1.0F;
    /// Switched on.
    bool active = false;
};

/// Gives units in play their COB instances and calls the scripts that their life asks for. Results
/// are model piece indices, -1 for none; a unit without an instance has none.
class UnitLifecycle {
public:
    /// Finds the script of a unit by its name; nullptr when there is none.
    using CobLookup = std::function<std::shared_ptr<const io::CobFile>(std::string_view unitName)>;

    explicit UnitLifecycle(CobLookup lookup = {}) : lookup_(std::move(lookup)) {}

    /// Creates the unit's instance and starts Create, and Activate for a built unit that is
    /// switched on. `modelPieces` are the model's piece names, nullptr without a model. Returns
    /// nullptr, and logs why, when the unit cannot have an instance.
    CobInstance* setupUnit(const LifecycleUnit& unit, const std::vector<std::string>* modelPieces);
    void removeUnit(std::int32_t id);
    /// Owned by the lifecycle; nullptr when the unit has none.
    CobInstance* instanceOf(std::int32_t id) const;

    void activate(LifecycleUnit& unit);
    void deactivate(LifecycleUnit& unit);

    /// The piece that a script answers with: through its one parameter or, failing that, by its
    /// result.
    std::int32_t queryPiece(std::int32_t id, std::string_view script);
    /// The same of a script that answers with several: one through each parameter.
    void queryPieces(std::int32_t id, std::string_view script, std::span<std::int32_t> pieces);
    /// Where to aim at the unit.
    std::int32_t sweetSpot(std::int32_t id);
    /// Where weapon 0, 1 or 2 fires from; a missing script is logged once per unit and slot.
    std::int32_t queryWeaponPiece(std::int32_t id, int slot);
    bool isAiming(std::int32_t id, int slot) const;
    /// Runs Killed with these parameters, which it may change; its result, or -1.
    std::int32_t killed(std::int32_t id, std::span<std::int32_t> parameters);

private:
    CobLookup lookup_;
    std::map<std::int32_t, std::unique_ptr<CobInstance>> instances_;
    std::set<std::pair<std::int32_t, int>> reportedQueries_;
};

}  // namespace orb::unitview
