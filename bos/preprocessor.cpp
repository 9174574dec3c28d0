#include "bos/preprocessor.h"

#include <algorithm>
#include <exception>
#include <optional>

#include <fmt/format.h>

#include "bos/condition.h"
#include "bos/constants.h"
#include "io/game_paths.h"
#include "io/out_of_memory.h"

namespace orb::unitview::bos {
namespace {

std::string directoryOf(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string_view::npos ? "" : std::string(path.substr(0, slash + 1));
}

/// The last component.
std::string_view fileNameOf(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace

PreprocessedSource Preprocessor::run(std::string_view source, const std::string& path) {
    push(std::string(source), path, 0);
    readTokens();
    return std::move(result_);
}

void Preprocessor::push(std::string text, const std::string& path, std::uint32_t mainLine) {
    result_.texts.push_back(std::make_unique<const std::string>(std::move(text)));
    const std::uint32_t file = diagnostics_.addFile(path);
    sources_.push_back(
        {Lexer(*result_.texts.back(), file, mainLine, diagnostics_), directoryOf(path), {}});
}

void Preprocessor::readTokens() {
    for (;;) {
        const Token token = lexer().next();
        if (token.is(Symbol::hash) && token.startsLine) {
            directive(token.at);
        } else if (token.kind != TokenKind::end) {
            macros_.expand(token, result_.tokens);
            if (result_.tokens.size() > kMaxTokens) {
                diagnostics_.report<Problem::sourceTooLong>(token.at);
                throw TooManyErrors{};
            }
        } else {
            finishSource();
            if (sources_.size() == 1) {
                result_.tokens.push_back(token);
                return;
            }
            sources_.pop_back();
        }
    }
}

void Preprocessor::finishSource() {
    for (const Condition& open : sources_.back().conditions)
        diagnostics_.report<Problem::unterminatedIf>(open.at);
}

void Preprocessor::directive(const SourcePosition& at) {
    const Token word = lexer().nextOnLine();
    if (word.text == "include") return include(at);
    if (word.text == "define") return define(at);
    if (word.text == "undef") {
        macros_.undefine(macroName("#undef"));
        return ignoreRestOfLine();
    }
    if (word.text == "ifdef") return beginCondition(at, isDefinedCondition(true));
    if (word.text == "ifndef") return beginCondition(at, isDefinedCondition(false));
    if (word.text == "if") return beginCondition(at, condition(at));
    if (word.text == "elif" || word.text == "else") return otherBranch(at, word.text);
    if (word.text == "endif") {
        auto& conditions = sources_.back().conditions;
        if (conditions.empty()) diagnostics_.report<Problem::endifWithoutIf>(at);
        if (!conditions.empty()) conditions.pop_back();
        return ignoreRestOfLine();
    }
    if (word.kind == TokenKind::end) return;  // a lone "#"
    diagnostics_.report<Problem::unknownDirective>(at, word.text);
    ignoreRestOfLine();
}

void Preprocessor::include(const SourcePosition& at) {
    const Token name = lexer().nextOnLine();
    if (name.kind != TokenKind::text) {
        diagnostics_.report<Problem::expectedFileName>(name.at);
        return ignoreRestOfLine();
    }
    ignoreRestOfLine();
    if (sources_.size() > kMaxIncludeDepth)
        return diagnostics_.report<Problem::includesTooDeep>(at);
    const std::string file(name.text);
    if (includeFrom(sources_.back().directory + file, at)) return;
    if (includeFrom(fmt::format("{}/{}", io::kScriptSourceFiles.folder, file), at)) return;
    if (isStandardHeader(fileNameOf(file))) {
        diagnostics_.report<Problem::standardHeaderMissing>(at, file);
        return defineHeaderConstants(at);
    }
    diagnostics_.report<Problem::cannotOpenInclude>(at, file);
}

bool Preprocessor::includeFrom(const std::string& path, const SourcePosition& at) {
    if (!files_) return false;
    std::optional<io::Bytes> content;
    try {
        content = files_->readFile(path);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        diagnostics_.report<Problem::cannotReadInclude>(at, path, std::string_view(error.what()));
        return true;
    }
    if (!content) return false;
    const std::size_t cost = std::max(content->size(), kMinIncludeCost);
    if (cost > kMaxIncludedBytes - includedBytes_) {
        diagnostics_.report<Problem::includesTooLarge>(at);
        return true;
    }
    includedBytes_ += cost;
    push(std::string(io::asText(*content)), path, at.mainLine);
    return true;
}

void Preprocessor::define(const SourcePosition& at) {
    const Token name = lexer().nextOnLine();
    if (name.kind != TokenKind::name) {
        diagnostics_.report<Problem::expectedNameBehind>(at, "#define");
        return ignoreRestOfLine();
    }
    Token token = lexer().nextOnLine();
    const bool isAdjacent =
        token.at.line == name.at.line && token.at.column == name.at.column + name.text.size();
    if (token.is(Symbol::parenOpen) && isAdjacent) {
        diagnostics_.report<Problem::macroWithArguments>(name.at, name.text);
        return ignoreRestOfLine();
    }
    std::vector<Token> body;
    for (; token.kind != TokenKind::end; token = lexer().nextOnLine()) body.push_back(token);
    macros_.define(name.text, std::move(body));
}

void Preprocessor::defineHeaderConstants(const SourcePosition& at) {
    // The values' digits must live as long as the tokens that borrow them.
    std::string digits;
    for (const NamedConstant& constant : headerConstants())
        digits += fmt::format("{} ", constant.value);
    result_.texts.push_back(std::make_unique<const std::string>(std::move(digits)));
    std::string_view rest = *result_.texts.back();
    for (const NamedConstant& constant : headerConstants()) {
        Token number;
        number.kind = TokenKind::number;
        number.text = rest.substr(0, rest.find(' '));
        number.at = at;
        rest.remove_prefix(number.text.size() + 1);
        macros_.define(constant.name, {number});
    }
}

void Preprocessor::beginCondition(const SourcePosition& at, bool isTrue) {
    sources_.back().conditions.push_back({at, isTrue});
    if (!isTrue) skipInactive();
}

/// #elif and #else behind an active branch: everything up to #endif is inactive.
void Preprocessor::otherBranch(const SourcePosition& at, std::string_view word) {
    auto& conditions = sources_.back().conditions;
    if (conditions.empty()) {
        diagnostics_.report<Problem::branchWithoutIf>(at, word);
        return ignoreRestOfLine();
    }
    noteElse(conditions.back(), at, word);
    skipInactive();
}

void Preprocessor::noteElse(Condition& condition, const SourcePosition& at, std::string_view word) {
    if (condition.hadElse) diagnostics_.report<Problem::branchBehindElse>(at, word);
    condition.hadElse = condition.hadElse || word == "else";
}

/// Leaves out lines up to the branch that is active, or behind the #endif.
void Preprocessor::skipInactive() {
    auto& conditions = sources_.back().conditions;
    std::size_t nested = 0;
    while (lexer().skipToDirective()) {
        SourcePosition at = lexer().position();
        --at.column;  // of the "#"
        const std::string_view word = lexer().nextOnLine().text;
        if (word == "if" || word == "ifdef" || word == "ifndef") ++nested;
        if (word == "endif" && nested-- == 0) {
            conditions.pop_back();
            return ignoreRestOfLine();
        }
        if (nested > 0 || (word != "elif" && word != "else")) continue;
        Condition& current = conditions.back();
        noteElse(current, at, word);
        if (current.wasTaken) continue;
        if (word == "else" || condition(at)) {
            current.wasTaken = true;
            return ignoreRestOfLine();
        }
    }
}

bool Preprocessor::isDefinedCondition(bool wanted) {
    const bool isDefined = macros_.isDefined(macroName("#ifdef"));
    ignoreRestOfLine();
    return isDefined == wanted;
}

/// The rest of the line as the expression of an #if.
bool Preprocessor::condition(const SourcePosition& at) {
    std::vector<Token> expression;
    for (Token token = lexer().nextOnLine(); token.kind != TokenKind::end;
         token = lexer().nextOnLine()) {
        if (token.kind == TokenKind::name && token.text == "defined") {
            if (!readDefinedOperator(expression)) return false;
        } else {
            macros_.expand(token, expression);
        }
    }
    return evaluateCondition(expression, at, diagnostics_);
}

/// defined NAME or defined(NAME), as a token 0 or 1.
bool Preprocessor::readDefinedOperator(std::vector<Token>& expression) {
    Token name = lexer().nextOnLine();
    const bool inParens = name.is(Symbol::parenOpen);
    if (inParens) name = lexer().nextOnLine();
    const bool isName = name.kind == TokenKind::name;
    if (!isName || (inParens && !lexer().nextOnLine().is(Symbol::parenClose))) {
        diagnostics_.report<Problem::expectedNameBehind>(name.at, "'defined'");
        ignoreRestOfLine();
        return false;
    }
    name.kind = TokenKind::number;
    name.word = Word::none;
    name.text = macros_.isDefined(name.text) ? "1" : "0";
    expression.push_back(name);
    return true;
}

std::string Preprocessor::macroName(const char* what) {
    const Token name = lexer().nextOnLine();
    if (name.kind != TokenKind::name)
        diagnostics_.report<Problem::expectedNameBehind>(name.at, what);
    return std::string(name.text);
}

void Preprocessor::ignoreRestOfLine() {
    while (lexer().nextOnLine().kind != TokenKind::end) {
    }
}

}  // namespace orb::unitview::bos
