#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cob/cob_instance.h"
#include "cob/cob_vm.h"
#include "cob/opcodes.h"

namespace orb::unitview::testing {

/// The opcode word of `op`, for writing code by hand.
inline std::uint32_t w(Op op) {
    return opcodeRow(op).value;
}
/// A constant or index as a code word.
inline std::uint32_t n(std::int32_t value) {
    return static_cast<std::uint32_t>(value);
}

using Code = std::vector<std::uint32_t>;

struct ScriptCode {
    std::string name;
    Code code;
};

/// A file of these scripts, one after the other, with 8 statics and the pieces base, arm, unnamed.
inline std::shared_ptr<io::CobFile> cobOf(const std::vector<ScriptCode>& scripts) {
    auto file = std::make_shared<io::CobFile>();
    file->staticVarCount = 8;
    file->pieces = {"base", "arm", ""};
    for (const ScriptCode& script : scripts) {
        file->scripts.push_back({script.name, static_cast<std::uint32_t>(file->code.size())});
        file->code.insert(file->code.end(), script.code.begin(), script.code.end());
    }
    return file;
}

/// An instance of these scripts with three model pieces.
inline std::unique_ptr<CobInstance> instanceOf(const std::vector<ScriptCode>& scripts) {
    return std::make_unique<CobInstance>(cobOf(scripts), 3);
}

}  // namespace orb::unitview::testing
