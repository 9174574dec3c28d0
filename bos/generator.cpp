#include "bos/generator.h"

#include <set>
#include <tuple>

#include "bos/scope.h"

namespace orb::unitview::bos {
namespace {

using MeaningKind = Meaning::Kind;
using StatementKind = Statement::Kind;

class Generator {
public:
    Generator(const Program& program, const BosOptions& options, DiagnosticList& diagnostics)
        : program_(program),
          options_(options),
          diagnostics_(diagnostics),
          scope_(program, diagnostics) {}

    GeneratedCode run();

private:
    void script(std::size_t index);
    void parameters(const Script& script);
    void implicitReturn(std::size_t index);
    bool hasReturned(const Script& script, ImplicitReturn rule) const;
    void warnOfEnd(std::size_t index);
    void statements(const std::vector<Statement>& list, bool isInside);
    void statement(const Statement& statement, bool isInside);
    void simpleStatement(const Statement& statement, bool isInside);
    void locals(const Statement& statement, bool isInside);
    void assign(const Statement& statement);
    void ofForm(const Statement& statement);
    void started(const Statement& statement);
    void returned(const Statement& statement);
    void rawWords(const Statement& statement);
    void branch(const Statement& statement);
    void loop(const Statement& statement);
    void valuelessReturn();
    void expression(const Expression& expression);
    void scaled(const ExpressionItem& item);
    void named(const ExpressionItem& item);
    std::uint32_t piece(const Name& name);
    void noteMotion(const Statement& statement, std::uint32_t piece);
    bool isWrittenAsZero(const Expression& expression) const;

    std::uint32_t here() const { return static_cast<std::uint32_t>(out_.cob.code.size()); }
    void emit(Op op) { word(opcodeRow(op).value); }
    void emit(Op op, std::uint32_t operand) {
        emit(op);
        word(operand);
    }
    void emitNumber(std::int32_t value) { emit(Op::pushConst, static_cast<std::uint32_t>(value)); }
    void word(std::uint32_t value) {
        out_.cob.code.push_back(value);
        out_.isScaled.push_back(false);
    }
    /// Writes a jump whose target follows; returns the target's place.
    std::uint32_t emitJump(Op op) {
        emit(op, 0);
        return here() - 1;
    }
    void landHere(std::uint32_t place) { out_.cob.code[place] = here(); }
    void span(std::uint32_t from, const SourcePosition& at) {
        if (here() > from) out_.lineSpans.push_back({from, here() - 1, at.line, at.file});
    }

