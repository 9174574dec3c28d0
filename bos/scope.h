#pragma once

#include <cstdint>
#include <string_view>

#include "bos/name_table.h"
#include "bos/syntax_tree.h"

namespace orb::unitview::bos {

/// What a name in an expression stands for.
struct Meaning {
    enum class Kind : std::uint8_t { unknown, local, staticVar, piece, constant };
    Kind kind = Kind::unknown;
    std::int32_t value = 0;  ///< the index, or the constant
};

/// The names that code may use: those of the file and those of the script being translated.
class Scope {
public:
    /// Reports names that are declared twice.
    Scope(const Program& program, DiagnosticList& diagnostics);

    void enterScript();
    /// Gives the name the next index; reports one that is there already.
    void addLocal(const Name& name, DiagnosticList& diagnostics);

    /// Locals come before statics and those before pieces, in any case. A constant, which has its
    /// exact spelling, comes before a variable that is spelt otherwise: "get HEALTH" means the unit
    /// value, also where a local is called health.
    Meaning meaningOf(std::string_view name) const;

    const NameTable& pieces() const { return pieces_; }
    const NameTable& scripts() const { return scripts_; }

private:
    NameTable pieces_;
    NameTable statics_;
    NameTable scripts_;
    NameTable locals_;
    std::uint32_t localCount_ = 0;
};

}  // namespace orb::unitview::bos
