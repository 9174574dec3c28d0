#include "bos/disassembler.h"

#include <algorithm>

#include "bos/compiler.h"
#include "bos/expression_printer.h"
#include "bos/printer.h"
#include "bos/script_decoder.h"

namespace orb::unitview::bos {
namespace {

/// Statics that are declared at most; the count comes from the file.
constexpr std::uint32_t kMaxStatics = 65536;
/// Longer names are written once; what refers to them is raw, as a name may be as long as the file.
constexpr std::size_t kMaxReferredName = 128;
/// How often a text is written until it compiles back; the last one is all raw words.
constexpr int kMaxTries = 4;

/// How the scripts of a file were written.
struct Decoded {
    Program program;
    std::vector<bool> holdsRawWords;  ///< for each script
    bool holdsBareReturn = false;
};

/// While the request leaves it open, a return without a value may stand for either code.
BosOptions decodingOptions(const BosOptionChoices& choices) {
    BosOptions open;
    open.valuelessReturn = ValuelessReturn::bare;
    return choices.orElse(open);
}

bool samePlaces(const io::CobFile& a, const io::CobFile& b) {
    return std::ranges::equal(a.scripts, b.scripts, [](const auto& left, const auto& right) {
        return left.name == right.name && left.entry == right.entry;
    });
}

class Disassembler {
public:
    Disassembler(const io::CobFile& cob, const BosOptionChoices& choices)
        : cob_(cob),
          choices_(choices),
          options_(decodingOptions(choices)),
          ranges_(scriptRanges(cob)),
          names_(cob) {}

    BosDisassembly run();

private:
    Decoded decode() const;
    void declare(Program& program) const;
    Script script(DecodingContext& context, std::size_t index, Decoded& decoded) const;
    bool markDifferences(const PrintedProgram& printed, const BosCompilation& compiled);
    std::vector<CobLineSpan> spansHere(const BosCompilation& compiled) const;

