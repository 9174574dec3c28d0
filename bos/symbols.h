#pragma once

#include <string>
#include <vector>

#include "bos/syntax_tree.h"

namespace orb::unitview::bos {

/// The names of one script's locals: index i of the code is parameter i, and the indices behind the
/// parameters are the other locals in the order of their declarations.
struct ScriptSymbols {
    std::string name;
    std::vector<std::string> parameters;
    std::vector<std::string> locals;
};

/// The names that a source gives to what bytecode only numbers.
struct SourceSymbols {
    std::vector<std::string> statics;
    std::vector<ScriptSymbols> scripts;  ///< in the order of the source
};

SourceSymbols symbolsOf(const Program& program);

}  // namespace orb::unitview::bos
