#include "bos/random_program.h"

#include <random>
#include <vector>

#include <fmt/format.h>

#include "bos/operators.h"
#include "bos/statement_forms.h"

namespace orb::unitview::bos::testing {
namespace {

class Writer {
public:
    explicit Writer(std::uint32_t seed) : random_(seed) {}

    std::string run() {
        for (int i = 0; i < 3; ++i) out_ += fmt::format("piece p{}, Q{};\r\n", i, i);
        out_ += "static-var s0, s1, s2;\n";
        const int scripts = 1 + below(5);
        for (int i = 0; i < scripts; ++i) arity_.push_back(below(4));
        for (int i = 0; i < scripts; ++i) script(i);
        return out_;
    }

private:
    int below(int limit) { return static_cast<int>(random_() % static_cast<std::uint32_t>(limit)); }
    std::string piece() { return fmt::format("{}{}", below(2) == 0 ? "p" : "q", below(3)); }
    std::string axis() { return fmt::format("{}-axis", "xyz"[below(3)]); }

    void script(int index) {
        locals_ = {};
        names_.push_back(fmt::format("{}{}", below(4) == 0 ? "Query" : "Script", index));
        out_ += names_.back() + '(';
        for (int i = 0; i < arity_[static_cast<std::size_t>(index)]; ++i) {
            locals_.push_back(fmt::format("arg{}", i));
            out_ += (i > 0 ? ", " : "") + locals_.back();
        }
        out_ += ")\n{\n";
        for (int count = below(8); count > 0; --count) statement(0);
        if (below(2) == 0) out_ += "return " + expression(2) + ";\n";
        if (below(6) == 0) out_ += "//@no-return\n";
        out_ += "}\n";
    }

    void block(int depth) {
        out_ += "{\n";
        for (int count = below(4); count > 0; --count) statement(depth + 1);
        out_ += "}\n";
    }

    void statement(int depth) {
        switch (below(depth < 5 ? 12 : 7)) {
            case 0:
                if (depth == 0) {
                    out_ += fmt::format("var v{};\n", locals_.size());
                    locals_.push_back(fmt::format("v{}", locals_.size()));
                }
                break;
            case 1:
                out_ += fmt::format("{} = {};\n", variable(), expression(3));
                break;
            case 2:
                out_ += below(2) == 0 ? fmt::format("++{};\n", variable())
                                      : fmt::format("{}--;;\n", variable());
                break;
            case 3:
                out_ += below(3) == 0 ? "return;\n" : fmt::format("return ({});\n", expression(2));
                break;
            case 4:
                call();
                break;
            case 7:
                out_ += fmt::format("WHILE ({})\n", expression(2));
                return block(depth);
            case 8:
                out_ += fmt::format("for ({} = 0; {}; {}++)\n", variable(),
                                    below(2) == 0 ? "" : expression(1), variable());
                return block(depth);
            case 9:
            case 10:
            case 11:
                out_ += fmt::format("if ({})\n", expression(2));
                block(depth);
                if (below(2) == 0) {
                    out_ += "else\n";
                    if (below(2) == 0) return block(depth);
                    statement(depth + 1);  // which may have written nothing
                    out_ += ";\n";
                }
                break;
            default:
                form();
        }
    }

    void call() {
        const auto callee = static_cast<std::size_t>(below(static_cast<int>(names_.size())));
        out_ += below(2) == 0 ? "start-script " : "call-script ";
        out_ += names_[callee] + '(';
        const int count = below(arity_[callee] + 1);
        for (int i = 0; i < count; ++i) out_ += (i > 0 ? ", " : "") + expression(2);
        out_ += ");\n";
    }

    void form() {
        const auto forms = statementForms();
        const StatementForm& form =
            forms[static_cast<std::size_t>(below(static_cast<int>(forms.size())))];
        out_ += form.keyword;
        for (const FormPart& part : form.parts) {
            using Kind = FormPart::Kind;
            if (part.kind == Kind::piece) out_ += ' ' + piece();
            if (part.kind == Kind::axis) out_ += ' ' + axis();
            if (part.kind == Kind::option && below(2) == 0) break;
            if (part.kind == Kind::word || part.kind == Kind::option)
                out_ += fmt::format(" {}", part.word);
            if (part.kind == Kind::value)
                out_ += ' ' + (part.style == ValueStyle::unitValue ? valueId() : expression(3));
        }
        out_ += ";\n";
    }

    std::string variable() {
        const int index = below(3 + static_cast<int>(locals_.size()));
        return index < 3 ? fmt::format("s{}", index) : locals_[static_cast<std::size_t>(index - 3)];
    }

    std::string valueId() {
        switch (below(4)) {
            case 0:
                return "HEALTH";
            case 1:
                return fmt::format("UNKNOWN_UNIT_VALUE({})", below(140));
            case 2:
                return fmt::format("({})", expression(1));
            default:
                return fmt::format("{}", below(25));
        }
    }

    std::string constant() {
        switch (below(6)) {
            case 0:
                return fmt::format("{}", static_cast<std::int32_t>(random_()));
            case 1:
                return fmt::format("[{}{}.{}]", below(2) == 0 ? "-" : "", below(900), below(99999));
            case 2:
                return fmt::format("<{}{}.{}>", below(2) == 0 ? "-" : "", below(400), below(999));
            case 3:
                return below(2) == 0 ? "TRUE" : "FIRE";
            default:
                return fmt::format("{}", below(300) - 20);
        }
    }

    std::string expression(int depth) {
        if (depth == 0 || below(4) == 0) {
            const int kind = below(5);
            return kind == 0 ? piece() : kind < 3 ? variable() : constant();
        }
        const auto inner = [&] { return expression(depth - 1); };
        switch (below(8)) {
            case 0:
                return fmt::format("!{}", operand(inner()));
            case 1:
                return fmt::format("~{}", operand(inner()));
            case 2:
                return fmt::format("rand({}, {})", inner(), inner());
            case 3: {
                std::string text = "get " + valueId();
                if (below(2) == 0) return text;
                text += '(' + inner();
                for (int more = below(4); more > 0; --more) text += ", " + inner();
                return text + ')';
            }
            default: {
                const auto& row = kBinaryOperators.at(
                    static_cast<std::size_t>(below(static_cast<int>(kBinaryOperators.size()))));
                return fmt::format("{} {} {}", operand(inner()), row.text, operand(inner()));
            }
        }
    }

    std::string operand(const std::string& text) {
        return below(2) == 0 ? fmt::format("({})", text) : text;
    }

    std::mt19937 random_;
    std::string out_;
    std::vector<int> arity_;
    std::vector<std::string> names_;
    std::vector<std::string> locals_;
};

}  // namespace

std::string randomProgram(std::uint32_t seed) {
    return Writer(seed).run();
}

}  // namespace orb::unitview::bos::testing
