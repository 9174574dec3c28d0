#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Everything that the compiler has to say about a source text, a row each.
namespace orb::unitview::bos {

enum class Severity : std::uint8_t { error, warning };

/// In the order of the table's rows.
enum class Problem : std::uint8_t {
    cannotOpenInclude,
    cannotReadInclude,
    endifWithoutIf,
    branchWithoutIf,
    branchBehindElse,
    unterminatedIf,
    unknownDirective,
    includesTooDeep,
    includesTooLarge,
    macroWithArguments,
    unterminatedComment,
    unexpectedCharacter,
    unexpectedByte,
    expected,
    expectedAtFileEnd,
    expectedAtLineEnd,
    expectedFileName,
    expectedNameBehind,
    unknownPiece,
    unknownName,
    unknownScript,
    declaredTwice,
    scriptDeclaredTwice,
    pieceAssigned,
    unscaledDecimal,
    numberOutOfRange,
    remainderOperator,
    tooManyGetArguments,
    statementOutsideScript,
    endInScript,
    dontShadow,
    expansionTooLong,
    statementsTooDeep,
    expressionsTooDeep,
    sourceTooLong,
    returnAdded,
    runsOn,
    runsOff,
    localInsideBlock,
    tooManyArguments,
    waitWithoutSpeed,
    standardHeaderMissing,
};

struct ProblemRow {
    Problem problem;
    Severity severity;
    /// "E…" or "W…"; the same mistake always has the same code.
    std::string_view code;
    /// With "{}" for what it is about.
    std::string_view text;
};

// clang-format off
inline constexpr auto kProblems = std::to_array<ProblemRow>({
    {Problem::cannotOpenInclude,      Severity::error,   "E01", "cannot open include file '{}'"},
    {Problem::cannotReadInclude,      Severity::error,   "E01", "cannot open include file '{}': {}"},
    {Problem::endifWithoutIf,         Severity::error,   "E02", "#endif without #if"},
    {Problem::branchWithoutIf,        Severity::error,   "E02", "#{} without #if"},
    {Problem::branchBehindElse,       Severity::error,   "E02", "#{} behind #else"},
    {Problem::unterminatedIf,         Severity::error,   "E02", "unterminated #if"},
    {Problem::unknownDirective,       Severity::error,   "E03", "unknown directive '#{}'"},
    {Problem::includesTooDeep,        Severity::error,   "E04", "include nesting too deep"},
    {Problem::includesTooLarge,       Severity::error,   "E04", "included files are too large"},
    {Problem::macroWithArguments,     Severity::error,   "E05", "macros with arguments are not supported: '{}'"},
    {Problem::unterminatedComment,    Severity::error,   "E06", "unterminated comment"},
    {Problem::unexpectedCharacter,    Severity::error,   "E07", "unexpected character '{}'"},
    {Problem::unexpectedByte,         Severity::error,   "E07", "unexpected character '\\x{:02X}'"},
    {Problem::expected,               Severity::error,   "E08", "expected {} but found '{}'"},
    {Problem::expectedAtFileEnd,      Severity::error,   "E08", "expected {} but found the end of the file"},
    {Problem::expectedAtLineEnd,      Severity::error,   "E08", "expected {} but found the end of the line"},
    {Problem::expectedFileName,       Severity::error,   "E08", "expected a file name in double quotes"},
    {Problem::expectedNameBehind,     Severity::error,   "E08", "expected a name behind {}"},
    {Problem::unknownPiece,           Severity::error,   "E09", "unknown piece '{}'"},
    {Problem::unknownName,            Severity::error,   "E10", "unknown name '{}'"},
    {Problem::unknownScript,          Severity::error,   "E11", "unknown script '{}'"},
    {Problem::declaredTwice,          Severity::error,   "E12", "'{}' is already declared"},
    {Problem::scriptDeclaredTwice,    Severity::warning, "E12", "'{}' is already declared"},
    {Problem::pieceAssigned,          Severity::error,   "E13", "cannot assign to piece '{}'"},
    {Problem::unscaledDecimal,        Severity::error,   "E14", "a number with a decimal point must stand in [ ] or < >"},
    {Problem::numberOutOfRange,       Severity::error,   "E15", "number out of range"},
    {Problem::remainderOperator,      Severity::error,   "E16", "operator '%' does not exist in bytecode"},
    {Problem::tooManyGetArguments,    Severity::error,   "E17", "get takes at most 4 arguments"},
    {Problem::statementOutsideScript, Severity::error,   "E18", "statement outside a script"},
    {Problem::endInScript,            Severity::error,   "E19", "unexpected end of file in script '{}'"},
    {Problem::dontShadow,             Severity::error,   "E20", "dont-shadow has no opcode"},
    {Problem::expansionTooLong,       Severity::error,   "E21", "macros expand to too much text"},
    {Problem::statementsTooDeep,      Severity::error,   "E22", "statements nest too deep"},
    {Problem::expressionsTooDeep,     Severity::error,   "E22", "expressions nest too deep"},
    {Problem::sourceTooLong,          Severity::error,   "E23", "source is too long"},
    {Problem::returnAdded,            Severity::warning, "W1",  "control can reach the end of '{}' after a conditional return; a return was added"},
    {Problem::runsOn,                 Severity::warning, "W1",  "control can reach the end of '{}' and runs on into '{}'"},
    {Problem::runsOff,                Severity::warning, "W1",  "control can reach the end of '{}' and runs on into the end of the code"},
    {Problem::localInsideBlock,       Severity::warning, "W2",  "local '{}' is declared inside a block"},
    {Problem::tooManyArguments,       Severity::warning, "W3",  "call of '{}' passes {} arguments, it takes {}"},
    {Problem::waitWithoutSpeed,       Severity::warning, "W5",  "{} with speed 0 before a wait never finishes"},
    {Problem::standardHeaderMissing,  Severity::warning, "W6",  "cannot open include file '{}'; builtin constants stand in"},
});
// clang-format on

constexpr bool problemsAreInOrder() {
    for (std::size_t i = 0; i < kProblems.size(); ++i)
        if (static_cast<std::size_t>(kProblems.at(i).problem) != i) return false;
    return true;
}
static_assert(problemsAreInOrder(), "rows stand in the order of Problem");

}  // namespace orb::unitview::bos
