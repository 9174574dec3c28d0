#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "io/formats/cob_file.h"

namespace orb::unitview {

/// Which code belongs to which script of a file. The file tells where a script begins; it ends
/// where the next higher entry is, the last one with the code. Scripts of one entry share their
/// code.
class ScriptMap {
public:
    explicit ScriptMap(const io::CobFile& file);

    /// The end of the script that begins at `entry`, which lies beyond the code where the next
    /// entry does.
    std::uint32_t endOf(std::uint32_t entry) const;
    /// The script whose code holds `pc`; of several with one entry the first.
    std::optional<std::size_t> scriptAt(std::uint32_t pc) const;

private:
    struct Entry {
        std::uint32_t at;
        std::uint32_t script;
    };
    /// By rising place; of several at one place the first script.
    std::vector<Entry> entries_;
    std::uint32_t codeSize_;
};

}  // namespace orb::unitview
