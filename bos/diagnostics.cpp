#include "bos/diagnostics.h"

#include <algorithm>
#include <tuple>

namespace orb::unitview::bos {

std::uint32_t DiagnosticList::addFile(std::string name) {
    files_.push_back(std::move(name));
    return static_cast<std::uint32_t>(files_.size() - 1);
}

void DiagnosticList::error(const SourcePosition& at, const char* code, std::string message) {
    if (errors_ == kMaxErrors) throw TooManyErrors{};
    add(Severity::error, at, code, std::move(message));
    if (++errors_ == kMaxErrors) throw TooManyErrors{};
}

void DiagnosticList::warning(const SourcePosition& at, const char* code, std::string message) {
    if (all_.size() - errors_ < kMaxWarnings) add(Severity::warning, at, code, std::move(message));
}

std::vector<BosDiagnostic> DiagnosticList::inSourceOrder() const {
    std::vector<BosDiagnostic> sorted = all_;
    std::ranges::stable_sort(sorted, {}, [](const BosDiagnostic& diagnostic) {
        return std::tie(diagnostic.mainLine, diagnostic.file, diagnostic.line, diagnostic.column);
    });
    return sorted;
}

void DiagnosticList::add(Severity severity, const SourcePosition& at, const char* code,
                         std::string message) {
    if (message.size() > kMaxMessage) message.replace(kMaxMessage, std::string::npos, "...");
    all_.push_back(
        {severity, code, std::move(message), fileName(at.file), at.line, at.column, at.mainLine});
}

}  // namespace orb::unitview::bos
