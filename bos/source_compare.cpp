#include "bos/source_compare.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "bos/name_table.h"
#include "bos/parser.h"
#include "bos/script_words.h"
#include "cob/cob_units.h"

namespace orb::unitview::bos {
namespace {

constexpr std::array<std::string_view, 6> kStatusTexts = {
    "identical", "constants-rounded", "constants",
    "code",      "missing in source", "missing in bytecode"};

/// The scales that compilers in use have, the commonest first: linear, angular.
constexpr std::pair<double, double> kScales[] = {{163840, 182},
                                                 {65536, 182},
                                                 {81920, 182.04400634765625},
                                                 {65536, kCobAnglesPerTurn / kDegreesPerTurn}};

/// A file whose scripts' words can be compared with those of another.
struct ComparableFile {
    std::vector<ScriptRange> ranges;
    std::vector<std::vector<std::uint32_t>> words;
};

ComparableFile comparable(const io::CobFile& cob, const io::CobFile& reference) {
    ComparableFile file;
    file.ranges = scriptRanges(cob);
    const std::vector<std::uint32_t> ids = scriptIds(cob, reference);
    for (const ScriptRange& range : file.ranges)
        file.words.push_back(comparableWords(cob, {range.from, codeEnd(cob, range)}, ids));
    return file;
}

/// The settings to try, each once.
std::vector<BosOptions> candidates(const BosOptions& first) {
    std::vector<BosOptions> all = {first};
    for (const auto& [linear, angular] : kScales)
        for (const auto arguments : {ArgumentOrder::vm, ArgumentOrder::source})
            for (const auto implicit :
                 {ImplicitReturn::safe, ImplicitReturn::compat, ImplicitReturn::lastWord})
                for (const auto valueless : {ValuelessReturn::push0, ValuelessReturn::bare}) {
                    const BosOptions options{Scale(linear), Scale(angular), implicit, valueless,
                                             arguments};
                    if (options != first) all.push_back(options);
                }
    return all;
}

/// Whether a program's code, which depends on the options in use, is the same with both.
bool makeSameCode(const BosOptions& a, const BosOptions& b, const OptionUse& use) {
    return (!use.linearScale || a.linearScale == b.linearScale) &&
           (!use.angularScale || a.angularScale == b.angularScale) &&
           (!use.implicitReturn || a.implicitReturn == b.implicitReturn) &&
           (!use.valuelessReturn || a.valuelessReturn == b.valuelessReturn) &&
           (!use.argumentOrder || a.argumentOrder == b.argumentOrder);
}

class Comparer {
public:
    Comparer(const io::CobFile& cob, const Program& program)
        : cob_(cob), program_(program), bytecode_(comparable(cob, cob)) {}

    /// Generates with the candidates' best one and fills in what differs.
    void run(const BosOptions& first, SourceComparison& result);

private:
    struct Attempt {
        GeneratedCode code;
        ComparableFile file;
        std::vector<std::size_t> sourceOf;  ///< for each script of the bytecode, or kNone
        std::size_t identical = 0;
        std::size_t equalWords = 0;
    };
    static constexpr std::size_t kNone = ~std::size_t{0};

    std::optional<Attempt> attempt(const BosOptions& options) const;
    ScriptComparison compareScript(const Attempt& attempt, std::size_t index) const;
    void compareFiles(const Attempt& attempt, SourceComparison& result) const;
    std::vector<CobLineSpan> spansInBytecode(const Attempt& attempt) const;

