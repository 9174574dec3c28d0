#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orb::unitview::bos {

/// A place in a source text or in one that it includes.
struct SourcePosition {
    std::uint32_t file = 0;    ///< as counted by DiagnosticList::addFile
    std::uint32_t line = 0;    ///< from 1
    std::uint32_t column = 0;  ///< from 1, in bytes
    /// The line of the main source that the place belongs to: its own, or the #include's.
    std::uint32_t mainLine = 0;
};

enum class Severity : std::uint8_t { error, warning };

/// A mistake, or something odd, in a source text.
struct BosDiagnostic {
    Severity severity = Severity::error;
    /// "E…" or "W…"; the same mistake always has the same code.
    std::string code;
    std::string message;
    std::string file;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    /// Where the main source has it: the line itself, or that of the #include.
    std::uint32_t mainLine = 0;
};

/// Thrown by the list when it is full; whoever asked for a translation ends it and reports.
struct TooManyErrors {};

/// Collects what the stages of a translation find.
class DiagnosticList {
public:
    static constexpr std::size_t kMaxErrors = 50;
    static constexpr std::size_t kMaxWarnings = 200;
    /// Bytes of a message; a name that it quotes may be as long as the source.
    static constexpr std::size_t kMaxMessage = 240;

    /// Registers a source; its number goes into positions.
    std::uint32_t addFile(std::string name);
    const std::string& fileName(std::uint32_t file) const { return files_.at(file); }
    const std::vector<std::string>& files() const { return files_; }

    /// Throws TooManyErrors with the last error that fits.
    void error(const SourcePosition& at, const char* code, std::string message);
    /// Warnings beyond the limit are dropped.
    void warning(const SourcePosition& at, const char* code, std::string message);

    bool hasErrors() const { return errors_ > 0; }
    /// All of them from top to bottom of the main source, whichever stage found them.
    std::vector<BosDiagnostic> inSourceOrder() const;

private:
    void add(Severity severity, const SourcePosition& at, const char* code, std::string message);

    std::vector<std::string> files_;
    std::vector<BosDiagnostic> all_;
    std::size_t errors_ = 0;
};

}  // namespace orb::unitview::bos
