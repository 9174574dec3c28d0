#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "sim/units/unit.h"

namespace orb::sim {

inline constexpr std::size_t kMaxUnits = 5'000;
/// Ticks for which the id of a dead unit names nobody, while there are others: a front end must not
/// mistake its next owner for it.
inline constexpr Tick kIdRest = 900;

/// All units by slot. A loop over them meets the living ones in the order of their slots, which is
/// that of their ids; ids stay small and dense, since scripts loop over all of them. Room for all
/// is there from the beginning, so references to a unit hold for as long as it lives.
class Units {
public:
    Units() { slots_.reserve(kMaxUnits); }

    /// Living ones.
    std::size_t count() const { return count_; }
    /// Slots that have ever been used; what goes with units by slot has so many elements.
    std::size_t slotCount() const { return slots_.size(); }
    bool isFull() const { return count_ >= kMaxUnits; }

    /// Null for what is gone.
    const Unit* find(UnitRef ref) const;
    Unit* find(UnitRef ref) { return unconst(std::as_const(*this).find(ref)); }
    /// By the id that a script or a request names; null when nobody has it.
    const Unit* withId(std::int64_t id) const;
    Unit* withId(std::int64_t id) { return unconst(std::as_const(*this).withId(id)); }
    /// The unit in a slot, or null.
    const Unit* at(std::size_t slot) const {
        return slots_[slot].unit.id == 0 ? nullptr : &slots_[slot].unit;
    }
    Unit* at(std::size_t slot) { return unconst(std::as_const(*this).at(slot)); }
    /// The highest id that a unit has, 0 without units.
    std::uint32_t highestId() const;

    /// A unit of which nothing but id and generation is set yet; not when `isFull`.
    Unit& add(Tick now);
    /// The reference to it ends.
    void remove(Unit& unit, Tick now);

    template <typename Units, typename Unit>
    class Iterator {
    public:
        using value_type = Unit;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        Iterator(Units* units, std::size_t slot) : units_(units), slot_(slot) { skipFree(); }

        Unit& operator*() const { return *units_->at(slot_); }
        Unit* operator->() const { return units_->at(slot_); }
        Iterator& operator++() {
            ++slot_;
            skipFree();
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const = default;

    private:
        void skipFree() {
            while (slot_ < units_->slotCount() && !units_->at(slot_)) ++slot_;
        }

        Units* units_ = nullptr;
        std::size_t slot_ = 0;
    };
    auto begin() { return Iterator<Units, Unit>(this, 0); }
    auto end() { return Iterator<Units, Unit>(this, slots_.size()); }
    auto begin() const { return Iterator<const Units, const Unit>(this, 0); }
    auto end() const { return Iterator<const Units, const Unit>(this, slots_.size()); }

    template <typename Visit>
    friend void eachField(const Units& units, Visit visit) {
        for (const Slot& slot : units.slots_) {
            visit("generation", slot.generation);
            visit("freeSince", slot.freeSince);
            if (slot.unit.id != 0) visit("unit", slot.unit);
        }
    }

private:
    struct Slot {
        Unit unit;
        std::uint32_t generation = 0;
        /// When its last owner went.
        Tick freeSince = 0;
    };

    static Unit* unconst(const Unit* unit) { return const_cast<Unit*>(unit); }
    std::size_t freeSlot(Tick now);

    std::vector<Slot> slots_;
    std::size_t count_ = 0;
};

}  // namespace orb::sim