    const io::CobFile& cob_;
    const BosOptionChoices& choices_;
    BosOptions options_;  ///< to decode with
    std::vector<ScriptRange> ranges_;
    InventedNames names_;
    std::vector<bool> isRaw_;        ///< scripts that are written as they are
    std::vector<bool> isDifferent_;  ///< scripts that did not compile back to the same words
};

BosDisassembly Disassembler::run() {
    isRaw_.assign(cob_.scripts.size(), false);
    BosDisassembly result;
    for (int tries = 1;; ++tries) {
        const Decoded decoded = decode();
        result.options = decoded.holdsBareReturn ? options_ : choices_.orElse(BosOptions{});
        PrintedProgram printed = printProgram(decoded.program, result.options);
        const BosCompilation compiled = compileBos(printed.text, "", nullptr);
        const bool couldHelp = markDifferences(printed, compiled);
        if (couldHelp && tries == kMaxTries - 1) isRaw_.assign(isRaw_.size(), true);
        if (couldHelp && tries < kMaxTries) continue;
        result.source = std::move(printed.text);
        for (std::size_t i = 0; i < cob_.scripts.size(); ++i) {
            if (decoded.holdsRawWords[i]) result.rawScripts.push_back(cob_.scripts[i].name);
            if (!decoded.program.scripts[i].trailingText.empty()) result.hasTrailingText = true;
        }
        const io::CobFile& again = compiled.code.cob;
        result.isExact = compiled.ok && again.code == cob_.code && samePlaces(again, cob_) &&
                         again.pieces == cob_.pieces && again.staticVarCount == cob_.staticVarCount;
        result.lineSpans = spansHere(compiled);
        return result;
    }
}

Decoded Disassembler::decode() const {
    Decoded decoded;
    declare(decoded.program);
    DecodingContext context{cob_, options_, names_, {}, {}, {}, {}, decoded.program};
    const auto describe = [](const std::string& text, NameTable& seen, std::size_t index,
                             std::vector<Name>& names, std::vector<bool>& isFound) {
        const bool isNew = seen.add(text, index);
        names.push_back({text, {}, !isNew || !isPlainName(text)});
        isFound.push_back(isNew && writtenName(names.back()).size() <= kMaxReferredName);
    };
    NameTable pieces;
    for (std::size_t i = 0; i < cob_.pieces.size(); ++i)
        describe(cob_.pieces[i], pieces, i, context.pieces, context.isPieceFound);
    NameTable scripts;
    for (std::size_t i = 0; i < cob_.scripts.size(); ++i)
        describe(cob_.scripts[i].name, scripts, i, context.scripts, context.isScriptFound);
    decoded.program.pieces = context.pieces;
    for (std::size_t i = 0; i < cob_.scripts.size(); ++i) {
        decoded.program.scripts.push_back(script(context, i, decoded));
    }
    return decoded;
}

void Disassembler::declare(Program& program) const {
    const std::uint32_t count = std::min(cob_.staticVarCount, kMaxStatics);
    for (std::uint32_t i = 0; i < count; ++i)
        program.statics.push_back({program.ownTexts.emplace_back(names_.staticVar(i)), {}});
}

Script Disassembler::script(DecodingContext& context, std::size_t index, Decoded& decoded) const {
    Script script;
    script.name = context.scripts[index];
    ScriptDecoder decoder(context, ranges_[index], script.name.text);
    if (!isRaw_[index] && decoder.decode(script)) {
        decoded.holdsRawWords.push_back(decoder.holdsRawWords());
        decoded.holdsBareReturn |= decoder.holdsBareReturn();
        return script;
    }
    Script raw;
    raw.name = context.scripts[index];
    raw.body = decoder.rawStatements();
    raw.isRaw = true;
    decoded.holdsRawWords.push_back(true);
    return raw;
}

/// Finds the scripts that do not compile back; true when writing them raw could help.
bool Disassembler::markDifferences(const PrintedProgram& printed, const BosCompilation& compiled) {
    isDifferent_.assign(cob_.scripts.size(), !compiled.ok);
    bool found = false;
    const auto mark = [&](std::size_t index) {
        isDifferent_[index] = true;
        found = found || !isRaw_[index];
        isRaw_[index] = true;
    };
    if (!compiled.ok) {
        for (const BosDiagnostic& each : compiled.diagnostics) {
            const auto end = std::ranges::upper_bound(printed.scriptEnds, each.line);
            if (each.severity == Severity::error && end != printed.scriptEnds.end())
                mark(static_cast<std::size_t>(end - printed.scriptEnds.begin()));
        }
        return found;
    }
    const std::vector<ScriptRange> ranges = scriptRanges(compiled.code.cob);
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        auto words = comparableWords(cob_, ranges_[i], {});
        const auto again = comparableWords(compiled.code.cob, ranges[i], {});
        const bool isBegun =
            again.size() <= words.size() && std::equal(again.begin(), again.end(), words.begin());
        // Trailing text is left out on purpose; there are unknown words only.
        const bool isWhole = again.size() == words.size() ||
                             opOf(words[std::min(again.size(), words.size() - 1)]) == Op::unknown;
        if (!isBegun || !isWhole) mark(i);
    }
    return found;
}

/// The compiled text's spans, moved to where their scripts lie in the file.
std::vector<CobLineSpan> Disassembler::spansHere(const BosCompilation& compiled) const {
    std::vector<CobLineSpan> spans;
    if (!compiled.ok) return spans;
    const std::vector<ScriptRange> ranges = scriptRanges(compiled.code.cob);
    std::size_t script = 0;
    for (const CobLineSpan& span : compiled.code.lineSpans) {
        while (span.from >= ranges[script].to) ++script;
        if (isDifferent_[script]) continue;
        const std::uint32_t moved = ranges_[script].from - ranges[script].from;
        spans.push_back({span.from + moved, span.to + moved, span.line});
    }
    return spans;
}

}  // namespace

BosDisassembly disassembleCob(const io::CobFile& cob, const BosOptionChoices& choices) {
    return Disassembler(cob, choices).run();
}

}  // namespace orb::unitview::bos
