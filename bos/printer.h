#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bos/options.h"
#include "bos/syntax_tree.h"

namespace orb::unitview::bos {

/// A program as text.
struct PrintedProgram {
    std::string text;
    /// For each script the line behind its last one.
    std::vector<std::uint32_t> scriptEnds;
};

/// Writes a program that was made from bytecode: its settings line, declarations and scripts. Every
/// script tells its returns, so that every rule of the implicit return compiles it alike.
PrintedProgram printProgram(const Program& program, const BosOptions& options);

}  // namespace orb::unitview::bos
