#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bos/token.h"

namespace orb::unitview::bos {

/// The macros of one translation. Names are told apart by case: the header's HEADING must not touch
/// a parameter called heading.
class MacroTable {
public:
    /// Tokens that all expansions of a translation may yield together, and macros they may enter:
    /// a few nested definitions could ask for any number.
    static constexpr std::size_t kMaxExpansionWork = 1'000'000;

    explicit MacroTable(DiagnosticList& diagnostics) : diagnostics_(diagnostics) {}

    /// Replaces an older definition.
    void define(std::string_view name, std::vector<Token> body);
    void undefine(std::string_view name);
    bool isDefined(std::string_view name) const { return macros_.find(name) != macros_.end(); }

    /// Appends a token, or what it expands to, at the token's own position. A macro is not expanded
    /// inside its own expansion. Reports E21 once when the work exceeds its limit.
    void expand(const Token& token, std::vector<Token>& result);

private:
    struct Macro {
        std::vector<Token> body;
        bool isActive = false;
    };
    struct Frame {
        Macro* macro;
        std::size_t next;
    };
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>{}(text);
        }
    };

    Macro* find(const Token& token);
    bool spend(const Token& token);

    std::unordered_map<std::string, Macro, Hash, std::equal_to<>> macros_;
    std::size_t work_ = 0;
    DiagnosticList& diagnostics_;
};

}  // namespace orb::unitview::bos
