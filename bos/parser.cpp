#include "bos/parser.h"

#include <optional>
#include <span>

#include <fmt/format.h>

#include "bos/expression_parser.h"
#include "bos/integer_literal.h"
#include "bos/preprocessor.h"
#include "bos/token_reader.h"
#include "io/ascii.h"

namespace orb::unitview::bos {
namespace {

using PartKind = FormPart::Kind;

class Parser {
public:
    Parser(std::span<Token> tokens, Program& program, DiagnosticList& diagnostics)
        : program_(program),
          reader_(tokens, program, diagnostics),
          expressions_(reader_, program) {}

    void run();

private:
    void topLevel();
    void names(std::vector<Name>& names, std::string_view what);
    Script script();
    void block(std::vector<Statement>& statements);
    void enter(const SourcePosition& at);
    void statementOrRecover(std::vector<Statement>& statements);
    void recover();
    Statement statement();
    Statement nestedStatement();
    std::vector<Statement> body();
    Statement branch();
    Statement whileLoop();
    Statement forLoop();
    Statement simple();
    Statement assignment();
    Statement returned();
    Statement started(Op op);
    Statement rawWords();
    Statement ofForm();
    void formWord(const StatementForm*& form, std::size_t part);
    Statement begin(Statement::Kind kind) const;

