#pragma once

#include <cstdint>
#include <vector>

#include "io/formats/cob_file.h"

namespace orb::unitview::bos {

/// The words [from, to) of one script.
struct ScriptRange {
    std::uint32_t from = 0;
    std::uint32_t to = 0;

    std::uint32_t size() const { return to - from; }
};

/// Where each script of a file lies: from its entry to the next larger one or the end of the code.
/// Of scripts with the same entry only the last one has words.
std::vector<ScriptRange> scriptRanges(const io::CobFile& cob);

/// Where a script's instructions end: at its end, or where nothing but text follows (NULs alone are
/// none), which one compiler left behind the first script of a file.
std::uint32_t codeEnd(const io::CobFile& cob, const ScriptRange& range);

/// For each script the index of the first one of its name in `reference`; numbers beyond all
/// indices for names that it lacks.
std::vector<std::uint32_t> scriptIds(const io::CobFile& cob, const io::CobFile& reference);

/// A script's words, comparable across files: targets count from the script's beginning, and script
/// operands are replaced by `ids`.
std::vector<std::uint32_t> comparableWords(const io::CobFile& cob, const ScriptRange& range,
                                           const std::vector<std::uint32_t>& ids);

}  // namespace orb::unitview::bos
