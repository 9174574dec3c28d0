#include "diagnostics/script_summary.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "cob/opcodes.h"
#include "cob/script_map.h"

namespace orb::unitview {
namespace {

using io::CobFile;

/// One instruction in the code.
struct Instruction {
    const OpcodeRow& row;
    std::size_t pc;
    const std::uint32_t* operands;
};

void noteOperation(ScriptSummary& summary, Op op) {
    struct Flag {
        Op op;
        bool ScriptSummary::*member;
    };
    static constexpr std::array<Flag, 7> kFlags = {
        {{Op::sleep, &ScriptSummary::sleeps},
         {Op::waitTurn, &ScriptSummary::waitsForTurn},
         {Op::waitMove, &ScriptSummary::waitsForMove},
         {Op::signal, &ScriptSummary::signals},
         {Op::setSignalMask, &ScriptSummary::setsSignalMask},
         {Op::emitSfx, &ScriptSummary::emitsSfx},
         {Op::explode, &ScriptSummary::explodes}}};
    for (const Flag& flag : kFlags)
        if (flag.op == op) summary.*flag.member = true;
}

void noteOperands(ScriptSummary& summary, const Instruction& instruction, std::size_t scriptCount) {
    for (std::size_t i = 0; i < instruction.row.operandCount(); ++i) {
        const std::uint32_t word = instruction.operands[i];
        switch (instruction.row.operands.at(i)) {
            case Operand::piece:
                summary.pieces.push_back(static_cast<std::int32_t>(word));
                break;
            case Operand::script:
                if (word >= scriptCount) break;
                (instruction.row.flow == Flow::call ? summary.calls : summary.starts)
                    .push_back(word);
                break;
            case Operand::target:
                if (word < instruction.pc) summary.loops = true;
                break;
            default:
                break;
        }
    }
}

class Scanner {
public:
    explicit Scanner(const CobFile& cob) : cob_(cob), map_(cob) {}

    ScriptSummary scan(const CobFile::Script& script) {
        const auto& code = cob_.code;
        if (script.entry > code.size())
            throw std::runtime_error("script entry point outside the code");
        ScriptSummary summary;
        summary.name = script.name;
        const std::size_t end = std::min<std::size_t>(map_.endOf(script.entry), code.size());
        for (std::size_t pc = script.entry; pc < end;) {
            if (budget_-- == 0) throw std::runtime_error("script code too large to analyse");
            const OpcodeRow& row = opcodeRow(opOf(code[pc]));
            if (row.length() > code.size() - pc)
                throw std::runtime_error("instruction runs past the end of the code");
            if (row.op != Op::unknown) {
                ++summary.instructionCount;
                noteOperation(summary, row.op);
                noteOperands(summary, {row, pc, code.data() + pc + 1}, cob_.scripts.size());
            }
            pc += row.length();
        }
        return summary;
    }

private:
    const CobFile& cob_;
    ScriptMap map_;
    std::size_t budget_ = kMaxAnalysedInstructions;
};

void addReverseEdges(std::vector<ScriptSummary>& scripts) {
    for (std::size_t i = 0; i < scripts.size(); ++i) {
        const auto caller = static_cast<std::uint32_t>(i);
        for (const std::uint32_t callee : scripts[i].calls)
            scripts[callee].calledBy.push_back(caller);
        for (const std::uint32_t started : scripts[i].starts)
            scripts[started].startedBy.push_back(caller);
    }
}

}  // namespace

std::vector<ScriptSummary> summariseScripts(const CobFile& cob) {
    std::vector<ScriptSummary> scripts;
    scripts.reserve(cob.scripts.size());
    Scanner scanner(cob);
    for (const CobFile::Script& script : cob.scripts) scripts.push_back(scanner.scan(script));
    addReverseEdges(scripts);
    return scripts;
}

}  // namespace orb::unitview
