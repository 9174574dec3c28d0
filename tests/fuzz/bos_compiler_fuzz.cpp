#include "bos/compiler.h"
#include "bos/source_compare.h"
#include "fuzzing.h"

// The script compiler: options from the first byte, then the source and, behind a form feed, the
// text of every header that it includes.

namespace orb::fuzz {
namespace {

using namespace unitview::bos;

BosOptionChoices optionsFrom(std::uint8_t bits) {
    BosOptionChoices choices;
    if (bits & 1) choices.implicitReturn = ImplicitReturn::compat;
    if (bits & 2) choices.valuelessReturn = ValuelessReturn::bare;
    if (bits & 4) choices.argumentOrder = ArgumentOrder::source;
    if (bits & 8) choices.linearScale = Scale(65536);
    if (bits & 16) choices.angularScale = Scale(182.0444);
    if (bits & 32) choices.implicitReturn = ImplicitReturn::lastWord;
    return choices;
}

/// Has one text under every name of a header.
class Headers : public io::AbstractVirtualFileSystem {
public:
    explicit Headers(std::string_view text) : text_(text) {}

    std::optional<io::Bytes> readFile(const io::VirtualPath& path) const override {
        if (!path.text().ends_with(".h")) return std::nullopt;
        return io::Bytes(text_.begin(), text_.end());
    }
    std::vector<std::string> listFiles(const io::VirtualPath&, std::string_view) const override {
        return {};
    }
    std::vector<std::string> listDirectories(const io::VirtualPath&) const override { return {}; }
    std::optional<io::FileLocation> locate(const io::VirtualPath&) const override { return {}; }

private:
    void visitFiles(const io::VirtualPath&, std::string_view, const io::FileVisitor&,
                    const io::FileFilter&) const override {}

    std::string_view text_;
};

constexpr const char* kPath = "scripts/fuzz.bos";

/// Spans lie in the code, one behind the other, and leave no word out.
void checkSpans(const GeneratedCode& code, std::size_t lineCount) {
    std::uint64_t next = 0;
    for (const unitview::CobLineSpan& span : code.lineSpans) {
        require(span.from <= span.to && span.to < code.cob.code.size(), "a span lies in the code");
        require(span.from <= next, "spans leave no word out");
        require(span.line <= lineCount, "a span's line is one of the source");
        next = std::max<std::uint64_t>(next, std::uint64_t{span.to} + 1);
    }
    require(next == code.cob.code.size(), "spans hold every word");
}

bool isLineBreak(char c) {
    return c == '\n' || c == '\r';
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    const BosOptionChoices options = optionsFrom(choices.byte());
    const std::string_view source = choices.until('\f');
    const std::string_view header = io::asText(choices.rest());
    const Headers headers(header);
    const BosCompilation compiled = compileBos(source, kPath, &headers, options);
    const auto lineCount =
        static_cast<std::size_t>(1 + std::max(std::ranges::count_if(source, isLineBreak),
                                              std::ranges::count_if(header, isLineBreak)));
    bool hasError = false;
    for (const BosDiagnostic& diagnostic : compiled.diagnostics) {
        hasError |= diagnostic.severity == Severity::error;
        require(diagnostic.line <= lineCount &&
                    diagnostic.message.size() <= 2 * DiagnosticList::kMaxMessage,
                "a diagnostic names a line of the source");
    }
    require(compiled.ok != hasError, "errors and nothing else keep a source from being compiled");
    if (!compiled.ok) return;

    checkSpans(compiled.code, lineCount);
    const io::CobFile& cob = compiled.code.cob;
    const io::CobFile again = io::parseCob(io::writeCob(cob));
    require(again.code == cob.code && again.pieces == cob.pieces &&
                again.scripts.size() == cob.scripts.size(),
            "the result can be read as a script file");
    if (options.linearScale || options.angularScale) return;
    const SourceComparison compared = compareSource(cob, source, kPath, &headers);
    require(compared.ok && compared.scripts.size() == cob.scripts.size(),
            "a source can be compared with its own code");
}

}  // namespace orb::fuzz
