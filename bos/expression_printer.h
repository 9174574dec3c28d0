#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bos/options.h"
#include "bos/scope.h"
#include "bos/syntax_tree.h"

namespace orb::unitview::bos {

/// Writes expressions with the fewest parentheses, and their constants as they read best.
class ExpressionPrinter {
public:
    /// `scope` tells which names of constants mean something else in this file.
    ExpressionPrinter(const Program& program, const BosOptions& options, const Scope& scope)
        : program_(program), options_(options), scope_(scope) {}

    std::string print(const Expression& expression, ValueStyle style) const;

    /// True for the constant 0.
    bool isZero(const Expression& expression) const;

private:
    /// Text, and how tight its outermost operator binds.
    struct Piece {
        std::string text;
        int level;
    };

    std::vector<ValueStyle> stylesOf(const Expression& expression, ValueStyle outermost) const;
    Piece value(const ExpressionItem& item, ValueStyle style) const;
    std::string number(std::int32_t value, ValueStyle style) const;
    std::string named(std::string_view name, std::int32_t value) const;
    void operation(Op op, std::vector<Piece>& stack) const;
    void getValue(std::vector<Piece>& stack) const;
    static std::string valueId(const Piece& id);

    const Program& program_;
    const BosOptions& options_;
    const Scope& scope_;
};

/// The name as the parser reads it.
std::string writtenName(const Name& name);

}  // namespace orb::unitview::bos
