#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "io/byte_cursor.h"

namespace orb::io {

/// A compiled unit script file.
struct CobFile {
    struct Script {
        std::string name;
        /// Word index into `code` of the script's first instruction.
        std::uint32_t entry = 0;
    };

    std::uint32_t version = 4;
    std::vector<Script> scripts;
    /// Names of the model pieces that the code addresses by index.
    std::vector<std::string> pieces;
    std::uint32_t staticVarCount = 0;
    std::vector<std::uint32_t> code;

    /// Index of the first script with this name in any case, or -1.
    int findScript(std::string_view name) const;
};

/// The names of all scripts in table order.
std::vector<std::string> scriptNames(const CobFile& cob);

/// Reads a COB file of any version through its offsets. Throws std::runtime_error "COB data too
/// small" or "COB read out of bounds".
CobFile parseCob(ByteView bytes);

/// Writes a version 4 file: header, code, entry points, script-name offsets, piece-name offsets,
/// then the names, scripts first.
Bytes writeCob(const CobFile& cob);

}  // namespace orb::io
