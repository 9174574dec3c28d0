#include <fstream>

#include "fuzzing.h"
#include "session/lint_suppressions.h"

// The file of suppressed findings: what was read of it survives being written and read again.

namespace orb::fuzz {

void run(io::ByteView input) {
    const std::filesystem::path roots[] = {scratchFolder()};
    {
        std::ofstream file(roots[0] / unitview::kLintSuppressFile, std::ios::binary);
        file << io::asText(input);
    }
    const unitview::LintSuppressions rules = unitview::loadLintSuppressions(roots);
    unitview::saveLintSuppressions(rules, roots);
    const unitview::LintSuppressions again = unitview::loadLintSuppressions(roots);
    require(again.perUnit() == rules.perUnit() && again.global() == rules.global(),
            "rules read as they were written");
}

}  // namespace orb::fuzz
