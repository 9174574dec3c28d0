#include "bos/diagnostics.h"

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

void DiagnosticList::add(Severity severity, const SourcePosition& at, const char* code,
                         std::string message) {
    if (message.size() > kMaxMessage) message.replace(kMaxMessage, std::string::npos, "...");
    all_.push_back({severity, code, std::move(message), fileName(at.file), at.line, at.column});
}

}  // namespace orb::unitview::bos
