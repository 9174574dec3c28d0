#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "session/unit_dependencies.h"

namespace orb::unitview {

/// What is found while units are followed, each thing once, with all the units that need it.
class DependencyList {
public:
    explicit DependencyList(const MountedData& data) : data_(data) {}

    /// What comes from now on is needed by this unit.
    void setUser(const std::string& unit) { user_ = unit; }

    /// False when no root has the file.
    bool add(const std::string& path, DependencyRole role, bool isTable = false);
    void addSection(NamedTable GameTables::*table, const TableEntry& entry, DependencyRole role);
    void miss(DependencyRole role, std::string_view name);
    void damage(const std::string& path, std::string_view message);

    /// All of it, ordered; nothing is left here.
    UnitDependencies take();

private:
    const MountedData& data_;
    std::string user_;
    /// By upper-cased path.
    std::map<std::string, Dependency> files_;
    std::map<std::pair<DependencyRole, std::string>, MissingDependency> missing_;
    std::map<std::string, std::string> damaged_;
    std::vector<NeededSection> sections_;
    std::unordered_map<const TableEntry*, std::size_t> sectionPlaces_;
};

}  // namespace orb::unitview
