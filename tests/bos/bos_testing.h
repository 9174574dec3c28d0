#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "bos/compiler.h"

namespace orb::unitview::bos::testing {

/// "line:column CODE message" of each diagnostic, those of other files with their name in front.
inline std::vector<std::string> shown(const std::vector<BosDiagnostic>& diagnostics) {
    std::vector<std::string> lines;
    for (const BosDiagnostic& each : diagnostics)
        lines.push_back(fmt::format("{}{}:{} {} {}", each.file == "a.bos" ? "" : each.file + ":",
                                    each.line, each.column, each.code, each.message));
    return lines;
}

inline BosCompilation compiled(std::string_view source, const BosOptionChoices& choices = {}) {
    return compileBos(source, "a.bos", nullptr, choices);
}

/// The choices that leave nothing open.
inline BosOptionChoices all(const BosOptions& options) {
    return {options.linearScale, options.angularScale, options.implicitReturn,
            options.valuelessReturn, options.argumentOrder};
}

}  // namespace orb::unitview::bos::testing