    const io::CobFile& cob_;
    const Program& program_;
    ComparableFile bytecode_;
};

std::optional<Comparer::Attempt> Comparer::attempt(const BosOptions& options) const {
    Attempt attempt;
    DiagnosticList diagnostics;
    for (std::size_t i = 0; i < program_.sources.size(); ++i) diagnostics.addFile("");
    try {
        attempt.code = generateCode(program_, options, diagnostics);
    } catch (const TooManyErrors&) {
        return std::nullopt;
    }
    if (diagnostics.hasErrors()) return std::nullopt;
    const io::CobFile& source = attempt.code.cob;
    attempt.file = comparable(source, cob_);
    // Of several scripts of a name the first is compared with the first, and so on.
    IgnoringCaseMap<std::vector<std::size_t>> unmatched;
    for (std::size_t i = source.scripts.size(); i-- > 0;)
        unmatched[source.scripts[i].name].push_back(i);
    for (std::size_t i = 0; i < cob_.scripts.size(); ++i) {
        const auto found = unmatched.find(cob_.scripts[i].name);
        const bool isMissing = found == unmatched.end() || found->second.empty();
        attempt.sourceOf.push_back(isMissing ? kNone : found->second.back());
        if (isMissing) continue;
        found->second.pop_back();
        const auto& left = bytecode_.words[i];
        const auto& right = attempt.file.words[attempt.sourceOf.back()];
        if (left == right) ++attempt.identical;
        for (std::size_t word = 0; word < std::min(left.size(), right.size()); ++word)
            if (left[word] == right[word]) ++attempt.equalWords;
    }
    return attempt;
}

void Comparer::run(const BosOptions& first, SourceComparison& result) {
    std::optional<Attempt> best;
    std::vector<std::pair<BosOptions, OptionUse>> tried;
    for (const BosOptions& options : candidates(first)) {
        const auto isSame = [&](const auto& other) {
            return makeSameCode(options, other.first, other.second);
        };
        if (std::ranges::any_of(tried, isSame)) continue;
        std::optional<Attempt> next = attempt(options);
        if (!next) continue;
        tried.emplace_back(options, next->code.use);
        const bool isBetter = !best || std::pair(next->identical, next->equalWords) >
                                           std::pair(best->identical, best->equalWords);
        if (!isBetter) continue;
        best = std::move(next);
        result.options = options;
        if (best->identical == cob_.scripts.size()) break;
    }
    if (best) compareFiles(*best, result);
}

/// Whether each differing word is a constant, and by one unit of a literal.
ScriptStatus statusOf(const std::vector<std::uint32_t>& left,
                      const std::vector<std::uint32_t>& right, const std::vector<bool>& isScaled,
                      std::size_t scaledFrom) {
    if (left == right) return ScriptStatus::identical;
    if (left.size() != right.size()) return ScriptStatus::code;
    bool isRounded = true;
    for (std::size_t pc = 0; pc < left.size();) {
        if (left[pc] != right[pc]) return ScriptStatus::code;
        const OpcodeRow& row = opcodeRow(opOf(left[pc]));
        for (const std::size_t end = std::min(pc + row.length(), left.size()); ++pc < end;) {
            if (left[pc] == right[pc]) continue;
            if (row.op != Op::pushConst) return ScriptStatus::code;
            const bool isByOne = left[pc] + 1 == right[pc] || right[pc] + 1 == left[pc];
            isRounded = isRounded && isByOne && isScaled[scaledFrom + pc];
        }
    }
    return isRounded ? ScriptStatus::constantsRounded : ScriptStatus::constants;
}

ScriptComparison Comparer::compareScript(const Attempt& attempt, std::size_t index) const {
    const auto& left = bytecode_.words[index];
    ScriptComparison result{cob_.scripts[index].name, ScriptStatus::missingInSource, left.size(),
                            left.size()};
    const std::size_t other = attempt.sourceOf[index];
    if (other == kNone) return result;
    const auto& right = attempt.file.words[other];
    result.status = statusOf(left, right, attempt.code.isScaled, attempt.file.ranges[other].from);
    const std::size_t common = std::min(left.size(), right.size());
    result.differing = std::max(left.size(), right.size()) - common;
    for (std::size_t word = 0; word < common; ++word)
        if (left[word] != right[word]) ++result.differing;
    return result;
}

void Comparer::compareFiles(const Attempt& attempt, SourceComparison& result) const {
    const io::CobFile& source = attempt.code.cob;
    std::vector<bool> isInBytecode(source.scripts.size());
    bool isAlike = true;
    for (std::size_t i = 0; i < cob_.scripts.size(); ++i) {
        result.scripts.push_back(compareScript(attempt, i));
        isAlike = isAlike && result.scripts.back().status == ScriptStatus::identical;
        if (attempt.sourceOf[i] != kNone) isInBytecode[attempt.sourceOf[i]] = true;
        if (bytecode_.words[i].size() < bytecode_.ranges[i].size()) result.hasTrailingText = true;
    }
    std::vector<std::size_t> order = attempt.sourceOf;
    std::erase(order, kNone);
    result.scriptOrderDiffers = !std::ranges::is_sorted(order);
    for (std::size_t i = 0; i < source.scripts.size(); ++i) {
        if (isInBytecode[i]) continue;
        const std::size_t words = attempt.file.words[i].size();
        result.scripts.push_back(
            {source.scripts[i].name, ScriptStatus::missingInBytecode, words, words});
        isAlike = false;
    }
    result.piecesDiffer = !std::ranges::equal(source.pieces, cob_.pieces, io::equalsIgnoringCase);
    result.staticVarsDiffer = source.staticVarCount != cob_.staticVarCount;
    result.isIdentical =
        isAlike && !result.scriptOrderDiffers && !result.piecesDiffer && !result.staticVarsDiffer;
    result.isSameCode = source.code == cob_.code;
    result.lineSpans = result.isSameCode ? attempt.code.lineSpans : spansInBytecode(attempt);
}

/// The spans of the scripts that are identical, moved to where the bytecode has them.
std::vector<CobLineSpan> Comparer::spansInBytecode(const Attempt& attempt) const {
    const std::vector<ScriptRange>& ranges = attempt.file.ranges;
    std::vector<std::optional<std::uint32_t>> moves(ranges.size());
    for (std::size_t i = 0; i < cob_.scripts.size(); ++i) {
        const std::size_t other = attempt.sourceOf[i];
        if (other != kNone && bytecode_.words[i] == attempt.file.words[other])
            moves[other] = bytecode_.ranges[i].from - ranges[other].from;
    }
    std::vector<CobLineSpan> spans;
    std::size_t script = 0;
    for (CobLineSpan span : attempt.code.lineSpans) {
        while (span.from >= ranges[script].to) ++script;
        if (!moves[script]) continue;
        span.from += *moves[script];
        span.to += *moves[script];
        spans.push_back(span);
    }
    return spans;
}

}  // namespace

std::string_view statusText(ScriptStatus status) {
    return kStatusTexts.at(static_cast<std::size_t>(status));
}

SourceComparison compareSource(const io::CobFile& cob, std::string_view source,
                               const std::string& path,
                               const io::AbstractVirtualFileSystem* files) {
    SourceComparison result;
    DiagnosticList diagnostics;
    const Program program = parseBos(source, path, files, diagnostics);
    const BosOptions first = readSettings(source).orElse(BosOptions{});
    try {
        generateCode(program, first, diagnostics);  // for its diagnostics
    } catch (const TooManyErrors&) {
        // They are in the list.
    }
    result.options = first;
    result.ok = !diagnostics.hasErrors();
    result.diagnostics = diagnostics.inSourceOrder();
    if (!result.ok) return result;
    result.symbols = symbolsOf(program);
    result.files = diagnostics.files();
    Comparer(cob, program).run(first, result);
    return result;
}

}  // namespace orb::unitview::bos