    const Program& program_;
    const BosOptions& options_;
    DiagnosticList& diagnostics_;
    Scope scope_;
    GeneratedCode out_;
    std::uint32_t entry_ = 0;
    /// The last simple statement was a return. Neither braces nor a new script reset it: the rule
    /// of the compatible implicit return.
    bool lastWasReturn_ = false;
    /// Motions of the script that were given the speed 0: instruction, piece, axis.
    std::set<std::tuple<Op, std::uint32_t, std::uint8_t>> standing_;
};

GeneratedCode Generator::run() {
    io::CobFile& cob = out_.cob;
    for (const Name& name : program_.pieces) cob.pieces.emplace_back(name.text);
    cob.staticVarCount = static_cast<std::uint32_t>(program_.statics.size());
    for (std::size_t i = 0; i < program_.scripts.size(); ++i) script(i);
    return std::move(out_);
}

void Generator::script(std::size_t index) {
    const Script& script = program_.scripts[index];
    entry_ = here();
    out_.cob.scripts.push_back({std::string(script.name.text), entry_});
    scope_.enterScript();
    standing_.clear();
    parameters(script);
    statements(script.body, false);
    if (!script.isRaw && !script.suppressesReturn) implicitReturn(index);
}

void Generator::parameters(const Script& script) {
    const std::uint32_t from = here();
    for (const Name& name : script.parameters) {
        scope_.addLocal(name, diagnostics_);
        if (!script.isRaw) emit(Op::createLocal);
    }
    span(from, script.name.at);
}

/// True when the list's last statement, or that of a plain block in its place, is a return.
bool endsInReturn(const std::vector<Statement>& list) {
    const std::vector<Statement>* last = &list;
    while (!last->empty() && last->back().kind == StatementKind::block) last = &last->back().body;
    return !last->empty() && last->back().kind == StatementKind::ret;
}

/// By that rule the script needs no return behind its body.
bool Generator::hasReturned(const Script& script, ImplicitReturn rule) const {
    switch (rule) {
        case ImplicitReturn::compat:
            return lastWasReturn_;
        case ImplicitReturn::lastWord:
            return here() > 0 && out_.cob.code.back() == opcodeRow(Op::ret).value;
        default:
            return endsInReturn(script.body);
    }
}

void Generator::implicitReturn(std::size_t index) {
    const Script& script = program_.scripts[index];
    const bool isSafe = options_.implicitReturn == ImplicitReturn::safe;
    const bool isReturned = hasReturned(script, options_.implicitReturn);
    for (const auto rule : {ImplicitReturn::safe, ImplicitReturn::compat, ImplicitReturn::lastWord})
        out_.use.implicitReturn |= hasReturned(script, rule) != isReturned;
    if (!endsInReturn(script.body) && (isSafe ? lastWasReturn_ : isReturned)) warnOfEnd(index);
    if (isReturned) return;
    const std::uint32_t from = here();
    valuelessReturn();
    span(from, script.end);
}

/// The rules of the implicit return differ here.
void Generator::warnOfEnd(std::size_t index) {
    const Script& script = program_.scripts[index];
    const std::string_view name = script.name.text;
    if (options_.implicitReturn == ImplicitReturn::safe) {
        if (!script.body.empty()) diagnostics_.report<Problem::returnAdded>(script.end, name);
    } else if (index + 1 == program_.scripts.size()) {
        diagnostics_.report<Problem::runsOff>(script.end, name);
    } else {
        diagnostics_.report<Problem::runsOn>(script.end, name,
                                             program_.scripts[index + 1].name.text);
    }
}

void Generator::statements(const std::vector<Statement>& list, bool isInside) {
    for (const Statement& each : list) statement(each, isInside);
}

void Generator::statement(const Statement& statement, bool isInside) {
    switch (statement.kind) {
        case StatementKind::empty:
            break;
        case StatementKind::block:
            statements(statement.body, isInside);
            break;
        case StatementKind::branch:
            branch(statement);
            break;
        case StatementKind::loop:
            loop(statement);
            break;
        default:
            simpleStatement(statement, isInside);
    }
}

void Generator::simpleStatement(const Statement& statement, bool isInside) {
    const std::uint32_t from = here();
    switch (statement.kind) {
        case StatementKind::locals:
            locals(statement, isInside);
            break;
        case StatementKind::assign:
            assign(statement);
            break;
        case StatementKind::simple:
            ofForm(statement);
            break;
        case StatementKind::start:
            started(statement);
            break;
        case StatementKind::ret:
            returned(statement);
            break;
        default:
            rawWords(statement);
    }
    lastWasReturn_ = statement.kind == StatementKind::ret;
    span(from, statement.at);
}

void Generator::locals(const Statement& statement, bool isInside) {
    for (const Name& name : statement.names) {
        scope_.addLocal(name, diagnostics_);
        emit(Op::createLocal);
        if (isInside) diagnostics_.report<Problem::localInsideBlock>(name.at, name.text);
    }
}

void Generator::assign(const Statement& statement) {
    expression(statement.values[0]);
    const Name& target = statement.names[0];
    const Meaning meaning = scope_.meaningOf(target.text);
    if (meaning.kind == MeaningKind::local || meaning.kind == MeaningKind::staticVar)
        return emit(meaning.kind == MeaningKind::local ? Op::popLocal : Op::popStatic,
                    static_cast<std::uint32_t>(meaning.value));
    if (meaning.kind == MeaningKind::piece)
        return diagnostics_.report<Problem::pieceAssigned>(target.at, target.text);
    diagnostics_.report<Problem::unknownName>(target.at, target.text);
}

void Generator::ofForm(const Statement& statement) {
    for (const Expression& value : statement.values) expression(value);
    emit(statement.op);
    const auto& operands = opcodeRow(statement.op).operands;
    if (operands[0] != Operand::piece) return;
    const std::uint32_t index = piece(statement.names[0]);
    word(index);
    if (operands[1] == Operand::axis) {
        word(statement.axis);
        noteMotion(statement, index);
    }
}

void Generator::started(const Statement& statement) {
    const auto& arguments = statement.values;
    out_.use.argumentOrder |= arguments.size() > 1;
    if (options_.argumentOrder == ArgumentOrder::vm) {
        for (std::size_t i = arguments.size(); i-- > 0;) expression(arguments[i]);
    } else {
        for (const Expression& argument : arguments) expression(argument);
    }
    const Name& name = statement.names[0];
    const NameTable::Entry* const callee = scope_.scripts().find(name.text);
    if (!callee) return diagnostics_.report<Problem::unknownScript>(name.at, name.text);
    const Script& script = program_.scripts[callee->index];
    if (!script.isRaw && arguments.size() > script.parameters.size())
        diagnostics_.report<Problem::tooManyArguments>(name.at, script.name.text, arguments.size(),
                                                       script.parameters.size());
    emit(statement.op, callee->index);
    word(static_cast<std::uint32_t>(arguments.size()));
}

void Generator::returned(const Statement& statement) {
    if (statement.values.empty()) return valuelessReturn();
    expression(statement.values[0]);
    emit(Op::ret);
}

void Generator::valuelessReturn() {
    out_.use.valuelessReturn = true;
    if (options_.valuelessReturn == ValuelessReturn::bare) {
        emit(Op::createLocal);
    } else {
        emitNumber(0);
    }
    emit(Op::ret);
}

void Generator::rawWords(const Statement& statement) {
    for (const CodeWord& raw : statement.words)
        word(raw.isRelative ? entry_ + raw.value : raw.value);
}

void Generator::branch(const Statement& statement) {
    const std::uint32_t from = here();
    expression(statement.values[0]);
    const std::uint32_t over = emitJump(Op::jumpIfZero);
    span(from, statement.at);
    statements(statement.body, true);
    if (!statement.hasElse) return landHere(over);
    // Written even behind a return, as it always was.
    const std::uint32_t end = emitJump(Op::jump);
    span(end - 1, statement.elseAt);
    landHere(over);
    statements(statement.otherwise, true);
    landHere(end);
}

void Generator::loop(const Statement& statement) {
    const std::uint32_t from = here();
    const bool isEndless = statement.values.empty();
    std::uint32_t out = 0;
    if (!isEndless) {
        expression(statement.values[0]);
        out = emitJump(Op::jumpIfZero);
        span(from, statement.at);
    }
    statements(statement.body, true);
    const std::uint32_t back = here();
    emit(Op::jump, from);
    span(back, statement.at);
    if (!isEndless) landHere(out);
}

void Generator::expression(const Expression& expression) {
    for (std::uint32_t i = expression.from; i < expression.to; ++i) {
        const ExpressionItem& item = program_.items[i];
        switch (item.kind) {
            case ExpressionItem::Kind::number:
                emitNumber(item.number);
                break;
            case ExpressionItem::Kind::linear:
            case ExpressionItem::Kind::angular:
                scaled(item);
                break;
            case ExpressionItem::Kind::name:
                named(item);
                break;
            case ExpressionItem::Kind::operation:
                emit(item.op);
        }
    }
}

void Generator::scaled(const ExpressionItem& item) {
    const bool isLinear = item.kind == ExpressionItem::Kind::linear;
    (isLinear ? out_.use.linearScale : out_.use.angularScale) = true;
    const auto units = (isLinear ? options_.linearScale : options_.angularScale).units(item.text);
    const std::uint32_t limit = item.isNegative ? 0x80000000U : 0x7FFFFFFFU;
    if (!units || *units > limit) return diagnostics_.report<Problem::numberOutOfRange>(item.at);
    emit(Op::pushConst, item.isNegative ? 0U - *units : *units);
    out_.isScaled.back() = true;
}

void Generator::named(const ExpressionItem& item) {
    const Meaning meaning = scope_.meaningOf(item.text);
    switch (meaning.kind) {
        case MeaningKind::unknown:
            return diagnostics_.report<Problem::unknownName>(item.at, item.text);
        case MeaningKind::local:
            return emit(Op::pushLocal, static_cast<std::uint32_t>(meaning.value));
        case MeaningKind::staticVar:
            return emit(Op::pushStatic, static_cast<std::uint32_t>(meaning.value));
        default:
            return emitNumber(meaning.value);
    }
}

std::uint32_t Generator::piece(const Name& name) {
    const NameTable::Entry* const found = scope_.pieces().find(name.text);
    if (found) return found->index;
    diagnostics_.report<Problem::unknownPiece>(name.at, name.text);
    return 0;
}

/// Warns of a wait for a motion that has no speed.
void Generator::noteMotion(const Statement& statement, std::uint32_t piece) {
    const auto motion = [&](Op op) { return std::tuple(op, piece, statement.axis); };
    if (statement.op == Op::move || statement.op == Op::turn) {
        if (isWrittenAsZero(statement.values[0])) {
            standing_.insert(motion(statement.op));
        } else {
            standing_.erase(motion(statement.op));
        }
    } else if (statement.op == Op::waitMove || statement.op == Op::waitTurn) {
        const Op waitedFor = statement.op == Op::waitMove ? Op::move : Op::turn;
        if (!standing_.contains(motion(waitedFor))) return;
        diagnostics_.report<Problem::waitWithoutSpeed>(statement.at, formOf(waitedFor)->keyword);
    }
}

bool Generator::isWrittenAsZero(const Expression& expression) const {
    const ExpressionItem& item = program_.items[expression.from];
    if (expression.to != expression.from + 1) return false;
    if (item.kind == ExpressionItem::Kind::number) return item.number == 0;
    return !item.text.empty() && item.kind != ExpressionItem::Kind::name &&
           item.text.find_first_not_of("0.") == std::string_view::npos;
}

}  // namespace

GeneratedCode generateCode(const Program& program, const BosOptions& options,
                           DiagnosticList& diagnostics) {
    return Generator(program, options, diagnostics).run();
}

}  // namespace orb::unitview::bos
