#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "bos/problems.h"

namespace orb::unitview::bos {

/// A place in a source text or in one that it includes.
struct SourcePosition {
    std::uint32_t file = 0;    ///< as counted by DiagnosticList::addFile
    std::uint32_t line = 0;    ///< from 1
    std::uint32_t column = 0;  ///< from 1, in bytes
    /// The line of the main source that the place belongs to: its own, or the #include's.
    std::uint32_t mainLine = 0;
};

/// A mistake, or something odd, in a source text.
struct BosDiagnostic {
    Severity severity = Severity::error;
    std::string_view code;
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

    /// Adds a problem with the arguments of its text. Throws TooManyErrors with the last error that
    /// fits; warnings beyond the limit are dropped.
    template <Problem problem, typename... Arguments>
    void report(const SourcePosition& at, const Arguments&... arguments) {
        constexpr const ProblemRow& row = kProblems.at(static_cast<std::size_t>(problem));
        add(row, at, fmt::format(fmt::format_string<const Arguments&...>(row.text), arguments...));
    }

    bool hasErrors() const { return errors_ > 0; }
    /// All of them from top to bottom of the main source, whichever stage found them.
    std::vector<BosDiagnostic> inSourceOrder() const;

private:
    void add(const ProblemRow& row, const SourcePosition& at, std::string message);

    std::vector<std::string> files_;
    std::vector<BosDiagnostic> all_;
    std::size_t errors_ = 0;
};

}  // namespace orb::unitview::bos
