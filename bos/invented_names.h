#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "bos/name_table.h"
#include "io/formats/cob_file.h"

/// Names for what bytecode does not name.
namespace orb::unitview::bos {

/// Invents names of statics and locals that meet no name of the file.
class InventedNames {
public:
    /// Borrows the file.
    explicit InventedNames(const io::CobFile& cob);

    std::string staticVar(std::size_t index) const;
    /// The well-known parameters of the engine's scripts have their usual names.
    std::string local(std::string_view script, std::size_t index) const;

private:
    std::string unlike(std::string name) const;

    std::unordered_set<std::string_view, io::IgnoringCaseHash, io::IgnoringCaseEqual> taken_;
    /// What became of names that are taken: a file can take many in a row, and ask often.
    mutable std::unordered_map<std::string, std::string> replacements_;
};

/// True for scripts that answer a piece in their first parameter.
bool answersPiece(std::string_view script);

/// True for a text that the parser takes for a name without quotes.
bool isPlainName(std::string_view text);

}  // namespace orb::unitview::bos
