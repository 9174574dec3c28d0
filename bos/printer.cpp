#include "bos/printer.h"

#include <algorithm>

#include <fmt/format.h>

#include "bos/expression_printer.h"

namespace orb::unitview::bos {
namespace {

using StatementKind = Statement::Kind;

class Printer {
public:
    Printer(const Program& program, const BosOptions& options)
        : program_(program),
          options_(options),
          scope_(program, ignored_),
          expressions_(program, options, scope_) {}

    PrintedProgram run();

private:
    void declaration(std::string_view keyword, const std::vector<Name>& names);
    void script(const Script& script);
    void statements(const std::vector<Statement>& list, int depth);
    void statement(const Statement& statement, int depth);
    void branch(const Statement& statement, int depth);
    void loop(const Statement& statement, int depth);
    void rawWords(const Statement& statement, int depth);
    std::string simple(const Statement& statement) const;
    std::string ofForm(const Statement& statement) const;
    std::string plain(const Expression& expression) const {
        return expressions_.print(expression, ValueStyle::plain);
    }
    static std::string list(const std::vector<Name>& names);
    void line(int depth, std::string_view text) {
        out_.append(static_cast<std::size_t>(depth), '\t');
        out_ += text;
        out_ += '\n';
        ++line_;
    }

    const Program& program_;
    const BosOptions& options_;
    DiagnosticList ignored_;
    Scope scope_;
    ExpressionPrinter expressions_;
    std::string out_;
    std::uint32_t line_ = 1;
};

PrintedProgram Printer::run() {
    PrintedProgram result;
    line(0, settingsLine(options_));
    declaration("piece", program_.pieces);
    declaration("static-var", program_.statics);
    for (const Script& each : program_.scripts) {
        line(0, "");
        script(each);
        result.scriptEnds.push_back(line_);
    }
    result.text = std::move(out_);
    return result;
}

void Printer::declaration(std::string_view keyword, const std::vector<Name>& names) {
    if (names.empty()) return;
    line(0, "");
    line(0, fmt::format("{} {};", keyword, list(names)));
}

void Printer::script(const Script& script) {
    line(0, fmt::format("{}({})", writtenName(script.name), list(script.parameters)));
    if (script.isRaw) line(0, "//@raw");
    line(0, "{");
    statements(script.body, 1);
    if (!script.trailingText.empty())
        line(1, fmt::format("// text behind the code: {}", script.trailingText));
    const bool returns = !script.body.empty() && script.body.back().kind == StatementKind::ret;
    if (!returns && !script.isRaw) line(1, "//@no-return");
    line(0, "}");
}

void Printer::statements(const std::vector<Statement>& list, int depth) {
    for (const Statement& each : list) statement(each, depth);
}

void Printer::statement(const Statement& statement, int depth) {
    switch (statement.kind) {
        case StatementKind::branch:
            line(depth, fmt::format("if ({})", plain(statement.values[0])));
            return branch(statement, depth);
        case StatementKind::loop:
            return loop(statement, depth);
        case StatementKind::rawWords:
            return rawWords(statement, depth);
        default:
            line(depth, simple(statement) + ';');
    }
}

/// What follows the condition.
void Printer::branch(const Statement& statement, int depth) {
    line(depth, "{");
    statements(statement.body, depth + 1);
    line(depth, "}");
    if (!statement.hasElse) return;
    const auto& otherwise = statement.otherwise;
    if (otherwise.size() == 1 && otherwise[0].kind == StatementKind::branch) {
        line(depth, fmt::format("else if ({})", plain(otherwise[0].values[0])));
        return branch(otherwise[0], depth);
    }
    line(depth, "else");
    line(depth, "{");
    statements(otherwise, depth + 1);
    line(depth, "}");
}

void Printer::loop(const Statement& statement, int depth) {
    line(depth, statement.values.empty() ? "for (;;)"
                                         : fmt::format("while ({})", plain(statement.values[0])));
    line(depth, "{");
    statements(statement.body, depth + 1);
    line(depth, "}");
}

/// One line; behind it the name of the last instruction, which is the one that matters.
void Printer::rawWords(const Statement& statement, int depth) {
    std::string words;
    std::string_view instruction;
    for (std::size_t i = 0; i < statement.words.size();) {
        const OpcodeRow& row = opcodeRow(opOf(statement.words[i].value));
        const std::size_t end = std::min(i + row.length(), statement.words.size());
        instruction = row.name;
        for (const std::size_t first = i; i < end; ++i) {
            const auto& [value, isRelative] = statement.words[i];
            if (!words.empty()) words += ", ";
            words += i == first   ? fmt::format("0x{:08X}", value)
                     : isRelative ? fmt::format("+{}", value)
                                  : fmt::format("{}", static_cast<std::int32_t>(value));
        }
    }
    line(depth, fmt::format("__words({}); // {}", words, instruction));
}

std::string Printer::simple(const Statement& statement) const {
    switch (statement.kind) {
        case StatementKind::locals:
            return "var " + list(statement.names);
        case StatementKind::assign:
            return fmt::format("{} = {}", writtenName(statement.names[0]),
                               plain(statement.values[0]));
        case StatementKind::ret:
            return statement.values.empty()
                       ? "return"
                       : fmt::format("return ({})", plain(statement.values[0]));
        case StatementKind::start: {
            std::string text = statement.op == Op::start ? "start-script " : "call-script ";
            text += writtenName(statement.names[0]) + '(';
            for (std::size_t i = 0; i < statement.values.size(); ++i)
                text += (i > 0 ? ", " : "") + plain(statement.values[i]);
            return text + ')';
        }
        default:
            return ofForm(statement);
    }
}

std::string Printer::ofForm(const Statement& statement) const {
    const StatementForm& form = *formOf(statement.op);
    std::string text(form.keyword);
    for (std::size_t i = 0; i < form.parts.size(); ++i) {
        const FormPart& part = form.parts[i];
        switch (part.kind) {
            case FormPart::Kind::piece:
                text += ' ' + writtenName(statement.names[0]);
                break;
            case FormPart::Kind::axis:
                text += fmt::format(" {}", axisName(statement.axis));
                break;
            case FormPart::Kind::word:
                text += fmt::format(" {}", part.word);
                break;
            case FormPart::Kind::option:
                if (expressions_.isZero(statement.values[form.parts.at(i + 1).push])) {
                    ++i;
                } else {
                    text += fmt::format(" {}", part.word);
                }
                break;
            case FormPart::Kind::value:
                text += ' ' + expressions_.print(statement.values[part.push], part.style);
                break;
            default:
                break;
        }
    }
    return text;
}

std::string Printer::list(const std::vector<Name>& names) {
    std::string text;
    for (const Name& name : names) {
        if (!text.empty()) text += ", ";
        text += writtenName(name);
    }
    return text;
}

}  // namespace

PrintedProgram printProgram(const Program& program, const BosOptions& options) {
    return Printer(program, options).run();
}

}  // namespace orb::unitview::bos
