#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bos/lexer.h"
#include "bos/macros.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview::bos {

/// A source after its directives are carried out: tokens, the last of kind `end`, and the texts
/// that they borrow from.
struct PreprocessedSource {
    std::vector<Token> tokens;
    std::vector<std::unique_ptr<const std::string>> texts;
};

/// Carries out the directives of one translation: #include, #define, #undef, #if, #ifdef, #ifndef,
/// #elif, #else, #endif. Macros take no arguments.
class Preprocessor {
public:
    static constexpr std::size_t kMaxIncludeDepth = 32;
    /// Bytes of all included texts together; a file counts each time it is included.
    static constexpr std::size_t kMaxIncludedBytes = 16 << 20;
    /// What even an empty file counts: two small ones could include each other without end.
    static constexpr std::size_t kMinIncludeCost = 4096;

    /// Tokens of the whole translation, some twenty times those of the longest real script.
    static constexpr std::size_t kMaxTokens = 500'000;

    /// `files` is where includes are looked for, beside the including file and then in scripts/;
    /// null: nowhere. Without its header a source gets builtin constants in place of
    /// "sfxtype.h" and "exptype.h", and a warning.
    Preprocessor(const io::AbstractVirtualFileSystem* files, DiagnosticList& diagnostics)
        : files_(files), diagnostics_(diagnostics), macros_(diagnostics) {}

    PreprocessedSource run(std::string_view source, const std::string& path);

private:
    struct Condition {
        SourcePosition at;
        bool wasTaken;  ///< one of the branches so far
        bool hadElse = false;
    };
    struct Source {
        Lexer lexer;
        std::string directory;  ///< with a slash at its end, or empty
        std::vector<Condition> conditions;
    };

    void push(std::string text, const std::string& path, std::uint32_t mainLine);
    void readTokens();
    void finishSource();
    void directive(const SourcePosition& at);
    void include(const SourcePosition& at);
    bool includeFrom(const std::string& path, const SourcePosition& at);
    void define(const SourcePosition& at);
    void defineHeaderConstants(const SourcePosition& at);
    void beginCondition(const SourcePosition& at, bool isTrue);
    void otherBranch(const SourcePosition& at, std::string_view word);
    void noteElse(Condition& condition, const SourcePosition& at, std::string_view word);
    void skipInactive();
    bool isDefinedCondition(bool wanted);
    bool condition(const SourcePosition& at);
    bool readDefinedOperator(std::vector<Token>& expression);
    std::string macroName(const char* what);
    void ignoreRestOfLine();
    Lexer& lexer() { return sources_.back().lexer; }

    const io::AbstractVirtualFileSystem* files_;
    DiagnosticList& diagnostics_;
    MacroTable macros_;
    std::deque<Source> sources_;
    PreprocessedSource result_;
    std::size_t includedBytes_ = 0;
};

}  // namespace orb::unitview::bos
