#include "bos/script_words.h"

#include <algorithm>
#include <span>

#include "bos/name_table.h"
#include "cob/opcodes.h"
#include "cob/script_map.h"

namespace orb::unitview::bos {
namespace {

/// Four characters, or NULs behind the last one.
bool isText(std::uint32_t word) {
    for (int i = 0; i < 4; ++i, word >>= 8) {
        const std::uint32_t byte = word & 0xFFU;
        if (byte != 0 && (byte < ' ' || byte > '~')) return false;
    }
    return true;
}

}  // namespace

std::vector<ScriptRange> scriptRanges(const io::CobFile& cob) {
    const auto size = static_cast<std::uint32_t>(cob.code.size());
    const ScriptMap map(cob);
    std::vector<ScriptRange> ranges;
    ranges.reserve(cob.scripts.size());
    for (const auto& script : cob.scripts)
        ranges.push_back({std::min(script.entry, size), std::min(map.endOf(script.entry), size)});
    std::unordered_map<std::uint32_t, std::size_t> lastWith;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const auto [earlier, isFirst] = lastWith.try_emplace(ranges[i].from, i);
        if (isFirst) continue;
        ranges[earlier->second].to = ranges[earlier->second].from;
        earlier->second = i;
    }
    return ranges;
}

std::uint32_t codeEnd(const io::CobFile& cob, const ScriptRange& range) {
    std::uint32_t pc = range.from;
    while (pc < range.to && opOf(cob.code[pc]) != Op::unknown)
        pc += static_cast<std::uint32_t>(opcodeRow(opOf(cob.code[pc])).length());
    pc = std::min(pc, range.to);
    const auto rest = std::span(cob.code).subspan(pc, range.to - pc);
    // NULs alone are no text, but words that the file holds.
    const bool holdsText = std::ranges::any_of(rest, [](std::uint32_t word) { return word != 0; });
    return holdsText && std::ranges::all_of(rest, isText) ? pc : range.to;
}

std::vector<std::uint32_t> scriptIds(const io::CobFile& cob, const io::CobFile& reference) {
    NameTable names;
    for (std::size_t i = 0; i < reference.scripts.size(); ++i)
        names.add(reference.scripts[i].name, i);
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 0; i < cob.scripts.size(); ++i) {
        const NameTable::Entry* const found = names.find(cob.scripts[i].name);
        ids.push_back(found ? found->index
                            : static_cast<std::uint32_t>(reference.scripts.size() + i));
    }
    return ids;
}

std::vector<std::uint32_t> comparableWords(const io::CobFile& cob, const ScriptRange& range,
                                           const std::vector<std::uint32_t>& ids) {
    std::vector<std::uint32_t> words(cob.code.begin() + range.from, cob.code.begin() + range.to);
    for (std::size_t pc = 0; pc < words.size();) {
        const OpcodeRow& row = opcodeRow(opOf(words[pc]));
        for (std::size_t i = 0; i < row.operandCount() && pc + 1 + i < words.size(); ++i) {
            std::uint32_t& operand = words[pc + 1 + i];
            if (row.operands.at(i) == Operand::target) operand -= range.from;
            if (row.operands.at(i) == Operand::script && operand < ids.size())
                operand = ids[operand];
        }
        pc += row.length();
    }
    return words;
}

}  // namespace orb::unitview::bos