    Program& program_;
    TokenReader reader_;
    ExpressionParser expressions_;
    int nesting_ = 0;
    std::string_view scriptName_;
};

void Parser::run() {
    bool isHeadWrong = false;
    while (!reader_.atEnd()) {
        try {
            if (isHeadWrong && reader_.current().is(Symbol::braceOpen)) {
                // A body whose head was wrong is looked through like any other.
                isHeadWrong = false;
                statement();
            } else {
                isHeadWrong = false;
                topLevel();
            }
        } catch (const SyntaxError&) {
            recover();
            reader_.accept(Symbol::braceClose);
            isHeadWrong = true;
            nesting_ = 0;
        }
    }
}

void Parser::topLevel() {
    if (reader_.accept(Symbol::semicolon)) return;
    if (reader_.accept(Word::piece)) return names(program_.pieces, "a piece name");
    if (reader_.accept(Word::staticVar)) return names(program_.statics, "a variable name");
    const Token& token = reader_.current();
    if (reader_.isName() && reader_.following().is(Symbol::parenOpen)) {
        program_.scripts.push_back(script());
        return;
    }
    const bool isStatement = token.kind == TokenKind::name &&
                             (token.word != Word::none || reader_.following().is(Symbol::assign));
    if (isStatement || token.is(Symbol::braceOpen))
        reader_.fail<Problem::statementOutsideScript>(token.at);
    reader_.failExpecting("a declaration or a script");
}

/// A comma list and its semicolon.
void Parser::names(std::vector<Name>& names, std::string_view what) {
    do {
        names.push_back(reader_.expectName(what));
    } while (reader_.accept(Symbol::comma));
    reader_.expect(Symbol::semicolon, ";");
}

Script Parser::script() {
    Script script;
    script.name = reader_.expectName("a script name");
    scriptName_ = script.name.text;
    reader_.expect(Symbol::parenOpen, "(");
    if (!reader_.accept(Symbol::parenClose)) {
        do {
            script.parameters.push_back(reader_.expectName("a parameter name"));
        } while (reader_.accept(Symbol::comma));
        reader_.expect(Symbol::parenClose, ")");
    }
    script.isRaw = reader_.current().marker == Marker::raw;
    if (!reader_.current().is(Symbol::braceOpen)) reader_.failExpecting("'{'");
    block(script.body);
    const Token& end = reader_.current();
    script.end = end.at;
    script.suppressesReturn = end.marker == Marker::noReturn;
    reader_.expect(Symbol::braceClose, "}");
    return script;
}

/// The opening brace and all statements up to the closing one, which stays.
void Parser::block(std::vector<Statement>& statements) {
    enter(reader_.advance().at);
    while (!reader_.current().is(Symbol::braceClose)) {
        if (reader_.atEnd()) reader_.fail<Problem::endInScript>(reader_.current().at, scriptName_);
        statementOrRecover(statements);
    }
    --nesting_;
}

/// Text that nests too deep is given up: every further brace would be a mistake.
void Parser::enter(const SourcePosition& at) {
    if (++nesting_ <= kMaxStatementNesting) return;
    reader_.diagnostics().report<Problem::statementsTooDeep>(at);
    throw TooManyErrors{};
}

void Parser::statementOrRecover(std::vector<Statement>& statements) {
    const int nesting = nesting_;
    try {
        Statement parsed = statement();
        if (parsed.kind != Statement::Kind::empty) statements.push_back(std::move(parsed));
    } catch (const SyntaxError&) {
        nesting_ = nesting;
        if (reader_.atEnd()) throw;
        recover();
    }
}

/// Goes on behind the next semicolon or at the next brace.
void Parser::recover() {
    while (!reader_.atEnd() && !reader_.current().is(Symbol::braceOpen) &&
           !reader_.current().is(Symbol::braceClose))
        if (reader_.advance().is(Symbol::semicolon)) return;
}

Statement Parser::begin(Statement::Kind kind) const {
    Statement statement;
    statement.kind = kind;
    statement.at = reader_.current().at;
    return statement;
}

Statement Parser::statement() {
    switch (reader_.current().word) {
        case Word::ifWord:
            return branch();
        case Word::whileWord:
            return whileLoop();
        case Word::forWord:
            return forLoop();
        default:
            break;
    }
    if (reader_.current().is(Symbol::braceOpen)) {
        Statement result = begin(Statement::Kind::block);
        block(result.body);
        reader_.advance();
        return result;
    }
    if (reader_.accept(Symbol::semicolon)) return {};
    Statement result = simple();
    reader_.expect(Symbol::semicolon, ";");
    return result;
}

Statement Parser::nestedStatement() {
    enter(reader_.current().at);
    Statement result = statement();
    --nesting_;
    return result;
}

/// A statement in a place of its own; a block's statements without the block.
std::vector<Statement> Parser::body() {
    std::vector<Statement> statements;
    Statement inner = nestedStatement();
    if (inner.kind == Statement::Kind::block) return std::move(inner.body);
    if (inner.kind != Statement::Kind::empty) statements.push_back(std::move(inner));
    return statements;
}

Statement Parser::branch() {
    Statement result = begin(Statement::Kind::branch);
    reader_.advance();
    reader_.expect(Symbol::parenOpen, "(");
    result.values.push_back(expressions_.expression());
    reader_.expect(Symbol::parenClose, ")");
    result.body = body();
    result.elseAt = reader_.current().at;
    result.hasElse = reader_.accept(Word::elseWord);
    if (result.hasElse) result.otherwise = body();
    return result;
}

Statement Parser::whileLoop() {
    Statement result = begin(Statement::Kind::loop);
    reader_.advance();
    reader_.expect(Symbol::parenOpen, "(");
    result.values.push_back(expressions_.expression());
    reader_.expect(Symbol::parenClose, ")");
    result.body = body();
    return result;
}

/// for (first; condition; step) body: a block of first and a loop that ends in step.
Statement Parser::forLoop() {
    Statement result = begin(Statement::Kind::block);
    Statement loop = begin(Statement::Kind::loop);
    reader_.advance();
    reader_.expect(Symbol::parenOpen, "(");
    if (!reader_.current().is(Symbol::semicolon)) result.body.push_back(assignment());
    reader_.expect(Symbol::semicolon, ";");
    if (!reader_.current().is(Symbol::semicolon)) loop.values.push_back(expressions_.expression());
    reader_.expect(Symbol::semicolon, ";");
    std::optional<Statement> step;
    if (!reader_.current().is(Symbol::parenClose)) step = assignment();
    reader_.expect(Symbol::parenClose, ")");
    loop.body = body();
    if (step) loop.body.push_back(std::move(*step));
    result.body.push_back(std::move(loop));
    return result;
}

Statement Parser::simple() {
    switch (reader_.current().word) {
        case Word::var: {
            Statement result = begin(Statement::Kind::locals);
            reader_.advance();
            do {
                result.names.push_back(reader_.expectName("a variable name"));
            } while (reader_.accept(Symbol::comma));
            return result;
        }
        case Word::startScript:
            return started(Op::start);
        case Word::callScript:
            return started(Op::call);
        case Word::returnWord:
            return returned();
        case Word::words:
            return rawWords();
        case Word::statement:
            return ofForm();
        case Word::dontShadow:
            reader_.fail<Problem::dontShadow>(reader_.current().at);
        default:
            return assignment();
    }
}

Statement Parser::assignment() {
    Statement result = begin(Statement::Kind::assign);
    const auto prefixed = [&](Op op) {
        reader_.advance();
        result.names.push_back(reader_.expectName("a variable"));
        result.values.push_back(expressions_.incremented(result.names[0], op));
    };
    if (reader_.current().is(Symbol::plusPlus)) {
        prefixed(Op::add);
    } else if (reader_.current().is(Symbol::minusMinus)) {
        prefixed(Op::sub);
    } else {
        result.names.push_back(reader_.expectName("a statement"));
        if (reader_.accept(Symbol::plusPlus)) {
            result.values.push_back(expressions_.incremented(result.names[0], Op::add));
        } else if (reader_.accept(Symbol::minusMinus)) {
            result.values.push_back(expressions_.incremented(result.names[0], Op::sub));
        } else {
            reader_.expect(Symbol::assign, "=");
            result.values.push_back(expressions_.expression());
        }
    }
    return result;
}

Statement Parser::returned() {
    Statement result = begin(Statement::Kind::ret);
    reader_.advance();
    if (!reader_.current().is(Symbol::semicolon))
        result.values.push_back(expressions_.expression());
    return result;
}

Statement Parser::started(Op op) {
    Statement result = begin(Statement::Kind::start);
    result.op = op;
    reader_.advance();
    result.names.push_back(reader_.expectName("a script name"));
    reader_.expect(Symbol::parenOpen, "(");
    if (reader_.accept(Symbol::parenClose)) return result;
    do {
        result.values.push_back(expressions_.expression());
    } while (reader_.accept(Symbol::comma));
    reader_.expect(Symbol::parenClose, ")");
    return result;
}

/// __words(WORD, ...): a number, or +NUMBER for one that counts from the script's entry.
Statement Parser::rawWords() {
    Statement result = begin(Statement::Kind::rawWords);
    reader_.advance();
    reader_.expect(Symbol::parenOpen, "(");
    do {
        const bool isRelative = reader_.accept(Symbol::plus);
        const bool isNegative = !isRelative && reader_.accept(Symbol::minus);
        const Token& token = reader_.current();
        if (token.kind != TokenKind::number || token.isPointNumber())
            reader_.failExpecting("a number");
        reader_.advance();
        const std::uint64_t value = integerValue(token.text);
        if (value > 0xFFFFFFFF) reader_.fail<Problem::numberOutOfRange>(token.at);
        const auto word = static_cast<std::uint32_t>(value);
        result.words.push_back({isNegative ? 0U - word : word, isRelative});
    } while (reader_.accept(Symbol::comma));
    reader_.expect(Symbol::parenClose, ")");
    return result;
}

Statement Parser::ofForm() {
    Statement result = begin(Statement::Kind::simple);
    const std::string_view keyword = reader_.advance().text;
    const StatementForm* form = statementForms().data();
    while (!io::equalsIgnoringCase(form->keyword, keyword)) ++form;

    std::vector<Expression> inOrder;
    for (std::size_t i = 0; i < kMaxFormParts && form->parts[i].kind != PartKind::end; ++i) {
        const FormPart& part = form->parts[i];
        if (part.kind == PartKind::piece) {
            result.names.push_back(reader_.expectName("a piece"));
        } else if (part.kind == PartKind::axis) {
            result.axis = reader_.expectAxis();
        } else if (part.kind == PartKind::word) {
            formWord(form, i);
        } else if (part.kind == PartKind::value) {
            inOrder.push_back(part.style == ValueStyle::unitValue ? expressions_.valueId()
                                                                  : expressions_.expression());
        } else if (part.kind == PartKind::hiddenZero || !reader_.acceptWord(part.word)) {
            inOrder.push_back(expressions_.zero(result.at));
            if (part.kind == PartKind::option) ++i;  // the value that is left out
        }
    }
    result.op = form->op;
    // From the order of the source to that of the pushes.
    result.values.resize(inOrder.size());
    std::size_t next = 0;
    for (const FormPart& part : form->parts)
        if (part.kind == PartKind::value || part.kind == PartKind::hiddenZero)
            result.values[part.push] = inOrder[next++];
    return result;
}

/// A word of the form, or of the next form with the same keyword, which then is the one.
void Parser::formWord(const StatementForm*& form, std::size_t part) {
    const std::string_view word = form->parts.at(part).word;
    if (reader_.acceptWord(word)) return;
    const StatementForm* const other = form + 1;
    const bool isLast = form == &statementForms().back() || other->keyword != form->keyword ||
                        other->parts.at(part).word == word;
    if (isLast) reader_.failExpecting(fmt::format("'{}'", word));
    if (!reader_.acceptWord(other->parts.at(part).word))
        reader_.failExpecting(fmt::format("'{}' or '{}'", other->parts.at(part).word, word));
    form = other;
}

}  // namespace

Program parseBos(std::string_view source, const std::string& path,
                 const io::AbstractVirtualFileSystem* files, DiagnosticList& diagnostics) {
    Program program;
    try {
        PreprocessedSource preprocessed = Preprocessor(files, diagnostics).run(source, path);
        program.sources = std::move(preprocessed.texts);
        Parser(preprocessed.tokens, program, diagnostics).run();
    } catch (const TooManyErrors&) {
        // They are in the list.
    }
    return program;
}

}  // namespace orb::unitview::bos
