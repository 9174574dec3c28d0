#include "bos/compiler.h"
#include "bos/disassembler.h"
#include "bos/source_compare.h"
#include "cob_input.h"

// The disassembler: whatever a file holds, its text means the same code.

namespace orb::fuzz {

/// Comparing compiles with many settings; larger inputs are not worth the time.
constexpr std::size_t kMaxCompared = 512;

namespace {

/// Each is declared in the text: files that announce very many would take all the time.
constexpr std::uint32_t kMaxStatics = 300;

/// Scripts follow one another from the first word on, as compilers lay them out. Of other files a
/// text cannot say where scripts begin.
bool isOrderly(const io::CobFile& cob) {
    constexpr auto entry = &io::CobFile::Script::entry;
    return !cob.scripts.empty() && cob.scripts.front().entry == 0 &&
           std::ranges::is_sorted(cob.scripts, {}, entry) &&
           cob.scripts.back().entry <= cob.code.size();
}

}  // namespace

void run(io::ByteView input) {
    io::CobFile cob;
    if (!accepts([&] { cob = cobFrom(input); })) return;
    cob.staticVarCount %= kMaxStatics;
    const unitview::bos::BosDisassembly text = unitview::bos::disassembleCob(cob);
    for (const unitview::CobLineSpan& span : text.lineSpans)
        require(span.from <= span.to && span.to < cob.code.size(), "a span lies in the code");
    require(text.isExact || text.hasTrailingText || !isOrderly(cob),
            "an orderly file has an exact text");
    const unitview::bos::BosCompilation compiled =
        unitview::bos::compileBos(text.source, "", nullptr);
    require(compiled.ok, "every text compiles");
    if (!text.isExact) return;
    require(compiled.ok && compiled.code.cob.code == cob.code &&
                compiled.code.cob.pieces == cob.pieces &&
                compiled.code.cob.staticVarCount == cob.staticVarCount,
            "an exact text compiles to the same code");
    if (input.size() > kMaxCompared) return;
    const auto compared = unitview::bos::compareSource(cob, text.source, "", nullptr);
    require(compared.ok && compared.isSameCode, "comparing finds an exact text alike");
}

}  // namespace orb::fuzz
