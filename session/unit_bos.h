#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bos/disassembler.h"
#include "bos/source_compare.h"
#include "io/text_encoding.h"
#include "session/unit_view_session.h"

/// The scripts of units as sources. A `name` is as for readUnitScript, whose errors all of these
/// throw.
namespace orb::unitview {

/// A source that says what a unit's script does.
struct UnitBos {
    std::string unitName;
    std::string source;
    /// The source's own file; none for a disassembly.
    std::optional<std::string> path = {};
    io::TextEncoding encoding = io::TextEncoding::utf8;
    /// Tells this content of that file from others.
    std::string version = {};
    /// Which code each line stands for, in the scripts whose code the source gives; none when it
    /// gives none.
    std::optional<std::vector<CobLineSpan>> lineSpans = {};
    /// The paths of the source and of what it includes, as line spans count them.
    std::vector<std::string> files = {};
    /// None when the source has mistakes.
    std::optional<bos::SourceSymbols> symbols = {};
};

/// The source beside a unit's script, else what disassembling it gives.
UnitBos readUnitBos(const UnitViewSession& session, const std::optional<std::string>& name);

/// Writes a script file, or without one that of the loaded unit, as a source. Throws RequestError
/// with the reader's text.
bos::BosDisassembly disassembleScript(const UnitViewSession& session,
                                      const std::optional<io::Bytes>& cob,
                                      const bos::BosOptionChoices& choices);

struct UnitSourceComparison {
    std::string unitName;
    bos::SourceComparison comparison;
};

/// Compares a unit's script with a source, or without one with that beside it. Throws RequestError
/// "BOS source not found: …".
UnitSourceComparison compareUnitSource(const UnitViewSession& session,
                                       const std::optional<std::string>& name,
                                       const std::optional<std::string>& source);

}  // namespace orb::unitview
