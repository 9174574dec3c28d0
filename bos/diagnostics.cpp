#include "bos/diagnostics.h"

#include <algorithm>
#include <tuple>

namespace orb::unitview::bos {

std::uint32_t DiagnosticList::addFile(std::string name) {
    files_.push_back(std::move(name));
    return static_cast<std::uint32_t>(files_.size() - 1);
}

std::vector<BosDiagnostic> DiagnosticList::inSourceOrder() const {
    std::vector<BosDiagnostic> sorted = all_;
    std::ranges::stable_sort(sorted, {}, [](const BosDiagnostic& diagnostic) {
        return std::tie(diagnostic.mainLine, diagnostic.file, diagnostic.line, diagnostic.column);
    });
    return sorted;
}

void DiagnosticList::add(const ProblemRow& row, const SourcePosition& at, std::string message) {
    const bool isError = row.severity == Severity::error;
    if (isError && errors_ == kMaxErrors) throw TooManyErrors{};
    if (!isError && all_.size() - errors_ >= kMaxWarnings) return;
    if (message.size() > kMaxMessage) message.replace(kMaxMessage, std::string::npos, "...");
    all_.push_back({row.severity, row.code, std::move(message), fileName(at.file), at.line,
                    at.column, at.mainLine});
    if (isError && ++errors_ == kMaxErrors) throw TooManyErrors{};
}

}  // namespace orb::unitview::bos
