#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "session/unit_view_session.h"

namespace orb::unitview {

/// Only an `error` keeps a pack from being given to others.
enum class PackSeverity { error, warning, info };

struct PackFinding {
    PackSeverity severity;
    std::string_view code;
    /// Inside the pack; empty where none is at fault.
    std::string path = {};
    std::string unit = {};
    std::string message = {};
};

/// A unit of a pack, by its health.
struct PackUnit {
    std::string name;
    /// Without a blocking row.
    bool isReady = false;
    std::size_t missing = 0;
    std::size_t warnings = 0;
};

struct PackValidation {
    std::size_t fileCount = 0;
    /// By severity, and within one in the order in which they were met.
    std::vector<PackFinding> findings;
    /// In name order.
    std::vector<PackUnit> units;

    bool isValid() const;
};

/// Looks at a pack as the game meets it: alone over the base game. Nothing that is mounted changes.
/// Throws RequestError with the text of an archive that cannot be opened.
PackValidation validateModPack(const std::filesystem::path& pack,
                               const std::filesystem::path& taDataPath, const io::Palette& palette,
                               const io::Progress& progress = {});

}  // namespace orb::unitview
